#pragma once

#include <optional>
#include <string>

#include <boost/json/fwd.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPNumber.h"

namespace brivane {

/// The key-to-field table of a class family (kept inside the SDK).
template <class Owner>
class QPFieldList;

/// The token endpoint's answer: its four keys, nothing of the common fields.
///
/// Filled like a response: every non-null key onto the field of the same name, unknown keys
/// skipped. Thread rules as for responses.
class BRIVANE_API QPAccessTokenResponse {
 public:
  void initWithJSONObject(const boost::json::value& json);

  static const QPFieldList<QPAccessTokenResponse>& fieldList();
  /// Every field by name, null where unset.
  boost::json::object toJSONObject() const;

  std::optional<std::string> access_token;
  /// Lifetime as sent by the server, no unit conversion.
  std::optional<QPNumber> expires_in;
  std::optional<std::string> refresh_token;
  std::optional<std::string> token_type;
};

}  // namespace brivane
