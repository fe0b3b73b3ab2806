// `brivane demo`: one integrator's journey through the five API families against the embedded
// sandbox. A newcomer signs up, stores a card through the payment form, pays a merchant with it
// and receives a transfer; every call prints one line (method, path, outcome, ms, detail).
#include <glib.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/core/QPLookups.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/api/user/QPUserAPI.h"
#include "brivane/commands.h"
#include "brivane/form_command.h"
#include "brivane/platform/QPMainQueue.h"
#include "sandbox/Sandbox.h"
#include "sandbox/Shopper.h"

namespace brivane::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kDemoUsage =
    "usage: brivane demo [--show-form]\n"
    "\n"
    "Starts the embedded sandbox and runs one integrator's journey through the five API families:\n"
    "a token by password, the newcomer's user name checked, the program's countries, an account\n"
    "opened and read, a card stored through the payment form (initAdd, the shopper's page,\n"
    "completeAdd) and listed, a payment with that card (initAuthorize, the shopper's page,\n"
    "completeAuthorize), its capture and information, a transfer from the seeded demo account to\n"
    "the new one, the new account's balance and statement, and a token refresh.\n"
    "\n"
    "One line per call: method, path, outcome, milliseconds, detail. The journey stops at the first\n"
    "failed step; the exit code is 0 only when every step succeeded.\n"
    "\n"
    "options:\n"
    "  --show-form   a person completes the payment form's pages in a window (`brivane form show`)\n"
    "                instead of the scripted shopper; needs a display ($DISPLAY or $WAYLAND_DISPLAY)\n";

constexpr const char* kNewcomer = "newcomer@brivane.test";
constexpr const char* kNewcomerPassword = "Newcomer-Pass-3";
constexpr const char* kDemoAccno = "1000000001";  // the seeded account of the sandbox's demo user

// What a step shows after its outcome; `expected` false marks an answer the journey cannot use.
struct Detail {
  Detail(std::string text, bool expected = true) : text(std::move(text)), expected(expected) {}
  std::string text;
  bool expected = true;
};

std::string amountText(const std::optional<QPNumber>& amount, const std::optional<std::string>& currency) {
  if (!amount) return "?";
  char text[48];
  std::snprintf(text, sizeof text, "%.2f %s", amount->doubleValue(), currency.value_or("").c_str());
  return text;
}

// The number as a provider reports a stored card: the first six and the last four digits.
std::string maskedCardNumber(const std::string& number) {
  return number.substr(0, 6) + std::string(number.size() - 10, '*') + number.substr(number.size() - 4);
}

// Runs the steps in order, one line each, and stops at the first that fails.
class Journey {
 public:
  Journey(std::string sandboxUrl, bool showForm) : sandboxUrl_(std::move(sandboxUrl)), showForm_(showForm) {}

  bool ok() const { return ok_; }

  // Starts one SDK call with `start`, drives the main queue until its completion has run and
  // prints its line. The response, or null once the journey has failed.
  template <class Response>
  std::shared_ptr<Response> call(const char* method, const std::string& path,
                                 const std::function<void(QPCompletion<Response>)>& start,
                                 const std::function<Detail(const Response&)>& describe) {
    if (!ok_) return nullptr;
    struct Answer {
      bool done = false;
      Clock::time_point at;
      std::optional<QPError> error;
      std::shared_ptr<Response> response;
    };
    // Shared with the completion, which may still arrive after the wait has given up.
    auto answer = std::make_shared<Answer>();
    const Clock::time_point started = Clock::now();
    start([answer](std::optional<QPError> error, std::shared_ptr<Response> response) {
      answer->error = std::move(error);
      answer->response = std::move(response);
      answer->at = Clock::now();
      answer->done = true;
    });
    QPMainQueue::runUntil([answer] { return answer->done; }, std::chrono::seconds(75));
    const double ms = milliseconds(started, answer->done ? answer->at : Clock::now());
    if (!answer->done) return fail(method, path, "no answer", ms, "no completion within 75 s");
    if (answer->error) {
      return fail(method, path, "error " + std::to_string(answer->error->code()), ms,
                  answer->error->description().value_or(answer->error->domain()));
    }
    if (!answer->response) return fail(method, path, "no response", ms, "");
    Detail detail = describe(*answer->response);
    if (!detail.expected) return fail(method, path, "unexpected", ms, detail.text);
    print(method, path, "ok", ms, detail.text);
    return answer->response;
  }

