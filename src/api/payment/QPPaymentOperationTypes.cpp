#include "brivane/api/payment/QPPaymentOperationTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPCaptureRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCaptureRequest;
  static const L list{
      L::field("modifiedAmount", &R::modifiedAmount),
      L::field("modifiedAmountCurrCode", &R::modifiedAmountCurrCode),
      L::field("modifiedUsage", &R::modifiedUsage),
      L::field("modifiedFeeAmount", &R::modifiedFeeAmount),
      L::field("modifiedFeeCurrCode", &R::modifiedFeeCurrCode),
      L::field("custom1", &R::custom1),
      L::field("custom2", &R::custom2),
      L::field("custom3", &R::custom3),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPCancelRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCancelRequest;
  static const L list{
      L::field("custom1", &R::custom1),
      L::field("custom2", &R::custom2),
      L::field("custom3", &R::custom3),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPPayToAccountRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPPayToAccountRequest;
  static const L list{
      L::field("programAccno", &R::programAccno),
      L::field("accno", &R::accno),
      L::field("accnoType", &R::accnoType),
      L::field("paymentOptionCode", &R::paymentOptionCode),
      L::field("savePaymentDetails", &R::savePaymentDetails),
      L::field("storedPaymentOptionReference", &R::storedPaymentOptionReference),
      L::field("invoiceReference", &R::invoiceReference),
      L::field("channelProductReference", &R::channelProductReference),
      L::field("presentationAmount", &R::presentationAmount),
      L::field("presentationCurrCode", &R::presentationCurrCode),
      L::field("presentationUsage", &R::presentationUsage),
      L::field("feeAmount", &R::feeAmount),
      L::field("feeCurrCode", &R::feeCurrCode),
      L::field("carrierNumber", &R::carrierNumber),
      L::field("bankCode", &R::bankCode),
      L::field("expiryMonth", &R::expiryMonth),
      L::field("expiryYear", &R::expiryYear),
      L::field("useDifferentBillingAddress", &R::useDifferentBillingAddress),
      L::field("customerFullName", &R::customerFullName),
      L::field("addr1", &R::addr1),
      L::field("addr2", &R::addr2),
      L::field("city", &R::city),
      L::field("state", &R::state),
      L::field("countryCode", &R::countryCode),
      L::field("postCode", &R::postCode),
      L::field("phone", &R::phone),
      L::field("emailAddress", &R::emailAddress),
      L::field("custom1", &R::custom1),
      L::field("custom2", &R::custom2),
      L::field("custom3", &R::custom3),
      L::field("clientIpAddress", &R::clientIpAddress),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPCaptureResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPCaptureResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("initiatorAccno", &R::initiatorAccno),
                          L::field("accno", &R::accno),
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("modifiedAmount", &R::modifiedAmount),
                          L::field("modifiedAmountCurrCode", &R::modifiedAmountCurrCode),
                          L::field("processedAmount", &R::processedAmount),
                          L::field("processedCurrCode", &R::processedCurrCode),
                          L::field("custom1", &R::custom1),
                          L::field("custom2", &R::custom2),
                          L::field("custom3", &R::custom3),
                          L::field("statusCode", &R::statusCode),
                          L::field("statusReason", &R::statusReason),
                      }};
  return list;
}

const QPFieldList<QPResponseBase>& QPCancelResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPCancelResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("initiatorAccno", &R::initiatorAccno),
                          L::field("accno", &R::accno),
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("custom1", &R::custom1),
                          L::field("custom2", &R::custom2),
                          L::field("custom3", &R::custom3),
                          L::field("statusCode", &R::statusCode),
                          L::field("statusReason", &R::statusReason),
                      }};
  return list;
}

const QPFieldList<QPResponseBase>& QPGetPaymentInformationResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPGetPaymentInformationResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("initiatorName", &R::initiatorName),
                          L::field("presentationAmount", &R::presentationAmount),
                          L::field("presentationCurrCode", &R::presentationCurrCode),
                          L::field("presentationUsage", &R::presentationUsage),
                          L::field("customerFullName", &R::customerFullName),
                          L::field("addr1", &R::addr1),
                          L::field("addr2", &R::addr2),
                          L::field("city", &R::city),
                          L::field("state", &R::state),
                          L::field("country", &R::country),
                          L::field("countryCode", &R::countryCode),
                          L::field("postCode", &R::postCode),
                      }};
  return list;
}

}  // namespace brivane
