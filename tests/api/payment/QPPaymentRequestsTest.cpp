#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/json.hpp>

#include "brivane/api/payment/QPPaymentAPI.h"

namespace brivane {
namespace {

using ::testing::ElementsAreArray;

std::vector<std::string> keysOf(const QPRequestParams& params) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : params) keys.emplace_back(key);
  return keys;
}

struct KeysCase {
  const char* name;
  std::function<std::shared_ptr<QPRequestBase>()> make;
  std::vector<std::pair<std::string, std::string>> set;  // field name, text
  std::vector<std::string> keys;                         // the parameters' keys, in order
};

template <class R>
std::function<std::shared_ptr<QPRequestBase>()> make() {
  return [] { return std::make_shared<R>(); };
}

// Every field set: each request sends exactly its own keys, in order, and none of another's.
std::vector<std::pair<std::string, std::string>> allOf(const std::vector<std::string>& names) {
  std::vector<std::pair<std::string, std::string>> set;
  for (const std::string& name : names) {
    if (name == "savePaymentDetails" || name == "useDifferentBillingAddress") {
      set.emplace_back(name, "true");
    } else if (name.find("Amount") != std::string::npos || name.starts_with("expiry")) {
      set.emplace_back(name, "7");
    } else if (name == "criteria") {
      set.emplace_back(name, R"({"a": 1})");
    } else if (name == "mandateSignedDate") {
      set.emplace_back(name, "2024-03-03T09:05:07");
    } else {
      set.emplace_back(name, "v");
    }
  }
  return set;
}

const std::vector<std::string> kBase{"localDate", "localTime"};

std::vector<std::string> withBase(std::vector<std::string> keys) {
  keys.insert(keys.begin(), kBase.begin(), kBase.end());
  return keys;
}

const std::vector<std::string> kAuthorizeKeys{"programAccno",
                                              "accno",
                                              "accnoType",
                                              "paymentOptionCode",
                                              "savePaymentDetails",
                                              "storedPaymentOptionReference",
                                              "invoiceReference",
                                              "channelProductReference",
                                              "presentationAmount",
                                              "presentationCurrCode",
                                              "presentationUsage",
                                              "feeAmount",
                                              "feeCurrCode",
                                              "carrierNumber",
                                              "bankCode",
                                              "expiryMonth",
                                              "expiryYear",
                                              "identification",
                                              "useDifferentBillingAddress",
                                              "customerFullName",
                                              "addr1",
                                              "addr2",
                                              "city",
                                              "state",
                                              "countryCode",
                                              "postCode",
                                              "phone",
                                              "emailAddress",
                                              "custom1",
                                              "custom2",
                                              "custom3",
                                              "clientIpAddress",
                                              "criteria"};
// Pay-to-account: the one-step body without "identification" and "criteria".
const std::vector<std::string> kPayToAccountKeys = [] {
  std::vector<std::string> keys;
  for (const std::string& key : kAuthorizeKeys)
    if (key != "identification" && key != "criteria") keys.push_back(key);
  return keys;
}();
const std::vector<std::string> kInitFields{"programAccno",
                                           "accno",
                                           "accnoType",
                                           "storedPaymentOptionReference",
                                           "paymentOptionCode",
                                           "presentationAmount",
                                           "presentationCurrCode",
                                           "presentationUsage",
                                           "feeAmount",
                                           "feeCurrCode",
                                           "useDifferentBillingAddress",
                                           "customerFullName",
                                           "addr1",
                                           "addr2",
                                           "addr3",
                                           "houseNumber",
                                           "city",
                                           "state",
                                           "countryCode",
                                           "postCode",
                                           "ipAddr",
                                           "custom1",
                                           "custom2",
                                           "custom3",
                                           "externalChannelReference",
                                           "mandateReference",
                                           "mandateSignedDate",
                                           "criteria",
                                           "emailAddress"};
const std::vector<std::string> kInitKeys{"programAccno",
                                         "accno",
                                         "accnoType",
                                         "paymentOptionCode",
                                         "presentationAmount",
                                         "storedPaymentOptionReference",
                                         "presentationCurrCode",
                                         "presentationUsage",
                                         "feeAmount",
                                         "feeCurrCode",
                                         "useDifferentBillingAddress",
                                         "customerFullName",
                                         "addr1",
                                         "addr2",
                                         "addr3",
                                         "houseNumber",
                                         "city",
                                         "state",
                                         "countryCode",
                                         "postCode",
                                         "X-Ip-Address",
                                         "custom1",
                                         "custom2",
                                         "custom3",
                                         "externalChannelReference",
                                         "mandateReference",
                                         "emailAddress",
                                         "mandateSignedDate",
                                         "mandateSignedTime",
                                         "criteria"};
const std::vector<std::string> kCompleteKeys{"authorizationToken",
                                             "externalChannelReference",
                                             "useDifferentBillingAddress",
                                             "customerFullName",
                                             "addr1",
                                             "addr2",
                                             "addr3",
                                             "houseNumber",
                                             "city",
                                             "state",
                                             "countryCode",
                                             "postCode",
                                             "criteria"};
