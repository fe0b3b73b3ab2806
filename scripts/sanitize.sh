#!/usr/bin/env bash
# Builds the core suite (API client, styles, tool, sandbox; no GTK form) with a sanitizer preset
# and runs it:  bash scripts/sanitize.sh asan|tsan   (default asan: AddressSanitizer and
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
cmake --build --preset "$preset" --target brivane_core_tests brivane
ctest --preset "$preset"
