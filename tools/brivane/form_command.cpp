#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <glib.h>
#include <glibmm/main.h>
#include <gtk/gtk.h>
#include <gtkmm/application.h>
#include <gtkmm/window.h>

#include <boost/json/serialize.hpp>

#include "brivane/commands.h"
#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/QPPaymentForm.h"
#include "brivane/form/style/QPFormStyleJSON.h"
#include "brivane/options.h"
#include "form/CustomWebView.h"
#include "sandbox/Sandbox.h"
#include "sandbox/Shopper.h"

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
    "  --size WxH           show: the window's size in pixels (default 420x640)\n"
    "  --screenshot FILE    show: write the window as PNG 1.5 s after the page has loaded,\n"
    "                       then close (with --shopper: when the outcome has arrived)\n"
    "  --focus              show: put the focus into the page's first input once it has loaded\n"
    "                       (the form then shows its keyboard toolbar)\n"
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
  std::optional<std::string> sandboxUrl;  ///< a running sandbox to use instead of an embedded one
  int seconds = 0;
  std::optional<sandbox::ShopperMode> shopper;
  int width = 420, height = 640;
  std::optional<std::string> screenshot;
  bool focus = false;
};

// Fills `request` from the options; a usage error's message, or nil.
std::optional<std::string> readRequest(const ParsedOptions& parsed, FormRequest* request) {
  static const std::vector<std::string> known = {
      "provider", "options",    "token",   "mode",    "provider-mode", "redirect",   "api-url",
      "style",    "deployment", "seconds", "shopper", "size",          "screenshot", "sandbox"};
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

std::string escapedQueryValue(const std::string& value) {
  gchar* escaped = g_uri_escape_string(value.c_str(), nullptr, FALSE);
  std::string result = escaped;
  g_free(escaped);
  return result;
}

// Writes what `window` shows, web view included, as a PNG file.
bool saveWindowAsPNG(Gtk::Window& window, const std::string& file) {
  GtkWidget* widget = GTK_WIDGET(window.gobj());
  const int width = gtk_widget_get_width(widget), height = gtk_widget_get_height(widget);
  GskRenderer* renderer = gtk_native_get_renderer(GTK_NATIVE(widget));
  if (renderer == nullptr || width <= 0 || height <= 0) return false;
  GdkPaintable* paintable = gtk_widget_paintable_new(widget);
  GtkSnapshot* snapshot = gtk_snapshot_new();
  gdk_paintable_snapshot(paintable, snapshot, width, height);
  GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
  bool saved = false;
  if (node != nullptr) {
    graphene_rect_t viewport =
        GRAPHENE_RECT_INIT(0, 0, static_cast<float>(width), static_cast<float>(height));
    GdkTexture* texture = gsk_renderer_render_texture(renderer, node, &viewport);
    saved = gdk_texture_save_to_png(texture, file.c_str());
    g_object_unref(texture);
    gsk_render_node_unref(node);
  }
  g_object_unref(paintable);
  return saved;
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
  std::unique_ptr<sandbox::Sandbox> embedded;
  if (!request.sandboxUrl) {
    embedded = std::make_unique<sandbox::Sandbox>();
    if (!embedded->start()) {
      std::fputs("brivane form: the sandbox could not start\n", stderr);
      return 1;
    }
  }
  const std::string base = embedded ? embedded->baseUrl() : *request.sandboxUrl;
  if (defaultApiURL) configuration.apiURL = base + "/providers/formservice/";
  if (defaultRedirect) configuration.redirectURL = base + "/providers/return";
  // PayU: a token that is no URL names an order on the sandbox's PayU page.
  const bool payU = request.options && std::find(request.options->begin(), request.options->end(), "PAYU") !=
                                           request.options->end();
  if (payU && request.token && !request.token->starts_with("http")) {
    const std::string order = *request.token;
    request.token = base + "/providers/payu/pay?orderId=" + order + "&token=" + order +
                    "&continueUrl=" + escapedQueryValue(*configuration.redirectURL);
  }
  printLine("sandbox: " + base);

  // With a scripted shopper or a running sandbox (--sandbox) the outcome decides the exit code:
  // 0 success, 1 error, cancel or a window closed before any outcome.
  const bool outcomeDecides = request.shopper || request.sandboxUrl;
  int status = outcomeDecides ? 1 : 0;
  bool ended = false;
  auto app = Gtk::Application::create("com.brivane.FormShow", Gio::Application::Flags::NON_UNIQUE);
  std::unique_ptr<Gtk::Window> window;
  std::unique_ptr<QPPaymentForm> form;
  std::optional<sandbox::ShopperMode> shopper = request.shopper;
  auto shoot = [&] {
    if (!request.screenshot || !window) return;
    if (saveWindowAsPNG(*window, *request.screenshot)) {
      printLine("screenshot " + *request.screenshot);
    } else {
      printLine("screenshot failed");
      status = 1;
    }
  };
  auto end = [&](int code) {
    if (!outcomeDecides || ended) return;
    ended = true;
    status = code;
    // Let the page settle (a second outcome would show here), then close.
    Glib::signal_timeout().connect_once(
        [&] {
          shoot();
          app->quit();
        },
        request.screenshot ? 1500 : 500);
  };
  app->signal_activate().connect([&] {
    window = std::make_unique<Gtk::Window>();
    window->set_title("Brivane payment form");
    window->set_default_size(request.width, request.height);
    form = std::make_unique<QPPaymentForm>();
    form->setDeployment(QPFormDeployment::forBaseURL(base));
    form->setMode(configuration.mode);
    form->setProviderMode(configuration.providerMode);
    form->setPaymentProvider(configuration.paymentProvider);
    form->setShowStorePaymentMethod(configuration.showStorePaymentMethod);
    form->setRedirectURL(configuration.redirectURL);
    form->setApiURL(configuration.apiURL);
    form->setOnFormLoaded([&] {
      printLine("loaded");
      if (request.focus) {
        // The page (or the form service's frame) may still be building its inputs.
        Glib::signal_timeout().connect_once(
            [&] {
              form->webView().evaluate(
                  "(function () { var docs = [document]; var f = document.getElementById('qp-frame');"
                  " if (f && f.contentDocument) docs.push(f.contentDocument);"
                  " for (var i = docs.length - 1; i >= 0; i--) {"
                  "  var input = docs[i].querySelector('input:not([type=hidden]):not([type=checkbox])');"
                  "  if (input) { input.focus(); return true; } } return false; })()");
            },
            700);
      }
      if (request.screenshot && !shopper) {
        Glib::signal_timeout().connect_once(
            [&] {
              shoot();
              app->quit();
            },
            1500);
      }
    });
    form->setOnSuccessCallback([&end](const std::optional<std::string>& code, const std::string& token,
                                      const std::optional<std::string>& payload) {
      printLine("success " + code.value_or("(nil)") + " " + token + " " + payload.value_or("(nil)"));
      end(0);
    });
    form->setOnError([&end](const boost::json::value& error) {
      printLine("error " + boost::json::serialize(error));
      end(1);
    });
    form->setOnCancel([&end](const std::optional<std::string>& message) {
      printLine("cancel " + message.value_or("(nil)"));
      end(1);
    });
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
    if (shopper) {
      const std::string step = sandbox::shopperStepScript(*shopper);
      const bool canCancel = request.options && !request.options->empty() &&
                             request.options->front() == "PAYPAL" &&
                             configuration.paymentProvider == QPPaymentProviderPayPal;
      Glib::signal_timeout().connect(
          [&, step, canCancel] {
            if (ended) return false;
            if (!form->isWebViewLoaded()) return true;
            if (*shopper == sandbox::ShopperMode::Cancel && !canCancel) {
              printLine("shopper: closed the form (this provider offers no cancel)");
              end(1);
              return false;
            }
            form->webView().evaluate(
                step, [](const std::optional<boost::json::value>& done, const std::optional<std::string>&) {
                  if (done && done->is_string() && !done->get_string().empty()) {
                    printLine("shopper: " + std::string(done->get_string()));
                  }
                });
            return true;
          },
          400);
    }
    const int seconds = request.seconds > 0 ? request.seconds : (shopper ? 60 : 0);
    if (seconds > 0) {
      Glib::signal_timeout().connect_seconds_once(
          [&app, &status, &ended, &shopper] {
            if (shopper && !ended) {
              printLine("timeout: no outcome");
              status = 1;
            }
            app->quit();
          },
          static_cast<unsigned>(seconds));
    }
  });
  app->run(0, nullptr);
  if (window) window->unset_child();
  form.reset();
  window.reset();
  if (embedded) embedded->stop();
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
  if (!parseOptions(args, {"store", "focus"}, &parsed, &error)) return usageError(error);
  if (parsed.positional.empty()) return usageError("missing sub-command");
  const std::string& command = parsed.positional[0];
  if (command != "render" && command != "show") return usageError("unknown sub-command '" + command + "'");
  FormRequest request;
  if (auto problem = readRequest(parsed, &request)) return usageError(*problem);
  return command == "render" ? render(request) : show(std::move(request));
}

}  // namespace brivane::cli
