#pragma once

#include <string>

#include <boost/json/value.hpp>

namespace brivane::cli {

/// Compact JSON as the tool prints it: like Boost.JSON's, but a real number in its shortest
/// round-trip decimal form ("12.5", not "1.25E1") and a non-finite one, which JSON cannot
/// carry, as null. Texts are escaped for a strict parser: bytes that are not UTF-8 (a server may
/// send any) become U+FFFD, control characters \uXXXX escapes. Always valid JSON.
std::string printedJSON(const boost::json::value& value);

}  // namespace brivane::cli
