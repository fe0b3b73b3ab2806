#include <gtest/gtest.h>

#include <httplib.h>

#include <string>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"
#include "support/RestCaller.h"

namespace brivane::sandbox {
namespace {

namespace json = boost::json;

using Caller = test::RestCaller;
using test::jsonText;

std::string signIn(const Sandbox& sandbox, const char* user, const char* password) {
  return jsonText(test::signIn(sandbox.baseUrl(), user, password), "access_token");
}

class SandboxRoutes : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(sandbox.start()); }

  Sandbox sandbox;
  Caller demo{sandbox, sandbox.issueAccessToken()};  // the token works once the sandbox serves
};

// One amount rule on every route: a positive decimal with at most two places, below 1,000,000,000.
// Other clients may send amounts as JSON numbers; the sandbox takes whole cents either way.
TEST_F(SandboxRoutes, OneAmountRuleForPaymentsTransfersAndFees) {
  struct Case {
    const char* amount;  // the JSON text of the amount
    bool accepted;
  };
  const Case cases[] = {
      {R"("12.50")", true},
      {"12.5", true},
      {"12", true},
      {R"("0.01")", true},
      {"1.005", false},
      {R"("1.005")", false},
      {R"("0")", false},
      {"-3", false},
      {R"("1,5")", false},
      {R"("12.")", false},
      {R"("abc")", false},
      {"true", false},
      {R"("0x10")", false},
      {R"("0.005")", false},
      {R"("1.999")", false},
      {R"("1e2")", false},
      {R"(" 12")", false},
      {R"("+12")", false},
      {R"("1000000000.00")", false},
      {"1000000000", false},
      {R"("999999999.99")", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.amount);
    const std::string amount = c.amount;
    EXPECT_EQ(demo.code("PUT", "/payment/authorize",
                        R"("presentationCurrCode": "EUR", "carrierNumber": "4111111111111111", )"
                        R"("presentationAmount": )" +
                            amount),
              c.accepted ? "0000" : "6103");
    const std::string query = amount.front() == '"' ? amount.substr(1, amount.size() - 2) : amount;
    EXPECT_EQ(demo.code("GET", "/account/1000000001/calculateFees",
                        "transactionTypeCode=TRANSFER&amount=" + httplib::detail::encode_query_param(query)),
              c.accepted ? "0000" : "4151");
    // A refused transfer amount books nothing; an accepted one is refused only by the limits.
    const std::string transfer =
        demo.code("POST", "/account/1000000001/transfer",
                  R"("carrierNumber": "1000000002", "transferCurrCode": "EUR", "transferAmount": )" + amount);
    if (c.accepted)
      EXPECT_NE(transfer, "4130");
    else
      EXPECT_EQ(transfer, "4130");
  }
  EXPECT_EQ(sandbox.balance("1000000002"), 100000 + 1250 + 1250 + 1200 + 1);
}

// A booking that would take a balance beyond 999,999,999.99 is refused and changes nothing.
TEST_F(SandboxRoutes, ABalanceCannotOverflow) {
  const std::string pay = R"("presentationCurrCode": "EUR", "carrierNumber": "4111111111111111", )"
                          R"("accno": "1000000002", "presentationAmount": )";
  EXPECT_EQ(demo.code("PUT", "/payment/payToAccount", pay + R"("999998999.99")"), "0000");
  EXPECT_EQ(sandbox.balance("1000000002"), 99999999999);
  EXPECT_EQ(demo.code("PUT", "/payment/payToAccount", pay + R"("0.01")"), "6120");
  EXPECT_EQ(demo.code("POST", "/account/1000000001/transfer",
                      R"("carrierNumber": "1000000002", "transferCurrCode": "EUR", "transferAmount": "1")"),
            "4138");
  EXPECT_EQ(sandbox.balance("1000000002"), 99999999999);
  EXPECT_EQ(sandbox.balance("1000000001"), 100000);
}

// Cards pass Luhn unless they are the masked number the shopper's page reported; currencies come
// from the published list; money moves only between accounts of one currency.
TEST_F(SandboxRoutes, CardsCurrenciesAndCrossCurrencyTransfers) {
  const json::value init = demo.call("POST", "/account/1000000001/storedPaymentOptions/initAdd",
                                     R"("accnoType": "WALLET", "paymentOptionCode": "VISA")");
  const std::string token = jsonText(init, "authorizationToken");
  ASSERT_TRUE(sandbox.completeAuthorizationAsShopper(token));
  for (const char* number : {"not-a-card-x", "411111******1111", "XXXXXXXXXXXX", "4111 1111 1111 1111x"}) {
    SCOPED_TRACE(number);
    EXPECT_EQ(demo.code("PUT", "/account/1000000001/storedPaymentOptions/completeAdd",
                        R"("paymentOptionCode": "VISA", "expiryMonth": 12, "expiryYear": 2099, )"
                        R"("authorizationToken": ")" +
                            token + R"(", "carrierNumber": ")" + number + "\""),
              "4175");
  }

  struct Case {
    const char* method;
    const char* path;
    std::string fields;
    const char* code;
  };
  const Case cases[] = {
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
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fields);
    EXPECT_EQ(demo.code(c.method, c.path, c.fields), c.code);
  }
  EXPECT_EQ(sandbox.balance("1000000001"), 100000);
  EXPECT_EQ(sandbox.balance("1000000003"), 0);
}

