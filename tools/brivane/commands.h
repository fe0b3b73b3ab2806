#pragma once

#include <string>
#include <vector>

namespace brivane::cli {

/// Each sub-command receives the arguments after its own name and returns the exit code:
/// 0 success, 1 a failed operation, 2 a usage error.
int runDemo(const std::vector<std::string>& args);
int runCall(const std::vector<std::string>& args);
int runSandbox(const std::vector<std::string>& args);
int runStyle(const std::vector<std::string>& args);
int runForm(const std::vector<std::string>& args);

}  // namespace brivane::cli
