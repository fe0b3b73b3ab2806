#pragma once

#include <string>

#include <boost/json/value.hpp>

namespace brivane::cli {

/// Compact JSON as the tool prints it: like Boost.JSON's, but a real number in its shortest
/// round-trip decimal form ("12.5", not "1.25E1") and a non-finite one, which JSON cannot
/// carry, as null. Always valid JSON.
std::string printedJSON(const boost::json::value& value);

}  // namespace brivane::cli
