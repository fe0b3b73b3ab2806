#!/usr/bin/env bash
# Installs a build into a temporary prefix and builds and runs the examples against it, the way an
# integrator would: find_package for both examples, pkg-config for a one-file host.
#   bash scripts/check-install.sh BUILD_DIR
set -euo pipefail
build=$(realpath "${1:?usage: check-install.sh BUILD_DIR}")
source_dir=$(realpath "$(dirname "$0")/..")
work=$(mktemp -d)
sandbox_pid=""
cleanup() {
  [[ -n "$sandbox_pid" ]] && kill "$sandbox_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" > "$work/install.log"
for file in bin/brivane bin/brivane-form include/brivane/api/core/QPApiProvider.h include/brivane/form/QPPaymentForm.h \
            include/brivane/testing/QPFakeHttpClient.h include/brivane/api/core/QPCallOptions.h \
            lib/cmake/BrivaneSDK/BrivaneSDKConfig.cmake lib/cmake/BrivaneSDK/BrivaneSDKConfigVersion.cmake \
            lib/pkgconfig/brivane-sdk.pc lib/pkgconfig/brivane-sdk-form.pc lib/BrivaneSDK.bundle/payon_form.html \
            lib/libBrivaneSDK.so.9 lib/libBrivaneSDKForm.so.9; do
  [[ -e "$prefix/$file" ]] || { echo "not installed: $file"; exit 1; }
done
echo "installed: $(find "$prefix" -type f | wc -l) files"

for example in api_host coroutine_host form_host host_unit_test; do
  cmake -S "$source_dir/examples/$example" -B "$work/$example" -DCMAKE_PREFIX_PATH="$prefix" > "$work/$example.log"
  cmake --build "$work/$example" >> "$work/$example.log" || { cat "$work/$example.log"; exit 1; }
  echo "built: $example (find_package)"
done

# A one-file host through pkg-config.
cat > "$work/pc_host.cpp" <<'CPP'
#include "brivane/api/core/QPLookups.h"
#include <cstdio>
int main() { std::printf("%s\n", brivane::QPLookups::SDKVersion().c_str()); }
CPP
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" c++ -o "$work/pc_host" "$work/pc_host.cpp" \
  $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs brivane-sdk) -Wl,-rpath,"$prefix/lib"
echo "built: pc_host (pkg-config), SDK $("$work/pc_host")"

# The installed tool serves a sandbox on a free port; the examples run against it.
"$prefix/bin/brivane" sandbox --port 0 > "$work/sandbox.out" 2>&1 &
sandbox_pid=$!
for _ in $(seq 100); do grep -q "listening on" "$work/sandbox.out" && break; sleep 0.1; done
base=$(sed -n 's/^Sandbox listening on //p' "$work/sandbox.out")
[[ -n "$base" ]] || { echo "the installed sandbox did not start"; cat "$work/sandbox.out"; exit 1; }

"$work/api_host/api_host" "$base"
"$work/coroutine_host/coroutine_host" "$base"
"$work/host_unit_test/checkout_test" --gtest_brief=1 > "$work/checkout_test.out" ||
  { echo "host_unit_test failed"; cat "$work/checkout_test.out"; exit 1; }
echo "ran: host_unit_test (fake HTTP client)"
FORM_HOST_EXIT_ON_LOAD=1 timeout 60 xvfb-run -a "$work/form_host/form_host" "$base" 2> "$work/form_host.err" ||
  { echo "form_host failed"; cat "$work/form_host.err"; exit 1; }
echo "install check passed"
