#pragma once

// Shared by the form suites: driving the main loop and a loopback server with the stand-in
// provider pages.
#include <httplib.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>
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

// A loopback port that takes connections and never answers until `fd` is closed; 0 if none.
inline int silentPort(int& fd) {
  fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(fd, 16) != 0) return 0;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

// A loopback port where nothing listens (and that the engine does not refuse as restricted).
inline int closedPort() {
  int fd = -1;
  const int port = silentPort(fd);
  close(fd);
  return port;
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

// The scripted shopper takes a step in the form's page as soon as its previous step has answered
// (at most every 50 ms) until `ended` holds (true) or `seconds` pass (false); `stepped` (may be
// null) receives the answer of each step. Each step does what the page offers once only.
inline bool shopUntil(QPPaymentForm& form, sandbox::ShopperMode mode, const std::function<bool()>& ended,
                      double seconds, const CustomWebView::ScriptResult& stepped = nullptr) {
  const std::string step = sandbox::shopperStepScript(mode);
  auto answered = std::make_shared<bool>(true);  // outlives this call: a late answer may come
  auto next = std::chrono::steady_clock::now();
  return pumpUntil(
      [&] {
        if (ended()) return true;
        if (*answered && std::chrono::steady_clock::now() >= next) {
          *answered = false;
          next = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
          QPPaymentFormInternals::webView(form).evaluate(
              step, [answered, stepped](const std::optional<boost::json::value>& result,
                                        const std::optional<std::string>& error) {
                *answered = true;
                if (stepped) stepped(result, error);
              });
        }
        return false;
      },
      seconds);
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

// The sandbox's ledger the stand-in pages mark, and the one server with those pages that every
// form suite of the program uses (started on first use, stopped at exit).
inline sandbox::Sandbox::State& providerState() {
  static sandbox::Sandbox::State state;
  return state;
}
inline ProviderServer& providerServer() {
  static ProviderServer server(std::make_unique<httplib::Server>(), &providerState());
  return server;
}

// What a form reported to its host, in the order it arrived.
struct Record {
  struct Success {
    std::optional<std::string> code;
    std::string token;
    std::optional<std::string> payload;
  };
  int loaded = 0;
  std::vector<Success> successes;
  std::vector<boost::json::value> errors;
  std::vector<std::optional<std::string>> cancels;
  std::vector<std::string> opened;    // URLs handed to the host's opener
  std::vector<std::string> messages;  // names of the page's script messages

  std::size_t outcomes() const { return successes.size() + errors.size() + cancels.size(); }
  std::size_t count(const std::string& name) const {
    return std::count(messages.begin(), messages.end(), name);
  }
};

// The form as the suites place it: pointed at the stand-ins, with the sandbox's return page as
// the host's redirect, reporting every callback into `record`.
inline std::unique_ptr<QPPaymentForm> formForStandIns(const std::string& base, Record* record = nullptr) {
  auto form = std::make_unique<QPPaymentForm>();
  form->setDeployment(QPFormDeployment::forBaseURL(base));
  form->setApiURL(base + "/providers/formservice");
  form->setRedirectURL(base + "/providers/return");
  if (record == nullptr) return form;
  form->setOnFormLoaded([record] { ++record->loaded; });
  form->setOnSuccessCallback([record](const std::optional<std::string>& code, const std::string& token,
                                      const std::optional<std::string>& payload) {
    record->successes.push_back({code, token, payload});
  });
  form->setOnError([record](const boost::json::value& error) { record->errors.push_back(error); });
  form->setOnCancel(
      [record](const std::optional<std::string>& message) { record->cancels.push_back(message); });
  form->setURLOpener([record](const std::string& url) { record->opened.push_back(url); });
  form->setScriptMessageObserver(
      [record](const std::string& name, const boost::json::value&) { record->messages.push_back(name); });
  return form;
}

// One form in a shown window against the stand-ins, its callbacks in `record_`; `restart()`
// gives a case a fresh window, form and record.
class FormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window_ = std::make_unique<Gtk::Window>();
    window_->set_default_size(420, 680);
    form_ = formForStandIns(base(), &record_);
    window_->set_child(*form_);
    window_->present();
  }
  void TearDown() override {
    destroyForm();
    window_.reset();
    pumpFor(0.05);
  }
  void restart() {
    TearDown();
    record_ = Record();
    SetUp();
  }
  void destroyForm() {
    if (!form_) return;
    window_->unset_child();
    form_.reset();
  }

  static std::string base() { return providerServer().baseUrl(); }
  static std::string redirect() { return base() + "/providers/return"; }
  // PayU's page as a host's token names it.
  static std::string payU(const std::string& query = "orderId=1") {
    return base() + "/providers/payu/pay?" + query;
  }

  void render(std::uint64_t provider, const std::vector<std::string>& options, const std::string& token,
              const std::shared_ptr<QPFormStyle>& style = nullptr) {
    form_->setPaymentProvider(provider);
    form_->renderWithPaymentOptions(options, token, style);
  }
  // Renders and waits until the form has said that its page loaded.
  bool renderAndLoad(std::uint64_t provider, const std::vector<std::string>& options,
                     const std::string& token, const std::shared_ptr<QPFormStyle>& style = nullptr) {
    render(provider, options, token, style);
    return pumpUntil([this] { return record_.loaded > 0; }, 15);
  }
  // Renders and waits until the page has loaded and the loading overlay has gone.
  bool renderAndSettle(std::uint64_t provider, const std::vector<std::string>& options,
                       const std::string& token) {
    render(provider, options, token);
    return pumpUntil([this] { return record_.loaded > 0 && !form_->isActivityIndicatorShown(); }, 15);
  }
  boost::json::value evaluate(const std::string& script) { return evaluateIn(*form_, script); }
  // Whether the page's answer to `script` becomes `expected` within `seconds`.
  bool pageAnswers(const std::string& script, const boost::json::value& expected, double seconds = 10) {
    return pumpUntil([&] { return evaluate(script) == expected; }, seconds);
  }

  std::unique_ptr<Gtk::Window> window_;
  std::unique_ptr<QPPaymentForm> form_;
  Record record_;
};

}  // namespace brivane::formtest
