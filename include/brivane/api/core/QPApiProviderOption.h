#pragma once

#include <memory>
#include <optional>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPAccessTokenProvider.h"

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
};

}  // namespace brivane
