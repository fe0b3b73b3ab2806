#pragma once

// Moving money out of an account: what it would cost, whether it stays within the limits, the
// recipient's check, recent recipients and the transfer itself.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPFlag.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane {

/// Transfers an amount to a recipient (by account number or e-mail, `carrierNumber`). The
/// request key is "transferAmount"; the answer's field is spelt `tansferAmount`. The client IP
/// address is never filled in automatically.
class BRIVANE_API QPTransferAmountRequest : public QPRequestBase {
 public:
  QPTransferAmountRequest() = default;
  QPTransferAmountRequest(std::optional<std::string> accnoType, std::optional<std::string> carrierNumber,
                          std::optional<QPNumber> transferAmount, std::optional<std::string> transferCurrCode,
                          std::optional<std::string> transferUsage, std::optional<QPNumber> feePayer)
      : accnoType_(std::move(accnoType)),
        carrierNumber_(std::move(carrierNumber)),
        transferAmount_(transferAmount),
        transferCurrCode_(std::move(transferCurrCode)),
        transferUsage_(std::move(transferUsage)),
        feePayer_(feePayer) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& carrierNumber() const { return carrierNumber_; }
  const std::optional<QPNumber>& transferAmount() const { return transferAmount_; }
  const std::optional<std::string>& transferCurrCode() const { return transferCurrCode_; }
  const std::optional<std::string>& transferUsage() const { return transferUsage_; }
  const std::optional<QPNumber>& feePayer() const { return feePayer_; }

  std::optional<std::string> programAccno;
  std::optional<std::string> clientIpAddress;

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> carrierNumber_;
  std::optional<QPNumber> transferAmount_;
  std::optional<std::string> transferCurrCode_;
  std::optional<std::string> transferUsage_;
  std::optional<QPNumber> feePayer_;
};

/// The booked transfer. A "transferAmount" key in the answer is unknown and dropped.
class BRIVANE_API QPTransferAmountResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::string> programAccno;
  std::optional<std::string> accno;
  std::optional<std::string> recAccno;
  std::optional<std::string> uniqueReference;
  std::optional<QPNumber> tansferAmount;
  std::optional<std::string> transferCurrCode;
  std::optional<QPNumber> bookedAmount;
  std::optional<std::string> bookedCurrCode;
  std::optional<QPNumber> fxRate;
};

/// Asks what a transaction would cost (GET).
class BRIVANE_API QPCalculateFeesRequest : public QPRequestBase {
 public:
  QPCalculateFeesRequest() = default;
  QPCalculateFeesRequest(std::optional<std::string> accnoType, std::optional<std::string> paymentOptionCode,
                         std::optional<std::string> transactionTypeCode, std::optional<QPNumber> amount,
                         std::optional<std::string> currCode)
      : accnoType_(std::move(accnoType)),
        paymentOptionCode_(std::move(paymentOptionCode)),
        transactionTypeCode_(std::move(transactionTypeCode)),
        amount_(amount),
        currCode_(std::move(currCode)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& paymentOptionCode() const { return paymentOptionCode_; }
  const std::optional<std::string>& transactionTypeCode() const { return transactionTypeCode_; }
  const std::optional<QPNumber>& amount() const { return amount_; }
  const std::optional<std::string>& currCode() const { return currCode_; }

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> paymentOptionCode_;
  std::optional<std::string> transactionTypeCode_;
  std::optional<QPNumber> amount_;
  std::optional<std::string> currCode_;
};

/// One fee of a transaction.
class BRIVANE_API QPFeeModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPFeeModel"; }

  std::optional<std::string> name;
  std::optional<QPNumber> feeAmount;
  std::optional<std::string> feeCurrCode;
  std::optional<QPNumber> totalFeeValue;
  std::optional<QPNumber> totalMaximumFee;
  std::optional<QPNumber> totalMinimumFee;
  std::optional<std::string> feeId;

  /// Flag "isWaived": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsWaived, isWaived, setIsWaived, isWaived_)
  std::optional<QPNumber> getFeeUnitCode() const { return feeUnitCode_; }
  void setFeeUnitCode(std::optional<QPNumber> value) { feeUnitCode_ = value; }

 private:
  QPFlag isWaived_;
  std::optional<QPNumber> feeUnitCode_;
};

/// The fee of a currency conversion.
class BRIVANE_API QPCurrencyConversionFeeModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPCurrencyConversionFeeModel"; }

  std::optional<std::string> fromCurrencyCode;
  std::optional<std::string> toCurrencyCode;
  std::optional<QPNumber> flatValue;
  std::optional<QPNumber> percentageValue;
  std::optional<QPNumber> percentageAmount;
};

