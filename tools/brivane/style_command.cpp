#include <cstdio>

#include "brivane/commands.h"

namespace brivane::cli {

int runStyle(const std::vector<std::string>& /*args*/) {
  std::fputs("brivane style: not available in this build\n", stderr);
  return 2;
}

}  // namespace brivane::cli
