// Small calls through the SDK against the same exchanges made with plain libcurl, on loopback.
//
// The server runs in a child process (so the CPU time and context switches measured here are the
// client's alone), keeps connections alive without limit and sets TCP_NODELAY. Every side builds
// the same GET, parses the same answer with Boost.JSON and fills the same response class:
//   sdk     the settings family's getgetFinancialInstitutionData, completions on the main queue;
//   multi   anchor (b): one multi handle driven on the calling thread, at most 6 connections;
//           easy handles of finished requests reset (`curl_easy_reset`) and kept, up to 8, for
//           the next ones (as the SDK's networking does);
//   easy    anchor (a): one reused easy handle, one request at a time (only for 1 in flight);
//   await   the same SDK call awaited with `awaitCall`, one `QPTask` per call (BM_Await, against
//           sdk: what the coroutine form costs over the completion form).
// Each benchmark is a number of rounds; a round runs every side once, in an order that alternates
// from round to round, and yields the ratio sdk/anchor of that round. The counters are the median
// of those ratios with quartiles and extremes; the summary at the end prints them again.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <httplib.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <boost/json.hpp>

#include "BenchRounds.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/core/QPAsync.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/platform/QPMainQueue.h"

namespace {

constexpr const char* kPath = "/settings/getFinancialInstitutionData";
constexpr const char* kAnswer =
    R"({"partnerReference":"BENCH0123456789","localDate":"2024-03-03","localTime":"090507",)"
    R"("sysDate":"2024-03-03","sysTime":"090508","responseCode":"0000","responseDescription":"Success",)"
    R"("name":"Brivane Sandbox Bank AG","addr1":"Kärntner Ring 12","addr2":"3. Stock","city":"Wien",)"
    R"("state":"Wien","countryName":"Austria","countryCode":"AT","postCode":"1010",)"
    R"("creditorIdentifier":"AT61ZZZ00000012345"})";
constexpr const char* kProgram = "BENCH";
constexpr const char* kToken = "bench-access-token-0123456789abcdef";

// --- The server, in a child process ----------------------------------------------------------

pid_t serverPid = 0;
int serverPort = 0;

[[noreturn]] void serve(int reportFd) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  httplib::Server server;
  server.set_keep_alive_max_count(std::numeric_limits<std::size_t>::max());
  server.set_keep_alive_timeout(600);
  server.set_tcp_nodelay(true);
  // Every kept-alive connection holds a worker: 6 for the SDK, 6 for anchor (b), 1 for (a).
  server.new_task_queue = [] { return new httplib::ThreadPool(24); };
  server.Get(kPath, [](const httplib::Request&, httplib::Response& res) {
    res.set_content(kAnswer, "application/json");
  });
  int port = server.bind_to_any_port("127.0.0.1");
  if (write(reportFd, &port, sizeof port) != static_cast<ssize_t>(sizeof port)) _exit(1);
  close(reportFd);
  server.listen_after_bind();
  _exit(0);
}

bool startServer() {
  int fds[2];
  if (pipe(fds) != 0) return false;
  serverPid = fork();
  if (serverPid < 0) return false;
  if (serverPid == 0) {
    close(fds[0]);
    serve(fds[1]);
  }
  close(fds[1]);
  bool ok = read(fds[0], &serverPort, sizeof serverPort) == static_cast<ssize_t>(sizeof serverPort) &&
            serverPort > 0;
  close(fds[0]);
  return ok;
}

void stopServer() {
  if (serverPid <= 0) return;
  kill(serverPid, SIGTERM);
  waitpid(serverPid, nullptr, 0);
  serverPid = 0;
}

std::string baseUrl() {
  return "http://127.0.0.1:" + std::to_string(serverPort);
}

// --- The shared part of every side: same parse, same fill ----------------------------------------

