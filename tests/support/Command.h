#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace brivane::test {

/// What a shell command printed on its standard output, and its exit code (-1 when it did not
/// exit normally or could not start).
struct CommandOutcome {
  int status = -1;
  std::string out;
};

/// Runs `command` with /bin/sh and waits for it.
inline CommandOutcome runCommand(const std::string& command) {
  CommandOutcome outcome;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return outcome;
  char buffer[4096];
  for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) outcome.out.append(buffer, got);
  const int raw = pclose(pipe);
  outcome.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return outcome;
}

/// The `brivane` tool built beside the running test program.
inline std::filesystem::path builtTool() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "brivane";
}

}  // namespace brivane::test
