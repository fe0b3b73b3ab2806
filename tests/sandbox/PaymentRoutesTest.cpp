#include <gtest/gtest.h>

#include <httplib.h>

#include <string>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"
#include "sandbox/SandboxTestSupport.h"

namespace brivane::sandbox {
namespace {

namespace json = boost::json;

using test::jsonText;
using test::runSteps;

const std::string kCard = R"("presentationCurrCode": "EUR", "carrierNumber": "4111111111111111", )";

class SandboxRoutes : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(sandbox.start()); }

  Sandbox sandbox;
  test::RestCaller demo{sandbox, sandbox.issueAccessToken()};  // the token works once the sandbox serves
};

// One amount rule on every route: a positive decimal with at most two places, below 1,000,000,000.
// Other clients may send amounts as JSON numbers; the sandbox takes whole cents either way.
TEST_F(SandboxRoutes, OneAmountRuleForPaymentsTransfersAndFees) {
  auto check = [&](const std::string& amount, bool accepted) {
    SCOPED_TRACE(amount);
    EXPECT_EQ(demo.code("PUT", "/payment/authorize", kCard + R"("presentationAmount": )" + amount),
              accepted ? "0000" : "6103");
    const std::string query = amount.front() == '"' ? amount.substr(1, amount.size() - 2) : amount;
    EXPECT_EQ(demo.code("GET", "/account/1000000001/calculateFees",
                        "transactionTypeCode=TRANSFER&amount=" + httplib::detail::encode_query_param(query)),
              accepted ? "0000" : "4151");
    // A refused transfer amount books nothing; an accepted one is refused only by the limits.
    const std::string transfer =
        demo.code("POST", "/account/1000000001/transfer",
                  R"("carrierNumber": "1000000002", "transferCurrCode": "EUR", "transferAmount": )" + amount);
    EXPECT_EQ(transfer == "4130", !accepted) << transfer;
  };
  for (const char* amount : {R"("12.50")", "12.5", "12", R"("0.01")", R"("999999999.99")"})
    check(amount, true);
  for (const char* amount :
       {"1.005", R"("1.005")", R"("0")", "-3", R"("1,5")", R"("12.")", R"("abc")", "true", R"("0x10")",
        R"("0.005")", R"("1.999")", R"("1e2")", R"(" 12")", R"("+12")", R"("1000000000.00")", "1000000000"})
    check(amount, false);
  EXPECT_EQ(sandbox.balance("1000000002"), 100000 + 1250 + 1250 + 1200 + 1);
}

// A booking that would take a balance beyond 999,999,999.99 is refused and changes nothing.
TEST_F(SandboxRoutes, ABalanceCannotOverflow) {
  runSteps(demo,
           {
               {"PUT", "/payment/payToAccount",
                kCard + R"("accno": "1000000002", "presentationAmount": "999998999.99")", "0000"},
               {"PUT", "/payment/payToAccount",
                kCard + R"("accno": "1000000002", "presentationAmount": "0.01")", "6120"},
               {"POST", "/account/1000000001/transfer",
                R"("carrierNumber": "1000000002", "transferCurrCode": "EUR", "transferAmount": "1")", "4138"},
           });
  EXPECT_EQ(sandbox.balance("1000000002"), 99999999999);
  EXPECT_EQ(sandbox.balance("1000000001"), 100000);
}

// Cards pass Luhn unless they are the masked number the shopper's page reported; currencies come
// from the published list; money moves only between accounts of one currency.
TEST_F(SandboxRoutes, CardsCurrenciesAndCrossCurrencyTransfers) {
  const std::string token = jsonText(demo.call("POST", "/account/1000000001/storedPaymentOptions/initAdd",
                                               R"("accnoType": "WALLET", "paymentOptionCode": "VISA")"),
                                     "authorizationToken");
  ASSERT_TRUE(sandbox.completeAuthorizationAsShopper(token));
  for (const char* number : {"not-a-card-x", "411111******1111", "XXXXXXXXXXXX", "4111 1111 1111 1111x"}) {
    runSteps(
        demo,
        {{"PUT", "/account/1000000001/storedPaymentOptions/completeAdd",
          R"("paymentOptionCode": "VISA", "expiryMonth": 12, "expiryYear": 2099, "authorizationToken": ")" +
              token + R"(", "carrierNumber": ")" + number + "\"",
          "4175"}});
  }
  runSteps(
      demo,
      {
          {"PUT", "/account",
           R"("emailAddress": "yen@brivane.test", "password": "Yen-Pass-1", "currCode": "XYZ")", "4113"},
          {"PUT", "/account",
           R"("emailAddress": "usd@brivane.test", "password": "Usd-Pass-1", "currCode": "USD")", "0000"},
          {"POST", "/account/1000000001/transfer",
           R"("carrierNumber": "usd@brivane.test", "transferCurrCode": "EUR", "transferAmount": "25.00")",
           "4137"},
          {"PUT", "/payment/authorize",
           R"("presentationCurrCode": "ABC", "carrierNumber": "4111111111111111", "presentationAmount": "1")",
           "6117"},
          {"PUT", "/payment/authorize",
           R"("presentationCurrCode": "USD", "carrierNumber": "4111111111111111", "presentationAmount": "1")",
           "0000"},
      });
  EXPECT_EQ(sandbox.balance("1000000001"), 100000);
  EXPECT_EQ(sandbox.balance("1000000003"), 0);
}

