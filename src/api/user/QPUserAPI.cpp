#include "brivane/api/user/QPUserAPI.h"

#include <utility>

namespace brivane {

using RequestFields = QPFieldList<QPRequestBase>;

QPChangePasswordRequest::QPChangePasswordRequest(std::optional<std::string> oldPassword,
                                                 std::optional<std::string> newPassword)
    : oldPass_(std::move(oldPassword)), newPass_(std::move(newPassword)) {}

const RequestFields& QPChangePasswordRequest::fieldList() const {
  using L = RequestFields;
  static const L list{
      L::named("oldPass", "oldPassword", &QPChangePasswordRequest::oldPass_),
      L::named("newPass", "newPassword", &QPChangePasswordRequest::newPass_),
  };
  return list;
}

QPValidatePasswordRequest::QPValidatePasswordRequest(std::optional<std::string> password)
    : password_(std::move(password)) {}

const RequestFields& QPValidatePasswordRequest::fieldList() const {
  using L = RequestFields;
  static const L list{L::named("password", "password", &QPValidatePasswordRequest::password_)};
  return list;
}

QPCreateSecondaryEmailRequest::QPCreateSecondaryEmailRequest(std::optional<std::string> emailAddress)
    : emailAddress_(std::move(emailAddress)) {}

const RequestFields& QPCreateSecondaryEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{
      L::named("emailAddress", "emailAddress", &QPCreateSecondaryEmailRequest::emailAddress_)};
  return list;
}

QPEditSecondaryEmailRequest::QPEditSecondaryEmailRequest(std::optional<std::string> oldEmailAddress,
                                                         std::optional<std::string> newEmailAddress)
    : oldEmailAddress_(std::move(oldEmailAddress)), newEmailAddress_(std::move(newEmailAddress)) {}

const RequestFields& QPEditSecondaryEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{
      L::named("oldEmailAddress", "oldEmailAddress", &QPEditSecondaryEmailRequest::oldEmailAddress_),
      L::named("newEmailAddress", "newEmailAddress", &QPEditSecondaryEmailRequest::newEmailAddress_),
  };
  return list;
}

QPDeleteSecondaryEmailRequest::QPDeleteSecondaryEmailRequest(std::optional<std::string> emailAddress)
    : emailAddress_(std::move(emailAddress)) {}

const RequestFields& QPDeleteSecondaryEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{
      L::named("emailAddress", "emailAddress", &QPDeleteSecondaryEmailRequest::emailAddress_)};
  return list;
}

QPSetMainEmailRequest::QPSetMainEmailRequest(std::optional<std::string> emailAddress)
    : emailAddress_(std::move(emailAddress)) {}

const RequestFields& QPSetMainEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{L::named("emailAddress", "emailAddress", &QPSetMainEmailRequest::emailAddress_)};
  return list;
}

const QPFieldList<QPResponseBase>& QPCheckUserUniquenessResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(), {L::named("found", "found", &QPCheckUserUniquenessResponse::found_)}};
  return list;
}

const QPFieldList<QPModel>& QPSecondaryEmailModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  static const L list{
      L::field("emailAddress", &QPSecondaryEmailModel::emailAddress),
      L::named("isEmailVerified", "isEmailVerified", &QPSecondaryEmailModel::isEmailVerified_),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPGetSecondaryEmailsResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(),
                      {L::field("secondaryEmails", &QPGetSecondaryEmailsResponse::secondaryEmails)}};
  return list;
}

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
