// Per-call options: cancellation, retries, listeners, time-outs, and how a scope applies them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <stop_token>

#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/core/QPCallOptions.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/testing/QPFakeHttpClient.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using namespace std::chrono_literals;
using test::Captured;
using test::RecordingListener;
using ::testing::ElementsAre;

const std::string kToken = "call-options-token-4Rw";

// A loopback port whose connections the kernel completes but nobody reads or answers: a call to
// it waits until it is stopped or times out.
class SilentPort {
 public:
  SilentPort() {
    fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(fd_, 64) != 0 ||
        getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
      ADD_FAILURE() << "no loopback port";
    port_ = ntohs(address.sin_port);
  }
  ~SilentPort() { close(fd_); }
  std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(port_); }

 private:
  int fd_ = -1;
  int port_ = 0;
};

std::unique_ptr<QPApiProvider> providerFor(std::string url, QPCallOptions options = {},
                                           std::shared_ptr<QPHttpClient> http = nullptr) {
  auto tokens = std::make_shared<QPDefaultAccessTokenProvider>();
  tokens->setAccessToken(kToken);
  QPApiProviderOption option;
  option.url = std::move(url);
  option.programCode = "P";
  option.partnerReferencePrefix = "T";
  option.accessTokenProvider = tokens;
  option.callOptions = std::move(options);
  option.httpClient = std::move(http);
  return std::make_unique<QPApiProvider>(option);
}

void expectCancelled(const std::optional<QPError>& error) {
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain(), QPErrorDomainClient);
  EXPECT_EQ(error->code(), QPClientErrorCancelled);
}

TEST(QPCallCancellation, AStoppedCallCompletesOnceAndSendsNothingMore) {
  enum class When { BeforeSending, WhileWaiting, WhileWaitingToRetry, AfterTheAnswer };
  SilentPort silent;
  for (When when :
       {When::BeforeSending, When::WhileWaiting, When::WhileWaitingToRetry, When::AfterTheAnswer}) {
    SCOPED_TRACE(static_cast<int>(when));
    auto http = std::make_shared<QPFakeHttpClient>();
    http->respond("GET", "/settings/country", 503, "{}", {{"Retry-After", "1"}});
    http->respond("GET", "/settings/country", 200, R"({"countries":[]})");
    QPCallOptions options;
    if (when == When::WhileWaitingToRetry) options.retry = QPRetryPolicy{};
    if (when == When::AfterTheAnswer) http->respond("GET", "/settings/country", 200, R"({"countries":[]})");
    auto provider =
        when == When::WhileWaiting ? providerFor(silent.baseUrl()) : providerFor("http://h", {}, http);
    std::stop_source source;
    if (when == When::BeforeSending) source.request_stop();
    options.stop = source.get_token();
    Captured<QPGetCountriesResponse> captured;
    {
      QPCallOptionsScope scope(options);
      provider->settingsAPI()->getCountries(QPGetCountriesRequest(), captured.completion());
      if (when == When::AfterTheAnswer) {
        provider->settingsAPI()->getCountries(QPGetCountriesRequest(), captured.completion());
        ASSERT_TRUE(QPMainQueue::runUntil([&] { return captured.calls == 2; }, 10s));
      }
    }
    if (when == When::WhileWaiting) QPMainQueue::runFor(100ms);  // sent, and held
    if (when == When::WhileWaitingToRetry) {
      ASSERT_TRUE(QPMainQueue::runUntil([&] { return http->requests().size() == 1; }, 10s));
    }
    const int before = captured.calls;
    source.request_stop();
    if (when != When::AfterTheAnswer) {
      ASSERT_TRUE(captured.wait(5s));
      expectCancelled(captured.error);
    }
    QPMainQueue::runFor(when == When::WhileWaitingToRetry ? 1500ms : 50ms);  // past the retry's wait
    EXPECT_EQ(captured.calls, before + (when == When::AfterTheAnswer ? 0 : 1));
    const std::size_t sent[] = {0, 0, 1, 2};  // by the fake (none for the silent port)
    if (when != When::WhileWaiting) {
      EXPECT_EQ(http->requests().size(), sent[static_cast<int>(when)]);
    }
    if (when == When::AfterTheAnswer) {
      EXPECT_FALSE(captured.error);
    }
  }
}

std::size_t openDescriptors() {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                                std::filesystem::directory_iterator()));
}

