#include <gtest/gtest.h>

#include <coroutine>
#include <future>
#include <thread>
#include <tuple>
#include <utility>

#include "brivane/api/core/QPAsync.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

// --- Every operation goes through the one adapter, with its own argument types -------------------

template <class Operation>
struct Parameters;
template <class F, class... P>
struct Parameters<void (F::*)(P...) const> {
  using Family = F;
  using Tuple = std::tuple<std::remove_cvref_t<P>...>;
};

template <auto Operation, class Expected, std::size_t... I>
constexpr bool adapts(std::index_sequence<I...>) {
  using P = Parameters<decltype(Operation)>;
  return requires(std::shared_ptr<typename P::Family> family,
                  std::tuple_element_t<I, typename P::Tuple>... args) {
    { awaitCall(family, Operation, std::move(args)...).await_resume() } -> std::same_as<QPResult<Expected>>;
    { futureCall(family, Operation, std::move(args)...) } -> std::same_as<std::future<QPResult<Expected>>>;
  };
}
template <auto Operation, class Expected>
constexpr bool adapts() {
  constexpr std::size_t arguments = std::tuple_size_v<typename Parameters<decltype(Operation)>::Tuple> - 1;
  return adapts<Operation, Expected>(std::make_index_sequence<arguments>());
}

static_assert(adapts<&QPAuthenticationAPI::getAccessTokenWithUserName, QPAccessTokenResponse>());
static_assert(adapts<&QPAuthenticationAPI::getRefreshTokenWithToken, QPAccessTokenResponse>());
static_assert(adapts<&QPSettingsAPI::getCountries, QPGetCountriesResponse>());
static_assert(
    adapts<&QPSettingsAPI::getgetFinancialInstitutionData, QPGetFinancialInstitutionDataResponse>());
static_assert(adapts<&QPUserAPI::sendPasswordResetCode, QPSendPasswordResetCodeResponse>());
static_assert(adapts<&QPUserAPI::changePassword, QPResponseBase>());
static_assert(adapts<&QPUserAPI::checkUserUniqueness, QPCheckUserUniquenessResponse>());
static_assert(adapts<&QPUserAPI::validatePassword, QPResponseBase>());
static_assert(adapts<&QPUserAPI::getSecondaryEmails, QPGetSecondaryEmailsResponse>());
static_assert(adapts<&QPUserAPI::createSecondaryEmail, QPResponseBase>());
static_assert(adapts<&QPUserAPI::editSecondaryEmail, QPResponseBase>());
static_assert(adapts<&QPUserAPI::deleteSecondaryEmail, QPResponseBase>());
static_assert(adapts<&QPUserAPI::setMainEmail, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::createAccount, QPCreateAccountResponse>());
static_assert(adapts<&QPAccountAPI::updateAccountInformation, QPCreateAccountResponse>());
static_assert(adapts<&QPAccountAPI::getAccountInformation, QPGetAccountInformationResponse>());
static_assert(adapts<&QPAccountAPI::accountEnquiry, QPAccountEnquiryResponse>());
static_assert(adapts<&QPAccountAPI::balanceEnquiry, QPBalanceEnquiryResponse>());
static_assert(adapts<&QPAccountAPI::transferAmount, QPTransferAmountResponse>());
static_assert(adapts<&QPAccountAPI::findAccount, QPFindAccountResponse>());
static_assert(adapts<&QPAccountAPI::calculateFees, QPCalculateFeesResponse>());
static_assert(adapts<&QPAccountAPI::checkLimits, QPCheckLimitsResponse>());
static_assert(adapts<&QPAccountAPI::getStoredPaymentOptions, QPGetStoredPaymentOptionsResponse>());
static_assert(adapts<&QPAccountAPI::requestMtan, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::checkPaymentAccessCode, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::initAddStoredPaymentOption, QPInitAddStoredPaymentOptionResponse>());
static_assert(
    adapts<&QPAccountAPI::completeAddStoredPaymentOption, QPCompleteAddStoredPaymentOptionResponse>());
