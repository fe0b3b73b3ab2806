#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "api/core/QPFields.h"
#include "brivane/api/account/QPAccountAPI.h"
#include "support/TestSupport.h"

namespace brivane {
namespace {

template <class T>
std::shared_ptr<T> filled(const char* json) {
  auto object = std::make_shared<T>();
  if constexpr (std::is_base_of_v<QPModel, T>)
    object->initWithDictionary(boost::json::parse(json));
  else
    object->initWithJSONObject(boost::json::parse(json));
  return object;
}

struct FillCase {
  const char* name;
  std::function<void()> check;  ///< fills and checks
  std::size_t logLines;
};

TEST(QPAccountTypes, ResponsesAndModelsFillTheirFieldsFromTheirKeys) {
  const std::vector<FillCase> cases = {
      {"a transfer answer's misspelt key is the only one taken",
       [] {
         auto wrong = filled<QPTransferAmountResponse>(R"({"transferAmount": 10, "accno": "1"})");
         EXPECT_FALSE(wrong->tansferAmount);
         EXPECT_EQ(wrong->accno, "1");
         auto right = filled<QPTransferAmountResponse>(R"({"tansferAmount": 10.5, "fxRate": "1"})");
         ASSERT_TRUE(right->tansferAmount);
         EXPECT_EQ(right->tansferAmount->description(), "10.5");
         EXPECT_EQ(right->fxRate->description(), "1");
       },
       0},
      {"a flag answered false is 0, an absent one nil",
       [] {
         auto r = filled<QPGetAccountInformationResponse>(R"({"isMtanEnabled": false, "dob": "1990-04-05"})");
         ASSERT_TRUE(r->getIsMtanEnabled());
         EXPECT_FALSE(r->isMtanEnabled());
         EXPECT_EQ(r->getIsMtanEnabled()->description(), "0");
         EXPECT_FALSE(r->getIsEmailVerified());
         EXPECT_EQ(r->dob, boost::json::value("1990-04-05"));
       },
       0},
      {"date-typed answer fields keep the JSON value as received",
       [] {
         auto r = filled<QPCreateAccountResponse>(R"({"validFrom": "01.02.2024", "validUntil": 20301231})");
         EXPECT_EQ(r->validFrom, boost::json::value("01.02.2024"));
         EXPECT_EQ(r->validUntil, boost::json::value(20301231));
       },
       0},
      {"an empty list is empty, an absent one nil, unknown response keys skipped",
       [] {
         auto empty = filled<QPGetProgramAccountsResponse>(
             R"({"unknown": 1, "accounts": [], "responseCode": "0000"})");
         ASSERT_TRUE(empty->accounts);
         EXPECT_TRUE(empty->accounts->empty());
         EXPECT_EQ(empty->responseCode, "0000");
         EXPECT_FALSE(filled<QPGetProgramAccountsResponse>("{}")->accounts);
       },
       0},
      {"list elements become models; count is taken as sent",
       [] {
         auto r = filled<QPAccountEnquiryResponse>(
             R"({"entries": [{"entryType": "FEE", "amount": 0.5}, {"reference": "R2"}], "count": 7})");
         ASSERT_TRUE(r->entries);
         ASSERT_EQ(r->entries->size(), 2u);
         EXPECT_EQ((*r->entries)[0]->entryType, "FEE");
         EXPECT_EQ((*r->entries)[0]->amount->description(), "0.5");
         EXPECT_EQ((*r->entries)[1]->reference, "R2");
         EXPECT_EQ(r->count->description(), "7");
       },
       0},
      {"a model stops at its first unknown key with one log line",
       [] {
         auto m = filled<QPEntryModel>(R"({"entryType": "FEE", "bogus": 1, "amount": 5})");
         EXPECT_EQ(m->entryType, "FEE");
         EXPECT_FALSE(m->amount);
       },
       1},
      {"an account model whose first key is unknown keeps nothing",
       [] {
         auto m = filled<QPAccountModel>(R"({"x": 1, "programAccno": "9", "isDefaultFeeAccount": true})");
         EXPECT_FALSE(m->programAccno);
         EXPECT_FALSE(m->getIsDefaultFeeAccount());
       },
       1},
      {"a list element that is not a dictionary is an empty model",
       [] {
         auto r = filled<QPCheckLimitsResponse>(
             R"({"limits": [3, {"name": "L", "isError": true, "limitPeriodCode": 2}]})");
         ASSERT_EQ(r->limits->size(), 2u);
         EXPECT_FALSE((*r->limits)[0]->name);
         EXPECT_TRUE((*r->limits)[1]->isError());
         EXPECT_EQ((*r->limits)[1]->getLimitPeriodCode()->description(), "2");
       },
       1},
      {"nested billing address and mandate are models",
       [] {
         auto m = filled<QPPaymentOptionModel>(
             R"({"reference": "SPO-1", "billingAddress": {"fullName": "Ada", "city": "Wien"},
                 "mandate": {"mandateReference": "M-1", "mandateSignedDate": "2024-03-03"},
                 "isDefault": true, "expiryMonth": 12})");
         ASSERT_TRUE(m->billingAddress && m->mandate);
         EXPECT_EQ(m->billingAddress->fullName, "Ada");
         EXPECT_EQ(m->mandate->mandateSignedDate, boost::json::value("2024-03-03"));
         EXPECT_EQ(m->isDefault(), std::optional<QPNumber>(QPNumber::boolean(true)));
         EXPECT_EQ(m->isVerifiable(), std::nullopt);  // absent, not false
         EXPECT_EQ(m->expiryMonth->description(), "12");
       },
       0},
      {"a JSON null billing address or mandate still gives an empty model",
       [] {
         auto m =
             filled<QPPaymentOptionModel>(R"({"billingAddress": null, "mandate": null, "code": "VISA"})");
         EXPECT_EQ(filled<QPPaymentOptionModel>(R"({"isVerifiable": false})")->isVerifiable(),
                   std::optional<QPNumber>(QPNumber::boolean(false)));
         ASSERT_TRUE(m->billingAddress);
         ASSERT_TRUE(m->mandate);
         EXPECT_FALSE(m->billingAddress->fullName);
         EXPECT_EQ(m->code, "VISA");  // the option itself goes on
       },
       1},  // both empty models' failures, summarised in one line
      {"the conversion fee is a model when present, nil when absent",
       [] {
         auto with = filled<QPCalculateFeesResponse>(
             R"({"fees": [{"feeId": "F", "isWaived": 1, "feeUnitCode": 2}],
                 "currencyConversionFee": {"fromCurrencyCode": "USD", "percentageValue": 2}})");
         ASSERT_TRUE(with->currencyConversionFee);
         EXPECT_EQ(with->currencyConversionFee->fromCurrencyCode, "USD");
         EXPECT_TRUE((*with->fees)[0]->isWaived());
         EXPECT_EQ((*with->fees)[0]->getFeeUnitCode()->description(), "2");
         EXPECT_FALSE(filled<QPCalculateFeesResponse>(R"({"fees": []})")->currencyConversionFee);
       },
       0},
      {"recipients and state flags by their getters",
       [] {
         auto r =
             filled<QPGetTransferRecipientsResponse>(R"({"recipients": [{"accno": "2", "frequency": 3}]})");
         EXPECT_EQ((*r->recipients)[0]->getFrequency()->description(), "3");
         auto s = filled<QPGetAccountStateResponse>(R"({"isUserLocked": "true", "isUserActive": 0})");
         EXPECT_TRUE(s->isUserLocked());
         EXPECT_FALSE(s->isUserActive());
         EXPECT_TRUE(s->getIsUserActive());
       },
       0},
  };
  for (const FillCase& c : cases) {
    SCOPED_TRACE(c.name);
    test::LogCapture log;
    c.check();
    EXPECT_EQ(log.lines().size(), c.logLines);
  }
}

}  // namespace
}  // namespace brivane