bool parseAndFill(const std::string& body) {
  boost::system::error_code ec;
  boost::json::value json = boost::json::parse(body, ec);
  if (ec) return false;
  auto response = std::make_shared<brivane::QPGetFinancialInstitutionDataResponse>();
  response->initWithJSONObject(json);
  benchmark::DoNotOptimize(response);
  return response->creditorIdentifier.has_value();
}

size_t collect(char* data, size_t size, size_t count, void* sink) {
  static_cast<std::string*>(sink)->append(data, size * count);
  return size * count;
}

std::string anchorUrl() {
  return baseUrl() + kPath +
         "?localDate=2024-03-03&localTime=090507&partnerReference=BENCH0123456789&programCode=" + kProgram;
}

curl_slist* anchorHeaders() {
  curl_slist* headers = nullptr;
  headers = curl_slist_append(headers, (std::string("Authorization: Bearer ") + kToken).c_str());
  headers = curl_slist_append(headers, "Accept: application/json");
  headers = curl_slist_append(headers, "Content-Type: application/json");
  headers = curl_slist_append(headers, "Expect:");
  return headers;
}

void commonOptions(CURL* easy, const std::string& url, curl_slist* headers, std::string* body) {
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, 60000L);
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, collect);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, body);
}

// --- The three sides --------------------------------------------------------------------------

class Sdk {
 public:
  Sdk() : provider_(makeProvider()) {}

  static std::unique_ptr<brivane::QPApiProvider> makeProvider() {
    auto tokens = std::make_shared<brivane::QPDefaultAccessTokenProvider>();
    tokens->setAccessToken(kToken);
    brivane::QPApiProviderOption option;
    option.url = baseUrl();
    option.programCode = kProgram;
    option.partnerReferencePrefix = "BENCH";
    option.accessTokenProvider = tokens;
    return std::make_unique<brivane::QPApiProvider>(option);
  }

  // `inFlight` calls started at once; returns once all have completed on the main queue.
  bool batch(int inFlight) {
    int done = 0;
    int failed = 0;
    for (int i = 0; i < inFlight; ++i) {
      provider_->settingsAPI()->getgetFinancialInstitutionData(
          brivane::QPGetFinancialInstitutionDataRequest(),
          [&](std::optional<brivane::QPError> error,
              std::shared_ptr<brivane::QPGetFinancialInstitutionDataResponse> response) {
            if (error || !response || !response->creditorIdentifier) ++failed;
            ++done;
          });
    }
    brivane::QPMainQueue::runUntil([&] { return done == inFlight; }, std::chrono::seconds(60));
    return done == inFlight && failed == 0;
  }

 private:
  std::unique_ptr<brivane::QPApiProvider> provider_;
};

// The same call as `Sdk`, awaited in a coroutine: one task per call, started at once.
class SdkAwait {
 public:
  SdkAwait() : provider_(Sdk::makeProvider()) {}

  bool batch(int inFlight) {
    int done = 0;
    int failed = 0;
    std::vector<brivane::QPTask<>> tasks;
    tasks.reserve(static_cast<std::size_t>(inFlight));
    for (int i = 0; i < inFlight; ++i) {
      tasks.push_back(one(provider_->settingsAPI(), &done, &failed));
      tasks.back().start();
    }
    brivane::QPMainQueue::runUntil([&] { return done == inFlight; }, std::chrono::seconds(60));
    return done == inFlight && failed == 0;
  }

 private:
  static brivane::QPTask<> one(std::shared_ptr<brivane::QPSettingsAPI> settings, int* done, int* failed) {
    auto result = co_await brivane::awaitCall(std::move(settings),
                                              &brivane::QPSettingsAPI::getgetFinancialInstitutionData,
                                              brivane::QPGetFinancialInstitutionDataRequest());
    if (!result || !result.response()->creditorIdentifier) ++*failed;
    ++*done;
  }

  std::unique_ptr<brivane::QPApiProvider> provider_;
};

