#include "brivane/api/account/QPAccountInformationTypes.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPResponseBase>& QPGetAccountInformationResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPGetAccountInformationResponse;
  static const L list{
      baseFieldList(),
      {
          L::field("accno", &R::accno),
          L::field("title", &R::title),
          L::field("lastName", &R::lastName),
          L::field("firstName", &R::firstName),
          L::field("addr1", &R::addr1),
          L::field("addr2", &R::addr2),
          L::field("city", &R::city),
          L::field("state", &R::state),
          L::field("countryName", &R::countryName),
          L::field("countryCode", &R::countryCode),
          L::field("postCode", &R::postCode),
          L::field("dob", &R::dob),
          L::field("landlinePhone", &R::landlinePhone),
          L::field("mobilePhone", &R::mobilePhone),
          L::field("emailAddress", &R::emailAddress),
          L::field("culture", &R::culture),
          L::field("timeZone", &R::timeZone),
          L::field("correspondenceAddr1", &R::correspondenceAddr1),
          L::field("correspondenceAddr2", &R::correspondenceAddr2),
          L::field("correspondenceCity", &R::correspondenceCity),
          L::field("correspondenceState", &R::correspondenceState),
          L::field("correspondenceCountryName", &R::correspondenceCountryName),
          L::field("correspondenceCountryCode", &R::correspondenceCountryCode),
          L::field("correspondencePostCode", &R::correspondencePostCode),
          L::field("currCode", &R::currCode),
          L::field("accTypeName", &R::accTypeName),
          L::field("accTypeCode", &R::accTypeCode),
          L::field("statusCode", &R::statusCode),
          L::field("accFlowStatusCode", &R::accFlowStatusCode),
          L::field("lastLoginDate", &R::lastLoginDate),
          L::field("lastLoginTime", &R::lastLoginTime),
          L::field("businessCompanyName", &R::businessCompanyName),
          L::field("businessCompanyType", &R::businessCompanyType),
          L::field("businessCompanyRegistrationNumber", &R::businessCompanyRegistrationNumber),
          L::field("businessCompanyRegistrationCountryCode", &R::businessCompanyRegistrationCountryCode),
          L::field("businessAddr1", &R::businessAddr1),
          L::field("businessAddr2", &R::businessAddr2),
          L::field("businessCity", &R::businessCity),
          L::field("businessPostCode", &R::businessPostCode),
          L::field("businessCountryCode", &R::businessCountryCode),
          L::field("businessUrl", &R::businessUrl),
          L::field("useDifferentCorrespondenceAddress", &R::useDifferentCorrespondenceAddress_),
          L::field("isEmailVerified", &R::isEmailVerified_),
          L::field("isMobilePhoneVerified", &R::isMobilePhoneVerified_),
          L::field("isMtanEnabled", &R::isMtanEnabled_),
          L::field("isBusinessUser", &R::isBusinessUser_),
      }};
  return list;
}

const QPFieldList<QPRequestBase>& QPAccountEnquiryRequest::fieldList() const {
  using L = QPFieldList<QPRequestBase>;
  using R = QPAccountEnquiryRequest;
  static const L list{
      L::field("accnoType", &R::accnoType),
      L::field("startDate", &R::startDate, QPParamEncoding::LocalDate),
      L::named("startDate", "startTime", &R::startDate, QPParamEncoding::LocalTime),
      L::field("endDate", &R::endDate, QPParamEncoding::LocalDate),
      L::named("endDate", "endTime", &R::endDate, QPParamEncoding::LocalTime),
      L::field("top", &R::top),
      L::field("skip", &R::skip),
      L::field("sortDirection", &R::sortDirection),
  };
  return list;
}

const QPFieldList<QPModel>& QPEntryModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  using R = QPEntryModel;
  static const L list{
      L::field("entryType", &R::entryType),
      L::field("bookingDate", &R::bookingDate),
      L::field("bookingTime", &R::bookingTime),
      L::field("valueDate", &R::valueDate),
      L::field("valueTime", &R::valueTime),
      L::field("sourceAmount", &R::sourceAmount),
      L::field("sourceCurrCode", &R::sourceCurrCode),
      L::field("amount", &R::amount),
      L::field("currCode", &R::currCode),
      L::field("exchangeRate", &R::exchangeRate),
      L::field("balance", &R::balance),
      L::field("entryIndicator", &R::entryIndicator),
      L::field("entryDescription", &R::entryDescription),
      L::field("name", &R::name),
      L::field("reference", &R::reference),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPAccountEnquiryResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPAccountEnquiryResponse;
  static const L list{baseFieldList(), {L::field("entries", &R::entries), L::field("count", &R::count)}};
  return list;
}

const QPFieldList<QPResponseBase>& QPBalanceEnquiryResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  using R = QPBalanceEnquiryResponse;
  static const L list{baseFieldList(),
                      {
                          L::field("psBal", &R::psBal),
                          L::field("avlBal", &R::avlBal),
                          L::field("bkBal", &R::bkBal),
                          L::field("blkAmt", &R::blkAmt),
                          L::field("currCode", &R::currCode),
                      }};
  return list;
}

}  // namespace brivane
