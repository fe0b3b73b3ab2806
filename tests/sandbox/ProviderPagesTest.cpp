// The stand-in providers' server side: what the shopper typed is checked again, documented
// test data leads to a challenge or a decline, and a finished page marks the ledger.
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <mutex>
#include <thread>

#include <boost/json.hpp>

#include "sandbox/SandboxState.h"
#include "sandbox/Shopper.h"
#include "sandbox/provider_pages.h"

namespace brivane::sandbox {
namespace {

class ProviderPagesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    port_ = server_.bind_to_any_port("127.0.0.1");
    registerProviderPages(server_, "http://127.0.0.1:" + std::to_string(port_), &state_);
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  void TearDown() override {
    server_.stop();
    thread_.join();
  }

  json::object post(const std::string& path, const json::object& body) {
    httplib::Client client("127.0.0.1", port_);
    auto result = client.Post(path, json::serialize(body), "application/json");
    if (!result) return {{"outcome", "no answer"}};
    return json::parse(result->body).as_object();
  }

  void seed(const std::string& token) {
    std::lock_guard<std::mutex> lock(state_.mutex);
    Authorization authorization;
    authorization.token = token;
    state_.store.authorizations[token] = authorization;
  }
  Authorization ledger(const std::string& token) {
    std::lock_guard<std::mutex> lock(state_.mutex);
    return state_.store.authorizations.at(token);
  }