// Every answer is JSON, also when the request carries bytes that are no UTF-8.
TEST_F(SandboxRoutes, InvalidUtf8InARequestStillGivesValidJson) {
  for (const std::string query : {"x=1", "x=%FF%FE", "partnerReference=%C3%28"}) {
    SCOPED_TRACE(query);
    httplib::Client http(sandbox.baseUrl());
    http.set_bearer_token_auth(sandbox.issueAccessToken());
    for (const std::string path :
         {"/account/1000000001/balance?partnerReference=%FF%FEok&programCode=BRIVANE&",
          "/account/1000000001/balance?partnerReference=ok&programCode=%FFno&",
          "/account/%FF%FE/balance?partnerReference=ok&programCode=BRIVANE&"}) {
      auto answer = http.Get(path + query);
      ASSERT_TRUE(answer);
      boost::system::error_code error;
      json::parse(answer->body, error);
      EXPECT_FALSE(error) << path << ": " << answer->body;
    }
  }
}

// Another user reaches none of the demo user's payments, cards or credentials; a refusal changes
// nothing.
TEST_F(SandboxRoutes, AnotherUserReachesNothingOfTheDemoUser) {
  const std::string card = R"("presentationCurrCode": "EUR", "carrierNumber": "4111111111111111", )";
  const json::value opened =
      demo.call("PUT", "/payment/initAuthorize", card + R"("presentationAmount": "10")");
  const json::value authorized =
      demo.call("PUT", "/payment/authorize", card + R"("presentationAmount": "20")");
  const std::string initiated = jsonText(opened, "uniqueReference");
  const std::string payment = jsonText(authorized, "uniqueReference");
  ASSERT_TRUE(sandbox.completeAuthorizationAsShopper(jsonText(opened, "authorizationToken")));
  const std::string token = jsonText(demo.call("POST", "/account/1000000001/storedPaymentOptions/initAdd",
                                               R"("accnoType": "WALLET", "paymentOptionCode": "VISA")"),
                                     "authorizationToken");
  ASSERT_TRUE(sandbox.completeAuthorizationAsShopper(token));
  const std::string option =
      jsonText(demo.call("PUT", "/account/1000000001/storedPaymentOptions/completeAdd",
                         R"("paymentOptionCode": "VISA", "carrierNumber": "4111111111111111", )"
                         R"("authorizationToken": ")" +
                             token + "\""),
               "storedPaymentOptionReference");
  ASSERT_FALSE(option.empty());
  EXPECT_EQ(demo.code("POST", "/user/demo@brivane.test/sendPasswordResetCode"), "0000");
  EXPECT_EQ(
      demo.code("PUT", "/user/demo@brivane.test/secondaryEmail", R"("emailAddress": "alias@brivane.test")"),
      "0000");
  std::string resetCode;
  {
    httplib::Client http(sandbox.baseUrl());
    auto outbox = http.Get("/sandbox/outbox");
    ASSERT_TRUE(outbox);
    const json::value messages = json::parse(outbox->body);
    for (const json::value& message : messages.at("messages").as_array())
      if (message.at("kind") == "passwordReset") resetCode = message.at("code").as_string();
  }

  Caller second(sandbox, signIn(sandbox, "second@brivane.test", "Second-Pass-2"));
  struct Case {
    const char* method;
    std::string path;
    std::string fields;
    const char* code;
  };
  const Case cases[] = {
      {"GET", "/payment/" + payment + "/information", "", "6118"},
      {"POST", "/payment/" + payment + "/capture", "", "6118"},
      {"POST", "/payment/" + payment + "/cancel", "", "6118"},
      {"POST", "/payment/" + initiated + "/lm-completeAuthorize", "", "6118"},
      {"POST", "/payment/" + initiated + "/completeAuthorize",
       R"("authorizationToken": ")" + jsonText(opened, "authorizationToken") + "\"", "6118"},
      {"PUT", "/payment/authorize", card + R"("presentationAmount": "5", "accno": "1000000001")", "6119"},
      {"PUT", "/payment/initAuthorize", card + R"("presentationAmount": "5", "accno": "1000000001")", "6119"},
      {"PUT", "/payment/authorize",
       R"("presentationCurrCode": "EUR", "presentationAmount": "5", "storedPaymentOptionReference": ")" +
           option + "\"",
       "6107"},
      {"POST", "/user/demo@brivane.test/changePassword",
       R"("oldPassword": ")" + resetCode + R"(", "newPassword": "Taken-Over-9")", "2105"},
      {"PUT", "/account", R"("loginID": "alias@brivane.test", "password": "Alias-Pass-1")", "4112"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.method + (" " + c.path) + " " + c.fields);
    EXPECT_EQ(second.code(c.method, c.path, c.fields), c.code);
  }
  // Nothing changed: the payments keep their states, the password its value, the address its owner.
  EXPECT_EQ(jsonText(demo.call("GET", "/payment/" + payment + "/information"), "paymentState"), "AUTHORIZED");
  EXPECT_EQ(jsonText(demo.call("GET", "/payment/" + initiated + "/information"), "paymentState"),
            "INITIATED");
  EXPECT_FALSE(signIn(sandbox, "demo@brivane.test", "Demo-Pass-1").empty());
  EXPECT_EQ(demo.code("POST", "/account/1000000001/transfer",
                      R"("carrierNumber": "1000000002", "transferCurrCode": "EUR", "transferAmount": "1")"),
            "0000");
  EXPECT_EQ(sandbox.balance("1000000002"), 100100);
}

}  // namespace
}  // namespace brivane::sandbox
