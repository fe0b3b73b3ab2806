#!/usr/bin/env bash
# Instructions per call of the SDK's client side against a plain libcurl multi handle doing the
# same exchange, parse and fill (bench_call's "sdk" and "multi" sides), counted by callgrind.
# Instruction counts do not depend on the machine's load, unlike wall times.
#
#   bash bench/callgrind_call.sh [IN_FLIGHT]        (default 1; bench_call must be built)
#
# Each side runs twice, with SMALL and LARGE batches of calls; the difference of the two counts
# divided by the difference in calls is the cost of one call, free of start-up and set-up. Only
# the client process is counted (the loopback server is a child process with its own count).
set -euo pipefail
cd "$(dirname "$0")/.."
bench=build/bin/bench_call
[[ -x $bench ]] || { echo "build bench_call first (scripts/test.sh builds it)" >&2; exit 1; }
command -v valgrind > /dev/null || { echo "valgrind is missing" >&2; exit 1; }
in_flight=${1:-1}
small=$((200 / in_flight + 1))
large=$((1200 / in_flight + 1))
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Instructions of the client process for one run of a side.
instructions() {
  local side=$1 batches=$2
  valgrind --tool=callgrind --callgrind-out-file="$work/out.%p" \
    "$bench" --only="$side" --in-flight="$in_flight" --batches="$batches" > "$work/run.out" 2> "$work/run.err" &
  local pid=$!
  wait "$pid" || { cat "$work/run.out" "$work/run.err" >&2; exit 1; }
  grep -q "all succeeded" "$work/run.out" || { cat "$work/run.out" >&2; exit 1; }
  sed -n 's/^summary: //p' "$work/out.$pid"
}

per_call() {
  local side=$1 a b
  a=$(instructions "$side" "$small")
  b=$(instructions "$side" "$large")
  echo $(((b - a) / ((large - small) * in_flight)))
}

sdk=$(per_call sdk)
multi=$(per_call multi)
echo "instructions per call, $in_flight in flight: sdk $sdk, multi $multi, difference $((sdk - multi))" \
  "(ratio $(awk "BEGIN { printf \"%.2f\", $sdk / $multi }"))"
