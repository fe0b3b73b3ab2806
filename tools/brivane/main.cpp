#include <cstdio>
#include <string>
#include <vector>

#include "brivane/commands.h"

namespace {

constexpr const char* kUsage =
    "usage: brivane <command> [options]\n"
    "\n"
    "commands:\n"
    "  demo       run the API client against the embedded sandbox, one line per call\n"
    "  call       call one API operation: brivane call FAMILY OPERATION [options]\n"
    "  sandbox    run the sandbox back end: brivane sandbox [--port N] [--host H]\n"
    "  style      print the CSS of a form style: brivane style css --provider N [--style FILE]\n"
    "  form       render or show the payment form: brivane form render|show [options]\n"
    "\n"
    "See README.md for every option.\n";

}  // namespace

int main(int argc, char** argv) {
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
#ifdef BRIVANE_HAVE_FORM
  if (command == "form") return brivane::cli::runForm(args);
#endif
  if (command == "help" || command == "--help" || command == "-h") {
    std::fputs(kUsage, stdout);
    return 0;
  }
  std::fprintf(stderr, "brivane: unknown command '%s'\n\n%s", command.c_str(), kUsage);
  return 2;
}
