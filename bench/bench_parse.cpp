// Parsing and filling a countries answer of 10,000 and 100,000 entries, three ways:
//   parse   Boost.JSON's parse alone;
//   hand    the parse and a hand-written fill of QPGetCountriesResponse (each key read by name);
//   sdk     what the API client does with an answer: the transport's parse (`parseJSON`) and the
//           families' delivery (`detail::deliver`), which fills the response by its table
//           (`initWithJSONObject`).
// A benchmark is a number of rounds; each round times the three in an order that alternates from
// round to round, and the counters are medians of the per-round ratios with their quartiles. The
// SDK's ratio to the parse is also given in CPU time, which the load of a shared machine disturbs
// less than wall time (one thread does all the work).
// Memory: this program counts every operator new/delete; "peak" is the most heap held at once
// during one parse (and fill) beyond what was held before, over the size of the answer's text.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "BenchRounds.h"
#include "api/core/QPBaseAPICall.h"
#include "api/core/QPJSONParse.h"
#include "brivane/api/settings/QPSettingsTypes.h"
#include "brivane/platform/QPMainQueue.h"

// --- Heap accounting --------------------------------------------------------------------------

namespace {
std::atomic<long long> liveBytes{0};
std::atomic<long long> peakBytes{0};
std::atomic<long long> allocations{0};

void* counted(std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  long long now =
      liveBytes.fetch_add(static_cast<long long>(malloc_usable_size(block)), std::memory_order_relaxed) +
      static_cast<long long>(malloc_usable_size(block));
  long long peak = peakBytes.load(std::memory_order_relaxed);
  while (now > peak && !peakBytes.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
  }
  allocations.fetch_add(1, std::memory_order_relaxed);
  return block;
}

void uncounted(void* block) noexcept {
  if (block == nullptr) return;
  liveBytes.fetch_sub(static_cast<long long>(malloc_usable_size(block)), std::memory_order_relaxed);
  std::free(block);
}
}  // namespace