static_assert(adapts<&QPAccountAPI::deleteStoredPaymentOption, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::initVerifyStoredPaymentOption, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::completeVerifyStoredPaymentOption, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::setDefaultStoredPaymentOption, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::getSepaMandate, QPGetSepaMandateResponse>());
static_assert(adapts<&QPAccountAPI::getProgramAccounts, QPGetProgramAccountsResponse>());
static_assert(adapts<&QPAccountAPI::getAccountState, QPGetAccountStateResponse>());
static_assert(adapts<&QPAccountAPI::registerAccountDevice, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::unregisterAccountDevice, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::verifyTransferRecipient, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::verifyMobilePhone, QPResponseBase>());
static_assert(adapts<&QPAccountAPI::getTransferRecipients, QPGetTransferRecipientsResponse>());
static_assert(adapts<&QPPaymentAPI::initAuthorize, QPInitAuthorizeResponse>());
static_assert(adapts<&QPPaymentAPI::completeAuthorize, QPCompleteAuthorizeResponse>());
static_assert(adapts<&QPPaymentAPI::authorize, QPAuthorizeResponse>());
static_assert(adapts<&QPPaymentAPI::capture, QPCaptureResponse>());
static_assert(adapts<&QPPaymentAPI::cancel, QPCancelResponse>());
static_assert(adapts<&QPPaymentAPI::payToAccount, QPPayToAccountResponse>());
static_assert(adapts<&QPPaymentAPI::lmCompleteAuthorize, QPLmCompleteAuthorizeResponse>());
static_assert(adapts<&QPPaymentAPI::getPaymentInformation, QPGetPaymentInformationResponse>());
// Arguments the operation cannot take are refused at the call, not inside the adapter.
template <class Argument>
constexpr bool countriesTake = requires(std::shared_ptr<QPSettingsAPI> family, Argument argument) {
  awaitCall(family, &QPSettingsAPI::getCountries, argument);
};
static_assert(countriesTake<QPGetCountriesRequest> && !countriesTake<int>);

// --- Real calls against the in-process sandbox -------------------------------------------------

bool onMainQueue() {
  return g_main_context_is_owner(g_main_context_default());
}

template <class T>
T run(QPTask<T>& task) {
  task.start();
  EXPECT_TRUE(QPMainQueue::runUntil([&] { return task.done(); }, std::chrono::seconds(10)));
  return task.result();
}

