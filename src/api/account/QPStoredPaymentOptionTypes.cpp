#include "brivane/api/account/QPStoredPaymentOptionTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPRequestBase>& QPInitAddStoredPaymentOptionRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPInitAddStoredPaymentOptionRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("paymentOptionCode", &R::paymentOptionCode_),
      L::field("mandateReference", &R::mandateReference),
      L::field("mandateSignedDate", &R::mandateSignedDate, QPParamEncoding::LocalDate),
      L::named("mandateSignedDate", "mandateSignedTime", &R::mandateSignedDate, QPParamEncoding::LocalTime),
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
      L::field("custom1", &R::custom1),
      L::field("custom2", &R::custom2),
      L::field("custom3", &R::custom3),
      L::field("externalChannelReference", &R::externalChannelReference),
      L::field("emailAddress", &R::emailAddress),
      L::field("criteria", &R::criteria, QPParamEncoding::Criteria),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPCompleteAddStoredPaymentOptionRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCompleteAddStoredPaymentOptionRequest;
  static const L list{
      L::field("accnoType", &R::accnoType),
      L::field("paymentOptionCode", &R::paymentOptionCode),
      L::field("authorizationToken", &R::authorizationToken),
      L::field("storedPaymentOptionReference", &R::storedPaymentOptionReference),
      L::field("carrierNumber", &R::carrierNumber),
      L::field("expiryMonth", &R::expiryMonth, QPParamEncoding::OmitZero),
      L::field("expiryYear", &R::expiryYear, QPParamEncoding::OmitZero),
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
      L::field("mandateReference", &R::mandateReference),
      L::field("mandateSignedDate", &R::mandateSignedDate, QPParamEncoding::LocalDate),
      L::named("mandateSignedDate", "mandateSignedTime", &R::mandateSignedDate, QPParamEncoding::LocalTime),
      L::field("criteria", &R::criteria, QPParamEncoding::Criteria),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPInitVerifyStoredPaymentOptionRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  static const L list{QPAccnoTypeRequest::fieldList(),
                      {L::field("programAccno", &QPInitVerifyStoredPaymentOptionRequest::programAccno)}};
  return list;
}

const QPFieldList<QPRequestBase>& QPCompleteVerifyStoredPaymentOptionRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPCompleteVerifyStoredPaymentOptionRequest;
  static const L list{
      L::field("accnoType", &R::accnoType_),
      L::field("verificationCode", &R::verificationCode_),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPInitAddStoredPaymentOptionResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPInitAddStoredPaymentOptionResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("authorizationToken", &R::authorizationToken),
                          L::field("paymentOptionCode", &R::paymentOptionCode),
                      }};
  return list;
}

const QPFieldList<QPResponseBase>& QPCompleteAddStoredPaymentOptionResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPCompleteAddStoredPaymentOptionResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("paymentOptionCode", &R::paymentOptionCode),
                          L::field("storedPaymentOptionReference", &R::storedPaymentOptionReference),
                      }};
  return list;
}

const QPFieldList<QPModel>& QPAddressModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPAddressModel;
  static const L list{
      L::field("fullName", &R::fullName),
      L::field("addr1", &R::addr1),
      L::field("addr2", &R::addr2),
      L::field("city", &R::city),
      L::field("state", &R::state),
      L::field("countryName", &R::countryName),
      L::field("countryCode", &R::countryCode),
      L::field("postCode", &R::postCode),
  };
  return list;
}

const QPFieldList<QPModel>& QPMandateModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPMandateModel;
  static const L list{
      L::field("mandateReference", &R::mandateReference),
      L::field("mandateSignedDate", &R::mandateSignedDate),
      L::field("financialInstitutionName", &R::financialInstitutionName),
      L::field("financialInstitutionAddr1", &R::financialInstitutionAddr1),
      L::field("financialInstitutionAddr2", &R::financialInstitutionAddr2),
      L::field("financialInstitutionCity", &R::financialInstitutionCity),
      L::field("financialInstitutionState", &R::financialInstitutionState),
      L::field("financialInstitutionCountryName", &R::financialInstitutionCountryName),
      L::field("financialInstitutionCountryCode", &R::financialInstitutionCountryCode),
      L::field("financialInstitutionPostCode", &R::financialInstitutionPostCode),
      L::field("financialInstitutionCreditorIdentifier", &R::financialInstitutionCreditorIdentifier),
  };
  return list;
}

const QPFieldList<QPModel>& QPPaymentOptionModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPPaymentOptionModel;
  static const L list{
      L::field("name", &R::name),
      L::field("code", &R::code),
      L::field("carrierNumber", &R::carrierNumber),
      L::field("reference", &R::reference),
      L::field("paymentGroup", &R::paymentGroup),
      L::field("paymentGroupCode", &R::paymentGroupCode),
      L::field("paymentSubGroup", &R::paymentSubGroup),
      L::field("paymentSubGroupCode", &R::paymentSubGroupCode),
      L::field("bankCode", &R::bankCode),
      L::field("statusCode", &R::statusCode),
      L::field("billingAddress", &R::billingAddress),
      L::field("mandate", &R::mandate),
      L::field("expiryMonth", &R::expiryMonth),
      L::field("expiryYear", &R::expiryYear),
      L::field("isVerifiable", &R::isVerifiable_),
      L::field("isDefault", &R::isDefault_),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPGetStoredPaymentOptionsResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(),
                      {L::field("paymentOptions", &QPGetStoredPaymentOptionsResponse::paymentOptions)}};
  return list;
}

const QPFieldList<QPResponseBase>& QPGetSepaMandateResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(), {L::field("fileData", &QPGetSepaMandateResponse::fileData)}};
  return list;
}

}  // namespace brivane
