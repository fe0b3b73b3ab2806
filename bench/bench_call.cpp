// One small call through the SDK against the same exchange made with plain libcurl, on loopback.
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <chrono>
#include <memory>

#include "brivane/api/core/QPApiProvider.h"
#include "brivane/platform/QPMainQueue.h"
#include "sandbox/Sandbox.h"

namespace {

using Clock = std::chrono::steady_clock;

size_t discard(char*, size_t size, size_t count, void* sink) {
  static_cast<std::string*>(sink)->append(size * count, ' ');
  return size * count;
}

struct Setup {
  brivane::sandbox::Sandbox sandbox;
  std::unique_ptr<brivane::QPApiProvider> provider;
  std::string token;
  std::string url;

  Setup() {
    sandbox.start();
    token = sandbox.issueAccessToken();
    auto tokens = std::make_shared<brivane::QPDefaultAccessTokenProvider>();
    tokens->setAccessToken(token);
    brivane::QPApiProviderOption option;
    option.url = sandbox.baseUrl();
    option.programCode = sandbox.options().programCode;
    option.partnerReferencePrefix = "BENCH";
    option.accessTokenProvider = tokens;
    provider = std::make_unique<brivane::QPApiProvider>(option);
    url = sandbox.baseUrl() +
          "/settings/getFinancialInstitutionData?localDate=2024-03-03&localTime=090507&partnerReference="
          "BENCH0123456789&programCode=" +
          sandbox.options().programCode;
  }
};

bool sdkCall(Setup& setup) {
  bool done = false, ok = false;
  setup.provider->settingsAPI()->getgetFinancialInstitutionData(
      brivane::QPGetFinancialInstitutionDataRequest(),
      [&](std::optional<brivane::QPError> error,
          std::shared_ptr<brivane::QPGetFinancialInstitutionDataResponse>) {
        ok = !error;
        done = true;
      });
  brivane::QPMainQueue::runUntil([&] { return done; }, std::chrono::seconds(5));
  return ok;
}

// The same request with a reused easy handle: headers, query, JSON parse of the answer.
struct PlainCurl {
  CURL* easy = curl_easy_init();
  curl_slist* headers = nullptr;
  std::string body;
  explicit PlainCurl(const Setup& setup) {
    headers = curl_slist_append(headers, ("Authorization: Bearer " + setup.token).c_str());
    headers = curl_slist_append(headers, "Accept: application/json");
    headers = curl_slist_append(headers, "Content-Type: application/json");
    curl_easy_setopt(easy, CURLOPT_URL, setup.url.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, discard);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
  }
  ~PlainCurl() {
    curl_slist_free_all(headers);
    curl_easy_cleanup(easy);
  }
  bool call() {
    body.clear();
    return curl_easy_perform(easy) == CURLE_OK;
  }
};

void BM_SmallCall_SdkVersusPlainCurl(benchmark::State& state) {
  Setup setup;
  PlainCurl plain(setup);
  sdkCall(setup);  // warm both connections
  plain.call();
  Clock::duration sdk{}, curl{};
  for (auto _ : state) {
    auto t0 = Clock::now();
    if (!sdkCall(setup)) state.SkipWithError("SDK call failed");
    auto t1 = Clock::now();
    if (!plain.call()) state.SkipWithError("curl call failed");
    auto t2 = Clock::now();
    sdk += t1 - t0;
    curl += t2 - t1;
  }
  double n = static_cast<double>(state.iterations());
  state.counters["sdk_us"] = std::chrono::duration<double, std::micro>(sdk).count() / n;
  state.counters["curl_us"] = std::chrono::duration<double, std::micro>(curl).count() / n;
  state.counters["sdk_over_curl"] =
      std::chrono::duration<double>(sdk).count() / std::chrono::duration<double>(curl).count();
}
BENCHMARK(BM_SmallCall_SdkVersusPlainCurl)->Unit(benchmark::kMicrosecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