  Sandbox::State state_;
  httplib::Server server_;
  int port_ = 0;
  std::thread thread_;
};

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

TEST_F(ProviderPagesTest, AuthorizeChecksAndDecidesByTestData) {
  struct Case {
    std::string name;
    json::object body;
    std::string outcome;
    std::string field;  // for "invalid"
    bool approved;      // ledger after the call
    bool declined;
  };
  const Case cases[] = {
      {"visa", card("t1", "4200 0000 0000 0000"), "approved", "", true, false},
      {"amex with four digits", card("t2", "3782 822463 10005", "01/2040", "1234"), "approved", "", true,
       false},
      {"declined card", card("t3", "4000000000000002"), "declined", "", false, true},
      {"challenge card", card("t4", "4000 0000 0000 3220"), "challenge", "", false, false},
      {"luhn", card("t5", "4200 0000 0000 0001"), "invalid", "cardNumber", false, false},
      {"expired", card("t6", "4200000000000000", "01/20"), "invalid", "expiry", false, false},
      {"month 13", card("t7", "4200000000000000", "13/39"), "invalid", "expiry", false, false},
      {"expiry without a slash", card("t16", "4200000000000000", "1239"), "approved", "", true, false},
      {"expiry as formatted", card("t17", "4200000000000000", "12 / 2039"), "approved", "", true, false},
      {"expiry of five digits", card("t18", "4200000000000000", "12390"), "invalid", "expiry", false, false},
      {"amex with three digits", card("t8", "378282246310005", "12/39", "123"), "invalid", "cvv", false,
       false},
      {"no holder", card("t9", "4200000000000000", "12/39", "123", "E"), "invalid", "holder", false, false},
      {"iban",
       {{"token", "t10"}, {"method", "sepa"}, {"iban", "DE89 3704 0044 0532 0130 00"}, {"holder", "Erika"}},
       "approved",
       "",
       true,
       false},
      {"declined iban",
       {{"token", "t11"}, {"method", "sepa"}, {"iban", "DE02120300000000202051"}, {"holder", "E M"}},
       "declined",
       "",
       false,
       true},
      {"iban checksum",
       {{"token", "t12"}, {"method", "sepa"}, {"iban", "DE89370400440532013001"}, {"holder", "E M"}},
       "invalid",
       "iban",
       false,
       false},
      {"paypal",
       {{"token", "t13"}, {"method", "paypal"}, {"payer", "shopper@paypal.test"}},
       "approved",
       "",
       true,
       false},
      {"paypal declined",
       {{"token", "t14"}, {"method", "paypal"}, {"payer", "decline@paypal.test"}},
       "declined",
       "",
       false,
       true},
      {"paypal cancelled",
       {{"token", "t15"}, {"method", "paypal"}, {"cancelled", true}},
       "cancelled",
       "",
       false,
       true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string token(c.body.at("token").as_string());
    seed(token);
    const json::object answer = post("/providers/authorize", c.body);
    EXPECT_EQ(answer.at("outcome"), json::value(c.outcome.c_str()));
    if (!c.field.empty()) {
      EXPECT_EQ(answer.at("field"), json::value(c.field.c_str()));
    }
    const Authorization after = ledger(token);
    EXPECT_EQ(after.completedByShopper, c.approved);
    EXPECT_EQ(after.declined, c.declined);
  }
  // The ledger keeps the card masked, never its number or security code.
  const std::string kept = json::serialize(ledger("t1").shopperData);
  EXPECT_EQ(ledger("t1").shopperData.at("maskedNumber"), json::value("420000******0000"));
  EXPECT_EQ(kept.find("4200000000000000"), std::string::npos);
  EXPECT_EQ(kept.find("123"), std::string::npos);
  EXPECT_EQ(ledger("t10").shopperData.at("maskedIban"), json::value("DE89**************3000"));
}

TEST_F(ProviderPagesTest, TheChallengeApprovesOnlyWithItsCodeAndOnce) {
  seed("c1");
  json::object body = card("c1", "4000000000003220");
  body["data"] = "posted";
  const json::object challenge = post("/providers/authorize", body);
  ASSERT_EQ(challenge.at("outcome"), json::value("challenge"));
  const std::string url(challenge.at("challengeUrl").as_string());
  const std::string session = url.substr(url.find("session=") + 8, url.find('&') - url.find("session=") - 8);
  EXPECT_EQ(post("/providers/3ds/verify", {{"session", session}, {"code", "0000"}}).at("outcome"),
            json::value("invalid"));
  EXPECT_FALSE(ledger("c1").completedByShopper);
  const json::object approved = post("/providers/3ds/verify", {{"session", session}, {"code", "1234"}});
  EXPECT_EQ(approved.at("outcome"), json::value("approved"));
  EXPECT_EQ(approved.at("continueUrl"), json::value("http://127.0.0.1/back"));
  EXPECT_EQ(approved.at("data"), json::value("posted"));
  EXPECT_TRUE(ledger("c1").completedByShopper);
  EXPECT_EQ(post("/providers/3ds/verify", {{"session", session}, {"code", "1234"}}).at("outcome"),
            json::value("invalid"));
}

TEST_F(ProviderPagesTest, TheChallengeNamesMerchantAndAmountAndCanBeCancelled) {
  {
    std::lock_guard<std::mutex> lock(state_.mutex);
    Payment payment;
    payment.uniqueReference = "p1";
    payment.amount = 4250;
    payment.currency = "CHF";
    payment.details["programAccno"] = "9000000042";
    state_.store.payments["p1"] = payment;
    state_.store.accounts["9000000042"].information["companyName"] = "Käse & <Co>";
  }
  seed("x1");
  seed("x2");
  {
    std::lock_guard<std::mutex> lock(state_.mutex);
    state_.store.authorizations["x1"].reference = "p1";
  }
  httplib::Client client("127.0.0.1", port_);
  struct Case {
    std::string token;
    std::vector<std::string> shown;
  };
  const Case cases[] = {
      {"x1", {"data-amount=\"4250\" data-currency=\"CHF\"", ">Käse &amp; &lt;Co&gt;</dd>"}},
      // Storing a card, or a token the sandbox does not know: the sandbox's shop, no amount.
      {"x2", {"data-amount=\"\" data-currency=\"\"", ">Brivane Sandbox Shop</dd>"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.token);
    const std::string url(
        post("/providers/authorize", card(c.token, "4000000000003220")).at("challengeUrl").as_string());
    auto page = client.Get(url.substr(url.find("/providers/")));
    ASSERT_TRUE(page);
    for (const std::string& shown : c.shown) EXPECT_NE(page->body.find(shown), std::string::npos) << shown;
    EXPECT_NE(page->body.find("id=\"challenge-cancel\""), std::string::npos);
    const std::size_t at = url.find("session=") + 8;
    const std::string session = url.substr(at, url.find('&', at) - at);
    EXPECT_EQ(post("/providers/3ds/cancel", {{"session", session}}).at("outcome"), json::value("cancelled"));
    EXPECT_TRUE(ledger(c.token).declined);
    EXPECT_FALSE(ledger(c.token).completedByShopper);
    // A cancelled challenge takes no code and cannot be cancelled again.
    EXPECT_EQ(post("/providers/3ds/verify", {{"session", session}, {"code", "1234"}}).at("outcome"),
              json::value("invalid"));
    EXPECT_EQ(post("/providers/3ds/cancel", {{"session", session}}).at("outcome"), json::value("invalid"));
    EXPECT_FALSE(ledger(c.token).completedByShopper);
  }
}

TEST_F(ProviderPagesTest, PagesWhereTheShopperEndsLookLikeTheCardPages) {
  httplib::Client client("127.0.0.1", port_);
  for (const char* path : {"/providers/return?id=1", "/callbacks/payon",
                           "/callbacks/paypal/success/?PayerID=P", "/callbacks/paypal/cancel/"}) {
    SCOPED_TRACE(path);
    auto page = client.Get(path);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->status, 200);
    EXPECT_NE(page->body.find(pages::standInCSS()), std::string::npos);
    EXPECT_NE(page->body.find("<h1 class=\"qp-title\">"), std::string::npos);
    EXPECT_NE(page->body.find("<p class=\"qp-text\">"), std::string::npos);
  }
}

TEST_F(ProviderPagesTest, TheFormServiceLearnsTheHostsReturnURL) {
  seed("r1");
  {
    std::lock_guard<std::mutex> lock(state_.mutex);
    state_.store.authorizations["r1"].redirectURL = "https://shop.example/back";
  }
  EXPECT_EQ(post("/providers/authorize", card("r1", "4200000000000000")).at("returnUrl"),
            json::value("https://shop.example/back"));
  EXPECT_FALSE(post("/providers/authorize", card("unknown", "4200000000000000")).contains("returnUrl"));
  // A challenge of the form service (it posts its data) continues there; the widget's goes on
  // to the gateway's callback.
  json::object formService = card("r1", "4000000000003220");
  formService["data"] = "d";
  for (const auto& [body, expected] : {std::pair{formService, "https://shop.example/back"},
                                       std::pair{card("r1", "4000000000003220"), "http://127.0.0.1/back"}}) {
    const std::string url(post("/providers/authorize", body).at("challengeUrl").as_string());
    const std::size_t at = url.find("session=") + 8;
    const std::string session = url.substr(at, url.find('&', at) - at);
    EXPECT_EQ(post("/providers/3ds/verify", {{"session", session}, {"code", "1234"}}).at("continueUrl"),
              json::value(expected));
  }
}

TEST_F(ProviderPagesTest, BadBodiesAndUnknownTokensChangeNothing) {
  httplib::Client client("127.0.0.1", port_);
  for (const char* body : {"", "[1]", "{not json", "null"}) {
    auto result = client.Post("/providers/authorize", body, "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 400) << body;
  }
  EXPECT_EQ(post("/providers/authorize", card("nobody", "4200000000000000")).at("outcome"),
            json::value("approved"));
  EXPECT_EQ(post("/providers/authorize", {{"token", 7}, {"method", "cash"}}).at("outcome"),
            json::value("invalid"));
  std::lock_guard<std::mutex> lock(state_.mutex);
  EXPECT_TRUE(state_.store.authorizations.empty());
}

TEST(ShopperTest, ModesParseAndNameTheirTestData) {
  EXPECT_EQ(parseShopperMode("approve"), ShopperMode::Approve);
  EXPECT_EQ(parseShopperMode("3ds"), ShopperMode::Challenge);
  EXPECT_EQ(parseShopperMode("Approve"), std::nullopt);
  EXPECT_NE(shopperStepScript(ShopperMode::Decline).find("(\"decline\")"), std::string::npos);
  EXPECT_NE(shopperStepScript(ShopperMode::Challenge).find("(\"3ds\")"), std::string::npos);
}

}  // namespace
}  // namespace brivane::sandbox
