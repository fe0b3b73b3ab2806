// The headless shopper finishes a payment's page over HTTP; the completing call then sees what
// the shopper decided.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "sandbox/Sandbox.h"
#include "sandbox/Shopper.h"
#include "support/RestCaller.h"

namespace brivane::sandbox {
namespace {

using test::jsonText;
using ::testing::HasSubstr;

TEST(HeadlessShopper, TheCompletingCallSeesTheShoppersDecision) {
  Sandbox sandbox;
  ASSERT_TRUE(sandbox.start());
  test::RestCaller demo(sandbox, sandbox.issueAccessToken());
  const struct {
    ShopperMode mode;
    bool finished;             // what the shopper function answers
    const char* responseCode;  // of completeAuthorize afterwards
    const char* why;           // part of the reason when not finished
  } cases[] = {
      {ShopperMode::Approve, true, "0000", ""},
      {ShopperMode::Challenge, true, "0000", ""},
      {ShopperMode::Decline, true, "6110", ""},
      {ShopperMode::Cancel, false, "6109", "no cancel"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.mode));
    const auto opened = demo.call("PUT", "/payment/initAuthorize",
                                  R"("presentationAmount": "9.99", "presentationCurrCode": "EUR")");
    const std::string token = jsonText(opened, "authorizationToken");
    std::string why;
    EXPECT_EQ(completePageAsShopper(sandbox.baseUrl(), token, c.mode, &why), c.finished) << why;
    EXPECT_THAT(why, HasSubstr(c.why));
    EXPECT_EQ(demo.code("POST", "/payment/" + jsonText(opened, "uniqueReference") + "/completeAuthorize",
                        R"("authorizationToken": ")" + token + "\""),
              c.responseCode);
  }
  // A page that cannot be reached, or that answers no JSON, is reported.
  std::string why;
  EXPECT_FALSE(completePageAsShopper("http://127.0.0.1:1", "t", ShopperMode::Approve, &why));
  EXPECT_THAT(why, HasSubstr("no answer from /providers/authorize"));
  EXPECT_FALSE(completePageAsShopper("ftp://127.0.0.1", "t", ShopperMode::Approve, &why));
  EXPECT_THAT(why, HasSubstr("not a sandbox's http:// URL"));
  sandbox.injectFault("/providers/authorize", Fault::NotJson);
  EXPECT_FALSE(completePageAsShopper(sandbox.baseUrl(), "t", ShopperMode::Approve, &why));
  EXPECT_THAT(why, HasSubstr("answered HTTP 200 without a JSON object"));
}

TEST(ShopperTest, ModesParseAndNameTheirTestData) {
  EXPECT_EQ(parseShopperMode("approve"), ShopperMode::Approve);
  EXPECT_EQ(parseShopperMode("3ds"), ShopperMode::Challenge);
  EXPECT_EQ(parseShopperMode("Approve"), std::nullopt);
  EXPECT_THAT(shopperStepScript(ShopperMode::Decline), HasSubstr("(\"decline\")"));
  EXPECT_THAT(shopperStepScript(ShopperMode::Challenge), HasSubstr("(\"3ds\")"));
  EXPECT_EQ(shopperCard(ShopperMode::Approve).number, "4200000000000000");
  EXPECT_EQ(shopperCard(ShopperMode::Decline).number, "4000000000000002");
  EXPECT_EQ(shopperCard(ShopperMode::Challenge).number, "4000000000003220");
  // Five years ahead of the local year (read before and after, in case the year turns meanwhile).
  auto localYear = [] {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_year + 1900;
  };
  const int before = localYear(), year = shopperCard(ShopperMode::Approve).expiryYear, after = localYear();
  EXPECT_TRUE(year == before + 5 || year == after + 5) << year;
}

}  // namespace
}  // namespace brivane::sandbox
