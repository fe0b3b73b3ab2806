#include "brivane/api/user/QPUserAPI.h"

#include <utility>

#include "api/core/QPBaseAPICall.h"

namespace brivane {

void QPUserAPI::sendPasswordResetCode(std::shared_ptr<const QPSendPasswordResetCodeRequest> request,
                                      std::optional<std::string> userId,
                                      QPCompletion<QPSendPasswordResetCodeResponse> completion) const {
  call("/user/%@/sendPasswordResetCode", {{"userId", userId}}, "POST", request, std::move(completion));
}

void QPUserAPI::changePassword(std::shared_ptr<const QPChangePasswordRequest> request,
                               std::optional<std::string> userId,
                               QPCompletion<QPResponseBase> completion) const {
  call("/user/%@/changePassword", {{"userId", userId}}, "POST", request, std::move(completion));
}

void QPUserAPI::checkUserUniqueness(std::shared_ptr<const QPCheckUserUniquenessRequest> request,
                                    std::optional<std::string> userId,
                                    QPCompletion<QPCheckUserUniquenessResponse> completion) const {
  call("/user/%@/checkUniqueness", {{"userId", userId}}, "GET", request, std::move(completion));
}

void QPUserAPI::validatePassword(std::shared_ptr<const QPValidatePasswordRequest> request,
                                 QPCompletion<QPResponseBase> completion) const {
  call("/user/validatePassword", {}, "POST", request, std::move(completion));
}

void QPUserAPI::getSecondaryEmails(std::shared_ptr<const QPGetSecondaryEmailsRequest> request,
                                   std::optional<std::string> userId,
                                   QPCompletion<QPGetSecondaryEmailsResponse> completion) const {
  call("/user/%@/secondaryEmail", {{"userId", userId}}, "GET", request, std::move(completion));
}

void QPUserAPI::createSecondaryEmail(std::shared_ptr<const QPCreateSecondaryEmailRequest> request,
                                     std::optional<std::string> userId,
                                     QPCompletion<QPResponseBase> completion) const {
  call("/user/%@/secondaryEmail", {{"userId", userId}}, "PUT", request, std::move(completion));
}

void QPUserAPI::editSecondaryEmail(std::shared_ptr<const QPEditSecondaryEmailRequest> request,
                                   std::optional<std::string> userId,
                                   QPCompletion<QPResponseBase> completion) const {
  call("/user/%@/secondaryEmail", {{"userId", userId}}, "POST", request, std::move(completion));
}

void QPUserAPI::deleteSecondaryEmail(std::shared_ptr<const QPDeleteSecondaryEmailRequest> request,
                                     std::optional<std::string> userId,
                                     QPCompletion<QPResponseBase> completion) const {
  call("/user/%@/secondaryEmail", {{"userId", userId}}, "DELETE", request, std::move(completion));
}

void QPUserAPI::setMainEmail(std::shared_ptr<const QPSetMainEmailRequest> request,
                             std::optional<std::string> userId,
                             QPCompletion<QPResponseBase> completion) const {
  call("/user/%@/setMainEmail", {{"userId", userId}}, "POST", request, std::move(completion));
}

}  // namespace brivane