/// The fees of a transaction and, for another currency, the conversion fee ("currencyConversionFee"
/// always gives a model when present, even for a JSON null).
class BRIVANE_API QPCalculateFeesResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPFeeModel>>> fees;
  std::shared_ptr<QPCurrencyConversionFeeModel> currencyConversionFee;
};

/// Asks whether a transaction stays within the account's limits (GET).
class BRIVANE_API QPCheckLimitsRequest : public QPRequestBase {
 public:
  QPCheckLimitsRequest() = default;
  QPCheckLimitsRequest(std::optional<std::string> accnoType, std::optional<std::string> transactionTypeCode,
                       std::optional<QPNumber> amount, std::optional<std::string> currCode)
      : accnoType_(std::move(accnoType)),
        transactionTypeCode_(std::move(transactionTypeCode)),
        amount_(amount),
        currCode_(std::move(currCode)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& transactionTypeCode() const { return transactionTypeCode_; }
  const std::optional<QPNumber>& amount() const { return amount_; }
  const std::optional<std::string>& currCode() const { return currCode_; }

  std::optional<std::string> paymentOptionCode;
  std::optional<std::string> storedPaymentOptionReference;

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> transactionTypeCode_;
  std::optional<QPNumber> amount_;
  std::optional<std::string> currCode_;
};

/// One limit and whether the transaction exceeds it (`isError`).
class BRIVANE_API QPLimitModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPLimitModel"; }

  std::optional<std::string> name;
  std::optional<QPNumber> limitValue;
  std::optional<std::string> limitCurrCode;
  std::optional<std::string> limitMessage;
  std::optional<QPNumber> totalMaximumValue;
  std::optional<QPNumber> totalMinimumValue;
  std::optional<QPNumber> totalWarningValue;

  /// Flag "isError": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsError, isError, setIsError, isError_)
  std::optional<QPNumber> getLimitUnitCode() const { return limitUnitCode_; }
  void setLimitUnitCode(std::optional<QPNumber> value) { limitUnitCode_ = value; }
  std::optional<QPNumber> getLimitPeriodCode() const { return limitPeriodCode_; }
  void setLimitPeriodCode(std::optional<QPNumber> value) { limitPeriodCode_ = value; }

 private:
  QPFlag isError_;
  std::optional<QPNumber> limitUnitCode_;
  std::optional<QPNumber> limitPeriodCode_;
};

/// The limits that apply to the transaction.
class BRIVANE_API QPCheckLimitsResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPLimitModel>>> limits;
};

/// Lists recent transfer recipients (GET). `top` and `skip` are sent only when given.
class BRIVANE_API QPGetTransferRecipientsRequest : public QPRequestBase {
 public:
  QPGetTransferRecipientsRequest() = default;
  QPGetTransferRecipientsRequest(std::optional<std::string> accnoType, std::optional<std::string> recipientId,
                                 std::optional<QPNumber> top, std::optional<QPNumber> skip)
      : accnoType_(std::move(accnoType)), recipientId_(std::move(recipientId)), top_(top), skip_(skip) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& recipientId() const { return recipientId_; }
  const std::optional<QPNumber>& top() const { return top_; }
  const std::optional<QPNumber>& skip() const { return skip_; }

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> recipientId_;
  std::optional<QPNumber> top_;
  std::optional<QPNumber> skip_;
};

/// One recent recipient and how often it was paid.
class BRIVANE_API QPRecipientModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPRecipientModel"; }

  std::optional<std::string> accno;
  std::optional<std::string> fullName;
  std::optional<std::string> emailAddress;

  std::optional<QPNumber> getFrequency() const { return frequency_; }
  void setFrequency(std::optional<QPNumber> value) { frequency_ = value; }

 private:
  std::optional<QPNumber> frequency_;
};

/// Recent recipients of the account's transfers.
class BRIVANE_API QPGetTransferRecipientsResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPRecipientModel>>> recipients;
};

/// Checks a recipient by account number or e-mail (GET "carrierNumber"; no account addressed).
class BRIVANE_API QPVerifyTransferRecipientRequest : public QPRequestBase {
 public:
  QPVerifyTransferRecipientRequest() = default;
  explicit QPVerifyTransferRecipientRequest(std::optional<std::string> carrierNumber)
      : carrierNumber_(std::move(carrierNumber)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& carrierNumber() const { return carrierNumber_; }

 private:
  std::optional<std::string> carrierNumber_;
};

}  // namespace brivane
