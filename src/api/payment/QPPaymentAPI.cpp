#include "brivane/api/payment/QPPaymentAPI.h"

#include <utility>

#include "api/core/QPBaseAPICall.h"

namespace brivane {

void QPPaymentAPI::initAuthorize(std::shared_ptr<const QPInitAuthorizeRequest> request,
                                 QPCompletion<QPInitAuthorizeResponse> completion) const {
  call("/payment/initAuthorize", {}, "PUT", request, std::move(completion));
}

void QPPaymentAPI::completeAuthorize(std::shared_ptr<const QPCompleteAuthorizeRequest> request,
                                     std::optional<std::string> uniqueReference,
                                     QPCompletion<QPCompleteAuthorizeResponse> completion) const {
  call("/payment/%@/completeAuthorize", {{"uniqueReference", uniqueReference}}, "POST", request,
       std::move(completion));
}

void QPPaymentAPI::authorize(std::shared_ptr<const QPAuthorizeRequest> request,
                             QPCompletion<QPAuthorizeResponse> completion) const {
  call("/payment/authorize", {}, "PUT", request, std::move(completion));
}

void QPPaymentAPI::capture(std::shared_ptr<const QPCaptureRequest> request,
                           std::optional<std::string> uniqueReference,
                           QPCompletion<QPCaptureResponse> completion) const {
  call("/payment/%@/capture", {{"uniqueReference", uniqueReference}}, "POST", request, std::move(completion));
}

void QPPaymentAPI::cancel(std::shared_ptr<const QPCancelRequest> request,
                          std::optional<std::string> uniqueReference,
                          QPCompletion<QPCancelResponse> completion) const {
  call("/payment/%@/cancel", {{"uniqueReference", uniqueReference}}, "POST", request, std::move(completion));
}

void QPPaymentAPI::payToAccount(std::shared_ptr<const QPPayToAccountRequest> request,
                                QPCompletion<QPPayToAccountResponse> completion) const {
  call("/payment/payToAccount", {}, "PUT", request, std::move(completion));
}

void QPPaymentAPI::lmCompleteAuthorize(std::shared_ptr<const QPLmCompleteAuthorizeRequest> request,
                                       std::optional<std::string> uniqueReference,
                                       QPCompletion<QPLmCompleteAuthorizeResponse> completion) const {
  call("/payment/%@/lm-completeAuthorize", {{"uniqueReference", uniqueReference}}, "POST", request,
       std::move(completion));
}

void QPPaymentAPI::getPaymentInformation(std::shared_ptr<const QPGetPaymentInformationRequest> request,
                                         std::optional<std::string> uniqueReference,
                                         QPCompletion<QPGetPaymentInformationResponse> completion) const {
  call("/payment/%@/information", {{"uniqueReference", uniqueReference}}, "GET", request,
       std::move(completion));
}

}  // namespace brivane