// Anchor (b): a plain multi handle on this thread; the easy handles of finished requests are
// reset and kept for the next ones, a few of them, as a careful libcurl user keeps them.
class PlainMulti {
 public:
  PlainMulti() : url_(anchorUrl()), headers_(anchorHeaders()), multi_(curl_multi_init()) {
    curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, 6L);
  }
  ~PlainMulti() {
    for (CURL* easy : idle_) curl_easy_cleanup(easy);
    curl_multi_cleanup(multi_);
    curl_slist_free_all(headers_);
  }

  bool batch(int inFlight) {
    std::map<CURL*, std::string> bodies;
    for (int i = 0; i < inFlight; ++i) {
      CURL* easy = take();
      commonOptions(easy, url_, headers_, &bodies[easy]);
      curl_multi_add_handle(multi_, easy);
    }
    int done = 0;
    bool ok = true;
    while (done < inFlight) {
      int running = 0;
      curl_multi_perform(multi_, &running);
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        CURL* easy = message->easy_handle;
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        ok = ok && message->data.result == CURLE_OK && status == 200 && parseAndFill(bodies[easy]);
        curl_multi_remove_handle(multi_, easy);
        giveBack(easy);
        ++done;
      }
      if (done < inFlight) curl_multi_poll(multi_, nullptr, 0, 1000, nullptr);
    }
    return ok;
  }

 private:
  static constexpr std::size_t kKept = 8;

  CURL* take() {
    if (idle_.empty()) return curl_easy_init();
    CURL* easy = idle_.back();
    idle_.pop_back();
    return easy;
  }

  void giveBack(CURL* easy) {
    if (idle_.size() >= kKept) return curl_easy_cleanup(easy);
    curl_easy_reset(easy);
    idle_.push_back(easy);
  }

  std::string url_;
  curl_slist* headers_;
  CURLM* multi_;
  std::vector<CURL*> idle_;  // reset, for the next requests
};

// Anchor (a): one reused easy handle, one request at a time.
class PlainEasy {
 public:
  PlainEasy() : url_(anchorUrl()), headers_(anchorHeaders()), easy_(curl_easy_init()) {
    commonOptions(easy_, url_, headers_, &body_);
  }
  ~PlainEasy() {
    curl_easy_cleanup(easy_);
    curl_slist_free_all(headers_);
  }

  bool batch(int inFlight) {
    bool ok = true;
    for (int i = 0; i < inFlight; ++i) {
      body_.clear();
      long status = 0;
      ok = ok && curl_easy_perform(easy_) == CURLE_OK;
      curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
      ok = ok && status == 200 && parseAndFill(body_);
    }
    return ok;
  }

 private:
  std::string url_;
  curl_slist* headers_;
  CURL* easy_;
  std::string body_;
};

// --- Rounds -----------------------------------------------------------------------------------

struct Row {
  std::string name;
  bench::Spread wall, cpu;
  double sdkMicros = 0, anchorMicros = 0, sdkSwitches = 0, anchorSwitches = 0;
};
std::vector<Row> summary;
constexpr int kRounds = 61;

template <class Side>
bool measure(Side& side, int inFlight, int batches, bench::Usage* usage) {
  bench::Usage before = bench::Usage::now();
  bool ok = true;
  for (int i = 0; i < batches; ++i) ok = side.batch(inFlight) && ok;
  *usage = bench::Usage::now() - before;
  return ok;
}

// Calls per side and round: at least 100, about 10 ms. Short rounds, many of them, so that a
// burst of load on the machine falls on both sides of a round rather than on one.
int batchesFor(int inFlight) {
  return std::max(1, 100 / inFlight);
}

// The per-round figures of one pair of sides: the ratios first/second, each side's per-call wall
// time and context switches.
struct Pair {
  std::vector<double> wall, cpu, firstMicros, secondMicros, firstSwitches, secondSwitches;

