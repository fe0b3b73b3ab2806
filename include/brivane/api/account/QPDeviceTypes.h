#pragma once

// Binding a device to an account and confirming the holder by codes. Every answer is the bare
// `QPResponseBase`: the outcome is the completion's error.

#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/account/QPAccountCreationTypes.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"

namespace brivane {

/// A device of the account holder, by type and client identifier.
class BRIVANE_API QPAccountDeviceRequest : public QPRequestBase {
 public:
  QPAccountDeviceRequest() = default;
  QPAccountDeviceRequest(std::optional<std::string> accnoType, std::optional<QPNumber> deviceType,
                         std::optional<std::string> clientId)
      : accnoType_(std::move(accnoType)), deviceType_(deviceType), clientId_(std::move(clientId)) {}

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<QPNumber>& deviceType() const { return deviceType_; }
  const std::optional<std::string>& clientId() const { return clientId_; }

 protected:
  std::optional<std::string> accnoType_;
  std::optional<QPNumber> deviceType_;
  std::optional<std::string> clientId_;
};

/// Registers a device; "deviceType" travels as the JSON number it is ("deviceType": 1).
class BRIVANE_API QPRegisterAccountDeviceRequest : public QPAccountDeviceRequest {
 public:
  using QPAccountDeviceRequest::QPAccountDeviceRequest;
  const QPFieldList<QPRequestBase>& fieldList() const override;
};

/// Unregisters a device; "deviceType" travels as text ("deviceType": "1").
class BRIVANE_API QPUnregisterAccountDeviceRequest : public QPAccountDeviceRequest {
 public:
  using QPAccountDeviceRequest::QPAccountDeviceRequest;
  const QPFieldList<QPRequestBase>& fieldList() const override;
};

/// Asks the platform to text an mTAN to the holder's mobile phone.
class BRIVANE_API QPRequestMtanRequest : public QPAccnoTypeRequest {
 public:
  using QPAccnoTypeRequest::QPAccnoTypeRequest;
};

/// Confirms the holder's mobile phone with the mTAN received (sent under "mtanCode").
class BRIVANE_API QPVerifyMobilePhoneRequest : public QPRequestBase {
 public:
  QPVerifyMobilePhoneRequest() = default;
  QPVerifyMobilePhoneRequest(std::optional<std::string> accnoType, std::optional<std::string> mtanCode)
      : accnoType_(std::move(accnoType)), mtanCode_(std::move(mtanCode)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& mtanCode() const { return mtanCode_; }

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> mtanCode_;
};

/// Checks the holder's payment access code.
class BRIVANE_API QPCheckPaymentAccessCodeRequest : public QPRequestBase {
 public:
  QPCheckPaymentAccessCodeRequest() = default;
  QPCheckPaymentAccessCodeRequest(std::optional<std::string> accnoType,
                                  std::optional<std::string> paymentAccessCode)
      : accnoType_(std::move(accnoType)), paymentAccessCode_(std::move(paymentAccessCode)) {}
  const QPFieldList<QPRequestBase>& fieldList() const override;

  const std::optional<std::string>& accnoType() const { return accnoType_; }
  const std::optional<std::string>& paymentAccessCode() const { return paymentAccessCode_; }

 private:
  std::optional<std::string> accnoType_;
  std::optional<std::string> paymentAccessCode_;
};

}  // namespace brivane
