// Secrets put through every path of the client never reach a log line, an error description or
// what a call listener hears.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <glib.h>

#include <mutex>
#include <vector>

#include "api/core/QPFields.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;

const std::string kToken = "canary-token-7Qz";
const std::string kPassword = "canary-password-9Xk";
const std::string kCard = "4111111111111111";

TEST(QPLogCanary, NoSecretReachesALogLineOrAnErrorDescription) {
  test::LogCapture log;
  // A hostile back end that echoes secrets into every answer it can.
  test::ScriptedServer server;
  server.route("/token", {503,
                          "application/json",
                          R"({"error":"invalid_grant","card":")" + kCard + "\"}",
                          {{"Set-Cookie", "session=" + kToken}, {"WWW-Authenticate", "Bearer " + kToken}}});
  const std::string element = R"({"countryName":{"pan":")" + kCard + R"("},"countryCode":")" + kCard + "\"}";
  const std::string unknown = R"({"pan":")" + kCard + R"(","password":")" + kPassword + "\"}";
  std::string list = "[" + element + "," + unknown + ",\"" + kCard + "\"";
  for (int i = 0; i < 50; ++i) list += "," + unknown;
  server.route("/settings/country",
               {200, "application/json", R"({"responseCode":"0000","countries":)" + list + "]}"});
  server.route("/settings/getFinancialInstitutionData",
               {307, "", "", {{"Location", "http://localhost:1/steal?token=" + kToken}}});
  auto tokens = std::make_shared<QPDefaultAccessTokenProvider>();
  tokens->setAccessToken(kToken);
  QPApiProviderOption option;
  option.url = server.baseUrl();
  option.programCode = "P";
  option.accessTokenProvider = tokens;
  auto listener = std::make_shared<test::RecordingListener>();
  option.callOptions.listener = listener;
  QPApiProvider provider(option);

  std::vector<std::string> descriptions;
  auto keep = [&descriptions](const std::optional<QPError>& error) {
    ASSERT_TRUE(error);
    descriptions.push_back(error->toString());
  };

  Captured<QPAccessTokenResponse> unavailable;  // 503 with the token in cookies
  provider.authenticationAPI()->getAccessTokenWithUserName("user", kPassword, "password",
                                                           unavailable.completion());
  ASSERT_TRUE(unavailable.wait());
  keep(unavailable.error);

  Captured<QPAccessTokenResponse> refused;  // a password that the form body cannot carry
  provider.authenticationAPI()->getAccessTokenWithUserName("user", kPassword + "&x=" + kCard, "password",
                                                           refused.completion());
  ASSERT_TRUE(refused.wait());
  keep(refused.error);

  Captured<QPGetCountriesResponse> countries;  // models refusing card numbers
  provider.settingsAPI()->getCountries(QPGetCountriesRequest(), countries.completion());
  ASSERT_TRUE(countries.wait());
  ASSERT_FALSE(countries.error);
  EXPECT_EQ(countries.response->countries->size(), 53u);

  Captured<QPGetFinancialInstitutionDataResponse> redirected;  // a redirect carrying the token away
  provider.settingsAPI()->getgetFinancialInstitutionData(QPGetFinancialInstitutionDataRequest(),
                                                         redirected.completion());
  ASSERT_TRUE(redirected.wait());
  keep(redirected.error);

  const std::vector<std::string> lines = log.lines();
  EXPECT_FALSE(lines.empty()) << "the model failures must be logged";
  EXPECT_LE(lines.size(), 3u) << "one line per answer";
  const std::vector<std::string> heard = listener->lines();
  EXPECT_EQ(heard.size(), 4u * 3u - 1u) << "started, attempt, finished of each call; none for the refused";
  for (const std::string& secret : {kToken, kPassword, kCard}) {
    for (const std::string& line : lines) EXPECT_THAT(line, ::testing::Not(::testing::HasSubstr(secret)));
    for (const std::string& line : heard) EXPECT_THAT(line, ::testing::Not(::testing::HasSubstr(secret)));
    for (const std::string& text : descriptions)
      EXPECT_THAT(text, ::testing::Not(::testing::HasSubstr(secret)));
  }
}

}  // namespace
}  // namespace brivane
