#!/usr/bin/env bash
# Builds everything (libraries, tool, tests, benchmarks) and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake --preset default -DBRIVANE_BUILD_TESTS=ON -DBRIVANE_BUILD_BENCHMARKS=ON > /dev/null
cmake --build --preset default
ctest --preset default
