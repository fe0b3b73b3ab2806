#!/usr/bin/env bash
# Compile time of a small host of the API client against the same host with only the standard
# headers it uses (g++ -O0, the median of several runs each).
#   bash bench/compile_time.sh [RUNS] [COMPILER]
set -euo pipefail
source_dir=$(realpath "$(dirname "$0")/..")
runs=${1:-7}
compiler=${2:-g++}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The host: a provider and one countries call, 22 lines.
cat > "$work/sdk_host.cpp" <<'CPP'
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/settings/QPSettingsAPI.h"

int main(int argc, char** argv) {
  auto tokens = std::make_shared<brivane::QPDefaultAccessTokenProvider>();
  brivane::QPApiProviderOption option;
  option.url = argc > 1 ? argv[1] : "http://127.0.0.1:8080";
  option.programCode = "BRIVANE";
  option.accessTokenProvider = tokens;
  brivane::QPApiProvider provider(option);
  brivane::QPGetCountriesRequest request;
  provider.settingsAPI()->getCountries(request, [](std::optional<brivane::QPError> error, auto response) {
    std::printf("%s %d\n", error ? error->toString().c_str() : "ok", response != nullptr);
  });
  return 0;
}
CPP

# The same shape with the standard library only: what the host itself costs.
cat > "$work/std_host.cpp" <<'CPP'
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct Option { std::optional<std::string> url, programCode; std::shared_ptr<std::string> tokens; };
struct Request { std::optional<bool> onlyProgramCountries; };
struct Api {
  void getCountries(const Request&, std::function<void(std::optional<std::string>, std::shared_ptr<int>)> done) {
    done(std::nullopt, std::make_shared<int>(1));
  }
};
int main(int argc, char** argv) {
  Option option;
  option.url = argc > 1 ? argv[1] : "http://127.0.0.1:8080";
  option.programCode = "BRIVANE";
  option.tokens = std::make_shared<std::string>();
  std::vector<Api> apis(1);
  apis[0].getCountries(Request(), [](std::optional<std::string> error, auto response) {
    std::printf("%s %d\n", error ? error->c_str() : "ok", response != nullptr);
  });
}
CPP

median() { sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
measure() {
  for _ in $(seq "$runs"); do
    local start end
    start=$(date +%s%N)
    "$compiler" -std=c++20 -O0 -I"$source_dir/include" -c "$1" -o "$work/out.o"
    end=$(date +%s%N)
    echo $(((end - start) / 1000000))
  done | median
}
sdk=$(measure "$work/sdk_host.cpp")
std=$(measure "$work/std_host.cpp")
lines=$("$compiler" -std=c++20 -I"$source_dir/include" -E "$work/sdk_host.cpp" | wc -l)
echo "host with the SDK's headers: ${sdk} ms (${lines} preprocessed lines)"
echo "host with standard headers only: ${std} ms"
awk -v a="$sdk" -v b="$std" 'BEGIN { printf "ratio: %.2f (goal: at most 1.30)\n", a / b }'
