#pragma once

#include <optional>
#include <string>

#include "brivane/QPExport.h"

namespace brivane {

/// What the transport reads of the client's configuration.
class BRIVANE_API QPApiClientSettingsInterface {
 public:
  virtual ~QPApiClientSettingsInterface() = default;
  virtual const std::optional<std::string>& urlStr() const = 0;
  virtual void setUrlStr(std::optional<std::string> value) = 0;
  virtual const std::optional<std::string>& partnerReferencePrefix() const = 0;
  virtual void setPartnerReferencePrefix(std::optional<std::string> value) = 0;
  virtual const std::optional<std::string>& programCode() const = 0;
  virtual void setProgramCode(std::optional<std::string> value) = 0;
};

/// The client's settings, copied from a `QPApiProviderOption` when the provider is built.
/// Set before requests start and only read afterwards.
class BRIVANE_API QPApiClientSetting : public QPApiClientSettingsInterface {
 public:
  const std::optional<std::string>& urlStr() const override { return urlStr_; }
  void setUrlStr(std::optional<std::string> value) override { urlStr_ = std::move(value); }
  const std::optional<std::string>& partnerReferencePrefix() const override {
    return partnerReferencePrefix_;
  }
  void setPartnerReferencePrefix(std::optional<std::string> value) override {
    partnerReferencePrefix_ = std::move(value);
  }
  const std::optional<std::string>& programCode() const override { return programCode_; }
  void setProgramCode(std::optional<std::string> value) override { programCode_ = std::move(value); }

 private:
  std::optional<std::string> programCode_;
  std::optional<std::string> partnerReferencePrefix_;
  std::optional<std::string> urlStr_;
};

}  // namespace brivane
