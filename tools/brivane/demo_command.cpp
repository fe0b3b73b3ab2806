#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/core/QPLookups.h"
#include "brivane/commands.h"
#include "brivane/platform/QPMainQueue.h"
#include "sandbox/Sandbox.h"

namespace brivane::cli {
namespace {

using Clock = std::chrono::steady_clock;

// Runs one asynchronous call to its end on the main queue and prints its line.
class Step {
 public:
  Step(const char* method, const char* path) : method_(method), path_(path), started_(Clock::now()) {}

  template <class Response>
  QPCompletion<Response> completion(std::shared_ptr<Response>* out) {
    return [this, out](std::optional<QPError> error, std::shared_ptr<Response> response) {
      error_ = std::move(error);
      *out = std::move(response);
      finished_ = Clock::now();
      done_ = true;
    };
  }

  bool finish(const std::string& detail) {
    QPMainQueue::runUntil([this] { return done_; }, std::chrono::seconds(75));
    double ms =
        std::chrono::duration<double, std::milli>((done_ ? finished_ : Clock::now()) - started_).count();
    std::string outcome = !done_ ? "no answer" : error_ ? "error " + std::to_string(error_->code()) : "ok";
    std::printf("%-5s %-38s %-10s %8.1f ms  %s\n", method_, path_, outcome.c_str(), ms,
                error_ ? error_->description().value_or("").c_str() : detail.c_str());
    std::fflush(stdout);
    return done_ && !error_;
  }

 private:
  const char* method_;
  const char* path_;
  Clock::time_point started_;
  Clock::time_point finished_;
  bool done_ = false;
  std::optional<QPError> error_;
};

}  // namespace

int runDemo(const std::vector<std::string>& args) {
  if (!args.empty()) {
    std::fputs("usage: brivane demo\n", args.front() == "--help" ? stdout : stderr);
    return args.front() == "--help" ? 0 : 2;
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
  bool allOk = true;

  std::shared_ptr<QPAccessTokenResponse> token;
  Step login("POST", "/token");
  provider.authenticationAPI()->getAccessTokenWithUserName(
      server.options().userName, server.options().password, "password", login.completion(&token));
  allOk &= login.finish("token by password");
  if (token) tokens->setAccessToken(token->access_token);

  std::shared_ptr<QPAccessTokenResponse> renewed;
  Step renew("POST", "/token");
  provider.authenticationAPI()->getRefreshTokenWithToken(token ? token->refresh_token : std::nullopt,
                                                         "refresh_token", renew.completion(&renewed));
  allOk &= renew.finish("token renewed by refresh token");
  if (renewed) tokens->setAccessToken(renewed->access_token);

  std::shared_ptr<QPGetCountriesResponse> countries;
  Step list("GET", "/settings/country");
  QPGetCountriesRequest countriesRequest;
  provider.settingsAPI()->getCountries(countriesRequest, list.completion(&countries));
  allOk &= list.finish("");
  if (countries && countries->countries) {
    std::size_t count = countries->countries->size();
    std::string names;
    for (std::size_t i = 0; i < countries->countries->size() && i < 5; ++i)
      names += (i ? ", " : "") + (*countries->countries)[i]->countryName.value_or("?");
    std::printf("      %zu countries: %s, ...\n", count, names.c_str());
  }

  std::shared_ptr<QPGetFinancialInstitutionDataResponse> institution;
  Step bank("GET", "/settings/getFinancialInstitutionData");
  provider.settingsAPI()->getgetFinancialInstitutionData(QPGetFinancialInstitutionDataRequest(),
                                                         bank.completion(&institution));
  allOk &= bank.finish("");
  if (institution) {
    std::printf("      %s, %s, creditor id %s\n", institution->name.value_or("?").c_str(),
                institution->city.value_or("?").c_str(),
                institution->creditorIdentifier.value_or("?").c_str());
  }

  std::printf("\n%s\n", allOk ? "All calls succeeded." : "Some calls failed.");
  return allOk ? 0 : 1;
}

}  // namespace brivane::cli
