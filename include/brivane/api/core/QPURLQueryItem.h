#pragma once

#include <optional>
#include <string>

#include "brivane/QPExport.h"

namespace brivane {

/// One query item of a URL: a name and its value (nil when the item has no "="). Used by the
/// transport to build request URLs and by the payment form to read navigation URLs.
struct BRIVANE_API QPURLQueryItem {
  std::string name;
  std::optional<std::string> value;
  bool operator==(const QPURLQueryItem&) const = default;
};

}  // namespace brivane