// Every answer is JSON, also when the request carries bytes that are no UTF-8.
TEST_F(SandboxRoutes, InvalidUtf8InARequestStillGivesValidJson) {
  httplib::Client http(sandbox.baseUrl());
  http.set_bearer_token_auth(sandbox.issueAccessToken());
  for (const std::string query : {"x=1", "x=%FF%FE", "partnerReference=%C3%28"}) {
    for (const std::string path :
         {"/account/1000000001/balance?partnerReference=%FF%FEok&programCode=BRIVANE&",
          "/account/1000000001/balance?partnerReference=ok&programCode=%FFno&",
          "/account/%FF%FE/balance?partnerReference=ok&programCode=BRIVANE&"}) {
      auto answer = http.Get(path + query);
      ASSERT_TRUE(answer) << path + query;
      boost::system::error_code error;
      json::parse(answer->body, error);
      EXPECT_FALSE(error) << path + query << ": " << answer->body;
    }
  }
}

// Another user reaches none of the demo user's payments, cards or credentials; a refusal changes
// nothing.
TEST_F(SandboxRoutes, AnotherUserReachesNothingOfTheDemoUser) {
  const json::value opened =
      demo.call("PUT", "/payment/initAuthorize", kCard + R"("presentationAmount": "10")");
  const std::string initiated = jsonText(opened, "uniqueReference");
  const std::string payment = jsonText(
      demo.call("PUT", "/payment/authorize", kCard + R"("presentationAmount": "20")"), "uniqueReference");
  ASSERT_TRUE(sandbox.completeAuthorizationAsShopper(jsonText(opened, "authorizationToken")));
  const std::string token = jsonText(demo.call("POST", "/account/1000000001/storedPaymentOptions/initAdd",
                                               R"("accnoType": "WALLET", "paymentOptionCode": "VISA")"),
                                     "authorizationToken");
  ASSERT_TRUE(sandbox.completeAuthorizationAsShopper(token));
  const std::string option = jsonText(
      demo.call(
          "PUT", "/account/1000000001/storedPaymentOptions/completeAdd",
          R"("paymentOptionCode": "VISA", "carrierNumber": "4111111111111111", "authorizationToken": ")" +
              token + "\""),
      "storedPaymentOptionReference");
  ASSERT_FALSE(option.empty());
  runSteps(demo, {{"POST", "/user/demo@brivane.test/sendPasswordResetCode", "", "0000"},
                  {"PUT", "/user/demo@brivane.test/secondaryEmail", R"("emailAddress": "alias@brivane.test")",
                   "0000"}});
  std::string resetCode;
  auto outbox = httplib::Client(sandbox.baseUrl()).Get("/sandbox/outbox");
  ASSERT_TRUE(outbox);
  const json::value messages = json::parse(outbox->body);
  for (const json::value& message : messages.at("messages").as_array())
    if (message.at("kind") == "passwordReset") resetCode = message.at("code").as_string();

  runSteps(
      test::RestCaller(
          sandbox,
          jsonText(test::signIn(sandbox.baseUrl(), "second@brivane.test", "Second-Pass-2"), "access_token")),
      {
          {"GET", "/payment/" + payment + "/information", "", "6118"},
          {"POST", "/payment/" + payment + "/capture", "", "6118"},
          {"POST", "/payment/" + payment + "/cancel", "", "6118"},
          {"POST", "/payment/" + initiated + "/lm-completeAuthorize", "", "6118"},
          {"POST", "/payment/" + initiated + "/completeAuthorize",
           R"("authorizationToken": ")" + jsonText(opened, "authorizationToken") + "\"", "6118"},
          {"PUT", "/payment/authorize", kCard + R"("presentationAmount": "5", "accno": "1000000001")",
           "6119"},
          {"PUT", "/payment/initAuthorize", kCard + R"("presentationAmount": "5", "accno": "1000000001")",
           "6119"},
          {"PUT", "/payment/authorize",
           R"("presentationCurrCode": "EUR", "presentationAmount": "5", "storedPaymentOptionReference": ")" +
               option + "\"",
           "6107"},
          {"POST", "/user/demo@brivane.test/changePassword",
           R"("oldPassword": ")" + resetCode + R"(", "newPassword": "Taken-Over-9")", "2105"},
          {"PUT", "/account", R"("loginID": "alias@brivane.test", "password": "Alias-Pass-1")", "4112"},
      });
  // Nothing changed: the payments keep their states, the password its value, the address its owner.
  runSteps(demo,
           {
               {"GET", "/payment/" + payment + "/information", "", "0000", {"paymentState=AUTHORIZED"}},
               {"GET", "/payment/" + initiated + "/information", "", "0000", {"paymentState=INITIATED"}},
               {"POST", "/account/1000000001/transfer",
                R"("carrierNumber": "1000000002", "transferCurrCode": "EUR", "transferAmount": "1")", "0000"},
           });
  EXPECT_NE(jsonText(test::signIn(sandbox.baseUrl(), "demo@brivane.test", "Demo-Pass-1"), "access_token"),
            "");
  EXPECT_EQ(sandbox.balance("1000000002"), 100100);
}

}  // namespace
}  // namespace brivane::sandbox
