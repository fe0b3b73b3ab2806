// `brivane-form`: the live payment form in a window, started by `brivane form show` (the form
// library, GTK and the web engine are loaded only here).
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <glib.h>
#include <glibmm/main.h>
#include <gtk/gtk.h>
#include <gtkmm/application.h>
#include <gtkmm/window.h>

#include "brivane/form/QPPaymentForm.h"
#include "brivane/form_command.h"
#include "brivane/json_output.h"
#include "brivane/output.h"
#include "form/CustomWebView.h"
#include "form/QPPaymentFormInternal.h"
#include "sandbox/Sandbox.h"

namespace brivane::cli {
namespace {

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
    graphene_rect_t viewport;
    graphene_rect_init(&viewport, 0, 0, static_cast<float>(width), static_cast<float>(height));
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

}  // namespace

int showForm(FormRequest request) {
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
        // The page (or the form service's frame) may still be building its inputs. The window
        // takes the keyboard first (presenting a shown window focuses it, even without a window
        // manager), so that the page is active and draws its focus as a shopper sees it; the
        // engine hears of its focus a moment later, and only then may a field take it.
        Glib::signal_timeout().connect_once(
            [&] {
              window->present();
              QPPaymentFormInternals::webView(*form).widget().grab_focus();
            },
            500);
        Glib::signal_timeout().connect_once(
            [&] {
              QPPaymentFormInternals::webView(*form).evaluate(
                  "(function () { var docs = [document]; var f = document.getElementById('qp-frame');"
                  " if (f && f.contentDocument) docs.push(f.contentDocument);"
                  " for (var i = docs.length - 1; i >= 0; i--) {"
                  "  var input = docs[i].querySelector('input:not([type=hidden]):not([type=checkbox])');"
                  "  if (input) { input.focus(); return true; } } return false; })()");
            },
            900);
      }
      if (request.script) {
        Glib::signal_timeout().connect_once(
            [&] { QPPaymentFormInternals::webView(*form).evaluate(*request.script); }, 300);
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
      printLine("error " + printedJSON(error));
      end(1);
    });
    form->setOnCancel([&end](const std::optional<std::string>& message) {
      printLine("cancel " + message.value_or("(nil)"));
      end(1);
    });
    form->setScriptMessageObserver([](const std::string& name, const boost::json::value& body) {
      printLine("message " + name + " " + printedJSON(body));
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
            QPPaymentFormInternals::webView(*form).evaluate(
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

}  // namespace brivane::cli

// brivane-form show [options]: the options of `brivane form show`.
int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  brivane::cli::FormRequest request;
  if (auto problem = brivane::cli::readFormRequest(args, &request))
    return brivane::cli::formUsageError(*problem);
  if (request.command != "show") return brivane::cli::formUsageError("brivane-form runs 'show' only");
  return brivane::cli::finishOutput(brivane::cli::showForm(std::move(request)));
}
