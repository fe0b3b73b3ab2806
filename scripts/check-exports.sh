#!/usr/bin/env bash
# Fails when a library of the SDK exports anything of its internals: the dynamic symbol table
# may hold the public classes and functions only (BRIVANE_API).
#   bash scripts/check-exports.sh LIBRARY...
set -euo pipefail
internal='brivane::(platform|fields|bundle|csstext|detail|pipeline|errors)::|brivane::QPFieldList|\(anonymous namespace\)|CustomWebView|FormEngineWarmUp|ScripMessageHandlerMediator|CompletionScope|parseJSON'
status=0
for library in "$@"; do
  exported=$(nm -D --defined-only -C "$library")
  count=$(grep -c 'brivane::' <<<"$exported" || true)
  echo "$(basename "$library"): $(wc -l <<<"$exported") dynamic symbols, $count of the SDK"
  if [[ "$count" -eq 0 ]]; then
    echo "  exports nothing of the SDK"
    status=1
  fi
  if found=$(grep -E "$internal" <<<"$exported"); then
    echo "  exports internals ($(wc -l <<<"$found")), for example:"
    head -10 <<<"$found" | sed 's/^/    /'
    status=1
  fi
done
exit "$status"
