#pragma once

// Reading one account: its holder and status data, its booked entries over a period and its
// balances. All three are GET calls: the parameters travel as query items.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/json/value.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/account/QPAccountCreationTypes.h"
#include "brivane/api/core/QPDate.h"
#include "brivane/api/core/QPFlag.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane {

/// Asks for the holder and status data of an account ("accnoType").
class BRIVANE_API QPGetAccountInformationRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// The holder and status data of an account. Date fields hold the JSON value as received; the
/// five flags are nil when not answered (distinct from false).
class BRIVANE_API QPGetAccountInformationResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> accno;
  std::optional<std::string> title;
  std::optional<std::string> lastName;
  std::optional<std::string> firstName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryName;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<boost::json::value> dob;
  std::optional<std::string> landlinePhone;
  std::optional<std::string> mobilePhone;
  std::optional<std::string> emailAddress;
  std::optional<std::string> culture;
  std::optional<std::string> timeZone;
  std::optional<std::string> correspondenceAddr1;
  std::optional<std::string> correspondenceAddr2;
  std::optional<std::string> correspondenceCity;
  std::optional<std::string> correspondenceState;
  std::optional<std::string> correspondenceCountryName;
  std::optional<std::string> correspondenceCountryCode;
  std::optional<std::string> correspondencePostCode;
  std::optional<std::string> currCode;
  std::optional<std::string> accTypeName;
  std::optional<std::string> accTypeCode;
  std::optional<std::string> statusCode;
  std::optional<std::string> accFlowStatusCode;
  std::optional<boost::json::value> lastLoginDate;
  std::optional<boost::json::value> lastLoginTime;
  std::optional<std::string> businessCompanyName;
  std::optional<std::string> businessCompanyType;
  std::optional<std::string> businessCompanyRegistrationNumber;
  std::optional<std::string> businessCompanyRegistrationCountryCode;
  std::optional<std::string> businessAddr1;
  std::optional<std::string> businessAddr2;
  std::optional<std::string> businessCity;
  std::optional<std::string> businessPostCode;
  std::optional<std::string> businessCountryCode;
  std::optional<std::string> businessUrl;

  /// Flag "useDifferentCorrespondenceAddress": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getUseDifferentCorrespondenceAddress, useDifferentCorrespondenceAddress,
                         setUseDifferentCorrespondenceAddress, useDifferentCorrespondenceAddress_)
  /// Flag "isEmailVerified": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsEmailVerified, isEmailVerified, setIsEmailVerified, isEmailVerified_)
  /// Flag "isMobilePhoneVerified": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsMobilePhoneVerified, isMobilePhoneVerified, setIsMobilePhoneVerified,
                         isMobilePhoneVerified_)
  /// Flag "isMtanEnabled": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsMtanEnabled, isMtanEnabled, setIsMtanEnabled, isMtanEnabled_)
  /// Flag "isBusinessUser": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsBusinessUser, isBusinessUser, setIsBusinessUser, isBusinessUser_)

 private:
  QPFlag useDifferentCorrespondenceAddress_;
  QPFlag isEmailVerified_;
  QPFlag isMobilePhoneVerified_;
  QPFlag isMtanEnabled_;
  QPFlag isBusinessUser_;
};

/// Asks for an account's booked entries. A set start or end date travels as two query items,
/// date and time ("startDate"/"startTime", "endDate"/"endTime"); `top` and `skip` are always
/// sent (0 by default).
class BRIVANE_API QPAccountEnquiryRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<std::string> accnoType;
  std::optional<QPDate> startDate;
  std::optional<QPDate> endDate;
  std::int64_t top = 0;
  std::int64_t skip = 0;
  std::optional<std::string> sortDirection;  ///< "ASC" or "DESC"
};

/// One booked entry of a statement.
class BRIVANE_API QPEntryModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPEntryModel"; }

  std::optional<std::string> entryType;
  std::optional<std::string> bookingDate;
  std::optional<std::string> bookingTime;
  std::optional<std::string> valueDate;
  std::optional<std::string> valueTime;
  std::optional<QPNumber> sourceAmount;
  std::optional<std::string> sourceCurrCode;
  std::optional<QPNumber> amount;
  std::optional<std::string> currCode;
  std::optional<QPNumber> exchangeRate;
  std::optional<QPNumber> balance;
  std::optional<std::string> entryIndicator;
  std::optional<std::string> entryDescription;
  std::optional<std::string> name;
  std::optional<std::string> reference;
};

/// A page of booked entries and the count the server reports (taken as sent).
class BRIVANE_API QPAccountEnquiryResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPEntryModel>>> entries;
  std::optional<QPNumber> count;
};

/// Asks for an account's balances ("accnoType").
class BRIVANE_API QPBalanceEnquiryRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// An account's balances: pending, available, booked and blocked amount.
class BRIVANE_API QPBalanceEnquiryResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<QPNumber> psBal;
  std::optional<QPNumber> avlBal;
  std::optional<QPNumber> bkBal;
  std::optional<QPNumber> blkAmt;
  std::optional<std::string> currCode;
};

}  // namespace brivane
