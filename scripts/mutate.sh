#!/usr/bin/env bash
# Applies each small fault of scripts/mutants.list to the code, one at a time, rebuilds the
# affected test program incrementally, runs the suite that should notice, and counts the faults
# the suite kills. Prints "killed/total" and every survivor.
#
#   bash scripts/mutate.sh                 # all mutants
#   bash scripts/mutate.sh sandbox.        # only the mutants whose name starts with "sandbox."
#
# Builds in build-mutate/ (RelWithDebInfo, tests on, benchmarks off). A mutant whose text no
# longer occurs exactly once, or that does not compile, stops the run: the list is out of date.
# The source tree is restored after every mutant, also when the run is interrupted.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
list=scripts/mutants.list
only=${1:-}
build=build-mutate

bash scripts/deps.sh
if [[ ! -f $build/CMakeCache.txt ]]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVANE_BUILD_TESTS=ON \
    -DBRIVANE_BUILD_BENCHMARKS=OFF > /dev/null
fi
cmake --build "$build" -j2 --target brivane_core_tests brivane_form_tests > /dev/null

backup=$(mktemp)
mutated=""
restore() {
  if [[ -n $mutated ]]; then
    cp "$backup" "$mutated"
    touch "$mutated"
    mutated=""
  fi
}
trap 'restore; rm -f "$backup"' EXIT
trap 'exit 130' INT TERM

# Runs "core:FILTER" or "form:FILTER": 0 when every test passed, 1 when one failed, 2 when the
# program did not build or the filter selected no test (the list is out of date).
run_suite() {
  local kind=${1%%:*} filter=${1#*:} program output status=0
  case $kind in
    core) program=brivane_core_tests ;;
    form) program=brivane_form_tests ;;
    *) echo "unknown suite kind '$kind'" >&2; return 2 ;;
  esac
  cmake --build "$build" -j2 --target "$program" > /dev/null 2>&1 || return 2
  output=$(mktemp)
  if [[ $kind == form ]]; then
    timeout 600 xvfb-run -a -s "-screen 0 1280x1024x24" "$build/bin/$program" --gtest_filter="$filter" \
      > "$output" 2>&1 || status=1
  else
    timeout 300 "$build/bin/$program" --gtest_filter="$filter" > "$output" 2>&1 || status=1
  fi
  if ((status == 0)) && ! grep -qE '^\[==========\] [1-9][0-9]* tests? from' "$output"; then
    echo "suite $1 ran no test" >&2
    status=2
  fi
  rm -f "$output"
  return $status
}

total=0 killed=0 equivalent=0
survivors=()
name="" file="" suite="" from="" to="" why=""
try_mutant() {
  [[ -n $name ]] || return 0
  if [[ -n $only && $name != "$only"* ]]; then name=""; return 0; fi
  local count
  count=$(grep -cF -- "$from" "$file" || true)
  if [[ $count != 1 ]]; then
    echo "mutant $name: its text occurs $count times in $file; update $list" >&2
    exit 1
  fi
  cp "$file" "$backup"
  mutated=$file
  FROM=$from TO=$to perl -0pi -e 's/\Q$ENV{FROM}\E/$ENV{TO}/' "$file"
  local status=0
  run_suite "$suite" || status=$?
  restore
  if ((status == 2)); then
    echo "mutant $name does not compile, or its suite ran no test; update $list" >&2
    exit 1
  fi
  total=$((total + 1))
  if ((status != 0)); then
    killed=$((killed + 1))
    printf '  killed    %s\n' "$name"
  elif [[ -n $why ]]; then
    equivalent=$((equivalent + 1))
    printf '  survived  %s (equivalent: %s)\n' "$name" "$why"
    survivors+=("$name (equivalent: $why)")
  else
    printf '  SURVIVED  %s\n' "$name"
    survivors+=("$name")
  fi
  name="" file="" suite="" from="" to="" why=""
}

while IFS= read -r line || [[ -n $line ]]; do
  case $line in
    "@ "*) try_mutant; name=${line#@ } ;;
    "file: "*) file=${line#file: } ;;
    "suite: "*) suite=${line#suite: } ;;
    "from: "*) from=${line#from: } ;;
    "to: "*) to=${line#to: } ;;
    "equivalent: "*) why=${line#equivalent: } ;;
  esac
done < "$list"
try_mutant

echo "killed/total: $killed/$total ($equivalent survivors explained as equivalent)"
if ((${#survivors[@]})); then
  echo "survivors:"
  printf '  %s\n' "${survivors[@]}"
fi
cd "$root"
