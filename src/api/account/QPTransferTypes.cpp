#include "brivane/api/account/QPTransferTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPTransferAmountRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPTransferAmountRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),           L::field("carrierNumber", &R::carrierNumber_),
      L::field("transferAmount", &R::transferAmount_), L::field("transferCurrCode", &R::transferCurrCode_),
      L::field("transferUsage", &R::transferUsage_),   L::field("feePayer", &R::feePayer_),
      L::field("programAccno", &R::programAccno),      L::field("clientIpAddress", &R::clientIpAddress),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPTransferAmountResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPTransferAmountResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("programAccno", &R::programAccno),
                          L::field("accno", &R::accno),
                          L::field("recAccno", &R::recAccno),
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("tansferAmount", &R::tansferAmount),
                          L::field("transferCurrCode", &R::transferCurrCode),
                          L::field("bookedAmount", &R::bookedAmount),
                          L::field("bookedCurrCode", &R::bookedCurrCode),
                          L::field("fxRate", &R::fxRate),
                      }};
  return list;
}

const QPFieldList<QPRequestBase>& QPCalculateFeesRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCalculateFeesRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("paymentOptionCode", &R::paymentOptionCode_),
      L::field("transactionTypeCode", &R::transactionTypeCode_),
      L::field("amount", &R::amount_),
      L::field("currCode", &R::currCode_),
  };
  return list;
}

const QPFieldList<QPModel>& QPFeeModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPFeeModel;
  static const L list{
      L::field("name", &R::name),
      L::field("feeAmount", &R::feeAmount),
      L::field("feeCurrCode", &R::feeCurrCode),
      L::field("totalFeeValue", &R::totalFeeValue),
      L::field("totalMaximumFee", &R::totalMaximumFee),
      L::field("totalMinimumFee", &R::totalMinimumFee),
      L::field("feeId", &R::feeId),
      L::field("isWaived", &R::isWaived_),
      L::field("feeUnitCode", &R::feeUnitCode_),
  };
  return list;
}

const QPFieldList<QPModel>& QPCurrencyConversionFeeModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPCurrencyConversionFeeModel;
  static const L list{
      L::field("fromCurrencyCode", &R::fromCurrencyCode),
      L::field("toCurrencyCode", &R::toCurrencyCode),
      L::field("flatValue", &R::flatValue),
      L::field("percentageValue", &R::percentageValue),
      L::field("percentageAmount", &R::percentageAmount),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPCalculateFeesResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPCalculateFeesResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("fees", &R::fees),
                          L::field("currencyConversionFee", &R::currencyConversionFee),
                      }};
  return list;
}

const QPFieldList<QPRequestBase>& QPCheckLimitsRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCheckLimitsRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("transactionTypeCode", &R::transactionTypeCode_),
      L::field("amount", &R::amount_),
      L::field("currCode", &R::currCode_),
      L::field("paymentOptionCode", &R::paymentOptionCode),
      L::field("storedPaymentOptionReference", &R::storedPaymentOptionReference),
  };
  return list;
}

const QPFieldList<QPModel>& QPLimitModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPLimitModel;
  static const L list{
      L::field("name", &R::name),
      L::field("limitValue", &R::limitValue),
      L::field("limitCurrCode", &R::limitCurrCode),
      L::field("limitMessage", &R::limitMessage),
      L::field("totalMaximumValue", &R::totalMaximumValue),
      L::field("totalMinimumValue", &R::totalMinimumValue),
      L::field("totalWarningValue", &R::totalWarningValue),
      L::field("isError", &R::isError_),
      L::field("limitUnitCode", &R::limitUnitCode_),
      L::field("limitPeriodCode", &R::limitPeriodCode_),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPCheckLimitsResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(), {L::field("limits", &QPCheckLimitsResponse::limits)}};
  return list;
}

const QPFieldList<QPRequestBase>& QPGetTransferRecipientsRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPGetTransferRecipientsRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("recipientId", &R::recipientId_),
      L::field("top", &R::top_),
      L::field("skip", &R::skip_),
  };
  return list;
}

const QPFieldList<QPModel>& QPRecipientModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPRecipientModel;
  static const L list{
      L::field("accno", &R::accno),
      L::field("fullName", &R::fullName),
      L::field("emailAddress", &R::emailAddress),
      L::field("frequency", &R::frequency_),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPGetTransferRecipientsResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(),
                      {L::field("recipients", &QPGetTransferRecipientsResponse::recipients)}};
  return list;
}

const QPFieldList<QPRequestBase>& QPVerifyTransferRecipientRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  static const L list{L::field("carrierNumber", &QPVerifyTransferRecipientRequest::carrierNumber_)};
  return list;
}

}  // namespace brivane
