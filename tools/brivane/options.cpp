#include "brivane/options.h"

#include <algorithm>

namespace brivane::cli {

std::optional<std::string> ParsedOptions::value(const std::string& name) const {
  for (auto it = named.rbegin(); it != named.rend(); ++it)
    if (it->first == name) return it->second;
  return std::nullopt;
}

std::vector<std::string> ParsedOptions::values(const std::string& name) const {
  std::vector<std::string> result;
  for (const auto& [key, value] : named)
    if (key == name) result.push_back(value);
  return result;
}

bool ParsedOptions::has(const std::string& flag) const {
  return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

bool parseOptions(const std::vector<std::string>& args, const std::vector<std::string>& flagNames,
                  ParsedOptions* out, std::string* error) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!arg.starts_with("--") || arg.size() == 2) {
      out->positional.push_back(arg);
      continue;
    }
    std::string name = arg.substr(2);
    if (std::find(flagNames.begin(), flagNames.end(), name) != flagNames.end()) {
      out->flags.push_back(name);
      continue;
    }
    if (auto equals = name.find('='); equals != std::string::npos) {
      out->named.emplace_back(name.substr(0, equals), name.substr(equals + 1));
      continue;
    }
    if (i + 1 >= args.size()) {
      *error = "option --" + name + " needs a value";
      return false;
    }
    out->named.emplace_back(name, args[++i]);
  }
  return true;
}

}  // namespace brivane::cli
