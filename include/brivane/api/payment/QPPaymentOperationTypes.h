#pragma once

#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"
#include "brivane/api/payment/QPAuthorizationTypes.h"

namespace brivane {

/// Captures an authorized payment (POST "/payment/{uniqueReference}/capture"). With nothing set
/// only the base parameters are sent and the authorized amount is captured unchanged.
class BRIVANE_API QPCaptureRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<QPNumber> modifiedAmount;
  std::optional<std::string> modifiedAmountCurrCode;
  std::optional<std::string> modifiedUsage;
  std::optional<QPNumber> modifiedFeeAmount;
  std::optional<std::string> modifiedFeeCurrCode;
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
};

/// Cancels a payment that has not been captured (POST "/payment/{uniqueReference}/cancel").
class BRIVANE_API QPCancelRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
};

/// Moves money from a payment option into an account in one step (PUT "/payment/payToAccount"):
/// the one-step authorization's body without "identification" and "criteria".
class BRIVANE_API QPPayToAccountRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<std::string> programAccno;
  std::optional<std::string> accno;
  std::optional<std::string> accnoType;
  std::optional<std::string> paymentOptionCode;
  bool savePaymentDetails = false;
  std::optional<std::string> storedPaymentOptionReference;
  std::optional<std::string> invoiceReference;
  std::optional<std::string> channelProductReference;
  std::optional<QPNumber> presentationAmount;
  std::optional<std::string> presentationCurrCode;
  std::optional<std::string> presentationUsage;
  std::optional<QPNumber> feeAmount;
  std::optional<std::string> feeCurrCode;
  std::optional<std::string> carrierNumber;
  std::optional<std::string> bankCode;
  std::optional<QPNumber> expiryMonth;
  std::optional<QPNumber> expiryYear;
  bool useDifferentBillingAddress = false;
  std::optional<std::string> customerFullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<std::string> phone;
  std::optional<std::string> emailAddress;
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
  std::optional<std::string> clientIpAddress;
};

/// Reads back a payment (GET "/payment/{uniqueReference}/information"); only the base
/// parameters are sent, as query items.
class QPGetPaymentInformationRequest : public QPRequestBase {};

/// The answer to `capture`.
class BRIVANE_API QPCaptureResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> initiatorAccno;
  std::optional<std::string> accno;
  std::optional<std::string> uniqueReference;
  std::optional<QPNumber> modifiedAmount;
  std::optional<std::string> modifiedAmountCurrCode;
  std::optional<QPNumber> processedAmount;
  std::optional<std::string> processedCurrCode;
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
  std::optional<std::string> statusCode;
  std::optional<std::string> statusReason;
};

/// The answer to `cancel`.
class BRIVANE_API QPCancelResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> initiatorAccno;
  std::optional<std::string> accno;
  std::optional<std::string> uniqueReference;
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
  std::optional<std::string> statusCode;
  std::optional<std::string> statusReason;
};

/// The answer to `payToAccount`: exactly the fields (and key table) of the one-step
/// authorization's answer.
class QPPayToAccountResponse : public QPAuthorizeResponse {};

/// The public data of a payment: both the country's name (`country`) and its code.
class BRIVANE_API QPGetPaymentInformationResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> uniqueReference;
  std::optional<std::string> initiatorName;
  std::optional<QPNumber> presentationAmount;
  std::optional<std::string> presentationCurrCode;
  std::optional<std::string> presentationUsage;
  std::optional<std::string> customerFullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> country;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
};

}  // namespace brivane
