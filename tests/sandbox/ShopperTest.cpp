// The headless shopper finishes a payment's page over HTTP; the completing call then sees what
// the shopper decided.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <httplib.h>

#include <ctime>
#include <memory>
#include <string>
#include <utility>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"
#include "sandbox/Shopper.h"

namespace brivane::sandbox {
namespace {

using ::testing::HasSubstr;

class HeadlessShopperTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(sandbox_.start());
    http_ = std::make_unique<httplib::Client>(sandbox_.baseUrl());
    http_->set_bearer_token_auth(sandbox_.issueAccessToken());
  }

  boost::json::object exchange(const httplib::Result& answer) {
    if (!answer) return {{"responseCode", "no answer"}};
    return boost::json::parse(answer->body).as_object();
  }

  // Opens a payment: its unique reference and the token of its page.
  std::pair<std::string, std::string> openPayment() {
    boost::json::object opened =
        exchange(http_->Put("/payment/initAuthorize",
                            R"({"partnerReference": "T1", "programCode": "BRIVANE", )"
                            R"("presentationAmount": "9.99", "presentationCurrCode": "EUR"})",
                            "application/json"));
    return {std::string(opened.at("uniqueReference").as_string()),
            std::string(opened.at("authorizationToken").as_string())};
  }

  std::string completeAuthorize(const std::string& reference, const std::string& token) {
    boost::json::object answer = exchange(http_->Post(
        "/payment/" + reference + "/completeAuthorize",
        R"({"partnerReference": "T2", "programCode": "BRIVANE", "authorizationToken": ")" + token + R"("})",
        "application/json"));
    return std::string(answer.at("responseCode").as_string());
  }

  Sandbox sandbox_;
  std::unique_ptr<httplib::Client> http_;
};

TEST_F(HeadlessShopperTest, TheCompletingCallSeesTheShoppersDecision) {
  struct Case {
    ShopperMode mode;
    bool finished;             // what the shopper function answers
    const char* responseCode;  // of completeAuthorize afterwards
    const char* why;           // part of the reason when not finished
  };
  const Case cases[] = {
      {ShopperMode::Approve, true, "0000", ""},
      {ShopperMode::Challenge, true, "0000", ""},
      {ShopperMode::Decline, true, "6110", ""},
      {ShopperMode::Cancel, false, "6109", "no cancel"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.mode));
    auto [reference, token] = openPayment();
    std::string why;
    EXPECT_EQ(completePageAsShopper(sandbox_.baseUrl(), token, c.mode, &why), c.finished) << why;
    EXPECT_THAT(why, HasSubstr(c.why));
    EXPECT_EQ(completeAuthorize(reference, token), c.responseCode);
  }
}

TEST_F(HeadlessShopperTest, APageThatCannotBeReachedOrRefusesTheCardIsReported) {
  std::string why;
  EXPECT_FALSE(completePageAsShopper("http://127.0.0.1:1", "t", ShopperMode::Approve, &why));
  EXPECT_THAT(why, HasSubstr("no answer from /providers/authorize"));
  EXPECT_FALSE(completePageAsShopper("ftp://127.0.0.1", "t", ShopperMode::Approve, &why));
  EXPECT_THAT(why, HasSubstr("not a sandbox's http:// URL"));
  sandbox_.injectFault("/providers/authorize", Fault::NotJson);
  EXPECT_FALSE(completePageAsShopper(sandbox_.baseUrl(), "t", ShopperMode::Approve, &why));
  EXPECT_THAT(why, HasSubstr("answered HTTP 200 without a JSON object"));
}

TEST(ShopperCard, TestCardsPerModeExpireInTheFuture) {
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
  const int before = localYear();
  const int year = shopperCard(ShopperMode::Approve).expiryYear;
  const int after = localYear();
  EXPECT_TRUE(year == before + 5 || year == after + 5) << year;
}

}  // namespace
}  // namespace brivane::sandbox