  void add(const bench::Usage& first, const bench::Usage& second, double calls) {
    wall.push_back(first.wallSeconds / second.wallSeconds);
    cpu.push_back(first.cpuSeconds / second.cpuSeconds);
    firstMicros.push_back(first.wallSeconds / calls * 1e6);
    secondMicros.push_back(second.wallSeconds / calls * 1e6);
    firstSwitches.push_back(first.contextSwitches / calls);
    secondSwitches.push_back(second.contextSwitches / calls);
  }

  // Counters "<name>_wall", quartiles and "<name>_cpu"; a row of the summary.
  void report(benchmark::State& state, const std::string& name, int inFlight) const {
    bench::Spread w = bench::spreadOf(wall);
    state.counters[name + "_wall"] = w.median;
    state.counters[name + "_wall_p25"] = w.p25;
    state.counters[name + "_wall_p75"] = w.p75;
    state.counters[name + "_cpu"] = bench::spreadOf(cpu).median;
    std::string label = name + std::string(11 - std::min<std::size_t>(name.size(), 10), ' ');
    summary.push_back({label + std::to_string(inFlight) + " in flight", w, bench::spreadOf(cpu),
                       bench::spreadOf(firstMicros).median, bench::spreadOf(secondMicros).median,
                       bench::spreadOf(firstSwitches).median, bench::spreadOf(secondSwitches).median});
  }
};

void BM_Calls(benchmark::State& state) {
  const int inFlight = static_cast<int>(state.range(0));
  const bool withEasy = inFlight == 1;
  const int batches = batchesFor(inFlight);
  const double calls = static_cast<double>(inFlight) * batches;
  Sdk sdk;
  PlainMulti multi;
  PlainEasy easy;
  // Warm-up: connections open, first-use allocations done.
  if (!sdk.batch(inFlight) || !multi.batch(inFlight) || (withEasy && !easy.batch(inFlight))) {
    state.SkipWithError("a warm-up call failed");
    return;
  }
  Pair overMulti, overEasy;
  int round = 0;
  for (auto _ : state) {
    bench::Usage uSdk, uMulti, uEasy;
    bool ok = true;
    // Alternate the order: sdk first on even rounds, anchors first on odd ones.
    if (round % 2 == 0) {
      ok = measure(sdk, inFlight, batches, &uSdk) && ok;
      ok = measure(multi, inFlight, batches, &uMulti) && ok;
      if (withEasy) ok = measure(easy, inFlight, batches, &uEasy) && ok;
    } else {
      if (withEasy) ok = measure(easy, inFlight, batches, &uEasy) && ok;
      ok = measure(multi, inFlight, batches, &uMulti) && ok;
      ok = measure(sdk, inFlight, batches, &uSdk) && ok;
    }
    ++round;
    if (!ok) {
      state.SkipWithError("a call failed");
      return;
    }
    overMulti.add(uSdk, uMulti, calls);
    if (withEasy) overEasy.add(uSdk, uEasy, calls);
  }
  overMulti.report(state, "sdk/multi", inFlight);
  state.counters["sdk_us"] = bench::spreadOf(overMulti.firstMicros).median;
  state.counters["multi_us"] = bench::spreadOf(overMulti.secondMicros).median;
  state.counters["sdk_csw"] = bench::spreadOf(overMulti.firstSwitches).median;
  state.counters["multi_csw"] = bench::spreadOf(overMulti.secondSwitches).median;
  if (withEasy) {
    overEasy.report(state, "sdk/easy", inFlight);
    state.counters["easy_us"] = bench::spreadOf(overEasy.secondMicros).median;
  }
}
BENCHMARK(BM_Calls)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Iterations(kRounds)->UseRealTime()->Unit(
    benchmark::kMillisecond);

