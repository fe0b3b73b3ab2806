#pragma once

// Shared by the form suites: driving the main loop and a loopback server with the stand-in
// provider pages.
#include <httplib.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <glib.h>
#include <gtkmm/window.h>

#include <boost/json/value.hpp>

#include "brivane/form/QPPaymentForm.h"
#include "form/CustomWebView.h"
#include "form/QPPaymentFormInternal.h"
#include "sandbox/SandboxState.h"
#include "sandbox/Shopper.h"

namespace brivane::formtest {

/// A scratch directory under the system's temporary directory, its name ending in this
/// process's id: the form suite runs twice at once (cold and warmed up), and the two must not
/// write, read or remove each other's files.
inline std::filesystem::path scratchDirectory(const std::string& name) {
  return std::filesystem::temp_directory_path() / ("brivane-" + name + "-" + std::to_string(::getpid()));
}

// A loopback port where nothing listens (and that the engine does not refuse as restricted).
inline int closedPort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(fd, reinterpret_cast<sockaddr*>(&address), size);
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  close(fd);
  return ntohs(address.sin_port);
}

// Makes a self-signed certificate and its key in `dir` (that nobody trusts); whether openssl made them.
inline bool makeUntrustedCertificate(const std::filesystem::path& dir) {
  std::filesystem::create_directories(dir);
  const std::string command =
      "openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj /CN=127.0.0.1 -keyout " +
      (dir / "key.pem").string() + " -out " + (dir / "cert.pem").string() + " >/dev/null 2>&1";
  return std::system(command.c_str()) == 0;
}

// Runs the main loop until `done` holds or `seconds` pass; whether `done` held.
inline bool pumpUntil(const std::function<bool()>& done, double seconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    if (!g_main_context_iteration(nullptr, FALSE)) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

inline void pumpFor(double seconds) {
  pumpUntil([] { return false; }, seconds);
}

// Gives `window` the X input focus, as a window manager does when the shopper picks it: the
// window becomes active and its page takes keys and draws its focus. Whether it is active.
inline bool focusWindow(Gtk::Window& window) {
  static int windows = 0;  // a title of its own each time: no earlier window is found
  const std::string title =
      "brivane-form-test-" + std::to_string(::getpid()) + "-" + std::to_string(++windows);
  window.set_title(title);
  window.present();
  pumpFor(0.1);
  const std::string command = "xdotool search --sync --limit 1 --name '^" + title + "$' windowfocus --sync";
  return std::system(command.c_str()) == 0 && pumpUntil([&window] { return window.is_active(); }, 5);
}

// Presses `key` (an X key name, e.g. "Return") on the X server's keyboard through XTest, as a
// shopper does: the window with the input focus gets a real key event, not one a script made.
inline bool pressKey(const std::string& key) {
  return std::system(("xdotool key " + key).c_str()) == 0;
}

// The script's answer in the form's page, or its error text as a JSON string prefixed with
// "error: ".
inline boost::json::value evaluateIn(QPPaymentForm& form, const std::string& script) {
  std::optional<boost::json::value> answer;
  QPPaymentFormInternals::webView(form).evaluate(
      script,
      [&answer](const std::optional<boost::json::value>& result, const std::optional<std::string>& error) {
        answer = result ? *result : boost::json::value(boost::json::string("error: " + error.value_or("")));
      });
  pumpUntil([&answer] { return answer.has_value(); }, 10);
  return answer.value_or(boost::json::string("error: no answer"));
}

// The scripted shopper takes a step in the form's page every 0.3 s until `ended` holds (true) or
// `seconds` pass (false); `stepped` (may be null) receives the answer of each step.
inline bool shopUntil(QPPaymentForm& form, sandbox::ShopperMode mode, const std::function<bool()>& ended,
                      double seconds, const CustomWebView::ScriptResult& stepped = nullptr) {
  const std::string step = sandbox::shopperStepScript(mode);
  auto next = std::chrono::steady_clock::now();
  return pumpUntil(
      [&] {
        if (ended()) return true;
        if (std::chrono::steady_clock::now() >= next) {
          next = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
          QPPaymentFormInternals::webView(form).evaluate(step, stepped);
        }
        return false;
      },
      seconds);
}

// The form as the suites place it: in a window, pointed at `base`'s stand-ins, with the
// sandbox's return page as the host's redirect.
inline std::unique_ptr<QPPaymentForm> formForStandIns(const std::string& base) {
  auto form = std::make_unique<QPPaymentForm>();
  form->setDeployment(QPFormDeployment::forBaseURL(base));
  form->setApiURL(base + "/providers/formservice");
  form->setRedirectURL(base + "/providers/return");
  return form;
}

// A loopback server with the stand-in provider pages, served from its own thread. With a
// sandbox state the pages mark its ledger.
class ProviderServer {
 public:
  explicit ProviderServer(std::unique_ptr<httplib::Server> server = std::make_unique<httplib::Server>(),
                          sandbox::Sandbox::State* state = nullptr)
      : server_(std::move(server)) {
    server_->set_tcp_nodelay(true);
    port_ = server_->bind_to_any_port("127.0.0.1");
    sandbox::registerProviderPages(*server_, baseUrl(), state);
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    while (!server_->is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ~ProviderServer() {
    server_->stop();
    thread_.join();
  }
  ProviderServer(const ProviderServer&) = delete;
  ProviderServer& operator=(const ProviderServer&) = delete;

  std::string baseUrl(const std::string& scheme = "http") const {
    return scheme + "://127.0.0.1:" + std::to_string(port_);
  }

 private:
  std::unique_ptr<httplib::Server> server_;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace brivane::formtest
