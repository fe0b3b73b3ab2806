#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "brivane/QPExport.h"

namespace brivane {

/// Domain of errors passed through from the networking layer (libcurl); the code is curl's.
inline constexpr std::string_view QPErrorDomainNetwork = "brivane.network";
/// Domain of errors of the JSON parser: a 2xx answer whose body is not JSON.
inline constexpr std::string_view QPErrorDomainJSON = "brivane.json";
/// Domain of errors the SDK raises itself before anything is sent (see `QPClientErrorCode`).
inline constexpr std::string_view QPErrorDomainClient = "brivane.client";

/// Codes of the `QPErrorDomainClient` domain.
enum QPClientErrorCode : std::int64_t {
  QPClientErrorMissingArgument = 1,  ///< a required argument of an operation was nil
  QPClientErrorMissingSetting = 2,   ///< the base URL or program code is not configured
  QPClientErrorBodyTooLarge = 3,     ///< the answer's body exceeded the transport's limit
  /// a form field's key or value holds "&" or "=", which the raw form body cannot carry;
  /// found before sending, nothing is sent
  QPClientErrorUnsendableFormValue = 4,
  /// the server redirected the call to another origin (scheme, host or port, https to http
  /// included); the redirect is not followed, so nothing is sent there
  QPClientErrorRedirectRefused = 5,
  /// a header value (the access token, the payer's IP address) holds a CR, LF or NUL, which
  /// would end the header and start another; found before sending, nothing is sent
  QPClientErrorUnsendableHeaderValue = 6,
  /// the call was stopped through the `stop` token of its `QPCallOptions`; its transfer ended
  /// and nothing more was sent (an answer that had already completed is delivered instead)
  QPClientErrorCancelled = 7,
  /// a date field of the request lies outside 0001-01-01 to 9999-12-31 or is no real date or
  /// time of day (see `QPDate::isSendable`); found before sending, nothing is sent
  QPClientErrorUnsendableDate = 8,
};

/// The one failure report of the API client: a domain, a signed code and a description.
///
/// Errors built from an HTTP answer carry the request's absolute URL as their domain; errors of
/// the networking layer, the JSON parser and the SDK itself carry the domains above. The
/// description is nil only where the server's error form had no description. Plain value type.
class BRIVANE_API QPError {
 public:
  QPError(std::string domain, std::int64_t code, std::optional<std::string> description)
      : domain_(std::move(domain)), code_(code), description_(std::move(description)) {}

  const std::string& domain() const { return domain_; }
  std::int64_t code() const { return code_; }
  /// The localised description text of the error (nil when the server sent none).
  const std::optional<std::string>& description() const { return description_; }

  /// "domain (code): description", for logs.
  std::string toString() const;

  bool operator==(const QPError& other) const = default;

 private:
  std::string domain_;
  std::int64_t code_;
  std::optional<std::string> description_;
};

}  // namespace brivane
