#include "brivane/api/account/QPAccountCreationTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

using RequestFields = QPFieldList<QPRequestBase>;
using ResponseFields = QPFieldList<QPResponseBase>;
using ModelFields = QPFieldList<QPModel>;

const QPFieldList<QPRequestBase>& QPAccountRequest::fieldList() const {
  using L = RequestFields;
  using R = QPAccountRequest;
  static const L list{
      L::field("title", &R::title),
      L::field("lastName", &R::lastName),
      L::field("firstName", &R::firstName),
      L::field("addr1", &R::addr1),
      L::field("addr2", &R::addr2),
      L::field("city", &R::city),
      L::field("state", &R::state),
      L::field("countryCode", &R::countryCode),
      L::field("postCode", &R::postCode),
      L::field("dob", &R::dob, QPParamEncoding::LocalDate),
      L::field("landlinePhone", &R::landlinePhone),
      L::field("mobilePhone", &R::mobilePhone),
      L::field("emailAddress", &R::emailAddress),
      L::field("useDifferentCorrespondenceAddress", &R::useDifferentCorrespondenceAddress),
      L::field("correspondenceAddr1", &R::correspondenceAddr1),
      L::field("correspondenceAddr2", &R::correspondenceAddr2),
      L::field("correspondenceCity", &R::correspondenceCity),
      L::field("correspondenceState", &R::correspondenceState),
      L::field("correspondenceCountryCode", &R::correspondenceCountryCode),
      L::field("correspondencePostCode", &R::correspondencePostCode),
      L::field("businessCompanyName", &R::businessCompanyName),
      L::field("businessCompanyType", &R::businessCompanyType),
      L::field("businessAddr1", &R::businessAddr1),
      L::field("businessAddr2", &R::businessAddr2),
      L::field("businessCity", &R::businessCity),
      L::field("businessPostCode", &R::businessPostCode),
      L::field("businessCountryCode", &R::businessCountryCode),
      L::field("businessUrl", &R::businessUrl),
  };
  return list;
}

const QPFieldList<QPRequestBase>& QPCreateAccountRequest::fieldList() const {
  using L = RequestFields;
  using R = QPCreateAccountRequest;
  static const L list{
      QPAccountRequest::fieldList(),
      {
          L::field("accountApplicationFlowCode", &R::accountApplicationFlowCode),
          L::field("currCode", &R::currCode),
          L::field("validFrom", &R::validFrom, QPParamEncoding::LocalDate),
          L::field("validUntil", &R::validUntil, QPParamEncoding::LocalDate),
          L::field("loginID", &R::loginID),
          L::field("placeOfBirth", &R::placeOfBirth),
          L::field("password", &R::password),
          L::field("occupation", &R::occupation),
          L::field("nationality", &R::nationality),
          L::field("identificationDocumentType", &R::identificationDocumentType),
          L::field("identityNumber", &R::identityNumber),
          L::field("documentIssuingCountryCode", &R::documentIssuingCountryCode),
          L::field("dateOfExpiry", &R::dateOfExpiry, QPParamEncoding::LocalDate),
          L::field("sourceOfWealth", &R::sourceOfWealth),
          L::field("sourceOfFunds", &R::sourceOfFunds),
          L::field("businessCompanyRegistrationCountryCode", &R::businessCompanyRegistrationCountryCode),
          L::field("isPep", &R::isPep),
          L::field("isBusinessUser", &R::isBusinessUser),
      }};
  return list;
}

const QPFieldList<QPRequestBase>& QPUpdateAccountInformationRequest::fieldList() const {
  using L = RequestFields;
  using R = QPUpdateAccountInformationRequest;
  static const L list{QPAccountRequest::fieldList(),
                      {
                          L::field("accnoType", &R::accnoType),
                          L::field("culture", &R::culture),
                          // The platform reads the notification flag under this key.
                          L::named("notifyUser", "isBusinessUser", &R::notifyUser),
                          L::field("timeZone", &R::timeZone),
                      }};
  return list;
}

const QPFieldList<QPResponseBase>& QPCreateAccountResponse::fieldList() const {
  using L = ResponseFields;
  using R = QPCreateAccountResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("productCode", &R::productCode),
                          L::field("accTypeCode", &R::accTypeCode),
                          L::field("custCode", &R::custCode),
                          L::field("externalAccountReference", &R::externalAccountReference),
                          L::field("accno", &R::accno),
                          L::field("statusCode", &R::statusCode),
                          L::field("accFlowStatusCode", &R::accFlowStatusCode),
                          L::field("validFrom", &R::validFrom),
                          L::field("validUntil", &R::validUntil),
                      }};
  return list;
}

const QPFieldList<QPRequestBase>& QPFindAccountRequest::fieldList() const {
  using L = RequestFields;
  static const L list{L::field("userId", &QPFindAccountRequest::userId_)};
  return list;
}

const QPFieldList<QPResponseBase>& QPFindAccountResponse::fieldList() const {
  using L = ResponseFields;
  static const L list{baseFieldList(), {L::field("accno", &QPFindAccountResponse::accno)}};
  return list;
}

const QPFieldList<QPResponseBase>& QPGetAccountStateResponse::fieldList() const {
  using L = ResponseFields;
  using R = QPGetAccountStateResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("statusCode", &R::statusCode),
                          L::field("isUserLocked", &R::isUserLocked_),
                          L::field("isUserActive", &R::isUserActive_),
                      }};
  return list;
}

const QPFieldList<QPModel>& QPAccountModel::fieldList() const {
  using L = ModelFields;
  using R = QPAccountModel;
  static const L list{
      L::field("programAccno", &R::programAccno),
      L::field("currencyCode", &R::currencyCode),
      L::field("isDefaultFeeAccount", &R::isDefaultFeeAccount_),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPGetProgramAccountsResponse::fieldList() const {
  using L = ResponseFields;
  static const L list{baseFieldList(), {L::field("accounts", &QPGetProgramAccountsResponse::accounts)}};
  return list;
}

}  // namespace brivane
