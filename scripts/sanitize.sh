#!/usr/bin/env bash
# Builds the core suite (API client, styles, tool, sandbox) with a sanitizer preset and runs it;
# asan also builds the form library and runs the form's lifetime tests (GTK and the web engine
# stay uninstrumented):  bash scripts/sanitize.sh asan|tsan   (default asan: AddressSanitizer and
# UndefinedBehaviorSanitizer; tsan: ThreadSanitizer with scripts/tsan.supp).
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-asan}
case "$preset" in
  asan|tsan) ;;
  *) echo "usage: bash scripts/sanitize.sh asan|tsan" >&2; exit 2 ;;
esac
bash scripts/deps.sh
cmake --preset "$preset" > /dev/null
targets=(brivane_core_tests brivane)
[ "$preset" = asan ] && targets+=(brivane_form_lifetime_tests)
cmake --build --preset "$preset" --target "${targets[@]}"
ctest --preset "$preset"
