#!/usr/bin/env bash
# Renders every provider's stand-in form under Xvfb against the embedded sandbox and writes
# the screenshots to docs/screenshots/ (used by the README). Needs a build (cmake --build build).
set -euo pipefail
cd "$(dirname "$0")/.."

tool=build/bin/brivane
out=docs/screenshots
mkdir -p "$out"
[[ -x "$tool" ]] || { echo "build the project first: cmake --build build" >&2; exit 1; }

style=$(mktemp --suffix=.json)
trap 'rm -f "$style"' EXIT
# The example of docs/style.md.
sed -n '/^```json$/,/^```$/p' docs/style.md | sed '1d;$d' >"$style"

shot() {
  local name=$1
  shift
  rm -f "$out/$name.png"
  # The exit code tells the outcome (a declined shopper ends with 1); the file is what counts.
  xvfb-run -a -s "-screen 0 1280x1024x24" "$tool" form show --screenshot "$out/$name.png" --seconds 30 "$@" \
    >/dev/null 2>&1 || true
  [[ -s "$out/$name.png" ]] || { echo "failed: $name" >&2; return 1; }
  echo "$out/$name.png"
}

shot provider0-card --provider 0 --options VISA,MSTRCRD --token demo --mode 1 --store
shot provider0-sepa --provider 0 --options BNKACCT --token demo
shot provider0-paypal --provider 0 --options PAYPAL --token demo
shot provider1-payu --provider 1 --options PAYU --token order-42
shot provider2-paypal --provider 2 --options PAYPAL --token demo
shot provider3-cybersource --provider 3 --options VISA,MSTRCRD --token demo --mode 1 --store
shot provider4-tokenex --provider 4 --options AMEX --token demo
shot provider5-vesta --provider 5 --options VISA,MSTRO --token demo
shot provider6-sepa --provider 6 --options BNKACCT --token demo --mode 1 --store
shot provider7-payonpci --provider 7 --options VISA --token demo
shot provider3-320px --provider 3 --options VISA,MSTRCRD --token demo --size 320x560
shot provider0-800px --provider 0 --options VISA,MSTRCRD --token demo --size 800x560
shot provider0-styled --provider 0 --options VISA,MSTRCRD --token demo --style "$style"
shot provider3-styled --provider 3 --options VISA,MSTRCRD --token demo --style "$style"
shot provider0-toolbar --provider 0 --options VISA,MSTRCRD --token demo --focus
shot provider3-toolbar --provider 3 --options VISA --token demo --focus
shot provider0-declined --provider 0 --options VISA --token demo --shopper decline
# A dark GTK theme without host colours; the keyboard's focus in the first field with its toolbar.
GTK_THEME=Adwaita:dark shot dark-theme --provider 0 --options VISA,MSTRCRD --token demo --focus
shot keyboard-focus --provider 3 --options VISA --token demo --focus

# The busy overlay while the form waits for a form service that is not there (a closed port: the
# page has loaded, its frame has not), and a form service that takes the connection and never
# answers: the notice with "Try again".
shot busy-overlay --provider 5 --options VISA --token demo --api-url "http://127.0.0.1:9/"
silent_port_file=$(mktemp)
python3 -c 'import socket, sys, time
s = socket.socket(); s.bind(("127.0.0.1", 0)); s.listen(16)
print(s.getsockname()[1], flush=True); time.sleep(120)' >"$silent_port_file" &
silent_pid=$!
for _ in $(seq 50); do [[ -s "$silent_port_file" ]] && break; sleep 0.1; done
silent="http://127.0.0.1:$(cat "$silent_port_file")/"
shot service-unavailable --provider 5 --options VISA --token demo --api-url "$silent" --shopper approve
kill "$silent_pid" 2>/dev/null || true
rm -f "$silent_port_file"

# The 3-D Secure challenge and PayPal's approval page, from a standalone sandbox, shown through
# the PayU path (which loads any URL).
port=18733
while (echo >"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do port=$((port + 1)); done
"$tool" sandbox --port "$port" >/dev/null 2>&1 &
sandbox_pid=$!
trap 'rm -f "$style"; kill "$sandbox_pid" 2>/dev/null || true' EXIT
for _ in $(seq 50); do (echo >"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break; sleep 0.1; done
shot challenge-3ds --provider 1 --options PAYU --token "http://127.0.0.1:$port/providers/3ds/challenge?session=demo"
shot paypal-approval --provider 1 --options PAYU --token "http://127.0.0.1:$port/providers/paypal/approve?token=demo"
