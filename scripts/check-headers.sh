#!/usr/bin/env bash
# Compiles every public header on its own: each one includes what it uses.
#   bash scripts/check-headers.sh [COMPILER]
set -euo pipefail
source_dir=$(realpath "$(dirname "$0")/..")
compiler=${1:-c++}
form_flags=$(pkg-config --cflags gtkmm-4.0)
check() {
  local header=$1 flags=""
  [[ "$header" == */form/QPPaymentForm.h ]] && flags=$form_flags
  # shellcheck disable=SC2086
  if ! echo "#include \"$header\"" |
      "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I"$source_dir/include" $flags \
        -x c++ - 2>"$work/$(tr / _ <<<"$header").err"; then
    echo "does not compile alone: $header"
    cat "$work/$(tr / _ <<<"$header").err"
    return 1
  fi
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export -f check
export source_dir compiler form_flags work
cd "$source_dir/include"
headers=$(find brivane -name '*.h' | sort)
echo "$headers" | xargs -P "$(nproc)" -I{} bash -c 'check {}'
echo "$(wc -l <<<"$headers") public headers compile alone"
