#include <cstdio>

#include "brivane/commands.h"

namespace brivane::cli {

int runForm(const std::vector<std::string>& /*args*/) {
  std::fputs("brivane form: not available in this build\n", stderr);
  return 2;
}

}  // namespace brivane::cli
