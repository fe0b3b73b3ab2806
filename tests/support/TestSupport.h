#pragma once

#include <glib.h>
#include <httplib.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "api/core/QPFields.h"
#include "brivane/api/account/QPAccountAPI.h"
#include "brivane/api/auth/QPAuthenticationAPI.h"
#include "brivane/api/core/QPApiClientModule.h"
#include "brivane/api/core/QPApiProvider.h"
#include "brivane/api/payment/QPPaymentAPI.h"
#include "brivane/api/settings/QPSettingsAPI.h"
#include "brivane/api/user/QPUserAPI.h"
#include "brivane/platform/QPMainQueue.h"
#include "sandbox/Sandbox.h"

namespace brivane::test {

/// Everything written to the SDK's log and to GLib's log while it lives (any thread).
class LogCapture {
 public:
  LogCapture() {
    previousSink_ = fields::setLogSink([this](const std::string& line) { add(line); });
    previousHandler_ = g_log_set_default_handler(
        [](const gchar* domain, GLogLevelFlags, const gchar* message, gpointer self) {
          static_cast<LogCapture*>(self)->add(std::string(domain ? domain : "") + ": " +
                                              (message ? message : ""));
        },
        this);
  }
  ~LogCapture() {
    fields::setLogSink(previousSink_);
    g_log_set_default_handler(previousHandler_, nullptr);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  void add(const std::string& line) {
    std::lock_guard lock(mutex_);
    lines_.push_back(line);
  }
  std::vector<std::string> lines() {
    std::lock_guard lock(mutex_);
    return lines_;
  }
  void clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
  std::function<void(const std::string&)> previousSink_;
  GLogFunc previousHandler_ = nullptr;
};

/// Collects one completion and remembers where and how often it ran.
template <class Response>
struct Captured {
  int calls = 0;
  bool onMainThread = false;
  std::optional<QPError> error;
  std::shared_ptr<Response> response;

  QPCompletion<Response> completion() {
    return [this](std::optional<QPError> e, std::shared_ptr<Response> r) {
      ++calls;
      // Inside a dispatch of the default context by its owner: that is the main queue.
      onMainThread = g_main_context_is_owner(g_main_context_default());
      error = std::move(e);
      response = std::move(r);
    };
  }

  /// Runs the main queue until the completion has run (or 10 s have passed).
  bool wait(std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    return QPMainQueue::runUntil([this] { return calls > 0; }, timeout);
  }
};

/// Hears every event of the calls it watches and keeps each as one line of text.
class RecordingListener : public QPCallListener {
 public:
  void onCallStarted(const QPCallInfo& info) override { add("started", info); }
  void onAttempt(const QPCallInfo& info) override { add("attempt", info); }
  void onCallFinished(const QPCallInfo& info) override { add("finished", info); }

  /// "event method pathTemplate attempt status error", one per event, in order.
  std::vector<std::string> lines() {
    std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  void add(const char* event, const QPCallInfo& info) {
    std::string line = std::string(event) + " " + info.method + " " + info.pathTemplate + " " +
                       std::to_string(info.attempt) + " " + std::to_string(info.status) + " " +
                       (info.error ? info.error->toString() : "-");
    std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
  }
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// A started sandbox with a provider configured for it (and, on request, a valid token).
class SandboxClient {
 public:
  explicit SandboxClient(bool withToken = true) {
    sandbox.start();
    tokens = std::make_shared<QPDefaultAccessTokenProvider>();
    if (withToken) tokens->setAccessToken(sandbox.issueAccessToken());
    QPApiProviderOption option;
    option.url = sandbox.baseUrl();
    option.programCode = sandbox.options().programCode;
    option.partnerReferencePrefix = "TEST";
    option.accessTokenProvider = tokens;
    provider = std::make_unique<QPApiProvider>(option);
  }

  sandbox::Sandbox sandbox;
  std::shared_ptr<QPDefaultAccessTokenProvider> tokens;
  std::unique_ptr<QPApiProvider> provider;
};

/// Serves a configured `httplib::Server` on a free loopback port from its own thread, one answer
/// per connection, until destroyed. The server must outlive it.
class ServerThread {
 public:
  explicit ServerThread(httplib::Server& server) : server_(server) {
    server_.set_keep_alive_max_count(1);
    port_ = server_.bind_to_any_port("127.0.0.1");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  ~ServerThread() {
    server_.stop();
    thread_.join();
  }
  std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(port_); }

 private:
  httplib::Server& server_;
  std::thread thread_;
  int port_ = 0;
};

/// A loopback HTTP peer that answers every request with one scripted answer.
class ScriptedServer {
 public:
  ScriptedServer() {
    server_.set_tcp_nodelay(true);
    server_.set_keep_alive_max_count(1);  // one answer per connection: stopping never waits
    auto handler = [this](const httplib::Request& req, httplib::Response& res) {
      std::lock_guard lock(mutex_);
      lastTarget_ = req.target;
      lastBody_ = req.body;
      res.status = status_;
      if (contentType_.empty()) {
        res.body = body_;
      } else {
        res.set_content(body_, contentType_.c_str());
      }
    };
    server_.Get(".*", handler);
    server_.Post(".*", handler);
    server_.Put(".*", handler);
    server_.Delete(".*", handler);
    port_ = server_.bind_to_any_port("127.0.0.1");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  ~ScriptedServer() {
    server_.stop();
    thread_.join();
  }

  void answer(int status, std::string contentType, std::string body) {
    std::lock_guard lock(mutex_);
    status_ = status;
    contentType_ = std::move(contentType);
    body_ = std::move(body);
  }
  std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(port_); }
  std::string lastTarget() {
    std::lock_guard lock(mutex_);
    return lastTarget_;
  }

 private:
  httplib::Server server_;
  std::thread thread_;
  int port_ = 0;
  std::mutex mutex_;
  int status_ = 200;
  std::string contentType_ = "application/json";
  std::string body_ = "{}";
  std::string lastTarget_;
  std::string lastBody_;
};

}  // namespace brivane::test
