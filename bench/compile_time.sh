#!/usr/bin/env bash
# Compile time of a small host of the API client against the same host with only the standard
# headers it uses (g++ -O0), side by side in rounds: the median of the per-round ratios.
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

# One round compiles both hosts, in an order that alternates from round to round, and yields the
# ratio of their times: a burst of load on a shared machine then falls on both sides of a round.
compile_ms() {
  local start end
  start=$(date +%s%N)
  "$compiler" -std=c++20 -O0 -I"$source_dir/include" -c "$1" -o "$work/out.o"
  end=$(date +%s%N)
  echo $(((end - start) / 1000000))
}
for round in $(seq "$runs"); do
  if ((round % 2)); then
    sdk=$(compile_ms "$work/sdk_host.cpp")
    std=$(compile_ms "$work/std_host.cpp")
  else
    std=$(compile_ms "$work/std_host.cpp")
    sdk=$(compile_ms "$work/sdk_host.cpp")
  fi
  echo "$sdk $std"
done > "$work/rounds"
lines=$("$compiler" -std=c++20 -I"$source_dir/include" -E "$work/sdk_host.cpp" | wc -l)
# Quantiles of sorted numbers on standard input: median, quartiles, extremes.
spread() {
  sort -n | awk 'function q(p,   x, i) { x = p * (NR - 1) + 1; i = int(x); return a[i] + (x - i) * (a[i + (i < NR)] - a[i]) }
                 { a[NR] = $1 } END { printf "%.2f %.2f %.2f %.2f %.2f %d\n", q(0.5), q(0.25), q(0.75), a[1], a[NR], NR }'
}
read -r sdk _ < <(cut -d' ' -f1 "$work/rounds" | spread)
read -r std _ < <(cut -d' ' -f2 "$work/rounds" | spread)
read -r median p25 p75 low high count < <(awk '{ print $1 / $2 }' "$work/rounds" | spread)
echo "host with the SDK's headers: ${sdk%.*} ms median (${lines} preprocessed lines)"
echo "host with standard headers only: ${std%.*} ms median"
echo "ratio: ${median} (median of ${count} per-round ratios; IQR ${p25}-${p75}, range ${low}-${high}; goal: at most 1.30)"
