#include <cstdio>
#include <string>
#include <vector>

#include "brivane/api/core/QPLookups.h"
#include "brivane/commands.h"
#include "brivane/output.h"

namespace {

constexpr const char* kUsage =
    "usage: brivane <command> [options]\n"
    "       brivane --version | help [COMMAND]\n"
    "\n"
    "commands:\n"
    "  demo       one integrator's journey through the API against the embedded sandbox\n"
    "  call       call one API operation: brivane call FAMILY OPERATION [options]\n"
    "  sandbox    run the sandbox back end: brivane sandbox [--port N] [--host H] [--data FILE]\n"
    "  style      print the CSS of a form style: brivane style css --provider N [--style FILE]\n"
    "  form       render or show the payment form: brivane form render|show [options]\n"
    "\n"
    "\n"
    "'brivane help COMMAND' shows a command's options; 'brivane help call' lists every operation.\n"
    "Exit codes: 0 success, 1 a failed call or check, 2 a usage error.\n";

// `brivane help COMMAND`: the command's own help text.
int help(const std::string& command) {
  const std::vector<std::string> askHelp{"--help"};
  if (command == "call") return brivane::cli::runCall(askHelp);
  if (command == "sandbox") return brivane::cli::runSandbox(askHelp);
  if (command == "style") return brivane::cli::runStyle(askHelp);
  if (command == "form") return brivane::cli::runForm(askHelp);
  if (command == "demo") return brivane::cli::runDemo(askHelp);
  std::fprintf(stderr, "brivane help: unknown command '%s'\n\n%s", command.c_str(), kUsage);
  return 2;
}

int run(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  std::string command = argv[1];
  std::vector<std::string> args(argv + 2, argv + argc);
  if (command == "demo") return brivane::cli::runDemo(args);
  if (command == "call") return brivane::cli::runCall(args);
  if (command == "sandbox") return brivane::cli::runSandbox(args);
  if (command == "style") return brivane::cli::runStyle(args);
  if (command == "form") return brivane::cli::runForm(args);
  if (command == "--version" || command == "version") {
    std::printf("%s\n", brivane::QPLookups::SDKVersion().c_str());
    return 0;
  }
  if (command == "help" || command == "--help" || command == "-h") {
    if (command == "help" && !args.empty()) return help(args[0]);
    std::fputs(kUsage, stdout);
    return 0;
  }
  std::fprintf(stderr, "brivane: unknown command '%s'\n\n%s", command.c_str(), kUsage);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  return brivane::cli::finishOutput(run(argc, argv));
}
