#!/usr/bin/env bash
# Builds the libFuzzer targets (preset `fuzz`, clang) and runs each for SECONDS (default 60).
#   bash scripts/fuzz.sh [SECONDS] [TARGET...]     TARGET: response_fill error_mapping style_json
#                                                           form_render before_submit (default: all)
# Each target starts from its seeds in fuzz/corpus/TARGET and keeps what it learns in
# build-fuzz/corpus/TARGET; a crash, leak or sanitizer report is written to
# build-fuzz/findings/TARGET/ and makes the script exit 1. One line of figures per target.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
targets=("$@")
((${#targets[@]})) || targets=(response_fill error_mapping style_json form_render before_submit)

cmake --preset fuzz > /dev/null
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
failed=0
for target in "${targets[@]}"; do
  corpus=build-fuzz/corpus/$target
  findings=build-fuzz/findings/$target
  log=build-fuzz/fuzz-$target.log
  mkdir -p "$corpus" "$findings"
  status=0
  build-fuzz/bin/fuzz_"$target" -max_total_time="$seconds" -print_final_stats=1 -timeout=10 -rss_limit_mb=2048 \
    -artifact_prefix="$findings/" "$corpus" "fuzz/corpus/$target" > "$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  found=$(find "$findings" -type f | wc -l)
  echo "fuzz_$target: ${seconds} s, ${runs:-?} executions, $found findings (exit $status, log $log)"
  if ((status != 0 || found != 0)); then failed=1; fi
done
exit $failed
