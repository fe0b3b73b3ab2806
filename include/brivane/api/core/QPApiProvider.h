#pragma once

#include <memory>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPApiClientSetting.h"
#include "brivane/api/core/QPApiProviderOption.h"

namespace brivane {

class QPApiClientModule;
class QPAccountAPI;
class QPAuthenticationAPI;
class QPPaymentAPI;
class QPSettingsAPI;
class QPUserAPI;

/// The entry of the API client: built from an option, hands out the five API families.
///
/// The option's values are copied at construction; to change them, build a new provider.
/// Releasing the provider releases the client; requests in flight still complete.
/// The families are declared here only: a host includes the header of each family it calls
/// (`brivane/api/settings/QPSettingsAPI.h`, ...).
/// Thread rules: construct on one thread; the accessors may then be used from any thread.
class BRIVANE_API QPApiProvider {
 public:
  explicit QPApiProvider(QPApiProviderOption apiOption);

  /// A new settings object holding the option's URL, program code and prefix.
  static std::shared_ptr<QPApiClientSetting> createClientSettingFromOption(const QPApiProviderOption& option);

  /// The families of the current module (see `apiClientModule`).
  const std::shared_ptr<QPAccountAPI>& accountAPI() const;
  const std::shared_ptr<QPAuthenticationAPI>& authenticationAPI() const;
  const std::shared_ptr<QPPaymentAPI>& paymentAPI() const;
  const std::shared_ptr<QPSettingsAPI>& settingsAPI() const;
  const std::shared_ptr<QPUserAPI>& userAPI() const;

  const QPApiProviderOption& apiOption() const { return apiOption_; }
  const std::shared_ptr<QPApiClientModule>& apiClientModule() const { return apiClientModule_; }
  void setApiClientModule(std::shared_ptr<QPApiClientModule> module) { apiClientModule_ = std::move(module); }
  const std::shared_ptr<QPApiClientSetting>& apiClientSetting() const { return apiClientSetting_; }
  void setApiClientSetting(std::shared_ptr<QPApiClientSetting> setting) {
    apiClientSetting_ = std::move(setting);
  }

 private:
  QPApiProviderOption apiOption_;
  std::shared_ptr<QPApiClientSetting> apiClientSetting_;
  std::shared_ptr<QPApiClientModule> apiClientModule_;
};

}  // namespace brivane
