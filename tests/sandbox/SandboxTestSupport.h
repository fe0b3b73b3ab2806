#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "support/Command.h"

namespace brivane::test {

/// `brivane sandbox --port 0 ARGUMENTS...` in a process of its own, with the first line it printed
/// and the address in it ("" when none). Terminated when destroyed.
class SandboxProcess {
 public:
  explicit SandboxProcess(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"brivane", "sandbox", "--port", "0"});
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const std::string tool = builtTool().string();
    int fds[2];
    if (pipe(fds) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      dup2(fds[1], STDOUT_FILENO);
      close(fds[0]);
      execv(tool.c_str(), argv.data());
      _exit(127);
    }
    close(fds[1]);
    out_ = fdopen(fds[0], "r");
    char line[256] = {};
    if (fgets(line, sizeof line, out_) != nullptr) firstLine = line;
    if (const auto at = firstLine.find("http://"); at != std::string::npos)
      url = firstLine.substr(at, firstLine.find('\n', at) - at);
  }
  ~SandboxProcess() { stop(SIGTERM); }
  SandboxProcess(const SandboxProcess&) = delete;
  SandboxProcess& operator=(const SandboxProcess&) = delete;

  /// Sends `signal` and waits for the process: its exit code (-1 when it did not exit normally).
  int stop(int signal) {
    if (pid_ <= 0) return -1;
    kill(pid_, signal);
    int status = 0;
    waitpid(pid_, &status, 0);
    fclose(out_);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::string firstLine;
  std::string url;

 private:
  pid_t pid_ = -1;
  FILE* out_ = nullptr;
};

}  // namespace brivane::test
