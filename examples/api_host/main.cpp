// A host of the API client: obtains a token by password, lists the program's countries and runs a
// payment against a running sandbox (`brivane sandbox`, default http://127.0.0.1:8080).
//
//   api_host [BASE_URL]
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/platform/QPMainQueue.h"

namespace {

using brivane::QPError;

// Runs the main queue until `done` holds; false after 30 s.
template <class Condition>
bool await(Condition done) {
  return brivane::QPMainQueue::runUntil(done, std::chrono::seconds(30));
}

int fail(const char* step, const std::optional<QPError>& error) {
  std::fprintf(stderr, "%s failed: %s\n", step, error ? error->toString().c_str() : "no answer");
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string baseUrl = argc > 1 ? argv[1] : "http://127.0.0.1:8080";
  auto tokens = std::make_shared<brivane::QPDefaultAccessTokenProvider>();
  brivane::QPApiProviderOption option;
  option.url = baseUrl;
  option.programCode = "BRIVANE";
  option.partnerReferencePrefix = "HOST";
  option.accessTokenProvider = tokens;
  brivane::QPApiProvider provider(option);

  // 1. A token by password.
  bool answered = false;
  std::optional<QPError> failure;
  provider.authenticationAPI()->getAccessTokenWithUserName(
      "demo@brivane.test", "Demo-Pass-1", "password",
      [&](std::optional<QPError> error, std::shared_ptr<brivane::QPAccessTokenResponse> token) {
        answered = true;
        failure = error;
        if (token) tokens->setAccessToken(token->access_token);
      });
  if (!await([&] { return answered; }) || failure) return fail("token", failure);
  std::puts("token: ok");

  // 2. The program's countries.
  answered = false;
  brivane::QPGetCountriesRequest countries;
  countries.onlyProgramCountries = true;
  provider.settingsAPI()->getCountries(
      countries,
      [&](std::optional<QPError> error, std::shared_ptr<brivane::QPGetCountriesResponse> response) {
        answered = true;
        failure = error;
        if (response && response->countries)
          std::printf("countries: %zu in the program\n", response->countries->size());
      });
  if (!await([&] { return answered; }) || failure) return fail("countries", failure);

  // 3. A payment in one step with the sandbox's approved test card, captured for less than
  //    authorized, then read back.
  auto payment = std::make_shared<brivane::QPAuthorizeRequest>();
  payment->programAccno = "9000000001";
  payment->accno = "1000000001";
  payment->presentationAmount = brivane::QPNumber(12.5);
  payment->presentationCurrCode = "EUR";
  payment->carrierNumber = "4111111111111111";
  std::optional<std::string> reference;
  answered = false;
  provider.paymentAPI()->authorize(
      payment, [&](std::optional<QPError> error, std::shared_ptr<brivane::QPAuthorizeResponse> response) {
        answered = true;
        failure = error;
        if (response) reference = response->uniqueReference;
      });
  if (!await([&] { return answered; }) || failure || !reference) return fail("authorize", failure);
  std::printf("payment %s: authorized\n", reference->c_str());

  auto capture = std::make_shared<brivane::QPCaptureRequest>();
  capture->modifiedAmount = brivane::QPNumber(10.0);
  answered = false;
  provider.paymentAPI()->capture(
      capture, reference, [&](std::optional<QPError> error, std::shared_ptr<brivane::QPCaptureResponse>) {
        answered = true;
        failure = error;
      });
  if (!await([&] { return answered; }) || failure) return fail("capture", failure);

  answered = false;
  provider.paymentAPI()->getPaymentInformation(
      std::make_shared<brivane::QPGetPaymentInformationRequest>(), reference,
      [&](std::optional<QPError> error, std::shared_ptr<brivane::QPGetPaymentInformationResponse> response) {
        answered = true;
        failure = error;
        if (response && response->presentationAmount)
          std::printf("payment %s: %s %s, captured\n", reference->c_str(),
                      response->presentationAmount->description().c_str(),
                      response->presentationCurrCode.value_or("").c_str());
      });
  if (!await([&] { return answered; }) || failure) return fail("payment information", failure);
  return 0;
}