// 1,000 calls in flight (six held on their connections, the rest waiting in libcurl), all
// stopped: each completes once, cancelled, and their connections and memory go back.
TEST(QPCallCancellation, StoppingAThousandCallsInFlightLeaksNothing) {
  SilentPort silent;
  auto provider = providerFor(silent.baseUrl());
  auto round = [&] {
    std::stop_source source;
    int completed = 0;
    int cancelled = 0;
    {
      QPCallOptionsScope scope({.stop = source.get_token()});
      for (int i = 0; i < 1000; ++i)
        provider->settingsAPI()->getCountries(
            QPGetCountriesRequest(),
            [&](std::optional<QPError> error, std::shared_ptr<QPGetCountriesResponse>) {
              ++completed;
              if (error && error->domain() == QPErrorDomainClient && error->code() == QPClientErrorCancelled)
                ++cancelled;
            });
    }
    QPMainQueue::runFor(200ms);
    source.request_stop();
    EXPECT_TRUE(QPMainQueue::runUntil([&] { return completed >= 1000; }, 20s));
    QPMainQueue::runFor(100ms);
    EXPECT_EQ(completed, 1000);
    EXPECT_EQ(cancelled, 1000);
  };
  round();  // the engine, libcurl's caches and the allocator's pools settle
  const std::size_t descriptors = openDescriptors();
  const std::size_t heap = mallinfo2().uordblks;
  round();
  round();
  EXPECT_LE(openDescriptors(), descriptors);
  EXPECT_LT(mallinfo2().uordblks, heap + (1u << 20)) << "bytes in use grew over two rounds of 1,000";
}

TEST(QPCallRetries, OnlyWhatThePolicyAllowsIsTriedAgainAndTheCallCompletesOnce) {
  const QPRetryPolicy quick{.maxAttempts = 3, .initialBackoff = 5ms, .maxBackoff = 20ms};
  QPRetryPolicy anyMethod = quick;
  anyMethod.retryNonIdempotent = true;
  struct Case {
    const char* name;
    std::optional<QPRetryPolicy> policy;
    bool post;
    std::vector<int> statuses;
    int attempts;
    std::optional<std::int64_t> error;  // the code of the one completion's error
  } cases[] = {
      {"GET, 503 twice then 200", quick, false, {503, 503}, 3, std::nullopt},
      {"no policy: no retry", std::nullopt, false, {503, 503}, 1, 503},
      {"attempts run out: the last answer", quick, false, {504, 502, 503, 500}, 3, 503},
      {"404 is not retried", quick, false, {404}, 1, std::nullopt},  // {} is delivered
      {"POST: one attempt", quick, true, {503, 503}, 1, 503},
      {"POST with retryNonIdempotent", anyMethod, true, {429, 408}, 3, std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = c.post ? "/payment/P-1/capture" : "/settings/country";
    test::FakeClient client({.retry = c.policy});
    const char* method = c.post ? "POST" : "GET";
    for (int status : c.statuses) client.http->respond(method, path, status, "{}");
    client.http->respond(method, path, 200, R"({"countries":[]})");
    Captured<QPResponseBase> captured;
    if (c.post) {
      client.provider->paymentAPI()->capture(std::make_shared<QPCaptureRequest>(), "P-1",
                                             captured.completion());
    } else {
      client.provider->settingsAPI()->getCountries(QPGetCountriesRequest(), captured.completion());
    }
    ASSERT_TRUE(captured.wait());
    QPMainQueue::runFor(100ms);
    EXPECT_EQ(captured.calls, 1);
    EXPECT_EQ(client.http->requests().size(), static_cast<std::size_t>(c.attempts));
    EXPECT_EQ(captured.error ? std::optional(captured.error->code()) : std::nullopt, c.error);
  }
}

TEST(QPCallRetries, RetryAfterIsHonouredUpToMaxBackoff) {
  // An HTTP date this many seconds ahead.
  auto dateIn = [](int seconds) {
    const std::time_t at = std::time(nullptr) + seconds;
    std::tm tm{};
    gmtime_r(&at, &tm);
    char text[40];
    std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &tm);
    return std::string(text);
  };
  struct Case {
    const char* retryAfter;  // nil: an HTTP date `dateAhead` seconds ahead, made when the call starts
    int dateAhead;
    std::chrono::milliseconds maxBackoff;
    std::chrono::milliseconds atLeast, below;
  } cases[] = {
      {"1", 0, 5s, 900ms, 4s},        // waits the second asked for, not the 1 ms backoff
      {"100", 0, 50ms, 0ms, 4s},      // a hundred seconds asked, capped at 50 ms
      {nullptr, 2, 5s, 900ms, 4s},    // a date two seconds ahead (whole seconds: 1 to 2 s)
      {nullptr, 100, 50ms, 0ms, 4s},  // a date far ahead, capped
  };
  for (const Case& c : cases) {
    const std::string retryAfter = c.retryAfter ? c.retryAfter : dateIn(c.dateAhead);
    SCOPED_TRACE(retryAfter);
    test::FakeClient client({.retry = QPRetryPolicy{.initialBackoff = 1ms, .maxBackoff = c.maxBackoff}});
    client.http->respond("GET", "/settings/country", 503, "{}", {{"Retry-After", retryAfter}});
    client.http->respond("GET", "/settings/country", 200, R"({"countries":[]})");
    Captured<QPGetCountriesResponse> captured;
    auto start = std::chrono::steady_clock::now();
    client.provider->settingsAPI()->getCountries(QPGetCountriesRequest(), captured.completion());
    ASSERT_TRUE(captured.wait());
    auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_FALSE(captured.error);
    EXPECT_EQ(client.http->requests().size(), 2u);
    EXPECT_GE(waited, c.atLeast);
    EXPECT_LT(waited, c.below);
  }
}

