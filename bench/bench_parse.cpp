// Parsing and filling a countries answer of 10,000 entries, against parsing alone.
#include <benchmark/benchmark.h>

#include <string>

#include "brivane/api/settings/QPSettingsTypes.h"

namespace {

std::string countriesAnswer(int count) {
  boost::json::array countries;
  countries.reserve(count);
  for (int i = 0; i < count; ++i)
    countries.push_back(boost::json::object{{"countryName", "Country number " + std::to_string(i)},
                                            {"countryCode", "C" + std::to_string(i % 100)}});
  boost::json::object answer{{"partnerReference", "BENCH0123456789"},
                             {"localDate", "2024-03-03"},
                             {"localTime", "090507"},
                             {"sysDate", "2024-03-03"},
                             {"sysTime", "090508"},
                             {"responseCode", "0000"},
                             {"responseDescription", "Success"},
                             {"countries", std::move(countries)}};
  return boost::json::serialize(answer);
}

const std::string& answer() {
  static const std::string text = countriesAnswer(10000);
  return text;
}

void BM_Countries10k_ParseOnly(benchmark::State& state) {
  for (auto _ : state) {
    boost::json::value value = boost::json::parse(answer());
    benchmark::DoNotOptimize(value);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * answer().size()));
}
BENCHMARK(BM_Countries10k_ParseOnly)->Unit(benchmark::kMillisecond);

void BM_Countries10k_ParseAndFill(benchmark::State& state) {
  for (auto _ : state) {
    boost::json::value value = boost::json::parse(answer());
    brivane::QPGetCountriesResponse response;
    response.initWithJSONObject(value);
    benchmark::DoNotOptimize(response);
    if (!response.countries || response.countries->size() != 10000) state.SkipWithError("fill lost entries");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * answer().size()));
}
BENCHMARK(BM_Countries10k_ParseAndFill)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
