#include "brivane/api/core/QPApiProvider.h"

#include <memory>
#include <utility>

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

}  // namespace brivane
