#include "brivane/api/core/QPApiClientModule.h"

#include <memory>
#include <utility>

#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/api/user/QPUserAPI.h"

namespace brivane {

QPApiClientModule::QPApiClientModule(std::shared_ptr<QPAccessTokenProvider> accessTokenProvider,
                                     std::shared_ptr<QPApiClientSettingsInterface> settings)
    : transportLayer_(
          std::make_shared<QPTransportLayer>(std::move(accessTokenProvider), std::move(settings))) {
  initializeAPI();
}

void QPApiClientModule::initializeAPI() {
  accountAPI_ = std::make_shared<QPAccountAPI>(transportLayer_);
  authenticationAPI_ = std::make_shared<QPAuthenticationAPI>(transportLayer_);
  paymentAPI_ = std::make_shared<QPPaymentAPI>(transportLayer_);
  settingsAPI_ = std::make_shared<QPSettingsAPI>(transportLayer_);
  userAPI_ = std::make_shared<QPUserAPI>(transportLayer_);
}

}  // namespace brivane
