#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "brivane/api/settings/QPSettingsAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

using test::Captured;
using test::SandboxClient;

TEST(QPSettingsAPI, CountriesEndToEnd) {
  SandboxClient client;
  Captured<QPGetCountriesResponse> all, program;
  client.provider->settingsAPI()->getCountries(QPGetCountriesRequest(), all.completion());
  ASSERT_TRUE(all.wait());
  EXPECT_THAT(client.sandbox.lastQuery("/settings/country"),
              ::testing::HasSubstr("&onlyProgramCountries=false&"));
  QPGetCountriesRequest onlyProgram;
  onlyProgram.onlyProgramCountries = true;
  client.provider->settingsAPI()->getCountries(onlyProgram, program.completion());
  ASSERT_TRUE(program.wait());
  ASSERT_FALSE(all.error);
  ASSERT_FALSE(program.error);
  ASSERT_TRUE(all.response->countries && program.response->countries);
  EXPECT_GT(all.response->countries->size(), program.response->countries->size());
  const auto& first = *all.response->countries->front();
  EXPECT_EQ(first.countryName, "Austria");
  EXPECT_EQ(first.countryCode, "AT");
  EXPECT_EQ(all.response->responseCode, "0000");
  EXPECT_THAT(all.response->partnerReference.value_or(""), ::testing::MatchesRegex("TEST[0-9A-Za-z]{10}"));
  EXPECT_TRUE(all.response->sysDate && all.response->sysTime && all.response->localDate &&
              all.response->localTime);
}

TEST(QPSettingsAPI, FinancialInstitutionDataEndToEnd) {
  SandboxClient client;
  Captured<QPGetFinancialInstitutionDataResponse> captured;
  client.provider->settingsAPI()->getgetFinancialInstitutionData(QPGetFinancialInstitutionDataRequest(),
                                                                 captured.completion());
  ASSERT_TRUE(captured.wait());
  ASSERT_FALSE(captured.error);
  EXPECT_THAT(client.sandbox.lastQuery("/settings/getFinancialInstitutionData"),
              ::testing::MatchesRegex(
                  "localDate=[^&]+&localTime=[0-9]{6}&partnerReference=[^&]+&programCode=BRIVANE"));
  const auto& r = *captured.response;
  for (const auto* field : {&r.name, &r.addr1, &r.addr2, &r.city, &r.state, &r.countryName, &r.countryCode,
                            &r.postCode, &r.creditorIdentifier})
    EXPECT_TRUE(field->has_value());
  EXPECT_EQ(r.creditorIdentifier, "AT61ZZZ00000012345");
}

TEST(QPSettingsAPI, PlatformErrorFormsReachTheCaller) {
  SandboxClient client(false);  // no token
  Captured<QPGetCountriesResponse> unauthorised;
  client.provider->settingsAPI()->getCountries(QPGetCountriesRequest(), unauthorised.completion());
  ASSERT_TRUE(unauthorised.wait());
  ASSERT_TRUE(unauthorised.error);
  EXPECT_EQ(unauthorised.error->code(), 4001);
  EXPECT_EQ(unauthorised.error->description(), "The access token is missing, unknown or expired.");

  client.tokens->setAccessToken(client.sandbox.issueAccessToken());
  client.provider->apiClientSetting()->setProgramCode("OTHER");
  Captured<QPGetCountriesResponse> wrongProgram;
  client.provider->settingsAPI()->getCountries(QPGetCountriesRequest(), wrongProgram.completion());
  ASSERT_TRUE(wrongProgram.wait());
  ASSERT_TRUE(wrongProgram.error);
  EXPECT_EQ(wrongProgram.error->code(), 4004);
}

}  // namespace
}  // namespace brivane
