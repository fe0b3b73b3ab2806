#pragma once

// Payment options stored on an account: the two-step add, the two-step verification, default,
// removal, the list and a direct-debit option's mandate document.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/json/value.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/account/QPAccountCreationTypes.h"
#include "brivane/api/core/QPDate.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane {

/// Announces a payment option to store; the answer's authorization token renders the payment
/// form. A set `mandateSignedDate` travels as "mandateSignedDate" and "mandateSignedTime";
/// `criteria` as a list of {"name", "value"} objects (left out when it cannot be serialised).
class BRIVANE_API QPInitAddStoredPaymentOptionRequest : public QPRequestBase {
 public:
  QPInitAddStoredPaymentOptionRequest() = default;
  QPInitAddStoredPaymentOptionRequest(std::optional<std::string> accnoType,
                                      std::optional<std::string> paymentOptionCode)
      : accnoType_(std::move(accnoType)), paymentOptionCode_(std::move(paymentOptionCode)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& paymentOptionCode() const { return paymentOptionCode_; }

  bool useDifferentBillingAddress = false;  ///< always sent; does not filter the address keys
  std::optional<std::string> mandateReference;
  std::optional<QPDate> mandateSignedDate;
  std::optional<boost::json::object> criteria;
  std::optional<std::string> customerFullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> addr3;
  std::optional<std::string> houseNumber;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
  std::optional<std::string> externalChannelReference;
  std::optional<std::string> emailAddress;

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> paymentOptionCode_;
};

/// Delivers the announced option's data with its authorization token (PUT). `expiryMonth` and
/// `expiryYear` are left out when 0 (not given).
class BRIVANE_API QPCompleteAddStoredPaymentOptionRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  bool useDifferentBillingAddress = false;  ///< always sent; does not filter the address keys
  int expiryMonth = 0;
  int expiryYear = 0;
  std::optional<std::string> accnoType;
  std::optional<std::string> paymentOptionCode;
  std::optional<std::string> authorizationToken;
  std::optional<std::string> storedPaymentOptionReference;
  std::optional<std::string> carrierNumber;
  std::optional<std::string> customerFullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<std::string> phone;
  std::optional<std::string> emailAddress;
  std::optional<std::string> mandateReference;
  std::optional<QPDate> mandateSignedDate;
  std::optional<boost::json::object> criteria;
};

/// Starts the verification of a stored option ("accnoType", "programAccno").
class BRIVANE_API QPInitVerifyStoredPaymentOptionRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<std::string> programAccno;
};

/// Completes the verification with the code the holder received ("verificationCode").
class BRIVANE_API QPCompleteVerifyStoredPaymentOptionRequest : public QPRequestBase {
 public:
  QPCompleteVerifyStoredPaymentOptionRequest() = default;
  QPCompleteVerifyStoredPaymentOptionRequest(std::optional<std::string> accnoType,
                                             std::optional<std::string> verificationCode)
      : accnoType_(std::move(accnoType)), verificationCode_(std::move(verificationCode)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& verificationCode() const { return verificationCode_; }

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> verificationCode_;
};

/// Removes a stored option; "accnoType" travels in the body of the DELETE.
class BRIVANE_API QPDeleteStoredPaymentOptionRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// Makes a stored option the account's default.
class BRIVANE_API QPSetDefaultStoredPaymentOptionRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// Lists the account's stored options (GET).
class BRIVANE_API QPGetStoredPaymentOptionsRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// Fetches the mandate document of a direct-debit option (GET).
class BRIVANE_API QPGetSepaMandateRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// The token that renders the payment form for the option being added.
class BRIVANE_API QPInitAddStoredPaymentOptionResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> authorizationToken;
  std::optional<std::string> paymentOptionCode;
};

/// The reference of the option just stored.
class BRIVANE_API QPCompleteAddStoredPaymentOptionResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> paymentOptionCode;
  std::optional<std::string> storedPaymentOptionReference;
};

/// A postal address (also the billing address of payments).
class BRIVANE_API QPAddressModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPAddressModel"; }

  std::optional<std::string> fullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryName;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
};

/// A SEPA direct-debit mandate; `mandateSignedDate` holds the JSON value as received.
class BRIVANE_API QPMandateModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPMandateModel"; }

  std::optional<std::string> mandateReference;
  std::optional<boost::json::value> mandateSignedDate;
  std::optional<std::string> financialInstitutionName;
  std::optional<std::string> financialInstitutionAddr1;
  std::optional<std::string> financialInstitutionAddr2;
  std::optional<std::string> financialInstitutionCity;
  std::optional<std::string> financialInstitutionState;
  std::optional<std::string> financialInstitutionCountryName;
  std::optional<std::string> financialInstitutionCountryCode;
  std::optional<std::string> financialInstitutionPostCode;
  std::optional<std::string> financialInstitutionCreditorIdentifier;
};

/// One stored payment option. `reference` is what the option's operations take as
/// `storedPaymentOptionReference`. "billingAddress" and "mandate" always give a model, even for
/// a JSON null (an empty model, one log line).
class BRIVANE_API QPPaymentOptionModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPPaymentOptionModel"; }

  std::optional<std::string> name;
  std::optional<std::string> code;
  std::optional<std::string> carrierNumber;
  std::optional<std::string> reference;
  std::optional<std::string> paymentGroup;
  std::optional<std::string> paymentGroupCode;
  std::optional<std::string> paymentSubGroup;
  std::optional<std::string> paymentSubGroupCode;
  std::optional<std::string> bankCode;
  std::optional<std::string> statusCode;
  std::shared_ptr<QPAddressModel> billingAddress;
  std::shared_ptr<QPMandateModel> mandate;
  std::optional<QPNumber> expiryMonth;
  std::optional<QPNumber> expiryYear;

  /// Whether the option can be verified, as the server sent it (a truth value); nil when absent.
  std::optional<QPNumber> isVerifiable() const { return isVerifiable_; }
  void setIsVerifiable(std::optional<QPNumber> value) { isVerifiable_ = value; }
  /// Whether the option is the account's default, as the server sent it; nil when absent.
  std::optional<QPNumber> isDefault() const { return isDefault_; }
  void setIsDefault(std::optional<QPNumber> value) { isDefault_ = value; }

 private:
  std::optional<QPNumber> isVerifiable_;
  std::optional<QPNumber> isDefault_;
};

/// The account's stored options. An empty list gives an empty list; no key gives nil.
class BRIVANE_API QPGetStoredPaymentOptionsResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPPaymentOptionModel>>> paymentOptions;
};

/// The mandate document as the server encodes it (base64 PDF), passed on untouched.
class BRIVANE_API QPGetSepaMandateResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> fileData;
};

}  // namespace brivane
