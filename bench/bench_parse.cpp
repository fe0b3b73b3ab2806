// Parsing and filling a countries answer of 10,000, 100,000 and about 1,070,000 entries (60 MiB),
// four ways:
//   parse     Boost.JSON's parse alone;
//   hand      the parse and a hand-written fill of QPGetCountriesResponse (each key read by name);
//   document  the transport's parse (`parseJSON`) and the response filled from that document
//             (`initWithJSONObject`), as answers were read before the families read them directly;
//   sdk       what the API client does with a family's answer: the transport's read step hands the
//             body to the family's reader (`detail::deliver`), which parses it into the response
//             by its table without building the document.
// A benchmark is a number of rounds; each round times the four in an order that alternates from
// round to round, and the counters are medians of the per-round ratios with their quartiles. The
// SDK's ratio to the parse is also given in CPU time, which the load of a shared machine disturbs
// less than wall time (one thread does all the work).
// Memory: this program counts every operator new/delete; "peak" is the most heap held at once
// during one parse (and fill) beyond what was held before (the body), over the size of the
// answer's text. "read path" is the SDK's whole read of an answer, with nothing held before: the
// body gathered as the networking gathers it (room for the announced length, then 16 KiB at a
// time), the read, the body freed.
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
#include "api/core/QPAnswerReader.h"
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

enum class Way { Parse, Hand, Document, Sdk };
constexpr int kWays = 4;
constexpr const char* kWayNames[] = {"parse", "hand", "document", "sdk"};

using Response = brivane::QPGetCountriesResponse;

// The family's completion and what the transport's read step does with it (see `Map`).
std::shared_ptr<Response> readBySdk(std::string_view text, bool check) {
  std::shared_ptr<Response> filled;
  brivane::QPCompletion<Response> keep;
  if (check) keep = [&filled](auto, auto response) { filled = std::move(response); };
  brivane::QPTransportLayer::Completion completion = brivane::detail::deliver<Response>(std::move(keep));
  const auto* reading = completion.target<brivane::detail::ReadingCompletion>();
  if (reading == nullptr) return nullptr;
  std::optional<brivane::QPError> error = reading->reader->read(text);
  completion(std::nullopt, std::move(error));
  if (check)
    brivane::QPMainQueue::runUntil([&filled] { return filled != nullptr; }, std::chrono::seconds(30));
  return filled;
}

