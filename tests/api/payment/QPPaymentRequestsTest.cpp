#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <boost/json.hpp>

#include "brivane/api/payment/QPPaymentAPI.h"

namespace brivane {
namespace {

using ::testing::ElementsAreArray;

// The words of a text.
std::vector<std::string> words(const char* text) {
  std::vector<std::string> list;
  std::istringstream in(text);
  for (std::string word; in >> word;) list.push_back(word);
  return list;
}

template <class R>
std::function<std::shared_ptr<QPRequestBase>()> make() {
  return [] { return std::make_shared<R>(); };
}

// A text that each field takes.
const char* textFor(const std::string& name) {
  if (name == "savePaymentDetails" || name == "useDifferentBillingAddress") return "true";
  if (name.find("Amount") != std::string::npos || name.starts_with("expiry")) return "7";
  if (name == "criteria") return R"({"a": 1})";
  if (name == "mandateSignedDate") return "2024-03-03T09:05:07";
  return "v";
}

// Each request sends exactly its own keys, in order, and none of another's: with nothing set, the
// base keys and the flags that are always sent; with every field set, all of them.
TEST(QPPaymentRequests, KeysOfEachRequestEmptyAndFull) {
  const char* const authorize =
      "programAccno accno accnoType paymentOptionCode savePaymentDetails storedPaymentOptionReference "
      "invoiceReference channelProductReference presentationAmount presentationCurrCode presentationUsage "
      "feeAmount feeCurrCode carrierNumber bankCode expiryMonth expiryYear identification "
      "useDifferentBillingAddress customerFullName addr1 addr2 city state countryCode postCode phone "
      "emailAddress custom1 custom2 custom3 clientIpAddress criteria";
  const char* const payToAccount =  // the one-step body without "identification" and "criteria"
      "programAccno accno accnoType paymentOptionCode savePaymentDetails storedPaymentOptionReference "
      "invoiceReference channelProductReference presentationAmount presentationCurrCode presentationUsage "
      "feeAmount feeCurrCode carrierNumber bankCode expiryMonth expiryYear useDifferentBillingAddress "
      "customerFullName addr1 addr2 city state countryCode postCode phone emailAddress custom1 custom2 "
      "custom3 clientIpAddress";
  const char* const complete =
      "authorizationToken externalChannelReference useDifferentBillingAddress customerFullName addr1 addr2 "
      "addr3 houseNumber city state countryCode postCode criteria";
  const char* const capture =
      "modifiedAmount modifiedAmountCurrCode modifiedUsage modifiedFeeAmount modifiedFeeCurrCode custom1 "
      "custom2 custom3";
  struct Case {
    const char* name;
    std::function<std::shared_ptr<QPRequestBase>()> make;
    const char* set;   // the fields set
    const char* keys;  // the keys sent after localDate and localTime; nullptr: those set
  } cases[] = {
      {"authorize", make<QPAuthorizeRequest>(), "", "savePaymentDetails useDifferentBillingAddress"},
      {"payToAccount", make<QPPayToAccountRequest>(), "", "savePaymentDetails useDifferentBillingAddress"},
      {"initAuthorize", make<QPInitAuthorizeRequest>(), "", "useDifferentBillingAddress"},
      {"completeAuthorize", make<QPCompleteAuthorizeRequest>(), "", "useDifferentBillingAddress"},
      {"lmCompleteAuthorize", make<QPLmCompleteAuthorizeRequest>(), "", "useDifferentBillingAddress"},
      {"capture", make<QPCaptureRequest>(), "", ""},
      {"cancel", make<QPCancelRequest>(), "", ""},
      {"information", make<QPGetPaymentInformationRequest>(), "", ""},
      {"authorize, all", make<QPAuthorizeRequest>(), authorize, nullptr},
      {"payToAccount, all", make<QPPayToAccountRequest>(), payToAccount, nullptr},
      {"initAuthorize, all", make<QPInitAuthorizeRequest>(),
       "programAccno accno accnoType storedPaymentOptionReference paymentOptionCode presentationAmount "
       "presentationCurrCode presentationUsage feeAmount feeCurrCode useDifferentBillingAddress "
       "customerFullName "
       "addr1 addr2 addr3 houseNumber city state countryCode postCode ipAddr custom1 custom2 custom3 "
       "externalChannelReference mandateReference mandateSignedDate criteria emailAddress",
       "programAccno accno accnoType paymentOptionCode presentationAmount storedPaymentOptionReference "
       "presentationCurrCode presentationUsage feeAmount feeCurrCode useDifferentBillingAddress "
       "customerFullName "
       "addr1 addr2 addr3 houseNumber city state countryCode postCode X-Ip-Address custom1 custom2 custom3 "
       "externalChannelReference mandateReference emailAddress mandateSignedDate mandateSignedTime criteria"},
      {"completeAuthorize, all", make<QPCompleteAuthorizeRequest>(), complete, nullptr},
      {"lmCompleteAuthorize, all but depositReference", make<QPLmCompleteAuthorizeRequest>(),
       "accno accnoType programAccno depositReference useDifferentBillingAddress customerFullName addr1 "
       "addr2 "
       "city state countryCode postCode emailAddress clientIpAddress",
       "programAccno accno accnoType useDifferentBillingAddress customerFullName addr1 addr2 city state "
       "countryCode postCode emailAddress clientIpAddress"},
      {"capture, all", make<QPCaptureRequest>(), capture, nullptr},
      {"cancel, all", make<QPCancelRequest>(), "custom1 custom2 custom3", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto request = c.make();
    for (const std::string& name : words(c.set)) {
      std::string why;
      ASSERT_TRUE(request->setField(name, textFor(name), &why)) << name << ": " << why;
    }
    std::vector<std::string> keys;
    for (const auto& [key, value] : request->getRequestParams()) keys.emplace_back(key);
    std::vector<std::string> expected = words(c.keys ? c.keys : c.set);
    expected.insert(expected.begin(), {"localDate", "localTime"});
    EXPECT_THAT(keys, ElementsAreArray(expected));
  }
}

TEST(QPPaymentRequests, ValuesAreEncodedAsTheWireWantsThem) {
  QPAuthorizeRequest authorize;
  authorize.presentationAmount = QPNumber(12.5);
  authorize.expiryMonth = QPNumber(3);
  authorize.savePaymentDetails = true;
  authorize.criteria = boost::json::object{{"a", 1}};
  QPRequestParams params = authorize.getRequestParams();
  EXPECT_EQ(params.at("presentationAmount"), "12.5");
  EXPECT_EQ(params.at("expiryMonth"), "3");
  EXPECT_EQ(params.at("savePaymentDetails"), "true");
  EXPECT_EQ(params.at("useDifferentBillingAddress"), "false");
  EXPECT_EQ(params.at("criteria"), boost::json::parse(R"([{"name": "a", "value": 1}])"));

  QPInitAuthorizeRequest init;
  init.ipAddr = "203.0.113.7";
  ASSERT_TRUE(init.setField("mandateSignedDate", "2024-03-03T09:05:07", nullptr));
  init.criteria = boost::json::object{};
  params = init.getRequestParams();
  EXPECT_EQ(params.at("X-Ip-Address"), "203.0.113.7");
  EXPECT_FALSE(params.contains("ipAddr"));
  EXPECT_FALSE(params.contains("clientIpAddress"));
  EXPECT_EQ(params.at("mandateSignedDate"), "2024-03-03");
  EXPECT_EQ(params.at("mandateSignedTime"), "090507");
  EXPECT_EQ(params.at("criteria"), boost::json::array());

  QPCaptureRequest capture;
  capture.modifiedAmount = QPNumber(5);
  capture.modifiedAmountCurrCode = "EUR";
  params = capture.getRequestParams();
  EXPECT_EQ(params.at("modifiedAmount"), "5");
  EXPECT_EQ(params.at("modifiedAmountCurrCode"), "EUR");

  QPLmCompleteAuthorizeRequest lm;
  lm.depositReference = "DEP-1";
  EXPECT_FALSE(lm.getRequestParams().contains("depositReference"));
  EXPECT_EQ(lm.toJSONObject().at("depositReference"), "DEP-1");  // held, only not sent
}

TEST(QPPaymentRequests, FieldsTheRequestLacksAreRefusedByName) {
  const std::pair<std::function<std::shared_ptr<QPRequestBase>()>, const char*> cases[] = {
      {make<QPInitAuthorizeRequest>(), "carrierNumber clientIpAddress savePaymentDetails phone"},
      {make<QPPayToAccountRequest>(), "identification criteria"},
      {make<QPCompleteAuthorizeRequest>(), "accno presentationAmount"},
      {make<QPLmCompleteAuthorizeRequest>(), "addr3 criteria"},
      {make<QPCancelRequest>(), "modifiedAmount"},
      {make<QPAuthorizeRequest>(), "ipAddr"},
  };
  for (const auto& [factory, names] : cases) {
    for (const std::string& name : words(names)) {
      std::string why;
      EXPECT_FALSE(factory()->setField(name, "x", &why)) << name;
      EXPECT_THAT(why, ::testing::HasSubstr(name));
    }
  }
}

}  // namespace
}  // namespace brivane
