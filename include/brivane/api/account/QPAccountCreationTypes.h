#pragma once

// Opening an account, changing its holder's data, finding an account by user, its state and the
// program's own accounts.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/json/value.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/account/QPAccnoTypeRequest.h"
#include "brivane/api/core/QPDate.h"
#include "brivane/api/core/QPFlag.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane {

/// The holder's personal, correspondence and business data common to creation and update.
///
/// Every set field is sent; the correspondence fields are sent whatever
/// `useDifferentCorrespondenceAddress` says (the flag is only reported). `dob` travels as a
/// date ("yyyy-MM-dd") without a time key. Thread rules: as `QPRequestBase`.
class BRIVANE_API QPAccountRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  bool useDifferentCorrespondenceAddress = false;  ///< always sent, "true"/"false"
  std::optional<std::string> title;
  std::optional<std::string> lastName;
  std::optional<std::string> firstName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<QPDate> dob;
  std::optional<std::string> landlinePhone;
  std::optional<std::string> mobilePhone;
  std::optional<std::string> emailAddress;
  std::optional<std::string> correspondenceAddr1;
  std::optional<std::string> correspondenceAddr2;
  std::optional<std::string> correspondenceCity;
  std::optional<std::string> correspondenceState;
  std::optional<std::string> correspondenceCountryCode;
  std::optional<std::string> correspondencePostCode;
  std::optional<std::string> businessCompanyName;
  std::optional<std::string> businessCompanyType;
  std::optional<std::string> businessAddr1;
  std::optional<std::string> businessAddr2;
  std::optional<std::string> businessCity;
  std::optional<std::string> businessPostCode;
  std::optional<std::string> businessCountryCode;
  std::optional<std::string> businessUrl;
};

/// Opens an account (PUT "/account"). The password travels as it is in the JSON body; `isPep`
/// and `isBusinessUser` are always sent.
class BRIVANE_API QPCreateAccountRequest : public QPAccountRequest {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  bool isPep = false;
  bool isBusinessUser = false;
  std::optional<std::string> accountApplicationFlowCode;
  std::optional<std::string> currCode;
  std::optional<QPDate> validFrom;
  std::optional<QPDate> validUntil;
  std::optional<std::string> loginID;
  std::optional<std::string> placeOfBirth;
  std::optional<std::string> password;
  std::optional<std::string> occupation;
  std::optional<std::string> nationality;
  std::optional<std::string> identificationDocumentType;
  std::optional<std::string> identityNumber;
  std::optional<std::string> documentIssuingCountryCode;
  std::optional<QPDate> dateOfExpiry;
  std::optional<std::string> sourceOfWealth;
  std::optional<std::string> sourceOfFunds;
  std::optional<std::string> businessCompanyRegistrationCountryCode;
};

/// Changes the holder's data of one account. `notifyUser` is sent under the key
/// "isBusinessUser" (there is no "notifyUser" key on the wire), always as "true"/"false".
class BRIVANE_API QPUpdateAccountInformationRequest : public QPAccountRequest {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  bool notifyUser = false;
  std::optional<std::string> accnoType;
  std::optional<std::string> culture;
  std::optional<std::string> timeZone;
};

/// The answer of account creation and of the update. `validFrom`/`validUntil` hold the JSON
/// value as received.
class BRIVANE_API QPCreateAccountResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> productCode;
  std::optional<std::string> accTypeCode;
  std::optional<std::string> custCode;
  std::optional<std::string> externalAccountReference;
  std::optional<std::string> accno;
  std::optional<std::string> statusCode;
  std::optional<std::string> accFlowStatusCode;
  std::optional<boost::json::value> validFrom;
  std::optional<boost::json::value> validUntil;
};

/// Finds the account of a user (GET, "userId" as a query item).
class BRIVANE_API QPFindAccountRequest : public QPRequestBase {
 public:
  QPFindAccountRequest() = default;
  explicit QPFindAccountRequest(std::optional<std::string> userId) : userId_(std::move(userId)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& userId() const { return userId_; }

 private:
  std::optional<std::string> userId_;
};

/// The account found for a user.
class BRIVANE_API QPFindAccountResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> accno;
};

/// Asks for an account's state (GET, "accnoType").
class BRIVANE_API QPGetAccountStateRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// An account's state and whether its user is locked or active (nil when not answered).
class BRIVANE_API QPGetAccountStateResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> statusCode;

  /// Flag "isUserLocked": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsUserLocked, isUserLocked, setIsUserLocked, isUserLocked_)
  /// Flag "isUserActive": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsUserActive, isUserActive, setIsUserActive, isUserActive_)

 private:
  QPFlag isUserLocked_;
  QPFlag isUserActive_;
};

/// Lists the program's own accounts; only the base parameters are sent.
class QPGetProgramAccountsRequest : public QPRequestBase {};

/// One account of the program.
class BRIVANE_API QPAccountModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPAccountModel"; }

  std::optional<std::string> programAccno;
  std::optional<std::string> currencyCode;

  /// Flag "isDefaultFeeAccount": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsDefaultFeeAccount, isDefaultFeeAccount, setIsDefaultFeeAccount,
                         isDefaultFeeAccount_)

 private:
  QPFlag isDefaultFeeAccount_;
};

/// The program's accounts. An empty "accounts" list gives an empty list; no key gives nil.
class BRIVANE_API QPGetProgramAccountsResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPAccountModel>>> accounts;
};

}  // namespace brivane
