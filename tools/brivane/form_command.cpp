#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <glibmm/main.h>
#include <gtkmm/application.h>
#include <gtkmm/window.h>

#include <boost/json/serialize.hpp>

#include "brivane/commands.h"
#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/QPPaymentForm.h"
#include "brivane/form/style/QPFormStyleJSON.h"
#include "brivane/options.h"
#include "sandbox/Sandbox.h"

namespace brivane::cli {
namespace {

constexpr const char* kFormUsage =
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
    "\n"
    "show fills a missing --api-url with the sandbox's form service and a missing --redirect\n"
    "with the sandbox's return page, and prints the form's callbacks and script messages.\n";

int usageError(const std::string& message) {
  std::fprintf(stderr, "brivane form: %s\n\n%s", message.c_str(), kFormUsage);
  return 2;
}

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

struct FormRequest {
  QPFormConfiguration configuration;
  std::optional<std::vector<std::string>> options;
  std::optional<std::string> token;
  std::shared_ptr<QPFormStyle> style;
  std::optional<std::string> deploymentBase;
  int seconds = 0;
};

// Fills `request` from the options; a usage error's message, or nil.
std::optional<std::string> readRequest(const ParsedOptions& parsed, FormRequest* request) {
  static const std::vector<std::string> known = {"provider",      "options",  "token",   "mode",
                                                 "provider-mode", "redirect", "api-url", "style",
                                                 "deployment",    "seconds"};
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
  configuration.showStorePaymentMethod = parsed.has("store");
  configuration.redirectURL = parsed.value("redirect");
  if (auto url = parsed.value("api-url")) configuration.apiURL = QPFormRenderer::normalizedApiURL(*url);
  if (auto codes = parsed.value("options")) request->options = splitCodes(*codes);
  request->token = parsed.value("token");
  request->deploymentBase = parsed.value("deployment");
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

void printLine(const std::string& line) {
  std::cout << line << std::endl;
}

int show(FormRequest request) {
  // The sandbox's URLs are filled in below; the checks only ask whether the values are set.
  QPFormConfiguration& configuration = request.configuration;
  const bool defaultApiURL = !configuration.apiURL, defaultRedirect = !configuration.redirectURL;
  QPFormConfiguration checked = configuration;
  if (defaultApiURL) checked.apiURL = "sandbox";
  if (defaultRedirect) checked.redirectURL = "sandbox";
  if (auto message = QPFormRenderer::checkConfiguration(checked, request.options, request.token)) {
    std::fprintf(stderr, "%s\n", message->c_str());
    return 1;
  }
  sandbox::Sandbox sandbox;
  if (!sandbox.start()) {
    std::fputs("brivane form: the sandbox could not start\n", stderr);
    return 1;
  }
  const std::string base = sandbox.baseUrl();
  if (defaultApiURL) configuration.apiURL = base + "/providers/formservice/";
  if (defaultRedirect) configuration.redirectURL = base + "/providers/return";
  printLine("sandbox: " + base);

  int status = 0;
  auto app = Gtk::Application::create("com.brivane.FormShow", Gio::Application::Flags::NON_UNIQUE);
  std::unique_ptr<Gtk::Window> window;
  std::unique_ptr<QPPaymentForm> form;
  app->signal_activate().connect([&] {
    window = std::make_unique<Gtk::Window>();
    window->set_title("Brivane payment form");
    window->set_default_size(420, 640);
    form = std::make_unique<QPPaymentForm>();
    form->setDeployment(QPFormDeployment::forBaseURL(base));
    form->setMode(configuration.mode);
    form->setProviderMode(configuration.providerMode);
    form->setPaymentProvider(configuration.paymentProvider);
    form->setShowStorePaymentMethod(configuration.showStorePaymentMethod);
    form->setRedirectURL(configuration.redirectURL);
    form->setApiURL(configuration.apiURL);
    form->setOnFormLoaded([] { printLine("loaded"); });
    form->setOnSuccessCallback([](const std::optional<std::string>& code, const std::string& token,
                                  const std::optional<std::string>& payload) {
      printLine("success " + code.value_or("(nil)") + " " + token + " " + payload.value_or("(nil)"));
    });
    form->setOnError(
        [](const boost::json::value& error) { printLine("error " + boost::json::serialize(error)); });
    form->setOnCancel(
        [](const std::optional<std::string>& message) { printLine("cancel " + message.value_or("(nil)")); });
    form->setScriptMessageObserver([](const std::string& name, const boost::json::value& body) {
      printLine("message " + name + " " + boost::json::serialize(body));
    });
    window->set_child(*form);
    app->add_window(*window);
    window->present();
    try {
      form->renderWithPaymentOptions(request.options, request.token, request.style);
    } catch (const std::invalid_argument& error) {
      std::fprintf(stderr, "brivane form: %s\n", error.what());
      status = 1;
      app->quit();
      return;
    }
    if (request.seconds > 0) {
      Glib::signal_timeout().connect_seconds_once([&app] { app->quit(); },
                                                  static_cast<unsigned>(request.seconds));
    }
  });
  app->run(0, nullptr);
  if (window) window->unset_child();
  form.reset();
  window.reset();
  sandbox.stop();
  return status;
}

}  // namespace

int runForm(const std::vector<std::string>& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "help") {
    std::fputs(kFormUsage, args.empty() ? stderr : stdout);
    return args.empty() ? 2 : 0;
  }
  ParsedOptions parsed;
  std::string error;
  if (!parseOptions(args, {"store"}, &parsed, &error)) return usageError(error);
  if (parsed.positional.empty()) return usageError("missing sub-command");
  const std::string& command = parsed.positional[0];
  if (command != "render" && command != "show") return usageError("unknown sub-command '" + command + "'");
  FormRequest request;
  if (auto problem = readRequest(parsed, &request)) return usageError(*problem);
  return command == "render" ? render(request) : show(std::move(request));
}

}  // namespace brivane::cli
