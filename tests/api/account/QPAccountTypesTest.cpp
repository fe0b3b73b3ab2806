#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

TEST(QPAccountTypes, ResponsesAndModelsFillTheirFieldsFromTheirKeys) {
  test::LogCapture log;
  // A transfer answer's misspelt key is the only one taken.
  auto wrong = filled<QPTransferAmountResponse>(R"({"transferAmount": 10, "accno": "1"})");
  EXPECT_FALSE(wrong->tansferAmount);
  EXPECT_EQ(wrong->accno, "1");
  auto right = filled<QPTransferAmountResponse>(R"({"tansferAmount": 10.5, "fxRate": "1"})");
  ASSERT_TRUE(right->tansferAmount);
  EXPECT_EQ(right->tansferAmount->description(), "10.5");
  EXPECT_EQ(right->fxRate->description(), "1");

  // A flag answered false is 0, an absent one nil.
  auto info = filled<QPGetAccountInformationResponse>(R"({"isMtanEnabled": false, "dob": "1990-04-05"})");
  ASSERT_TRUE(info->getIsMtanEnabled());
  EXPECT_FALSE(info->isMtanEnabled());
  EXPECT_EQ(info->getIsMtanEnabled()->description(), "0");
  EXPECT_FALSE(info->getIsEmailVerified());
  EXPECT_EQ(info->dob, boost::json::value("1990-04-05"));

  // Date-typed answer fields keep the JSON value as received.
  auto created = filled<QPCreateAccountResponse>(R"({"validFrom": "01.02.2024", "validUntil": 20301231})");
  EXPECT_EQ(created->validFrom, boost::json::value("01.02.2024"));
  EXPECT_EQ(created->validUntil, boost::json::value(20301231));

  // An empty list is empty, an absent one nil, unknown response keys skipped.
  auto empty =
      filled<QPGetProgramAccountsResponse>(R"({"unknown": 1, "accounts": [], "responseCode": "0000"})");
  ASSERT_TRUE(empty->accounts);
  EXPECT_TRUE(empty->accounts->empty());
  EXPECT_EQ(empty->responseCode, "0000");
  EXPECT_FALSE(filled<QPGetProgramAccountsResponse>("{}")->accounts);

  // List elements become models; count is taken as sent.
  auto enquiry = filled<QPAccountEnquiryResponse>(
      R"({"entries": [{"entryType": "FEE", "amount": 0.5}, {"reference": "R2"}], "count": 7})");
  ASSERT_TRUE(enquiry->entries);
  ASSERT_EQ(enquiry->entries->size(), 2u);
  EXPECT_EQ((*enquiry->entries)[0]->entryType, "FEE");
  EXPECT_EQ((*enquiry->entries)[0]->amount->description(), "0.5");
  EXPECT_EQ((*enquiry->entries)[1]->reference, "R2");
  EXPECT_EQ(enquiry->count->description(), "7");

  // Nested billing address and mandate are models.
  auto option = filled<QPPaymentOptionModel>(
      R"({"reference": "SPO-1", "billingAddress": {"fullName": "Ada", "city": "Wien"},
          "mandate": {"mandateReference": "M-1", "mandateSignedDate": "2024-03-03"},
          "isDefault": true, "expiryMonth": 12})");
  ASSERT_TRUE(option->billingAddress && option->mandate);
  EXPECT_EQ(option->billingAddress->fullName, "Ada");
  EXPECT_EQ(option->mandate->mandateSignedDate, boost::json::value("2024-03-03"));
  EXPECT_EQ(option->isDefault(), std::optional<QPNumber>(QPNumber::boolean(true)));
  EXPECT_EQ(option->isVerifiable(), std::nullopt);  // absent, not false
  EXPECT_EQ(option->expiryMonth->description(), "12");

  // The conversion fee is a model when present, nil when absent.
  auto fees = filled<QPCalculateFeesResponse>(
      R"({"fees": [{"feeId": "F", "isWaived": 1, "feeUnitCode": 2}],
          "currencyConversionFee": {"fromCurrencyCode": "USD", "percentageValue": 2}})");
  ASSERT_TRUE(fees->currencyConversionFee);
  EXPECT_EQ(fees->currencyConversionFee->fromCurrencyCode, "USD");
  EXPECT_TRUE((*fees->fees)[0]->isWaived());
  EXPECT_EQ((*fees->fees)[0]->getFeeUnitCode()->description(), "2");
  EXPECT_FALSE(filled<QPCalculateFeesResponse>(R"({"fees": []})")->currencyConversionFee);

  // Recipients and state flags by their getters.
  auto recipients =
      filled<QPGetTransferRecipientsResponse>(R"({"recipients": [{"accno": "2", "frequency": 3}]})");
  EXPECT_EQ((*recipients->recipients)[0]->getFrequency()->description(), "3");
  auto state = filled<QPGetAccountStateResponse>(R"({"isUserLocked": "true", "isUserActive": 0})");
  EXPECT_TRUE(state->isUserLocked());
  EXPECT_FALSE(state->isUserActive());
  EXPECT_TRUE(state->getIsUserActive());
  EXPECT_THAT(log.lines(), ::testing::IsEmpty());
}

// Each answer below logs one line: a model stops at its first unknown key, and the failures of one
// answer's models are summarised together.
TEST(QPAccountTypes, FailingModelsLogOneLineAnAnswer) {
  test::LogCapture log;
  auto entry = filled<QPEntryModel>(R"({"entryType": "FEE", "bogus": 1, "amount": 5})");
  EXPECT_EQ(entry->entryType, "FEE");
  EXPECT_FALSE(entry->amount);
  EXPECT_EQ(log.lines().size(), 1u);

  // An account model whose first key is unknown keeps nothing.
  auto account = filled<QPAccountModel>(R"({"x": 1, "programAccno": "9", "isDefaultFeeAccount": true})");
  EXPECT_FALSE(account->programAccno);
  EXPECT_FALSE(account->getIsDefaultFeeAccount());
  EXPECT_EQ(log.lines().size(), 2u);

  // A list element that is not a dictionary is an empty model.
  auto limits = filled<QPCheckLimitsResponse>(
      R"({"limits": [3, {"name": "L", "isError": true, "limitPeriodCode": 2}]})");
  ASSERT_EQ(limits->limits->size(), 2u);
  EXPECT_FALSE((*limits->limits)[0]->name);
  EXPECT_TRUE((*limits->limits)[1]->isError());
  EXPECT_EQ((*limits->limits)[1]->getLimitPeriodCode()->description(), "2");
  EXPECT_EQ(log.lines().size(), 3u);

  // A JSON null billing address or mandate still gives an empty model; the option itself goes on.
  auto nulls = filled<QPPaymentOptionModel>(R"({"billingAddress": null, "mandate": null, "code": "VISA"})");
  ASSERT_TRUE(nulls->billingAddress);
  ASSERT_TRUE(nulls->mandate);
  EXPECT_FALSE(nulls->billingAddress->fullName);
  EXPECT_EQ(nulls->code, "VISA");
  EXPECT_EQ(log.lines().size(), 4u);  // both empty models' failures in one line
  EXPECT_EQ(filled<QPPaymentOptionModel>(R"({"isVerifiable": false})")->isVerifiable(),
            std::optional<QPNumber>(QPNumber::boolean(false)));
  EXPECT_EQ(log.lines().size(), 4u);
}

}  // namespace
}  // namespace brivane
