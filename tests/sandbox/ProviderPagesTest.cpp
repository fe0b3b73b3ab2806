// The stand-in providers' server side: what the shopper typed is checked again, documented
// test data leads to a challenge or a decline, and a finished page marks the ledger.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>

#include <boost/json.hpp>

#include "sandbox/SandboxState.h"
#include "sandbox/provider_pages.h"
#include "support/RestCaller.h"
#include "support/TestSupport.h"

namespace brivane::sandbox {
namespace {

using ::testing::HasSubstr;

json::object object(const char* text) {
  return json::parse(text).as_object();
}

json::object card(const std::string& token, const std::string& number, const std::string& expiry = "12/39",
                  const std::string& cvv = "123", const std::string& holder = "Erika Mustermann") {
  return {{"token", token},
          {"method", "card"},
          {"cardNumber", number},
          {"expiry", expiry},
          {"cvv", cvv},
          {"holder", holder},
          {"continueUrl", "http://127.0.0.1/back"}};
}

// The challenge session named in an answer's challengeUrl.
std::string session(const json::object& challenge) {
  const std::string url(challenge.at("challengeUrl").as_string());
  const std::size_t at = url.find("session=") + 8;
  return url.substr(at, url.find('&', at) - at);
}

class ProviderPagesTest : public ::testing::Test {
 protected:
  json::object post(const std::string& path, const json::object& body) {
    auto result = httplib::Client(thread_.baseUrl()).Post(path, json::serialize(body), "application/json");
    return result ? json::parse(result->body).as_object() : json::object{{"outcome", "no answer"}};
  }
  json::object verify(const std::string& session, const char* code) {
    return post("/providers/3ds/verify", {{"session", session}, {"code", code}});
  }
  // A blank authorization for `token` (with its payment and the host's return URL, if given).
  void seed(const std::string& token, const std::string& reference = "", const std::string& redirect = "") {
    std::lock_guard lock(state_.mutex);
    Authorization& authorization = state_.store.authorizations[token];
    authorization.token = token;
    authorization.reference = reference;
    authorization.redirectURL = redirect;
  }
  Authorization ledger(const std::string& token) {
    std::lock_guard lock(state_.mutex);
    return state_.store.authorizations.at(token);
  }

