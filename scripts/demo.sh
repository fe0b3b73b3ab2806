#!/usr/bin/env bash
# Builds the SDK and runs `brivane demo` against the embedded sandbox.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake --preset default -DBRIVANE_BUILD_TESTS=OFF -DBRIVANE_BUILD_BENCHMARKS=OFF > /dev/null
cmake --build --preset default --target brivane
exec ./build/bin/brivane demo "$@"
