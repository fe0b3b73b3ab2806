#include "brivane/api/core/QPApiProvider.h"

#include <memory>
#include <utility>

#include "brivane/api/core/QPApiClientModule.h"

namespace brivane {

QPApiProvider::QPApiProvider(QPApiProviderOption apiOption) : apiOption_(std::move(apiOption)) {
  apiClientSetting_ = createClientSettingFromOption(apiOption_);
  apiClientModule_ = std::make_shared<QPApiClientModule>(apiOption_.accessTokenProvider, apiClientSetting_);
  const std::shared_ptr<QPTransportLayer>& transport = apiClientModule_->transportLayer();
  transport->setCallOptions(apiOption_.callOptions);
  transport->setHttpClient(apiOption_.httpClient);
}

std::shared_ptr<QPApiClientSetting> QPApiProvider::createClientSettingFromOption(
    const QPApiProviderOption& option) {
  auto setting = std::make_shared<QPApiClientSetting>();
  setting->setUrlStr(option.url);
  setting->setProgramCode(option.programCode);
  setting->setPartnerReferencePrefix(option.partnerReferencePrefix);
  return setting;
}

const std::shared_ptr<QPAccountAPI>& QPApiProvider::accountAPI() const {
  return apiClientModule_->accountAPI();
}

const std::shared_ptr<QPAuthenticationAPI>& QPApiProvider::authenticationAPI() const {
  return apiClientModule_->authenticationAPI();
}

const std::shared_ptr<QPPaymentAPI>& QPApiProvider::paymentAPI() const {
  return apiClientModule_->paymentAPI();
}

const std::shared_ptr<QPSettingsAPI>& QPApiProvider::settingsAPI() const {
  return apiClientModule_->settingsAPI();
}

const std::shared_ptr<QPUserAPI>& QPApiProvider::userAPI() const {
  return apiClientModule_->userAPI();
}

}  // namespace brivane
