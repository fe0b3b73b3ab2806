#pragma once

#include <optional>
#include <string_view>

#include <boost/json.hpp>

#include "brivane/api/core/QPError.h"

// Reading an answer's body as JSON: the one parse of the API client, shared by the transport and
// the parse benchmark.
namespace brivane {

/// Parses an answer's body as JSON, top-level scalars included. Nil for a body that is not JSON,
/// with `*error` (when given) set to a `brivane.json` error.
///
/// The document is built in one arena owned by the returned value's storage: it is freed when
/// the value and every value copied from it with its storage are gone. After the parse the
/// arena takes no more: whatever is added to the document later comes from the default heap, so
/// copies of its parts may be made and changed on any thread. Fields that keep JSON from an
/// answer copy it into default storage so that a filled response never holds the arena.
std::optional<boost::json::value> parseJSON(std::string_view body, std::optional<QPError>* error);

}  // namespace brivane
