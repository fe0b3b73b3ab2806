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

# The busy overlay over a loaded form (the page asks for it, as it does while it submits), and a
# form service that takes the connection and never answers: the notice with "Try again".
shot busy-overlay --provider 0 --options VISA,MSTRCRD --token demo \
  --script "window.webkit.messageHandlers.ios_showLoading.postMessage(null)"
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
shot provider3-declined --provider 3 --options VISA,MSTRCRD --token demo --shopper decline
shot provider2-paypal-declined --provider 2 --options PAYPAL --token demo --shopper decline
# Where PayPal's approval leads: the platform's success page.
shot provider2-paypal-approved --provider 2 --options PAYPAL --token demo --shopper approve
# A corrected field: the expiry was refused ("13 / 39") and then typed as "1239"; the card
# number is still wrong and keeps its one error.
type_fields='(function (d) {
  function type(name, value) { var i = d.querySelector("input[name=\x27card." + name + "\x27]"); i.value = value;
    i.dispatchEvent(new InputEvent("input", { bubbles: true, inputType: "insertText" })); i.dispatchEvent(new Event("blur")); }
  type("number", "4200 0000 0000 0001"); type("expiry", "13 / 39"); type("expiry", "1239"); type("cvv", "123");
  type("holder", "Erika Mustermann");
})(document)'
shot provider0-corrected --provider 0 --options VISA,MSTRCRD --token demo --script "$type_fields"
# A dark desktop and no host colours: the pages follow it.
GTK_THEME=Adwaita:dark shot provider0-dark --provider 0 --options VISA,MSTRCRD --token demo --script "$type_fields"
GTK_THEME=Adwaita:dark shot provider3-dark --provider 3 --options VISA,MSTRCRD --token demo --mode 1 --store

# The 3-D Secure challenge and PayPal's approval page, from a standalone sandbox, shown through
# the PayU path (which loads any URL).
port=18733
while (echo >"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do port=$((port + 1)); done
"$tool" sandbox --port "$port" >/dev/null 2>&1 &
sandbox_pid=$!
trap 'rm -f "$style"; kill "$sandbox_pid" 2>/dev/null || true' EXIT
for _ in $(seq 50); do (echo >"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break; sleep 0.1; done
# The challenge of a real payment of 12.50 EUR, in the form service's frame: the challenge card
# is typed and submitted, and the window is taken once the challenge shows.
base="http://127.0.0.1:$port"
bearer=$(echo Demo-Pass-1 | "$tool" call auth getAccessTokenWithUserName --url "$base" --program BRIVANE \
  --userName demo@brivane.test --password-file - --grantType password | sed -n 's/.*"access_token":"\([^"]*\)".*/\1/p')
payment=$(BRIVANE_TOKEN=$bearer "$tool" call payment initAuthorize --url "$base" --program BRIVANE \
  --set presentationAmount=12.50 --set presentationCurrCode=EUR --set ipAddr=127.0.0.1 |
  sed -n 's/.*"authorizationToken":"\([^"]*\)".*/\1/p')
challenge_card='(function (d) {
  function type(name, value) { var i = d.querySelector("input[name=" + name + "]"); i.value = value;
    i.dispatchEvent(new InputEvent("input", { bubbles: true, inputType: "insertText" })); }
  type("cardNumber", "4000000000003220"); type("expiry", "1239"); type("cvv", "123"); type("cardHolder", "Erika Mustermann");
  d.querySelector("button[type=submit]").click();
})(document.getElementById("qp-frame").contentDocument)'
shot challenge-3ds --sandbox "$base" --provider 3 --options VISA --token "$payment" --script "$challenge_card"
shot paypal-approval --provider 1 --options PAYU --token "http://127.0.0.1:$port/providers/paypal/approve?token=demo"