// A host's own coroutine type: eager, detached, nothing of the SDK's.
struct Detached {
  struct promise_type {
    Detached get_return_object() { return {}; }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
};

TEST(QPAsync, StraightLineCallsGiveValuesAndResumeOnTheMainQueue) {
  test::SandboxClient client(false);
  const auto& options = client.sandbox.options();
  auto checkout = [&]() -> QPTask<std::string> {
    auto auth = client.provider->authenticationAPI();
    auto wrong = co_await awaitCall(auth, &QPAuthenticationAPI::getAccessTokenWithUserName, options.userName,
                                    std::string("Wrong-Pass-9"), "password");
    if (wrong || !wrong.error() || wrong.response()) co_return "a wrong password succeeded";
    auto token = co_await awaitCall(auth, &QPAuthenticationAPI::getAccessTokenWithUserName, options.userName,
                                    options.password, "password");
    if (!token || !onMainQueue()) co_return "no token";
    client.tokens->setAccessToken(token.response()->access_token);
    QPGetCountriesRequest request;
    auto countries =
        co_await awaitCall(client.provider->settingsAPI(), &QPSettingsAPI::getCountries, request);
    co_return countries&& countries.response()->countries ? "ok" : "no countries";
  };
  QPTask<std::string> task = checkout();
  EXPECT_FALSE(task.done());  // lazy: nothing before start
  EXPECT_EQ(run(task), "ok");

  // Awaited from another coroutine type on a worker thread: resumed on the main queue.
  std::atomic<int> resumedOnMain{-1};
  auto foreign = [&]() -> Detached {
    auto result =
        co_await awaitCall(client.provider->settingsAPI(), &QPSettingsAPI::getgetFinancialInstitutionData,
                           QPGetFinancialInstitutionDataRequest());
    resumedOnMain = result && onMainQueue() ? 1 : 0;
  };
  std::thread([&] { foreign(); }).join();
  EXPECT_TRUE(QPMainQueue::runUntil([&] { return resumedOnMain >= 0; }, std::chrono::seconds(10)));
  EXPECT_EQ(resumedOnMain, 1);
}

TEST(QPAsync, LifetimesOfTasksFamiliesAndProviders) {
  test::SandboxClient client;
  auto countries = [](std::shared_ptr<QPSettingsAPI> settings,
                      bool* resumed) -> QPTask<QPResult<QPGetCountriesResponse>> {
    auto result =
        co_await awaitCall(std::move(settings), &QPSettingsAPI::getCountries, QPGetCountriesRequest());
    *resumed = true;
    co_return result;
  };
  // A task destroyed while its call is in flight is never resumed; the answer is dropped.
  bool resumed = false;
  {
    auto abandoned = countries(client.provider->settingsAPI(), &resumed);
    abandoned.start();
  }
  test::Captured<QPGetCountriesResponse> later;
  client.provider->settingsAPI()->getCountries(QPGetCountriesRequest(), later.completion());
  ASSERT_TRUE(later.wait());
  QPMainQueue::runFor(std::chrono::milliseconds(50));
  EXPECT_FALSE(resumed);

  // The provider (and with it the family) released while the call is in flight: it still ends.
  auto inFlight = countries(client.provider->settingsAPI(), &resumed);
  inFlight.start();
  client.provider.reset();
  auto outcome = run(inFlight);
  EXPECT_TRUE(resumed);
  EXPECT_TRUE(outcome && outcome.response()->countries);

  // No family: a client error, on the main queue, nothing sent.
  resumed = false;
  auto none = countries(nullptr, &resumed);
  outcome = run(none);
  ASSERT_TRUE(outcome.error());
  EXPECT_EQ(outcome.error()->domain(), QPErrorDomainClient);
  EXPECT_EQ(outcome.error()->code(), QPClientErrorMissingArgument);
}

// Options given first apply to that one call only: a stopped token cancels it, the next call
// without options goes through.
TEST(QPAsync, OptionsGivenFirstApplyToThatCallOnly) {
  test::SandboxClient client;
  std::stop_source stopped;
  stopped.request_stop();
  auto settings = client.provider->settingsAPI();
  const QPCallOptions stopping{.stop = stopped.get_token()};
  auto flow = [&]() -> QPTask<std::string> {
    auto cancelled =
        co_await awaitCall(stopping, settings, &QPSettingsAPI::getCountries, QPGetCountriesRequest());
    if (cancelled || cancelled.error()->domain() != QPErrorDomainClient ||
        cancelled.error()->code() != QPClientErrorCancelled)
      co_return "the stopped call was not cancelled";
    auto plain = co_await awaitCall(settings, &QPSettingsAPI::getCountries, QPGetCountriesRequest());
    co_return plain ? "ok" : "the next call failed";
  };
  QPTask<std::string> task = flow();
  EXPECT_EQ(run(task), "ok");
  auto future = futureCall(stopping, settings, &QPSettingsAPI::getCountries, QPGetCountriesRequest());
  EXPECT_TRUE(QPMainQueue::runUntil(
      [&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
      std::chrono::seconds(10)));
  QPResult<QPGetCountriesResponse> result = future.get();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(result.error()->code(), QPClientErrorCancelled);
}

TEST(QPAsync, FutureCallServesAWorkerThreadWhileTheMainLoopRuns) {
  test::SandboxClient client;
  std::atomic<bool> done{false};
  std::optional<QPResult<QPGetCountriesResponse>> outcome;
  std::thread worker([&] {
    outcome =
        futureCall(client.provider->settingsAPI(), &QPSettingsAPI::getCountries, QPGetCountriesRequest())
            .get();
    done = true;
  });
  EXPECT_TRUE(QPMainQueue::runUntil([&] { return done.load(); }, std::chrono::seconds(10)));
  worker.join();
  ASSERT_TRUE(outcome && *outcome);
  EXPECT_FALSE(outcome->error());
  EXPECT_TRUE(outcome->response()->countries);
}

}  // namespace
}  // namespace brivane
