#include "brivane/commands.h"

namespace brivane::cli {
int runDemo(const std::vector<std::string>&) { return 2; }
int runCall(const std::vector<std::string>&) { return 2; }
int runSandbox(const std::vector<std::string>&) { return 2; }
}  // namespace brivane::cli
