#pragma once

#include <memory>

#include "brivane/QPExport.h"
#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/core/QPAccessTokenProvider.h"
#include "brivane/api/core/QPApiClientSetting.h"
#include "brivane/api/core/QPTransportLayer.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/api/user/QPUserAPI.h"

namespace brivane {

/// Owns the one transport and the five API families, which all share it.
///
/// Replacing `transportLayer` does not reach the families that exist; `initializeAPI` makes new
/// ones with the current transport. Construction on one thread.
class BRIVANE_API QPApiClientModule {
 public:
  QPApiClientModule(std::shared_ptr<QPAccessTokenProvider> accessTokenProvider,
                    std::shared_ptr<QPApiClientSettingsInterface> settings);

  /// Creates the five families, in the order account, authentication, payment, settings, user,
  /// each with the current transport, replacing earlier ones.
  void initializeAPI();

  const std::shared_ptr<QPAccountAPI>& accountAPI() const { return accountAPI_; }
  const std::shared_ptr<QPAuthenticationAPI>& authenticationAPI() const { return authenticationAPI_; }
  const std::shared_ptr<QPPaymentAPI>& paymentAPI() const { return paymentAPI_; }
  const std::shared_ptr<QPSettingsAPI>& settingsAPI() const { return settingsAPI_; }
  const std::shared_ptr<QPUserAPI>& userAPI() const { return userAPI_; }

  const std::shared_ptr<QPTransportLayer>& transportLayer() const { return transportLayer_; }
  void setTransportLayer(std::shared_ptr<QPTransportLayer> transport) {
    transportLayer_ = std::move(transport);
  }

 private:
  std::shared_ptr<QPTransportLayer> transportLayer_;
  std::shared_ptr<QPAccountAPI> accountAPI_;
  std::shared_ptr<QPAuthenticationAPI> authenticationAPI_;
  std::shared_ptr<QPPaymentAPI> paymentAPI_;
  std::shared_ptr<QPSettingsAPI> settingsAPI_;
  std::shared_ptr<QPUserAPI> userAPI_;
};

}  // namespace brivane
