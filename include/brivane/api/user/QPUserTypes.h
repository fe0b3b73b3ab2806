#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPFlag.h"
#include "brivane/api/core/QPNumber.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPResponseBase.h"

namespace brivane {

/// Asks the platform to send the user a password-reset code; only the base parameters are sent.
class QPSendPasswordResetCodeRequest : public QPRequestBase {};

/// Changes a user's password: "oldPassword" and "newPassword". The fields are set only by the
/// constructor; a nil field leaves its key out.
class BRIVANE_API QPChangePasswordRequest : public QPRequestBase {
 public:
  QPChangePasswordRequest() = default;
  QPChangePasswordRequest(std::optional<std::string> oldPassword, std::optional<std::string> newPassword);
  const QPFieldList<QPRequestBase>& fieldList() const override;

 private:
  std::optional<std::string> oldPass_;
  std::optional<std::string> newPass_;
};

/// Checks a password against the platform's policy: "password".
class BRIVANE_API QPValidatePasswordRequest : public QPRequestBase {
 public:
  QPValidatePasswordRequest() = default;
  explicit QPValidatePasswordRequest(std::optional<std::string> password);
  const QPFieldList<QPRequestBase>& fieldList() const override;

 private:
  std::optional<std::string> password_;
};

/// Asks whether a user id is already known; only the base parameters are sent (as query items).
class QPCheckUserUniquenessRequest : public QPRequestBase {};

/// Asks for a user's secondary e-mail addresses; only the base parameters are sent.
class QPGetSecondaryEmailsRequest : public QPRequestBase {};

/// Adds a secondary e-mail address: "emailAddress".
class BRIVANE_API QPCreateSecondaryEmailRequest : public QPRequestBase {
 public:
  QPCreateSecondaryEmailRequest() = default;
  explicit QPCreateSecondaryEmailRequest(std::optional<std::string> emailAddress);
  const QPFieldList<QPRequestBase>& fieldList() const override;

 private:
  std::optional<std::string> emailAddress_;
};

/// Replaces a secondary e-mail address: "oldEmailAddress" and "newEmailAddress".
class BRIVANE_API QPEditSecondaryEmailRequest : public QPRequestBase {
 public:
  QPEditSecondaryEmailRequest() = default;
  QPEditSecondaryEmailRequest(std::optional<std::string> oldEmailAddress,
                              std::optional<std::string> newEmailAddress);
  const QPFieldList<QPRequestBase>& fieldList() const override;

 private:
  std::optional<std::string> oldEmailAddress_;
  std::optional<std::string> newEmailAddress_;
};

/// Removes a secondary e-mail address: "emailAddress", sent in the body of a DELETE.
class BRIVANE_API QPDeleteSecondaryEmailRequest : public QPRequestBase {
 public:
  QPDeleteSecondaryEmailRequest() = default;
  explicit QPDeleteSecondaryEmailRequest(std::optional<std::string> emailAddress);
  const QPFieldList<QPRequestBase>& fieldList() const override;

 private:
  std::optional<std::string> emailAddress_;
};

/// Makes one of the user's addresses the main one: "emailAddress".
class BRIVANE_API QPSetMainEmailRequest : public QPRequestBase {
 public:
  QPSetMainEmailRequest() = default;
  explicit QPSetMainEmailRequest(std::optional<std::string> emailAddress);
  const QPFieldList<QPRequestBase>& fieldList() const override;

 private:
  std::optional<std::string> emailAddress_;
};

/// The answer to a password-reset code request: the common fields only.
class QPSendPasswordResetCodeResponse : public QPResponseBase {};

/// Whether the user id is already known ("found").
class BRIVANE_API QPCheckUserUniquenessResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  /// Flag "found": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsFound, found, setFound, found_)

 private:
  QPFlag found_;
};

/// One secondary e-mail address of a user.
class BRIVANE_API QPSecondaryEmailModel : public QPModel {
 public:
  const QPFieldList<QPModel>& fieldList() const override;
  const char* className() const override { return "QPSecondaryEmailModel"; }

  std::optional<std::string> emailAddress;

  /// Flag "isEmailVerified": the number as sent, its truth, its setter.
  BRIVANE_FLAG_ACCESSORS(getIsEmailVerified, isEmailVerified, setIsEmailVerified, isEmailVerified_)

 private:
  QPFlag isEmailVerified_;
};

/// A user's secondary e-mail addresses ("secondaryEmails"); nil when the answer had no list.
class BRIVANE_API QPGetSecondaryEmailsResponse : public QPResponseBase {
 public:
  const QPFieldList<QPResponseBase>& fieldList() const override;

  std::optional<std::vector<std::shared_ptr<QPSecondaryEmailModel>>> secondaryEmails;
};

}  // namespace brivane