  // The shopper finishes the page of `token`: the scripted one over HTTP, or a person in the
  // form's window with --show-form. `payment` chooses the form's payment mode.
  bool shopper(const std::string& token, bool payment) {
    if (!ok_) return false;
    const Clock::time_point started = Clock::now();
    std::string why;
    const bool done =
        showForm_ ? personCompletesForm(token, payment, &why)
                  : sandbox::completePageAsShopper(sandboxUrl_, token, sandbox::ShopperMode::Approve, &why);
    const double ms = milliseconds(started, Clock::now());
    if (!done) {
      fail("PAGE", "/providers/authorize", "refused", ms, why);
      return false;
    }
    const std::string card = maskedCardNumber(sandbox::shopperCard(sandbox::ShopperMode::Approve).number);
    print("PAGE", "/providers/authorize", "ok", ms,
          showForm_ ? "completed in the payment form's window" : "shopper approved with card " + card);
    return true;
  }

 private:
  static double milliseconds(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
  }

  static void print(const char* method, const std::string& path, const std::string& outcome, double ms,
                    const std::string& detail) {
    std::printf("%-5s %-52s %-10s %8.1f ms  %s\n", method, path.c_str(), outcome.c_str(), ms, detail.c_str());
    std::fflush(stdout);
  }

  std::nullptr_t fail(const char* method, const std::string& path, const std::string& outcome, double ms,
                      const std::string& detail) {
    print(method, path, outcome, ms, detail);
    ok_ = false;
    return nullptr;
  }

  // `brivane form show` of this executable against the journey's sandbox; the form closes on
  // its outcome and exits 0 only when the shopper approved.
  bool personCompletesForm(const std::string& token, bool payment, std::string* why) const {
    std::vector<std::string> args = {"/proc/self/exe",    "form",      "show",     "--provider", "0",
                                     "--options",         "VISA",      "--token",  token,        "--mode",
                                     payment ? "1" : "0", "--sandbox", sandboxUrl_};
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    GError* error = nullptr;
    gint status = 0;
    const gboolean spawned = g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_STDOUT_TO_DEV_NULL, nullptr,
                                          nullptr, nullptr, nullptr, &status, &error);
    if (!spawned) {
      *why = std::string("the form could not start: ") + (error != nullptr ? error->message : "?");
      g_clear_error(&error);
      return false;
    }
    if (!g_spawn_check_wait_status(status, nullptr)) {
      *why = "the form ended without the shopper's approval";
      return false;
    }
    return true;
  }

  std::string sandboxUrl_;
  bool showForm_ = false;
  bool ok_ = true;
};

int usageError(const std::string& message) {
  std::fprintf(stderr, "brivane demo: %s\n\n%s", message.c_str(), kDemoUsage);
  return 2;
}

}  // namespace

