#pragma once

#include <optional>
#include <string>

#include "brivane/QPExport.h"

namespace brivane {

/// Source of the bearer token that every request carries.
///
/// Read on whatever thread starts a request; implementations decide their own locking.
class BRIVANE_API QPAccessTokenProvider {
 public:
  virtual ~QPAccessTokenProvider() = default;
  /// The current token; nil sends no "Authorization" header.
  virtual std::optional<std::string> getAccessToken() = 0;
  virtual void setAccessToken(std::optional<std::string> accessToken) = 0;
};

/// Keeps the last token set, nothing more: no expiry, no refresh, no persistence.
///
/// Thread rules: no locking; an application that sets the token on one thread while requests
/// start on another orders this itself.
class BRIVANE_API QPDefaultAccessTokenProvider : public QPAccessTokenProvider {
 public:
  std::optional<std::string> getAccessToken() override { return accessToken; }
  void setAccessToken(std::optional<std::string> token) override { accessToken = std::move(token); }

  std::optional<std::string> accessToken;
};

}  // namespace brivane