const std::vector<std::string> kLmFields{"accno",
                                         "accnoType",
                                         "programAccno",
                                         "depositReference",
                                         "useDifferentBillingAddress",
                                         "customerFullName",
                                         "addr1",
                                         "addr2",
                                         "city",
                                         "state",
                                         "countryCode",
                                         "postCode",
                                         "emailAddress",
                                         "clientIpAddress"};
const std::vector<std::string> kLmKeys{"programAccno",
                                       "accno",
                                       "accnoType",
                                       "useDifferentBillingAddress",
                                       "customerFullName",
                                       "addr1",
                                       "addr2",
                                       "city",
                                       "state",
                                       "countryCode",
                                       "postCode",
                                       "emailAddress",
                                       "clientIpAddress"};
const std::vector<std::string> kCaptureKeys{"modifiedAmount",
                                            "modifiedAmountCurrCode",
                                            "modifiedUsage",
                                            "modifiedFeeAmount",
                                            "modifiedFeeCurrCode",
                                            "custom1",
                                            "custom2",
                                            "custom3"};
const std::vector<std::string> kCustomKeys{"custom1", "custom2", "custom3"};

TEST(QPPaymentRequests, KeysOfEachRequestEmptyAndFull) {
  const KeysCase cases[] = {
      // Nothing set: only the base keys and the flags, which are always sent.
      {"authorize empty",
       make<QPAuthorizeRequest>(),
       {},
       withBase({"savePaymentDetails", "useDifferentBillingAddress"})},
      {"payToAccount empty",
       make<QPPayToAccountRequest>(),
       {},
       withBase({"savePaymentDetails", "useDifferentBillingAddress"})},
      {"initAuthorize empty", make<QPInitAuthorizeRequest>(), {}, withBase({"useDifferentBillingAddress"})},
      {"completeAuthorize empty",
       make<QPCompleteAuthorizeRequest>(),
       {},
       withBase({"useDifferentBillingAddress"})},
      {"lmCompleteAuthorize empty",
       make<QPLmCompleteAuthorizeRequest>(),
       {},
       withBase({"useDifferentBillingAddress"})},
      {"capture empty", make<QPCaptureRequest>(), {}, kBase},
      {"cancel empty", make<QPCancelRequest>(), {}, kBase},
      {"information", make<QPGetPaymentInformationRequest>(), {}, kBase},
      // Everything set: exactly the request's own keys, in the order they are set.
      {"authorize full", make<QPAuthorizeRequest>(), allOf(kAuthorizeKeys), withBase(kAuthorizeKeys)},
      {"payToAccount full", make<QPPayToAccountRequest>(), allOf(kPayToAccountKeys),
       withBase(kPayToAccountKeys)},
      {"initAuthorize full", make<QPInitAuthorizeRequest>(), allOf(kInitFields), withBase(kInitKeys)},
      {"completeAuthorize full", make<QPCompleteAuthorizeRequest>(), allOf(kCompleteKeys),
       withBase(kCompleteKeys)},
      {"lmCompleteAuthorize full (no depositReference)", make<QPLmCompleteAuthorizeRequest>(),
       allOf(kLmFields), withBase(kLmKeys)},
      {"capture full", make<QPCaptureRequest>(), allOf(kCaptureKeys), withBase(kCaptureKeys)},
      {"cancel full", make<QPCancelRequest>(), allOf(kCustomKeys), withBase(kCustomKeys)},
  };
  for (const KeysCase& c : cases) {
    SCOPED_TRACE(c.name);
    auto request = c.make();
    for (const auto& [name, text] : c.set) {
      std::string why;
      ASSERT_TRUE(request->setField(name, text, &why)) << name << ": " << why;
    }
    EXPECT_THAT(keysOf(request->getRequestParams()), ElementsAreArray(c.keys));
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
      {make<QPInitAuthorizeRequest>(), "carrierNumber"},
      {make<QPInitAuthorizeRequest>(), "clientIpAddress"},
      {make<QPInitAuthorizeRequest>(), "savePaymentDetails"},
      {make<QPInitAuthorizeRequest>(), "phone"},
      {make<QPPayToAccountRequest>(), "identification"},
      {make<QPPayToAccountRequest>(), "criteria"},
      {make<QPCompleteAuthorizeRequest>(), "accno"},
      {make<QPCompleteAuthorizeRequest>(), "presentationAmount"},
      {make<QPLmCompleteAuthorizeRequest>(), "addr3"},
      {make<QPLmCompleteAuthorizeRequest>(), "criteria"},
      {make<QPCancelRequest>(), "modifiedAmount"},
      {make<QPAuthorizeRequest>(), "ipAddr"},
  };
  for (const auto& [factory, name] : cases) {
    std::string why;
    EXPECT_FALSE(factory()->setField(name, "x", &why)) << name;
    EXPECT_THAT(why, ::testing::HasSubstr(name));
  }
}

}  // namespace
}  // namespace brivane
