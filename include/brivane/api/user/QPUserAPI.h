#pragma once

#include <memory>
#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPBaseAPI.h"
#include "brivane/api/user/QPUserTypes.h"

namespace brivane {

/// A user's credentials and e-mail addresses. The user id goes into the path as it is (a "/" in
/// it deepens the path); a nil request or user id is reported as a client error and nothing is
/// sent. The two GET operations send their parameters as query items, the others as a JSON body.
///
/// Thread rules: callable from any thread, returns at once; completions run on the main queue.
class BRIVANE_API QPUserAPI : public QPBaseAPI {
 public:
  using QPBaseAPI::QPBaseAPI;

  /// POST "/user/{userId}/sendPasswordResetCode".
  void sendPasswordResetCode(std::shared_ptr<const QPSendPasswordResetCodeRequest> request,
                             std::optional<std::string> userId,
                             QPCompletion<QPSendPasswordResetCodeResponse> completion) const;
  /// POST "/user/{userId}/changePassword".
  void changePassword(std::shared_ptr<const QPChangePasswordRequest> request,
                      std::optional<std::string> userId, QPCompletion<QPResponseBase> completion) const;
  /// GET "/user/{userId}/checkUniqueness".
  void checkUserUniqueness(std::shared_ptr<const QPCheckUserUniquenessRequest> request,
                           std::optional<std::string> userId,
                           QPCompletion<QPCheckUserUniquenessResponse> completion) const;
  /// POST "/user/validatePassword" (no user in the path).
  void validatePassword(std::shared_ptr<const QPValidatePasswordRequest> request,
                        QPCompletion<QPResponseBase> completion) const;
  /// GET "/user/{userId}/secondaryEmail".
  void getSecondaryEmails(std::shared_ptr<const QPGetSecondaryEmailsRequest> request,
                          std::optional<std::string> userId,
                          QPCompletion<QPGetSecondaryEmailsResponse> completion) const;
  /// PUT "/user/{userId}/secondaryEmail": creating uses PUT.
  void createSecondaryEmail(std::shared_ptr<const QPCreateSecondaryEmailRequest> request,
                            std::optional<std::string> userId, QPCompletion<QPResponseBase> completion) const;
  /// POST "/user/{userId}/secondaryEmail": editing uses POST.
  void editSecondaryEmail(std::shared_ptr<const QPEditSecondaryEmailRequest> request,
                          std::optional<std::string> userId, QPCompletion<QPResponseBase> completion) const;
  /// DELETE "/user/{userId}/secondaryEmail", with "emailAddress" in a JSON body.
  void deleteSecondaryEmail(std::shared_ptr<const QPDeleteSecondaryEmailRequest> request,
                            std::optional<std::string> userId, QPCompletion<QPResponseBase> completion) const;
  /// POST "/user/{userId}/setMainEmail".
  void setMainEmail(std::shared_ptr<const QPSetMainEmailRequest> request, std::optional<std::string> userId,
                    QPCompletion<QPResponseBase> completion) const;
};

}  // namespace brivane
