#include "brivane/api/payment/QPAuthorizationTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPAuthorizeRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPAuthorizeRequest;
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
      L::field("identification", &R::identification),
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
      L::field("criteria", &R::criteria, QPParamEncoding::Criteria),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPInitAuthorizeRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPInitAuthorizeRequest;
  static const L list{
      L::field("programAccno", &R::programAccno),
      L::field("accno", &R::accno),
      L::field("accnoType", &R::accnoType),
      L::field("paymentOptionCode", &R::paymentOptionCode),
      L::field("presentationAmount", &R::presentationAmount),
      L::field("storedPaymentOptionReference", &R::storedPaymentOptionReference),
      L::field("presentationCurrCode", &R::presentationCurrCode),
      L::field("presentationUsage", &R::presentationUsage),
      L::field("feeAmount", &R::feeAmount),
      L::field("feeCurrCode", &R::feeCurrCode),
      L::field("useDifferentBillingAddress", &R::useDifferentBillingAddress),
      L::field("customerFullName", &R::customerFullName),
      L::field("addr1", &R::addr1),
      L::field("addr2", &R::addr2),
      L::field("addr3", &R::addr3),
      L::field("houseNumber", &R::houseNumber),
      L::field("city", &R::city),
      L::field("state", &R::state),
      L::field("countryCode", &R::countryCode),
      L::field("postCode", &R::postCode),
      L::named("ipAddr", "X-Ip-Address", &R::ipAddr),
      L::field("custom1", &R::custom1),
      L::field("custom2", &R::custom2),
      L::field("custom3", &R::custom3),
      L::field("externalChannelReference", &R::externalChannelReference),
      L::field("mandateReference", &R::mandateReference),
      L::field("emailAddress", &R::emailAddress),
      L::field("mandateSignedDate", &R::mandateSignedDate, QPParamEncoding::LocalDate),
      L::named("mandateSignedDate", "mandateSignedTime", &R::mandateSignedDate, QPParamEncoding::LocalTime),
      L::field("criteria", &R::criteria, QPParamEncoding::Criteria),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPCompleteAuthorizeRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCompleteAuthorizeRequest;
  static const L list{
      L::field("authorizationToken", &R::authorizationToken),
      L::field("externalChannelReference", &R::externalChannelReference),
      L::field("useDifferentBillingAddress", &R::useDifferentBillingAddress),
      L::field("customerFullName", &R::customerFullName),
      L::field("addr1", &R::addr1),
      L::field("addr2", &R::addr2),
      L::field("addr3", &R::addr3),
      L::field("houseNumber", &R::houseNumber),
      L::field("city", &R::city),
      L::field("state", &R::state),
      L::field("countryCode", &R::countryCode),
      L::field("postCode", &R::postCode),
      L::field("criteria", &R::criteria, QPParamEncoding::Criteria),
  };
  return list;
}

// "depositReference" is held and settable by name but deliberately never sent.
const QPFieldList<QPRequestBase>& QPLmCompleteAuthorizeRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPLmCompleteAuthorizeRequest;
  static const L list{
      L::field("programAccno", &R::programAccno),
      L::field("accno", &R::accno),
      L::field("accnoType", &R::accnoType),
      L::field("useDifferentBillingAddress", &R::useDifferentBillingAddress),
      L::field("customerFullName", &R::customerFullName),
      L::field("addr1", &R::addr1),
      L::field("addr2", &R::addr2),
      L::field("city", &R::city),
      L::field("state", &R::state),
      L::field("countryCode", &R::countryCode),
      L::field("postCode", &R::postCode),
      L::field("emailAddress", &R::emailAddress),
      L::field("clientIpAddress", &R::clientIpAddress),
      L::field("depositReference", &R::depositReference, QPParamEncoding::NotSent),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPInitAuthorizeResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPInitAuthorizeResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("programAccno", &R::programAccno),
                          L::field("accno", &R::accno),
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("authorizationToken", &R::authorizationToken),
                          L::field("paymentOptionCode", &R::paymentOptionCode),
                          L::field("presentationAmount", &R::presentationAmount),
                          L::field("presentationCurrCode", &R::presentationCurrCode),
                          L::field("presentationUsage", &R::presentationUsage),
                          L::field("custom1", &R::custom1),
                          L::field("custom2", &R::custom2),
                          L::field("custom3", &R::custom3),
                          L::field("statusCode", &R::statusCode),
                          L::field("statusReason", &R::statusReason),
                      }};
  return list;
}

const QPFieldList<QPResponseBase>& QPAuthorizeResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPAuthorizeResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("programAccno", &R::programAccno),
                          L::field("accno", &R::accno),
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("paymentOptionCode", &R::paymentOptionCode),
                          L::field("storedPaymentOptionReference", &R::storedPaymentOptionReference),
                          L::field("invoiceReference", &R::invoiceReference),
                          L::field("channelProductReference", &R::channelProductReference),
                          L::field("presentationAmount", &R::presentationAmount),
                          L::field("presentationCurrCode", &R::presentationCurrCode),
                          L::field("presentationUsage", &R::presentationUsage),
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

const QPFieldList<QPResponseBase>& QPCompleteAuthorizeResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPCompleteAuthorizeResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("initiatorAccno", &R::initiatorAccno),
                          L::field("accno", &R::accno),
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("storedPaymentOptionReference", &R::storedPaymentOptionReference),
                          L::field("processedAmount", &R::processedAmount),
                          L::field("processedCurrCode", &R::processedCurrCode),
                          L::field("statusCode", &R::statusCode),
                          L::field("statusReason", &R::statusReason),
                      }};
  return list;
}

const QPFieldList<QPResponseBase>& QPLmCompleteAuthorizeResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPLmCompleteAuthorizeResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("merchantAccno", &R::merchantAccno),
                          L::field("programAccno", &R::programAccno),
                          L::field("accno", &R::accno),
                          L::field("uniqueReference", &R::uniqueReference),
                          L::field("statusCode", &R::statusCode),
                          L::field("statusReason", &R::statusReason),
                      }};
  return list;
}

}  // namespace brivane
