#include "brivane/api/user/QPUserTypes.h"

#include <utility>

#include "api/core/QPFields.h"

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
  static const L list{L::field("password", &QPValidatePasswordRequest::password_)};
  return list;
}

QPCreateSecondaryEmailRequest::QPCreateSecondaryEmailRequest(std::optional<std::string> emailAddress)
    : emailAddress_(std::move(emailAddress)) {}

const RequestFields& QPCreateSecondaryEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{L::field("emailAddress", &QPCreateSecondaryEmailRequest::emailAddress_)};
  return list;
}

QPEditSecondaryEmailRequest::QPEditSecondaryEmailRequest(std::optional<std::string> oldEmailAddress,
                                                         std::optional<std::string> newEmailAddress)
    : oldEmailAddress_(std::move(oldEmailAddress)), newEmailAddress_(std::move(newEmailAddress)) {}

const RequestFields& QPEditSecondaryEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{
      L::field("oldEmailAddress", &QPEditSecondaryEmailRequest::oldEmailAddress_),
      L::field("newEmailAddress", &QPEditSecondaryEmailRequest::newEmailAddress_),
  };
  return list;
}

QPDeleteSecondaryEmailRequest::QPDeleteSecondaryEmailRequest(std::optional<std::string> emailAddress)
    : emailAddress_(std::move(emailAddress)) {}

const RequestFields& QPDeleteSecondaryEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{L::field("emailAddress", &QPDeleteSecondaryEmailRequest::emailAddress_)};
  return list;
}

QPSetMainEmailRequest::QPSetMainEmailRequest(std::optional<std::string> emailAddress)
    : emailAddress_(std::move(emailAddress)) {}

const RequestFields& QPSetMainEmailRequest::fieldList() const {
  using L = RequestFields;
  static const L list{L::field("emailAddress", &QPSetMainEmailRequest::emailAddress_)};
  return list;
}

const QPFieldList<QPResponseBase>& QPCheckUserUniquenessResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(), {L::field("found", &QPCheckUserUniquenessResponse::found_)}};
  return list;
}

const QPFieldList<QPModel>& QPSecondaryEmailModel::fieldList() const {
  using L = QPFieldList<QPModel>;
  static const L list{
      L::field("emailAddress", &QPSecondaryEmailModel::emailAddress),
      L::field("isEmailVerified", &QPSecondaryEmailModel::isEmailVerified_),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPGetSecondaryEmailsResponse::fieldList() const {
  using L = QPFieldList<QPResponseBase>;
  static const L list{baseFieldList(),
                      {L::field("secondaryEmails", &QPGetSecondaryEmailsResponse::secondaryEmails)}};
  return list;
}

}  // namespace brivane
