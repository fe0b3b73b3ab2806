// A newcomer's journey written as straight-line code in one coroutine: the back office signs in
// and opens the newcomer's account, the app signs in as the newcomer, and a payment from that
// account is authorized and captured. Runs against a running sandbox (`brivane sandbox`, default
// http://127.0.0.1:8080).
//
//   coroutine_host [BASE_URL]
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/core/QPAsync.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/platform/QPMainQueue.h"

namespace {

using namespace brivane;

template <class R>
bool failed(const char* step, const QPResult<R>& result) {
  if (result) return false;
  std::fprintf(stderr, "%s failed: %s\n", step, result.error()->toString().c_str());
  return true;
}

QPTask<int> journey(QPApiProvider& provider, std::shared_ptr<QPDefaultAccessTokenProvider> tokens,
                    std::string newcomer) {
  const std::string password = "Newcomer-Pass-3";
  auto auth = provider.authenticationAPI();

  // The back office signs in and opens the newcomer's account.
  auto office = co_await awaitCall(auth, &QPAuthenticationAPI::getAccessTokenWithUserName,
                                   "demo@brivane.test", "Demo-Pass-1", "password");
  if (failed("token", office)) co_return 1;
  tokens->setAccessToken(office.response()->access_token);

  auto application = std::make_shared<QPCreateAccountRequest>();
  application->emailAddress = newcomer;
  application->password = password;
  application->firstName = "Nora";
  application->lastName = "Newcomer";
  application->countryCode = "AT";
  application->currCode = "EUR";
  auto account = co_await awaitCall(provider.accountAPI(), &QPAccountAPI::createAccount, application);
  if (failed("account", account)) co_return 1;
  const std::optional<std::string> accno = account.response()->accno;
  std::printf("account %s opened for %s\n", accno.value_or("?").c_str(), newcomer.c_str());

  // From here on the app calls as the newcomer.
  auto token = co_await awaitCall(auth, &QPAuthenticationAPI::getAccessTokenWithUserName, newcomer, password,
                                  "password");
  if (failed("newcomer's token", token)) co_return 1;
  tokens->setAccessToken(token.response()->access_token);

  auto payment = std::make_shared<QPAuthorizeRequest>();
  payment->programAccno = "9000000001";
  payment->accno = accno;
  payment->presentationAmount = QPNumber(12.5);
  payment->presentationCurrCode = "EUR";
  payment->carrierNumber = "4111111111111111";
  auto authorized = co_await awaitCall(provider.paymentAPI(), &QPPaymentAPI::authorize, payment);
  if (failed("authorize", authorized)) co_return 1;
  const std::optional<std::string> reference = authorized.response()->uniqueReference;
  std::printf("payment %s: %s\n", reference.value_or("?").c_str(),
              authorized.response()->statusCode.value_or("?").c_str());

  auto captured = co_await awaitCall(provider.paymentAPI(), &QPPaymentAPI::capture,
                                     std::make_shared<QPCaptureRequest>(), reference);
  if (failed("capture", captured)) co_return 1;
  std::printf("payment %s: %s\n", reference.value_or("?").c_str(),
              captured.response()->statusCode.value_or("?").c_str());
  co_return captured.response()->statusCode == "CAPTURED" ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  auto tokens = std::make_shared<QPDefaultAccessTokenProvider>();
  QPApiProviderOption option;
  option.url = argc > 1 ? argv[1] : "http://127.0.0.1:8080";
  option.programCode = "BRIVANE";
  option.partnerReferencePrefix = "HOST";
  option.accessTokenProvider = tokens;
  QPApiProvider provider(option);

  // A fresh login each run: the sandbox keeps its users for its lifetime.
  const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
  QPTask<int> task = journey(provider, tokens, "newcomer-" + std::to_string(stamp) + "@brivane.test");
  task.start();
  // The coroutine resumes on the main queue: this thread drives it until the journey ends.
  if (!QPMainQueue::runUntil([&] { return task.done(); }, std::chrono::seconds(60))) {
    std::fputs("the journey did not finish within 60 s\n", stderr);
    return 1;
  }
  return task.result();
}