// The coroutine form against the completion form of the same call, side by side.
void BM_Await(benchmark::State& state) {
  const int inFlight = static_cast<int>(state.range(0));
  const int batches = batchesFor(inFlight);
  const double calls = static_cast<double>(inFlight) * batches;
  Sdk sdk;
  SdkAwait awaited;
  if (!sdk.batch(inFlight) || !awaited.batch(inFlight)) {
    state.SkipWithError("a warm-up call failed");
    return;
  }
  Pair overSdk;
  int round = 0;
  for (auto _ : state) {
    bench::Usage uSdk, uAwait;
    bool ok = true;
    if (round++ % 2 == 0) {
      ok = measure(sdk, inFlight, batches, &uSdk) && ok;
      ok = measure(awaited, inFlight, batches, &uAwait) && ok;
    } else {
      ok = measure(awaited, inFlight, batches, &uAwait) && ok;
      ok = measure(sdk, inFlight, batches, &uSdk) && ok;
    }
    if (!ok) {
      state.SkipWithError("a call failed");
      return;
    }
    overSdk.add(uAwait, uSdk, calls);
  }
  overSdk.report(state, "await/sdk", inFlight);
}
BENCHMARK(BM_Await)->Arg(1)->Arg(10)->Arg(100)->Iterations(kRounds)->UseRealTime()->Unit(
    benchmark::kMillisecond);

void printSummary() {
  std::printf("\nMedian of %d per-round ratios (first side over second), interquartile range and extremes:\n",
              kRounds);
  std::printf("%-26s %-52s %-8s %9s %9s %8s %8s\n", "", "wall", "cpu", "1st us", "2nd us", "1st csw",
              "2nd csw");
  for (const Row& row : summary)
    std::printf("%-26s %-52s %-8.3f %9.1f %9.1f %8.2f %8.2f\n", row.name.c_str(),
                bench::describe(row.wall).c_str(), row.cpu.median, row.sdkMicros, row.anchorMicros,
                row.sdkSwitches, row.anchorSwitches);
  std::printf(
      "(us and csw: wall time and context switches of the whole client process per call, first and second "
      "side)\n");
}

// `--only=sdk|multi|easy [--in-flight=N] [--batches=N]`: runs one side alone, for a profiler or
// strace to look at (no measurement of its own).
int runOnly(const std::string& side, int inFlight, int batches) {
  bool ok = true;
  bench::Usage before = bench::Usage::now();
  if (side == "sdk") {
    Sdk sdk;
    for (int i = 0; i < batches; ++i) ok = sdk.batch(inFlight) && ok;
  } else if (side == "multi") {
    PlainMulti multi;
    for (int i = 0; i < batches; ++i) ok = multi.batch(inFlight) && ok;
  } else if (side == "easy") {
    PlainEasy easy;
    for (int i = 0; i < batches; ++i) ok = easy.batch(inFlight) && ok;
  } else {
    std::fprintf(stderr, "bench_call: --only takes sdk, multi or easy\n");
    return 2;
  }
  bench::Usage used = bench::Usage::now() - before;
  double calls = static_cast<double>(batches) * inFlight;
  std::printf("%s: %d batches of %d calls, %s; per call %.1f us wall, %.1f us CPU, %.2f context switches\n",
              side.c_str(), batches, inFlight, ok ? "all succeeded" : "FAILED",
              used.wallSeconds / calls * 1e6, used.cpuSeconds / calls * 1e6, used.contextSwitches / calls);
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::string only;
  int inFlight = 1;
  int batches = 10000;
  for (int i = 1; i < argc; ++i) {
    std::string argument = argv[i];
    if (argument.starts_with("--only=")) only = argument.substr(7);
    if (argument.starts_with("--in-flight=")) inFlight = std::max(1, std::atoi(argument.c_str() + 12));
    if (argument.starts_with("--batches=")) batches = std::max(1, std::atoi(argument.c_str() + 10));
  }
  // The server is forked before any thread of the client exists.
  if (!startServer()) {
    std::fprintf(stderr, "bench_call: the loopback server did not start\n");
    return 1;
  }
  curl_global_init(CURL_GLOBAL_DEFAULT);
  if (!only.empty()) {
    int status = runOnly(only, inFlight, batches);
    stopServer();
    return status;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    stopServer();
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  printSummary();
  stopServer();
  return 0;
}