void* operator new(std::size_t size) {
  return counted(size);
}
void* operator new[](std::size_t size) {
  return counted(size);
}
void operator delete(void* block) noexcept {
  uncounted(block);
}
void operator delete[](void* block) noexcept {
  uncounted(block);
}
void operator delete(void* block, std::size_t) noexcept {
  uncounted(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  uncounted(block);
}

namespace {

std::string countriesAnswer(int count) {
  boost::json::array countries;
  countries.reserve(static_cast<std::size_t>(count));
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

std::optional<std::string> textAt(const boost::json::object& object, std::string_view key) {
  const boost::json::value* value = object.if_contains(key);
  if (value == nullptr || !value->is_string()) return std::nullopt;
  return std::string(value->get_string());
}

// What a developer would write for this one class, without the table.
void fillByHand(const boost::json::value& json, brivane::QPGetCountriesResponse& response) {
  if (!json.is_object()) return;
  const boost::json::object& object = json.get_object();
  response.partnerReference = textAt(object, "partnerReference");
  response.localDate = textAt(object, "localDate");
  response.localTime = textAt(object, "localTime");
  response.sysDate = textAt(object, "sysDate");
  response.sysTime = textAt(object, "sysTime");
  response.responseCode = textAt(object, "responseCode");
  response.responseDescription = textAt(object, "responseDescription");
  const boost::json::value* list = object.if_contains("countries");
  if (list == nullptr || !list->is_array()) return;
  auto& countries = response.countries.emplace();
  countries.reserve(list->get_array().size());
  for (const boost::json::value& entry : list->get_array()) {
    auto country = std::make_shared<brivane::QPCountryModel>();
    if (entry.is_object()) {
      country->countryName = textAt(entry.get_object(), "countryName");
      country->countryCode = textAt(entry.get_object(), "countryCode");
    }
    countries.push_back(std::move(country));
  }
}

enum class Way { Parse, Hand, Sdk };
constexpr const char* kWayNames[] = {"parse", "hand", "sdk"};

// One parse (and fill) of `text`; false when entries went missing. The SDK's response is
// checked only when `check` is set: the check needs the main queue, which is not the SDK's
// work on an answer.
bool once(Way way, const std::string& text, std::size_t count, bool check = false) {
  std::shared_ptr<brivane::QPGetCountriesResponse> filled;
  if (way == Way::Sdk) {
    // The transport's parse, then what its completion runs in every API family: the response
    // is built and filled there (and dropped, without a completion to hand it to).
    std::optional<boost::json::value> json = brivane::parseJSON(text, nullptr);
    if (!json) return false;
    brivane::QPCompletion<brivane::QPGetCountriesResponse> keep;
    if (check) keep = [&filled](auto, auto response) { filled = std::move(response); };
    brivane::detail::deliver<brivane::QPGetCountriesResponse>(std::move(keep))(std::move(json), std::nullopt);
    if (!check) return true;
    brivane::QPMainQueue::runUntil([&filled] { return filled != nullptr; }, std::chrono::seconds(30));
    if (filled == nullptr) return false;
  } else {
    boost::json::value json = boost::json::parse(text);
    if (way == Way::Parse) {
      benchmark::DoNotOptimize(json);
      return json.at("countries").as_array().size() == count;
    }
    filled = std::make_shared<brivane::QPGetCountriesResponse>();
    fillByHand(json, *filled);
  }
  const brivane::QPGetCountriesResponse& response = *filled;
  benchmark::DoNotOptimize(response);
  return response.countries && response.countries->size() == count &&
         response.countries->back()->countryName == "Country number " + std::to_string(count - 1);
}

struct Peak {
  double overBody = 0;
  double allocationsPerEntry = 0;
};

Peak peakOf(Way way, const std::string& text, std::size_t count) {
  long long before = liveBytes.load();
  long long allocationsBefore = allocations.load();
  peakBytes.store(before);
  once(way, text, count);
  return {static_cast<double>(peakBytes.load() - before) / static_cast<double>(text.size()),
          static_cast<double>(allocations.load() - allocationsBefore) / static_cast<double>(count)};
}

struct Row {
  int entries;
  double megabytes;
  bench::Spread sdkOverParse, sdkOverHand, handOverParse, sdkOverParseCpu;
  double millis[3];
  Peak peaks[3];
};
std::vector<Row> summary;
constexpr int kRounds = 31;

void BM_Countries(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::string text = countriesAnswer(static_cast<int>(count));
  const int repeats = count <= 10000 ? 5 : 1;
  for (Way way : {Way::Parse, Way::Hand, Way::Sdk})
    if (!once(way, text, count, true)) {
      state.SkipWithError("a fill lost entries");
      return;
    }
  std::vector<double> times[3], sdkOverParse, sdkOverHand, handOverParse, sdkOverParseCpu;
  int round = 0;
  for (auto _ : state) {
    double seconds[3] = {}, cpuSeconds[3] = {};
    const Way forward[] = {Way::Parse, Way::Hand, Way::Sdk};
    const Way backward[] = {Way::Sdk, Way::Hand, Way::Parse};
    for (Way way : round % 2 == 0 ? forward : backward) {
      bench::Usage before = bench::Usage::now();
      for (int i = 0; i < repeats; ++i) once(way, text, count);
      bench::Usage used = bench::Usage::now() - before;
      seconds[static_cast<int>(way)] = used.wallSeconds / repeats;
      cpuSeconds[static_cast<int>(way)] = used.cpuSeconds / repeats;
    }
    ++round;
    for (int i = 0; i < 3; ++i) times[i].push_back(seconds[i] * 1e3);
    sdkOverParse.push_back(seconds[2] / seconds[0]);
    sdkOverHand.push_back(seconds[2] / seconds[1]);
    handOverParse.push_back(seconds[1] / seconds[0]);
    sdkOverParseCpu.push_back(cpuSeconds[2] / cpuSeconds[0]);
  }
  Row row{static_cast<int>(count),
          static_cast<double>(text.size()) / (1024.0 * 1024.0),
          bench::spreadOf(sdkOverParse),
          bench::spreadOf(sdkOverHand),
          bench::spreadOf(handOverParse),
          bench::spreadOf(sdkOverParseCpu),
          {},
          {}};
  for (int i = 0; i < 3; ++i) {
    row.millis[i] = bench::spreadOf(times[i]).median;
    row.peaks[i] = peakOf(static_cast<Way>(i), text, count);
    state.counters[std::string(kWayNames[i]) + "_ms"] = row.millis[i];
    state.counters[std::string(kWayNames[i]) + "_peak/body"] = row.peaks[i].overBody;
  }
  state.counters["sdk/parse"] = row.sdkOverParse.median;
  state.counters["sdk/parse_p25"] = row.sdkOverParse.p25;
  state.counters["sdk/parse_p75"] = row.sdkOverParse.p75;
  state.counters["sdk/parse_cpu"] = row.sdkOverParseCpu.median;
  state.counters["sdk/hand"] = row.sdkOverHand.median;
  state.counters["sdk/hand_p25"] = row.sdkOverHand.p25;
  state.counters["sdk/hand_p75"] = row.sdkOverHand.p75;
  summary.push_back(row);
}
BENCHMARK(BM_Countries)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(kRounds)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void printSummary() {
  std::printf("\nMedian of %d per-round ratios, interquartile range and extremes:\n", kRounds);
  for (const Row& row : summary) {
    std::printf("%d entries (%.2f MiB):\n", row.entries, row.megabytes);
    std::printf("  sdk / parse  %s\n", bench::describe(row.sdkOverParse).c_str());
    std::printf("  ... CPU time %s\n", bench::describe(row.sdkOverParseCpu).c_str());
    std::printf("  sdk / hand   %s\n", bench::describe(row.sdkOverHand).c_str());
    std::printf("  hand / parse %s\n", bench::describe(row.handOverParse).c_str());
    for (int i = 0; i < 3; ++i)
      std::printf("  %-5s %8.2f ms  peak heap %.2f x the body, %.1f allocations per entry\n", kWayNames[i],
                  row.millis[i], row.peaks[i].overBody, row.peaks[i].allocationsPerEntry);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  printSummary();
  return 0;
}
