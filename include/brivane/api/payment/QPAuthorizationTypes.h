#pragma once

#include <optional>
#include <string>

#include <boost/json/value.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPDate.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane {

/// One-step authorization (PUT "/payment/authorize"): charges a payment option at once.
///
/// Unset strings and numbers are left out; numbers travel as decimal text; both flags are always
/// sent ("true"/"false"); the payer's address travels in the body as "clientIpAddress";
/// `criteria` becomes the name/value list.
class BRIVANE_API QPAuthorizeRequest : public QPRequestBase {
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
  std::optional<std::string> carrierNumber;  ///< card or account number
  std::optional<std::string> bankCode;
  std::optional<QPNumber> expiryMonth;
  std::optional<QPNumber> expiryYear;
  std::optional<std::string> identification;
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
  std::optional<boost::json::object> criteria;
};

/// Opens a payment in two steps (PUT "/payment/initAuthorize"); the answer carries the
/// `authorizationToken` a payment form is rendered with and the payment's `uniqueReference`.
///
/// No card fields, no `savePaymentDetails`, no phone. `ipAddr` is sent as the HTTP header
/// "X-Ip-Address", never in the body; `mandateSignedDate` as "mandateSignedDate" (date) and
/// "mandateSignedTime" (time), both only when set.
class BRIVANE_API QPInitAuthorizeRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<std::string> programAccno;
  std::optional<std::string> accno;
  std::optional<std::string> accnoType;
  std::optional<std::string> storedPaymentOptionReference;
  std::optional<std::string> paymentOptionCode;
  std::optional<QPNumber> presentationAmount;
  std::optional<std::string> presentationCurrCode;
  std::optional<std::string> presentationUsage;
  std::optional<QPNumber> feeAmount;
  std::optional<std::string> feeCurrCode;
  bool useDifferentBillingAddress = false;
  std::optional<std::string> customerFullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> addr3;
  std::optional<std::string> houseNumber;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<std::string> ipAddr;  ///< the payer's address, sent as the "X-Ip-Address" header
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
  std::optional<std::string> externalChannelReference;
  std::optional<std::string> mandateReference;
  std::optional<QPDate> mandateSignedDate;
  std::optional<boost::json::object> criteria;
  std::optional<std::string> emailAddress;
};

/// Finishes a payment opened by `initAuthorize` (POST "/payment/{uniqueReference}/completeAuthorize")
/// with the token it returned. No amounts, no account numbers, no address of the payer's device.
class BRIVANE_API QPCompleteAuthorizeRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<std::string> authorizationToken;
  std::optional<std::string> externalChannelReference;
  bool useDifferentBillingAddress = false;
  std::optional<std::string> customerFullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> addr3;
  std::optional<std::string> houseNumber;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<boost::json::object> criteria;
};

/// The Lm variant of the completion (POST "/payment/{uniqueReference}/lm-completeAuthorize").
/// `depositReference` is held but never sent; no third address line, house number or criteria.
class BRIVANE_API QPLmCompleteAuthorizeRequest : public QPRequestBase {
 public:
  const QPFieldList<QPRequestBase>& fieldList() const override;

  std::optional<std::string> accno;
  std::optional<std::string> accnoType;
  std::optional<std::string> programAccno;
  std::optional<std::string> depositReference;  ///< kept on the object, never written to the body
  bool useDifferentBillingAddress = false;
  std::optional<std::string> customerFullName;
  std::optional<std::string> addr1;
  std::optional<std::string> addr2;
  std::optional<std::string> city;
  std::optional<std::string> state;
  std::optional<std::string> countryCode;
  std::optional<std::string> postCode;
  std::optional<std::string> emailAddress;
  std::optional<std::string> clientIpAddress;
};

/// The answer to `initAuthorize`.
class BRIVANE_API QPInitAuthorizeResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> programAccno;
  std::optional<std::string> accno;
  std::optional<std::string> uniqueReference;
  std::optional<std::string> authorizationToken;
  std::optional<std::string> paymentOptionCode;
  std::optional<QPNumber> presentationAmount;
  std::optional<std::string> presentationCurrCode;
  std::optional<std::string> presentationUsage;
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
  std::optional<std::string> statusCode;
  std::optional<std::string> statusReason;
};

/// The answer to `authorize`.
class BRIVANE_API QPAuthorizeResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> programAccno;
  std::optional<std::string> accno;
  std::optional<std::string> uniqueReference;
  std::optional<std::string> paymentOptionCode;
  std::optional<std::string> storedPaymentOptionReference;
  std::optional<std::string> invoiceReference;
  std::optional<std::string> channelProductReference;
  std::optional<QPNumber> presentationAmount;
  std::optional<std::string> presentationCurrCode;
  std::optional<std::string> presentationUsage;
  std::optional<QPNumber> processedAmount;
  std::optional<std::string> processedCurrCode;
  std::optional<std::string> custom1;
  std::optional<std::string> custom2;
  std::optional<std::string> custom3;
  std::optional<std::string> statusCode;
  std::optional<std::string> statusReason;
};

/// The answer to `completeAuthorize`.
class BRIVANE_API QPCompleteAuthorizeResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> initiatorAccno;
  std::optional<std::string> accno;
  std::optional<std::string> uniqueReference;
  std::optional<std::string> storedPaymentOptionReference;
  std::optional<QPNumber> processedAmount;
  std::optional<std::string> processedCurrCode;
  std::optional<std::string> statusCode;
  std::optional<std::string> statusReason;
};

/// The answer to `lmCompleteAuthorize`.
class BRIVANE_API QPLmCompleteAuthorizeResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> merchantAccno;
  std::optional<std::string> programAccno;
  std::optional<std::string> accno;
  std::optional<std::string> uniqueReference;
  std::optional<std::string> statusCode;
  std::optional<std::string> statusReason;
};

}  // namespace brivane
