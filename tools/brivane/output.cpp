#include "brivane/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <utility>

namespace brivane::cli {

namespace {
bool reported = false;  // one message per process
}  // namespace

bool flushOutput() {
  errno = 0;
  std::cout.flush();
  const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) != 0 || !std::cout;
  if (!failed) return true;
  if (std::exchange(reported, true)) return false;
  const int error = errno;
  std::fprintf(stderr, "brivane: cannot write the output: %s\n",
               error != 0 ? std::strerror(error) : "write error");
  return false;
}

int finishOutput(int status) {
  return flushOutput() ? status : 1;
}

}  // namespace brivane::cli