// What a listener hears: the template of the path, attempts, statuses and errors by domain and
// code, and nothing of the identifier, the token, the parameters or the answers.
TEST(QPCallListenerEvents, TemplatesStatusesAndNothingSecret) {
  const std::string accno = "AT-SECRET-ACCNO-77";
  auto http = std::make_shared<QPFakeHttpClient>();
  http->respond("GET", "/balance", 503, R"({"balance":"secret-amount-1"})");
  http->respond("GET", "/balance", 200, R"({"balance":"secret-amount-2"})");
  http->respond("GET", "/balance", 401, R"({"responseCode":"4711","responseDescription":"secret-text"})");
  auto listener = std::make_shared<RecordingListener>();
  auto provider = providerFor("http://user:pw@h/api/", {.listener = listener}, http);
  for (int call = 0; call < 2; ++call) {
    Captured<QPBalanceEnquiryResponse> captured;
    std::optional<QPCallOptionsScope> scope;
    if (call == 0) scope.emplace(QPCallOptions{.retry = QPRetryPolicy{.initialBackoff = 1ms}});
    provider->accountAPI()->balanceEnquiry(std::make_shared<QPBalanceEnquiryRequest>("WALLET"), accno,
                                           captured.completion());
    scope.reset();
    ASSERT_TRUE(captured.wait());
  }
  EXPECT_THAT(
      listener->lines(),
      ElementsAre(
          "started GET /account/{accno}/balance 0 0 -", "attempt GET /account/{accno}/balance 1 503 -",
          "attempt GET /account/{accno}/balance 2 200 -", "finished GET /account/{accno}/balance 2 200 -",
          "started GET /account/{accno}/balance 0 0 -", "attempt GET /account/{accno}/balance 1 401 -",
          "finished GET /account/{accno}/balance 1 401 http://h/api/account/{accno}/balance (4711): "
          "(no description)"));
  for (const std::string& line : listener->lines())
    for (const std::string& secret :
         {accno, kToken, std::string("secret"), std::string("WALLET"), std::string("pw@")})
      EXPECT_THAT(line, ::testing::Not(::testing::HasSubstr(secret)));
}

// Provider-wide options apply to every call; a scope's set fields override them for the calls
// started while it lives, read once when each starts; nested scopes override outer ones.
TEST(QPCallOptionsScopes, PerCallFieldsOverrideProviderWideOnes) {
  SilentPort silent;
  auto wide = std::make_shared<RecordingListener>();
  auto scoped = std::make_shared<RecordingListener>();
  auto provider = providerFor(silent.baseUrl(), {.timeout = 20s, .listener = wide});
  Captured<QPGetCountriesResponse> timedOut;
  {
    QPCallOptionsScope outer({.listener = scoped});
    QPCallOptionsScope inner({.timeout = 100ms});
    provider->settingsAPI()->getCountries(QPGetCountriesRequest(), timedOut.completion());
  }
  ASSERT_TRUE(timedOut.wait());  // within the inner scope's 100 ms, not the provider's 20 s
  EXPECT_EQ(timedOut.error->domain(), QPErrorDomainNetwork);
  EXPECT_EQ(timedOut.error->code(), 28);
  EXPECT_EQ(scoped->lines().size(), 3u);  // started, attempt, finished
  EXPECT_TRUE(wide->lines().empty());

  std::stop_source leaving;  // a scope that sets the stop token only keeps the provider's listener
  Captured<QPGetCountriesResponse> stopped;
  {
    QPCallOptionsScope scope({.stop = leaving.get_token()});
    provider->settingsAPI()->getCountries(QPGetCountriesRequest(), stopped.completion());
  }
  leaving.request_stop();
  ASSERT_TRUE(stopped.wait());
  expectCancelled(stopped.error);
  EXPECT_THAT(wide->lines(), ::testing::Contains("finished GET /settings/country 1 0 brivane.client (7): "
                                                 "(no description)"));
  EXPECT_EQ(scoped->lines().size(), 3u);
  EXPECT_EQ(QPCallOptionsScope::current(), nullptr);
}

}  // namespace
}  // namespace brivane
