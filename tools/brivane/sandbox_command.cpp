#include <pthread.h>
#include <signal.h>

#include <cstdio>
#include <string>
#include <thread>

#include "brivane/commands.h"
#include "brivane/options.h"
#include "brivane/output.h"
#include "sandbox/Sandbox.h"

namespace brivane::cli {

int runSandbox(const std::vector<std::string>& args) {
  constexpr const char* kUsage =
      "usage: brivane sandbox [--port N] [--host ADDRESS] [--program CODE] [--data FILE] [--reset]\n";
  ParsedOptions options;
  std::string error;
  if (!parseOptions(args, {"help", "reset"}, &options, &error) || !options.positional.empty() ||
      options.has("help")) {
    if (!error.empty()) std::fprintf(stderr, "brivane sandbox: %s\n", error.c_str());
    std::fputs(kUsage, options.has("help") ? stdout : stderr);
    return options.has("help") ? 0 : 2;
  }
  sandbox::SandboxOptions config;
  config.port = 8080;
  if (auto port = options.value("port")) {
    try {
      std::size_t used = 0;
      config.port = std::stoi(*port, &used);
      if (used != port->size() || config.port < 0 || config.port > 65535) throw std::out_of_range(*port);
    } catch (const std::exception&) {
      std::fprintf(stderr, "brivane sandbox: --port takes a number from 0 to 65535\n%s", kUsage);
      return 2;
    }
  }
  if (auto host = options.value("host")) config.host = *host;
  if (auto program = options.value("program")) config.programCode = *program;
  if (auto data = options.value("data")) config.dataFile = *data;
  config.reset = options.has("reset");

  // SIGINT and SIGTERM end the server cleanly: a helper thread waits for them.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);

  sandbox::Sandbox server(config);
  if (!server.error().empty()) {
    std::fprintf(stderr, "brivane sandbox: %s\n", server.error().c_str());
    return 1;
  }
  if (!server.start()) {
    std::fprintf(stderr,
                 "brivane sandbox: cannot listen on %s:%d (the port is busy or the address is not local)\n",
                 config.host.c_str(), config.port);
    return 1;
  }
  std::printf(
      "Sandbox listening on %s\n  program code: %s\n  user: %s  password: %s\n  state: %s\n  "
      "pages: %s/sandbox/\nPress Ctrl-C to stop.\n",
      server.baseUrl().c_str(), config.programCode.c_str(), config.userName.c_str(), config.password.c_str(),
      config.dataFile.empty() ? "in memory" : config.dataFile.c_str(), server.baseUrl().c_str());
  if (!flushOutput()) {
    server.stop();  // nobody would learn where it listens
    return 1;
  }
  int received = 0;
  sigwait(&signals, &received);
  server.stop();
  std::printf("Sandbox stopped.\n");
  return 0;
}

}  // namespace brivane::cli