int runDemo(const std::vector<std::string>& args) {
  bool showForm = false;
  for (const std::string& arg : args) {
    if (arg == "--help" || arg == "-h") {
      std::fputs(kDemoUsage, stdout);
      return 0;
    }
    if (arg != "--show-form") return usageError("unknown option '" + arg + "'");
    showForm = true;
  }
  if (showForm) {
    if (!displayPresent())
      return usageError("--show-form needs a display: neither $DISPLAY nor $WAYLAND_DISPLAY is set");
#ifndef BRIVANE_HAVE_FORM
    return usageError("--show-form needs the payment form, which this build does not have");
#endif
  }
  sandbox::Sandbox server;
  if (!server.start()) {
    std::fputs("brivane demo: the embedded sandbox could not start\n", stderr);
    return 1;
  }
  std::printf("BrivaneSDK %s against the embedded sandbox at %s\n\n", QPLookups::SDKVersion().c_str(),
              server.baseUrl().c_str());

  auto tokens = std::make_shared<QPDefaultAccessTokenProvider>();
  QPApiProviderOption option;
  option.url = server.baseUrl();
  option.programCode = server.options().programCode;
  option.partnerReferencePrefix = "DEMO";
  option.accessTokenProvider = tokens;
  QPApiProvider provider(option);
  const auto& auth = provider.authenticationAPI();
  const auto& account = provider.accountAPI();
  const auto& payment = provider.paymentAPI();
  Journey journey(server.baseUrl(), showForm);

  // The integrator's back office signs in as the program's demo user.
  const std::string demoUser = server.options().userName;
  auto demoToken = journey.call<QPAccessTokenResponse>(
      "POST", "/token",
      [&](auto done) {
        auth->getAccessTokenWithUserName(demoUser, server.options().password, "password", done);
      },
      [&](const QPAccessTokenResponse& token) {
        return Detail("token by password for " + demoUser, token.access_token.has_value());
      });
  if (demoToken) tokens->setAccessToken(demoToken->access_token);

  // A newcomer signs up: the user name must be free, the country one of the program's.
  journey.call<QPCheckUserUniquenessResponse>(
      "GET", std::string("/user/") + kNewcomer + "/checkUniqueness",
      [&](auto done) {
        provider.userAPI()->checkUserUniqueness(std::make_shared<QPCheckUserUniquenessRequest>(), kNewcomer,
                                                done);
      },
      [](const QPCheckUserUniquenessResponse& answer) {
        return Detail(std::string(kNewcomer) + (answer.found() ? " is taken" : " is free"), !answer.found());
      });
  std::string country = "AT";
  journey.call<QPGetCountriesResponse>(
      "GET", "/settings/country",
      [&](auto done) {
        QPGetCountriesRequest request;
        request.onlyProgramCountries = true;
        provider.settingsAPI()->getCountries(request, done);
      },
      [&](const QPGetCountriesResponse& answer) {
        if (!answer.countries || answer.countries->empty() || !answer.countries->front()->countryCode)
          return Detail("no program countries", false);
        country = *answer.countries->front()->countryCode;
        return Detail(std::to_string(answer.countries->size()) + " program countries, the newcomer picks " +
                      country);
      });
  std::string accno;
  journey.call<QPCreateAccountResponse>(
      "PUT", "/account",
      [&](auto done) {
        auto request = std::make_shared<QPCreateAccountRequest>();
        request->emailAddress = kNewcomer;
        request->password = kNewcomerPassword;
        request->firstName = "Nora";
        request->lastName = "Newcomer";
        request->countryCode = country;
        request->currCode = "EUR";
        account->createAccount(request, done);
      },
      [&](const QPCreateAccountResponse& answer) {
        accno = answer.accno.value_or("");
        return Detail("account " + accno + " opened for " + kNewcomer, !accno.empty());
      });

  // From here on the app calls as the newcomer.
  auto newcomerToken = journey.call<QPAccessTokenResponse>(
      "POST", "/token",
      [&](auto done) { auth->getAccessTokenWithUserName(kNewcomer, kNewcomerPassword, "password", done); },
      [](const QPAccessTokenResponse& token) {
        return Detail(std::string("token by password for ") + kNewcomer, token.access_token.has_value());
      });
  if (newcomerToken) tokens->setAccessToken(newcomerToken->access_token);
  const std::string accountPath = "/account/" + accno;
  journey.call<QPGetAccountInformationResponse>(
      "GET", accountPath,
      [&](auto done) {
        account->getAccountInformation(std::make_shared<QPGetAccountInformationRequest>(), accno, done);
      },
      [&](const QPGetAccountInformationResponse& answer) {
        return Detail(answer.firstName.value_or("?") + " " + answer.lastName.value_or("?") + ", " +
                          answer.countryCode.value_or("?") + ", " + answer.currCode.value_or("?") +
                          ", status " + answer.statusCode.value_or("?"),
                      answer.accno == accno);
      });

  // A card stored through the payment form: initAdd gives the page's token, the shopper
  // finishes the page, completeAdd stores what the provider reported.
  std::string addToken;
  journey.call<QPInitAddStoredPaymentOptionResponse>(
      "POST", accountPath + "/storedPaymentOptions/initAdd",
      [&](auto done) {
        account->initAddStoredPaymentOption(
            std::make_shared<QPInitAddStoredPaymentOptionRequest>(std::nullopt, "VISA"), accno, done);
      },
      [&](const QPInitAddStoredPaymentOptionResponse& answer) {
        addToken = answer.authorizationToken.value_or("");
        return Detail("the form's page for " + answer.paymentOptionCode.value_or("?") + " is ready",
                      !addToken.empty());
      });
  journey.shopper(addToken, false);
  const sandbox::ShopperCard card = sandbox::shopperCard(sandbox::ShopperMode::Approve);
  std::string optionReference;
  journey.call<QPCompleteAddStoredPaymentOptionResponse>(
      "PUT", accountPath + "/storedPaymentOptions/completeAdd",
      [&](auto done) {
        auto request = std::make_shared<QPCompleteAddStoredPaymentOptionRequest>();
        request->authorizationToken = addToken;
        request->paymentOptionCode = "VISA";
        request->carrierNumber = maskedCardNumber(card.number);
        request->expiryMonth = card.expiryMonth;
        request->expiryYear = card.expiryYear;
        request->customerFullName = "Nora Newcomer";
        account->completeAddStoredPaymentOption(request, accno, done);
      },
      [&](const QPCompleteAddStoredPaymentOptionResponse& answer) {
        optionReference = answer.storedPaymentOptionReference.value_or("");
        return Detail("stored as " + optionReference, !optionReference.empty());
      });
  journey.call<QPGetStoredPaymentOptionsResponse>(
      "GET", accountPath + "/storedPaymentOptions",
      [&](auto done) {
        account->getStoredPaymentOptions(std::make_shared<QPGetStoredPaymentOptionsRequest>(), accno, done);
      },
      [&](const QPGetStoredPaymentOptionsResponse& answer) {
        std::size_t count = answer.paymentOptions ? answer.paymentOptions->size() : 0;
        std::string shown;
        bool listed = false;
        for (std::size_t i = 0; answer.paymentOptions && i < count; ++i) {
          const auto& option = (*answer.paymentOptions)[i];
          listed = listed || option->reference == optionReference;
          shown += (i ? ", " : ": ") + option->code.value_or("?") + " " + option->carrierNumber.value_or("?");
        }
        return Detail(std::to_string(count) + " stored" + shown, listed);
      });

  // A payment to the merchant with the stored card, finished on the provider's page.
  std::string paymentReference, paymentToken;
  journey.call<QPInitAuthorizeResponse>(
      "PUT", "/payment/initAuthorize",
      [&](auto done) {
        auto request = std::make_shared<QPInitAuthorizeRequest>();
        request->accno = accno;
        request->storedPaymentOptionReference = optionReference;
        request->paymentOptionCode = "VISA";
        request->presentationAmount = QPNumber(12.5);
        request->presentationCurrCode = "EUR";
        request->presentationUsage = "Order 1001";
        request->ipAddr = "127.0.0.1";
        payment->initAuthorize(request, done);
      },
      [&](const QPInitAuthorizeResponse& answer) {
        paymentReference = answer.uniqueReference.value_or("");
        paymentToken = answer.authorizationToken.value_or("");
        return Detail(paymentReference + " " +
                          amountText(answer.presentationAmount, answer.presentationCurrCode) + " " +
                          answer.statusCode.value_or("?"),
                      !paymentReference.empty() && !paymentToken.empty());
      });
  journey.shopper(paymentToken, true);
  const std::string paymentPath = "/payment/" + paymentReference;
  journey.call<QPCompleteAuthorizeResponse>(
      "POST", paymentPath + "/completeAuthorize",
      [&](auto done) {
        auto request = std::make_shared<QPCompleteAuthorizeRequest>();
        request->authorizationToken = paymentToken;
        payment->completeAuthorize(request, paymentReference, done);
      },
      [](const QPCompleteAuthorizeResponse& answer) {
        return Detail(answer.statusCode.value_or("?"), answer.statusCode == "AUTHORIZED");
      });
  journey.call<QPCaptureResponse>(
      "POST", paymentPath + "/capture",
      [&](auto done) { payment->capture(std::make_shared<QPCaptureRequest>(), paymentReference, done); },
      [](const QPCaptureResponse& answer) {
        return Detail(answer.statusCode.value_or("?") + " " +
                          amountText(answer.processedAmount, answer.processedCurrCode),
                      answer.statusCode == "CAPTURED");
      });
  journey.call<QPGetPaymentInformationResponse>(
      "GET", paymentPath + "/information",
      [&](auto done) {
        payment->getPaymentInformation(std::make_shared<QPGetPaymentInformationRequest>(), paymentReference,
                                       done);
      },
      [&](const QPGetPaymentInformationResponse& answer) {
        return Detail(amountText(answer.presentationAmount, answer.presentationCurrCode) + ", " +
                          answer.presentationUsage.value_or("?"),
                      answer.uniqueReference == paymentReference);
      });

  // The demo user welcomes the newcomer with a transfer from the seeded account.
  if (demoToken) tokens->setAccessToken(demoToken->access_token);
  journey.call<QPTransferAmountResponse>(
      "POST", std::string("/account/") + kDemoAccno + "/transfer",
      [&](auto done) {
        auto request = std::make_shared<QPTransferAmountRequest>(std::nullopt, accno, QPNumber(25), "EUR",
                                                                 "Welcome", std::nullopt);
        account->transferAmount(request, kDemoAccno, done);
      },
      [&](const QPTransferAmountResponse& answer) {
        return Detail(amountText(answer.tansferAmount, answer.transferCurrCode) + " from " +
                          answer.accno.value_or("?") + " to " + answer.recAccno.value_or("?") + ", " +
                          answer.uniqueReference.value_or("?"),
                      answer.recAccno == accno);
      });
  if (newcomerToken) tokens->setAccessToken(newcomerToken->access_token);
  journey.call<QPBalanceEnquiryResponse>(
      "GET", accountPath + "/balance",
      [&](auto done) { account->balanceEnquiry(std::make_shared<QPBalanceEnquiryRequest>(), accno, done); },
      [](const QPBalanceEnquiryResponse& answer) {
        return Detail("available " + amountText(answer.avlBal, answer.currCode), answer.avlBal.has_value());
      });
  journey.call<QPAccountEnquiryResponse>(
      "GET", accountPath + "/enquiry",
      [&](auto done) {
        auto request = std::make_shared<QPAccountEnquiryRequest>();
        request->sortDirection = "DESC";
        account->accountEnquiry(request, accno, done);
      },
      [](const QPAccountEnquiryResponse& answer) {
        const std::size_t count = answer.entries ? answer.entries->size() : 0;
        std::string latest;
        if (count > 0) {
          const auto& entry = answer.entries->front();
          latest = ", latest " + entry->entryType.value_or("?") + " " +
                   amountText(entry->amount, entry->currCode) + " " + entry->entryDescription.value_or("");
        }
        return Detail(std::to_string(count) + (count == 1 ? " entry" : " entries") + latest, count > 0);
      });

  // The session outlives the access token: the app renews it by refresh token.
  journey.call<QPAccessTokenResponse>(
      "POST", "/token",
      [&](auto done) {
        auth->getRefreshTokenWithToken(newcomerToken ? newcomerToken->refresh_token : std::nullopt,
                                       "refresh_token", done);
      },
      [&](const QPAccessTokenResponse& token) {
        if (token.access_token) tokens->setAccessToken(token.access_token);
        return Detail("token renewed by refresh token, expires in " +
                          (token.expires_in ? token.expires_in->description() : std::string("?")) + " s",
                      token.access_token.has_value());
      });

  std::printf("\n%s\n", journey.ok() ? "All calls succeeded." : "The journey stopped at the failed call.");
  server.stop();
  return journey.ok() ? 0 : 1;
}

}  // namespace brivane::cli
