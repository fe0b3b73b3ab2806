#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brivane::cli {

/// Arguments in the "--name value" style; "--flag" alone when it is listed as a flag.
struct ParsedOptions {
  std::vector<std::string> positional;
  std::vector<std::pair<std::string, std::string>> named;  ///< in order, repeats kept
  std::vector<std::string> flags;

  std::optional<std::string> value(const std::string& name) const;
  std::vector<std::string> values(const std::string& name) const;
  bool has(const std::string& flag) const;
};

/// Splits `args`; false with a message for a "--name" that lacks its value.
bool parseOptions(const std::vector<std::string>& args, const std::vector<std::string>& flagNames,
                  ParsedOptions* out, std::string* error);

}  // namespace brivane::cli
