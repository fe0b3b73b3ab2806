#include "brivane/form_command.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "brivane/commands.h"
#include "brivane/form/style/QPFormStyleJSON.h"

namespace brivane::cli {
namespace {}  // namespace

const char* const kFormUsage =
    "usage: brivane form render|show [options]\n"
    "\n"
    "  render   print the page the form would load (PayU: the URL), or the failed check's\n"
    "           message with exit code 1\n"
    "  show     open a window with the live form against the embedded sandbox\n"
    "\n"
    "options:\n"
    "  --provider N         payment provider 0-7 (default 0)\n"
    "  --options CODES      payment option codes, comma-separated (e.g. VISA,MSTRCRD)\n"
    "  --token T            authorization token (PayU: the URL of the provider's page)\n"
    "  --mode M             0 registration (default), 1 payment, -1 not set\n"
    "  --provider-mode P    0 test (default), other values live, -1 not set\n"
    "  --redirect URL       the host's return URL\n"
    "  --api-url URL        base URL of the provider's form service\n"
    "  --store              offer to store the payment option (payment mode only)\n"
    "  --style FILE         a JSON form style description (see `brivane style`)\n"
    "  --deployment URL     render: point the deployment values at this server instead of\n"
    "                       production (show always uses the sandbox)\n"
    "  --seconds S          show: close the window after S seconds\n"
    "  --size WxH           show: the window's size in pixels (default 420x640)\n"
    "  --screenshot FILE    show: write the window as PNG 1.5 s after the page has loaded,\n"
    "                       then close (with --shopper: when the outcome has arrived)\n"
    "  --focus              show: put the focus into the page's first input once it has loaded\n"
    "                       (the form then shows its keyboard toolbar)\n"
    "  --script JS          show: run JS in the page 0.3 s after it has loaded (before --screenshot),\n"
    "                       e.g. to type into a field\n"
    "  --shopper MODE       show: a scripted shopper fills and submits the stand-in page:\n"
    "                       approve, decline, 3ds (the challenge card and its code) or cancel;\n"
    "                       exits 0 on success, 1 on an error or cancel (60 s at most unless\n"
    "                       --seconds says otherwise)\n"
    "  --sandbox URL        show: use the sandbox already serving at URL (e.g. `brivane demo`'s)\n"
    "                       instead of starting one; the form closes on its outcome and exits 0\n"
    "                       only when the shopper approved\n"
    "\n"
    "show fills a missing --api-url with the sandbox's form service and a missing --redirect\n"
    "with the sandbox's return page, turns a PayU token that is no URL into the sandbox's PayU\n"
    "page for that order, and prints the form's callbacks and script messages.\n";

int formUsageError(const std::string& message) {
  std::fprintf(stderr, "brivane form: %s\n\n%s", message.c_str(), kFormUsage);
  return 2;
}

namespace {

template <typename Number>
bool parseNumber(const std::string& text, Number* out) {
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *out);
  return error == std::errc() && end == text.data() + text.size();
}

std::vector<std::string> splitCodes(const std::string& text) {
  std::vector<std::string> codes;
  std::size_t start = 0;
  while (true) {
    std::size_t comma = text.find(',', start);
    codes.push_back(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return codes;
}

std::optional<std::string> readRequest(const ParsedOptions& parsed, FormRequest* request) {
  static const std::vector<std::string> known = {
      "provider",   "options", "token",   "mode", "provider-mode", "redirect", "api-url", "style",
      "deployment", "seconds", "shopper", "size", "screenshot",    "sandbox",  "script"};
  for (const auto& [name, value] : parsed.named) {
    if (std::find(known.begin(), known.end(), name) == known.end()) return "unknown option --" + name;
  }
  if (parsed.positional.size() > 1) return "unexpected argument '" + parsed.positional[1] + "'";
  QPFormConfiguration& configuration = request->configuration;
  if (auto value = parsed.value("provider");
      value && (!parseNumber(*value, &configuration.paymentProvider) || configuration.paymentProvider > 7)) {
    return "--provider needs a number from 0 to 7";
  }
  if (auto value = parsed.value("mode"); value && (!parseNumber(*value, &configuration.mode) ||
                                                   configuration.mode < -1 || configuration.mode > 1)) {
    return "--mode needs -1, 0 or 1";
  }
  if (auto value = parsed.value("provider-mode");
      value && !parseNumber(*value, &configuration.providerMode)) {
    return "--provider-mode needs a number";
  }
  if (auto value = parsed.value("seconds");
      value && (!parseNumber(*value, &request->seconds) || request->seconds < 0)) {
    return "--seconds needs a non-negative number";
  }
  if (auto size = parsed.value("size")) {
    const std::size_t x = size->find('x');
    if (x == std::string::npos || !parseNumber(size->substr(0, x), &request->width) ||
        !parseNumber(size->substr(x + 1), &request->height) || request->width < 100 ||
        request->height < 100) {
      return "--size needs WIDTHxHEIGHT, each at least 100";
    }
  }
  request->screenshot = parsed.value("screenshot");
  request->focus = parsed.has("focus");
  request->script = parsed.value("script");
  configuration.showStorePaymentMethod = parsed.has("store");
  configuration.redirectURL = parsed.value("redirect");
  if (auto url = parsed.value("api-url")) configuration.apiURL = QPFormRenderer::normalizedApiURL(*url);
  if (auto codes = parsed.value("options")) request->options = splitCodes(*codes);
  request->token = parsed.value("token");
  request->deploymentBase = parsed.value("deployment");
  if (auto url = parsed.value("sandbox")) {
    if (!url->starts_with("http://") && !url->starts_with("https://"))
      return "--sandbox needs an http(s) URL";
    while (url->ends_with("/")) url->pop_back();
    request->sandboxUrl = *url;
  }
  if (auto mode = parsed.value("shopper")) {
    request->shopper = sandbox::parseShopperMode(*mode);
    if (!request->shopper) return "--shopper needs approve, decline, 3ds or cancel";
  }
  if (auto file = parsed.value("style")) {
    QPFormStyleLoadResult loaded = formStyleFromJSONFile(*file);
    if (!loaded.ok()) return "--style: " + loaded.error;
    request->style = loaded.style;
  }
  return std::nullopt;
}

int render(const FormRequest& request) {
  if (auto message =
          QPFormRenderer::checkConfiguration(request.configuration, request.options, request.token)) {
    std::fprintf(stderr, "%s\n", message->c_str());
    return 1;
  }
  QPFormDeployment deployment = request.deploymentBase ? QPFormDeployment::forBaseURL(*request.deploymentBase)
                                                       : QPFormDeployment::production();
  try {
    QPRenderedForm rendered =
        QPFormRenderer::render(request.configuration, *request.options, *request.token, request.style,
                               deployment, QPRenderEnvironment::current());
    if (rendered.isPayU) {
      std::printf("%s\n", rendered.url.c_str());
    } else {
      std::fputs(rendered.html.c_str(), stdout);
      std::fprintf(stderr, "base URL: %s\n", rendered.url.c_str());
    }
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "brivane form: %s\n", error.what());
    return 1;
  }
  return 0;
}

// `show` runs in the form program beside this one; this process becomes it.
int launchFormProgram(const std::vector<std::string>& args) {
  if (!displayPresent()) {
    std::fputs("brivane form show: no display: set DISPLAY or WAYLAND_DISPLAY (or run under xvfb-run)\n",
               stderr);
    return 1;
  }
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path program = self.parent_path() / "brivane-form";
  if (error || !std::filesystem::is_regular_file(program, error)) {
    std::fprintf(stderr,
                 "brivane form show: the form program %s is missing (it is built and installed with the "
                 "payment form library)\n",
                 program.c_str());
    return 1;
  }
  std::vector<char*> argv;
  std::string name = "brivane-form";
  argv.push_back(name.data());
  std::vector<std::string> copies(args);
  for (std::string& arg : copies) argv.push_back(arg.data());
  argv.push_back(nullptr);
  std::fflush(stdout);
  execv(program.c_str(), argv.data());
  std::fprintf(stderr, "brivane form show: cannot start %s\n", program.c_str());
  return 1;
}

}  // namespace

bool displayPresent() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

std::optional<std::string> readFormRequest(const std::vector<std::string>& args, FormRequest* request) {
  ParsedOptions parsed;
  std::string error;
  if (!parseOptions(args, {"store", "focus"}, &parsed, &error)) return error;
  if (parsed.positional.empty()) return std::string("missing sub-command");
  const std::string& command = parsed.positional[0];
  if (command != "render" && command != "show") return "unknown sub-command '" + command + "'";
  request->command = command;
  return readRequest(parsed, request);
}

int runForm(const std::vector<std::string>& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "help") {
    std::fputs(kFormUsage, args.empty() ? stderr : stdout);
    return args.empty() ? 2 : 0;
  }
  FormRequest request;
  if (auto problem = readFormRequest(args, &request)) return formUsageError(*problem);
  // Options are checked here first, so that a usage error never waits for a window.
  return request.command == "show" ? launchFormProgram(args) : render(request);
}

}  // namespace brivane::cli
