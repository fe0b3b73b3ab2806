#pragma once

#include <memory>
#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPBaseAPI.h"
#include "brivane/api/payment/QPAuthorizationTypes.h"
#include "brivane/api/payment/QPPaymentOperationTypes.h"

namespace brivane {

/// Payments: opening, completing and direct authorization, capture, cancel, pay-to-account and
/// payment information. Operations that start a payment use PUT and carry no reference; those on
/// an existing payment name it by its `uniqueReference` in the path (placed as it is; a "/" in it
/// deepens the path). A nil request or reference is reported as a client error and nothing is
/// sent. Only `getPaymentInformation` is a GET (query items, no body).
///
/// Thread rules: callable from any thread, returns at once; completions run on the main queue.
class BRIVANE_API QPPaymentAPI : public QPBaseAPI {
 public:
  using QPBaseAPI::QPBaseAPI;

  /// PUT "/payment/initAuthorize".
  void initAuthorize(std::shared_ptr<const QPInitAuthorizeRequest> request,
                     QPCompletion<QPInitAuthorizeResponse> completion) const;
  /// POST "/payment/{uniqueReference}/completeAuthorize".
  void completeAuthorize(std::shared_ptr<const QPCompleteAuthorizeRequest> request,
                         std::optional<std::string> uniqueReference,
                         QPCompletion<QPCompleteAuthorizeResponse> completion) const;
  /// PUT "/payment/authorize".
  void authorize(std::shared_ptr<const QPAuthorizeRequest> request,
                 QPCompletion<QPAuthorizeResponse> completion) const;
  /// POST "/payment/{uniqueReference}/capture".
  void capture(std::shared_ptr<const QPCaptureRequest> request, std::optional<std::string> uniqueReference,
               QPCompletion<QPCaptureResponse> completion) const;
  /// POST "/payment/{uniqueReference}/cancel".
  void cancel(std::shared_ptr<const QPCancelRequest> request, std::optional<std::string> uniqueReference,
              QPCompletion<QPCancelResponse> completion) const;
  /// PUT "/payment/payToAccount".
  void payToAccount(std::shared_ptr<const QPPayToAccountRequest> request,
                    QPCompletion<QPPayToAccountResponse> completion) const;
  /// POST "/payment/{uniqueReference}/lm-completeAuthorize".
  void lmCompleteAuthorize(std::shared_ptr<const QPLmCompleteAuthorizeRequest> request,
                           std::optional<std::string> uniqueReference,
                           QPCompletion<QPLmCompleteAuthorizeResponse> completion) const;
  /// GET "/payment/{uniqueReference}/information".
  void getPaymentInformation(std::shared_ptr<const QPGetPaymentInformationRequest> request,
                             std::optional<std::string> uniqueReference,
                             QPCompletion<QPGetPaymentInformationResponse> completion) const;
};

}  // namespace brivane