  Sandbox::State state_;
  httplib::Server server_;
  bool routed_ = (registerProviderPages(server_, "http://sandbox.test", &state_), true);
  test::ServerThread thread_{server_};
};

TEST_F(ProviderPagesTest, AuthorizeChecksAndDecidesByTestData) {
  const struct {
    const char* name;
    json::object body;
    std::string outcome;
    const char* field;  // named by an "invalid" outcome
  } cases[] = {
      {"visa", card("t1", "4200 0000 0000 0000"), "approved", ""},
      {"amex with four digits", card("t2", "3782 822463 10005", "01/2040", "1234"), "approved", ""},
      {"declined card", card("t3", "4000000000000002"), "declined", ""},
      {"challenge card", card("t4", "4000 0000 0000 3220"), "challenge", ""},
      {"luhn", card("t5", "4200 0000 0000 0001"), "invalid", "cardNumber"},
      {"expired", card("t6", "4200000000000000", "01/20"), "invalid", "expiry"},
      {"month 13", card("t7", "4200000000000000", "13/39"), "invalid", "expiry"},
      {"expiry without a slash", card("t16", "4200000000000000", "1239"), "approved", ""},
      {"expiry as formatted", card("t17", "4200000000000000", "12 / 2039"), "approved", ""},
      {"expiry of five digits", card("t18", "4200000000000000", "12390"), "invalid", "expiry"},
      {"amex with three digits", card("t8", "378282246310005", "12/39", "123"), "invalid", "cvv"},
      {"no holder", card("t9", "4200000000000000", "12/39", "123", "E"), "invalid", "holder"},
      {"iban",
       object(
           R"({"token": "t10", "method": "sepa", "iban": "DE89 3704 0044 0532 0130 00", "holder": "Erika"})"),
       "approved", ""},
      {"declined iban",
       object(R"({"token": "t11", "method": "sepa", "iban": "DE02120300000000202051", "holder": "E M"})"),
       "declined", ""},
      {"iban checksum",
       object(R"({"token": "t12", "method": "sepa", "iban": "DE89370400440532013001", "holder": "E M"})"),
       "invalid", "iban"},
      {"paypal", object(R"({"token": "t13", "method": "paypal", "payer": "shopper@paypal.test"})"),
       "approved", ""},
      {"paypal declined", object(R"({"token": "t14", "method": "paypal", "payer": "decline@paypal.test"})"),
       "declined", ""},
      {"paypal cancelled", object(R"({"token": "t15", "method": "paypal", "cancelled": true})"), "cancelled",
       ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string token(c.body.at("token").as_string());
    seed(token);
    const json::object answer = post("/providers/authorize", c.body);
    EXPECT_EQ(answer.at("outcome"), c.outcome.c_str());
    EXPECT_EQ(test::jsonText(answer, "field"), c.field);
    // Only an approval finishes the page; a decline or a cancel marks it declined.
    EXPECT_EQ(ledger(token).completedByShopper, c.outcome == "approved");
    EXPECT_EQ(ledger(token).declined, c.outcome == "declined" || c.outcome == "cancelled");
  }
  // The ledger keeps the card masked, never its number or security code.
  const std::string kept = json::serialize(ledger("t1").shopperData);
  EXPECT_EQ(ledger("t1").shopperData.at("maskedNumber"), "420000******0000");
  EXPECT_THAT(kept, ::testing::Not(HasSubstr("4200000000000000")));
  EXPECT_THAT(kept, ::testing::Not(HasSubstr("123")));
  EXPECT_EQ(ledger("t10").shopperData.at("maskedIban"), "DE89**************3000");
}

TEST_F(ProviderPagesTest, TheChallengeApprovesOnlyWithItsCodeAndOnce) {
  seed("c1");
  json::object body = card("c1", "4000000000003220");
  body["data"] = "posted";
  const json::object challenge = post("/providers/authorize", body);
  ASSERT_EQ(challenge.at("outcome"), "challenge");
  EXPECT_EQ(verify(session(challenge), "0000").at("outcome"), "invalid");
  EXPECT_FALSE(ledger("c1").completedByShopper);
  const json::object approved = verify(session(challenge), "1234");
  EXPECT_EQ(approved.at("outcome"), "approved");
  EXPECT_EQ(approved.at("continueUrl"), "http://127.0.0.1/back");
  EXPECT_EQ(approved.at("data"), "posted");
  EXPECT_TRUE(ledger("c1").completedByShopper);
  EXPECT_EQ(verify(session(challenge), "1234").at("outcome"), "invalid");
}

TEST_F(ProviderPagesTest, TheChallengeNamesMerchantAndAmountAndCanBeCancelled) {
  {
    std::lock_guard lock(state_.mutex);
    Payment& payment = state_.store.payments["p1"];
    payment.uniqueReference = "p1";
    payment.amount = 4250;
    payment.currency = "CHF";
    payment.details["programAccno"] = "9000000042";
    state_.store.accounts["9000000042"].information["companyName"] = "Käse & <Co>";
  }
  seed("x1", "p1");
  seed("x2");
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"x1", {"data-amount=\"4250\" data-currency=\"CHF\"", ">Käse &amp; &lt;Co&gt;</dd>"}},
      // Storing a card, or a token the sandbox does not know: the sandbox's shop, no amount.
      {"x2", {"data-amount=\"\" data-currency=\"\"", ">Brivane Sandbox Shop</dd>"}},
  };
  for (const auto& [token, shown] : cases) {
    SCOPED_TRACE(token);
    const json::object challenge = post("/providers/authorize", card(token, "4000000000003220"));
    const std::string url(challenge.at("challengeUrl").as_string());
    auto page = httplib::Client(thread_.baseUrl()).Get(url.substr(url.find("/providers/")));
    ASSERT_TRUE(page);
    for (const std::string& text : shown) EXPECT_THAT(page->body, HasSubstr(text));
    EXPECT_THAT(page->body, HasSubstr("id=\"challenge-cancel\""));
    EXPECT_EQ(post("/providers/3ds/cancel", {{"session", session(challenge)}}).at("outcome"), "cancelled");
    EXPECT_TRUE(ledger(token).declined);
    // A cancelled challenge takes no code and cannot be cancelled again.
    EXPECT_EQ(verify(session(challenge), "1234").at("outcome"), "invalid");
    EXPECT_EQ(post("/providers/3ds/cancel", {{"session", session(challenge)}}).at("outcome"), "invalid");
    EXPECT_FALSE(ledger(token).completedByShopper);
  }
}

TEST_F(ProviderPagesTest, PagesWhereTheShopperEndsLookLikeTheCardPages) {
  for (const char* path : {"/providers/return?id=1", "/callbacks/payon",
                           "/callbacks/paypal/success/?PayerID=P", "/callbacks/paypal/cancel/"}) {
    SCOPED_TRACE(path);
    auto page = httplib::Client(thread_.baseUrl()).Get(path);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->status, 200);
    EXPECT_THAT(page->body, HasSubstr(".qp-title { font-size: 18px; font-weight: 600;"));
    EXPECT_THAT(page->body, HasSubstr(pages::standInCSS()));
    EXPECT_THAT(page->body, HasSubstr("<h1 class=\"qp-title\">"));
    EXPECT_THAT(page->body, HasSubstr("<p class=\"qp-text\">"));
  }
}

TEST_F(ProviderPagesTest, TheFormServiceLearnsTheHostsReturnURL) {
  seed("r1", "", "https://shop.example/back");
  EXPECT_EQ(post("/providers/authorize", card("r1", "4200000000000000")).at("returnUrl"),
            "https://shop.example/back");
  EXPECT_FALSE(post("/providers/authorize", card("unknown", "4200000000000000")).contains("returnUrl"));
  // A challenge of the form service (it posts its data) continues there; the widget's goes on
  // to the gateway's callback.
  json::object formService = card("r1", "4000000000003220");
  formService["data"] = "d";
  for (const auto& [body, expected] : {std::pair{formService, "https://shop.example/back"},
                                       std::pair{card("r1", "4000000000003220"), "http://127.0.0.1/back"}}) {
    EXPECT_EQ(verify(session(post("/providers/authorize", body)), "1234").at("continueUrl"), expected);
  }
}

TEST_F(ProviderPagesTest, BadBodiesAndUnknownTokensChangeNothing) {
  for (const char* body : {"", "[1]", "{not json", "null"}) {
    auto result = httplib::Client(thread_.baseUrl()).Post("/providers/authorize", body, "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 400) << body;
  }
  EXPECT_EQ(post("/providers/authorize", card("nobody", "4200000000000000")).at("outcome"), "approved");
  EXPECT_EQ(post("/providers/authorize", {{"token", 7}, {"method", "cash"}}).at("outcome"), "invalid");
  std::lock_guard lock(state_.mutex);
  EXPECT_TRUE(state_.store.authorizations.empty());
}

}  // namespace
}  // namespace brivane::sandbox
