#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include "support/Command.h"
#include "support/RestCaller.h"

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

/// The member of `answer` at a dotted path ("entries.0.amount") as text: a text as it is, a number
/// in its shortest form, "#" the size of an array or object; "" when absent.
inline std::string member(const boost::json::value& answer, const std::string& path) {
  const boost::json::value* at = &answer;
  for (std::size_t from = 0; at != nullptr && from <= path.size();) {
    const std::size_t dot = std::min(path.find('.', from), path.size());
    const std::string name = path.substr(from, dot - from);
    from = dot + 1;
    if (name == "#") return std::to_string(at->is_array() ? at->as_array().size() : at->as_object().size());
    if (at->is_array())
      at = std::stoul(name) < at->as_array().size() ? &at->as_array()[std::stoul(name)] : nullptr;
    else
      at = at->is_object() ? at->as_object().if_contains(name) : nullptr;
  }
  if (at == nullptr) return "";
  if (at->is_string()) return std::string(at->as_string());
  if (at->is_bool()) return at->as_bool() ? "true" : "false";
  if (!at->is_double()) return boost::json::serialize(*at);
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, at->as_double()).ptr);
}

/// One call of a scripted session: what it sends (for a GET, `fields` is a query string), the
/// responseCode it must get, and members of its answer ("path=text") it must have.
struct Step {
  const char* method;
  std::string path;
  std::string fields;
  const char* code;
  std::vector<std::string> members = {};
};

/// Makes the calls of `steps` in order as `caller`; the last answer.
inline boost::json::value runSteps(const RestCaller& caller, const std::vector<Step>& steps) {
  boost::json::value answer;
  for (const Step& step : steps) {
    SCOPED_TRACE(std::string(step.method) + " " + step.path + " " + step.fields);
    answer = caller.call(step.method, step.path, step.fields);
    EXPECT_EQ(jsonText(answer, "responseCode"), step.code) << boost::json::serialize(answer);
    for (const std::string& expected : step.members) {
      const std::size_t at = expected.find('=');
      EXPECT_EQ(member(answer, expected.substr(0, at)), expected.substr(at + 1)) << expected;
    }
  }
  return answer;
}

}  // namespace brivane::test
