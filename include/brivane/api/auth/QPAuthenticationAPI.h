#pragma once

#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/auth/QPAccessTokenResponse.h"
#include "brivane/api/core/QPBaseAPI.h"

namespace brivane {

/// Obtains bearer tokens from "/token" (form-encoded POST).
///
/// The family stores no token: hand the received access token to the token provider
/// (`setAccessToken`). Every argument is required; a nil one is reported through the completion
/// as a `QPClientErrorMissingArgument` error and nothing is sent. Values are sent as they are,
/// without percent-encoding; a value holding "&" or "=" cannot be carried by the form body and
/// fails with `QPClientErrorUnsendableFormValue` before anything is sent. Thread rules: callable from any
/// thread; the completion runs on the main queue.
class BRIVANE_API QPAuthenticationAPI : public QPBaseAPI {
 public:
  using QPBaseAPI::QPBaseAPI;

  /// Password grant: "grant_type", "username", "password".
  void getAccessTokenWithUserName(std::optional<std::string> userName, std::optional<std::string> password,
                                  std::optional<std::string> grantType,
                                  QPCompletion<QPAccessTokenResponse> completion) const;

  /// Refresh-token grant: "grant_type", "refresh_token".
  void getRefreshTokenWithToken(std::optional<std::string> token, std::optional<std::string> grantType,
                                QPCompletion<QPAccessTokenResponse> completion) const;
};

}  // namespace brivane
