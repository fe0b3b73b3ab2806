#pragma once

#include <memory>
#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPAccessTokenProvider.h"
#include "brivane/api/core/QPCallOptions.h"
#include "brivane/platform/QPHttpClient.h"

namespace brivane {

/// What an application fills before building a `QPApiProvider`. Plain value holder.
struct BRIVANE_API QPApiProviderOption {
  /// Base URL of the platform's API; operation paths are appended to it.
  std::optional<std::string> url;
  /// The program (tenant) code sent as "programCode" with every request except "/token".
  std::optional<std::string> programCode;
  /// Prefix of the per-request "partnerReference".
  std::optional<std::string> partnerReferencePrefix;
  /// Source of the bearer token; shared, not copied.
  std::shared_ptr<QPAccessTokenProvider> accessTokenProvider;
  /// Options of every call (time-out, retries, stop token, listener); a `QPCallOptionsScope`
  /// overrides them per call. Unset by default: 60 s, no retries, nothing watched.
  QPCallOptions callOptions;
  /// The HTTP client that sends the calls; nil (the default): the SDK's own networking. A test
  /// double such as `QPFakeHttpClient` (brivane/testing/QPFakeHttpClient.h) goes here.
  std::shared_ptr<QPHttpClient> httpClient;
};

}  // namespace brivane