// One parse (and fill) of `text`; false when entries went missing. The SDK's response is
// checked only when `check` is set: the check needs the main queue, which is not the SDK's
// work on an answer.
bool once(Way way, const std::string& text, std::size_t count, bool check = false) {
  std::shared_ptr<Response> filled;
  if (way == Way::Sdk) {
    filled = readBySdk(text, check);
    if (!check) return true;
    if (filled == nullptr) return false;
  } else if (way == Way::Document) {
    std::optional<brivane::QPError> error;
    std::optional<boost::json::value> json = brivane::parseJSON(text, &error);
    if (!json) return false;
    filled = brivane::detail::responseFrom<Response>(json);
  } else {
    boost::json::value json = boost::json::parse(text);
    if (way == Way::Parse) {
      benchmark::DoNotOptimize(json);
      return json.at("countries").as_array().size() == count;
    }
    filled = std::make_shared<Response>();
    fillByHand(json, *filled);
  }
  const Response& response = *filled;
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

// The whole read with nothing held before: the body gathered in the networking's pieces, read,
// then freed with the answer's other buffers; the response is what remains.
double readPathPeak(const std::string& text) {
  long long before = liveBytes.load();
  peakBytes.store(before);
  std::shared_ptr<Response> filled;
  {
    std::string body;
    body.reserve(text.size());  // the announced length, as the networking takes it
    constexpr std::size_t kPiece = 16 * 1024;
    for (std::size_t at = 0; at < text.size(); at += kPiece) body.append(text, at, kPiece);
    filled = readBySdk(body, false);
  }
  benchmark::DoNotOptimize(filled);
  return static_cast<double>(peakBytes.load() - before) / static_cast<double>(text.size());
}

struct Row {
  int entries;
  double megabytes;
  int rounds;
  bench::Spread sdkOverParse, sdkOverHand, handOverParse, sdkOverParseCpu, documentOverParse;
  double millis[kWays];
  Peak peaks[kWays];
  double readPath;
};
std::vector<Row> summary;
constexpr int kRounds = 31;
constexpr int kLargeRounds = 7;

void BM_Countries(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::string text = countriesAnswer(static_cast<int>(count));
  const int repeats = count <= 10000 ? 5 : 1;
  for (Way way : {Way::Parse, Way::Hand, Way::Document, Way::Sdk})
    if (!once(way, text, count, true)) {
      state.SkipWithError("a fill lost entries");
      return;
    }
  std::vector<double> times[kWays], sdkOverParse, sdkOverHand, handOverParse, sdkOverParseCpu,
      documentOverParse;
  int round = 0;
  for (auto _ : state) {
    double seconds[kWays] = {}, cpuSeconds[kWays] = {};
    const Way forward[] = {Way::Parse, Way::Hand, Way::Document, Way::Sdk};
    const Way backward[] = {Way::Sdk, Way::Document, Way::Hand, Way::Parse};
    for (Way way : round % 2 == 0 ? forward : backward) {
      bench::Usage before = bench::Usage::now();
      for (int i = 0; i < repeats; ++i) once(way, text, count);
      bench::Usage used = bench::Usage::now() - before;
      seconds[static_cast<int>(way)] = used.wallSeconds / repeats;
      cpuSeconds[static_cast<int>(way)] = used.cpuSeconds / repeats;
    }
    ++round;
    for (int i = 0; i < kWays; ++i) times[i].push_back(seconds[i] * 1e3);
    sdkOverParse.push_back(seconds[3] / seconds[0]);
    sdkOverHand.push_back(seconds[3] / seconds[1]);
    handOverParse.push_back(seconds[1] / seconds[0]);
    documentOverParse.push_back(seconds[2] / seconds[0]);
    sdkOverParseCpu.push_back(cpuSeconds[3] / cpuSeconds[0]);
  }
  Row row{static_cast<int>(count),
          static_cast<double>(text.size()) / (1024.0 * 1024.0),
          round,
          bench::spreadOf(sdkOverParse),
          bench::spreadOf(sdkOverHand),
          bench::spreadOf(handOverParse),
          bench::spreadOf(sdkOverParseCpu),
          bench::spreadOf(documentOverParse),
          {},
          {},
          readPathPeak(text)};
  for (int i = 0; i < kWays; ++i) {
    row.millis[i] = bench::spreadOf(times[i]).median;
    row.peaks[i] = peakOf(static_cast<Way>(i), text, count);
    state.counters[std::string(kWayNames[i]) + "_ms"] = row.millis[i];
    state.counters[std::string(kWayNames[i]) + "_peak/body"] = row.peaks[i].overBody;
  }
  state.counters["read_path_peak/body"] = row.readPath;
  state.counters["sdk/parse"] = row.sdkOverParse.median;
  state.counters["sdk/parse_p25"] = row.sdkOverParse.p25;
  state.counters["sdk/parse_p75"] = row.sdkOverParse.p75;
  state.counters["sdk/parse_cpu"] = row.sdkOverParseCpu.median;
  state.counters["sdk/hand"] = row.sdkOverHand.median;
  state.counters["document/parse"] = row.documentOverParse.median;
  summary.push_back(row);
}
BENCHMARK(BM_Countries)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(kRounds)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
// About 60 MiB of text.
BENCHMARK(BM_Countries)->Arg(1070000)->Iterations(kLargeRounds)->UseRealTime()->Unit(benchmark::kMillisecond);

void printSummary() {
  std::printf("\nMedian of the per-round ratios, interquartile range and extremes:\n");
  for (const Row& row : summary) {
    std::printf("%d entries (%.2f MiB, %d rounds):\n", row.entries, row.megabytes, row.rounds);
    std::printf("  sdk / parse      %s\n", bench::describe(row.sdkOverParse).c_str());
    std::printf("  ... CPU time     %s\n", bench::describe(row.sdkOverParseCpu).c_str());
    std::printf("  sdk / hand       %s\n", bench::describe(row.sdkOverHand).c_str());
    std::printf("  hand / parse     %s\n", bench::describe(row.handOverParse).c_str());
    std::printf("  document / parse %s\n", bench::describe(row.documentOverParse).c_str());
    for (int i = 0; i < kWays; ++i)
      std::printf("  %-8s %8.2f ms  peak heap %.2f x the body, %.1f allocations per entry\n", kWayNames[i],
                  row.millis[i], row.peaks[i].overBody, row.peaks[i].allocationsPerEntry);
    std::printf("  read path (body gathered, read, freed): peak heap %.2f x the body\n", row.readPath);
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
