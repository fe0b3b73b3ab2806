#pragma once

#include <glib.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <map>
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
#include "brivane/testing/QPFakeHttpClient.h"
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

  /// The same for the transport's own completion (Response = boost::json::value), which may run
  /// inside the networking's pass: it is noted on the main queue.
  QPTransportLayer::Completion transport() {
    return [this](std::optional<boost::json::value> json, std::optional<QPError> e) {
      QPMainQueue::post([this, json = std::move(json), e = std::move(e)]() mutable {
        completion()(std::move(e), json ? std::make_shared<Response>(std::move(*json)) : nullptr);
      });
    };
  }

  /// Runs the main queue until the completion has run (or 10 s have passed).
  bool wait(std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    return QPMainQueue::runUntil([this] { return calls > 0; }, timeout);
  }
};

/// Starts one call with `start(completion)` and runs the main queue until it has completed, once
/// and on the main queue.
template <class Response, class Start>
Captured<Response> run(Start start) {
  Captured<Response> captured;
  start(captured.completion());
  EXPECT_TRUE(captured.wait());
  EXPECT_EQ(captured.calls, 1);
  EXPECT_TRUE(captured.onMainThread);
  return captured;
}

/// A provider whose calls go to a `QPFakeHttpClient` (no sockets) at https://api.test/v1/, with
/// program code "P", prefix "T" and the token "fake-token".
struct FakeClient {
  explicit FakeClient(QPCallOptions options = {}) {
    tokens->setAccessToken("fake-token");
    QPApiProviderOption option;
    option.url = "https://api.test/v1/";
    option.programCode = "P";
    option.partnerReferencePrefix = "T";
    option.accessTokenProvider = tokens;
    option.callOptions = std::move(options);
    option.httpClient = http;
    provider = std::make_unique<QPApiProvider>(option);
  }
  std::shared_ptr<QPFakeHttpClient> http = std::make_shared<QPFakeHttpClient>();
  std::shared_ptr<QPDefaultAccessTokenProvider> tokens = std::make_shared<QPDefaultAccessTokenProvider>();
  std::unique_ptr<QPApiProvider> provider;
};

/// What a request carries besides the four identifying parameters every call adds (localDate,
/// localTime, partnerReference, programCode), as the text of a JSON object: its body's members,
/// else its query items as texts, in order (so that a number and a text stay apart, "1" vs 1).
inline std::string sentFields(const QPRecordedRequest& request) {
  std::string text;
  auto keep = [&](const std::string& key, const boost::json::value& value) {
    if (key == "localDate" || key == "localTime" || key == "partnerReference" || key == "programCode") return;
    text += (text.empty() ? "" : ",") + boost::json::serialize(boost::json::value(key)) + ":" +
            boost::json::serialize(value);
  };
  if (request.body) {
    const boost::json::value body = boost::json::parse(*request.body);
    for (const auto& [key, value] : body.as_object()) keep(key, value);
  } else if (const std::size_t mark = request.url.find('?'); mark != std::string::npos) {
    const std::string query = request.url.substr(mark + 1);
    for (std::size_t start = 0; start < query.size();) {
      const std::size_t end = std::min(query.find('&', start), query.size());
      const std::string item = query.substr(start, end - start);
      const std::size_t equals = std::min(item.find('='), item.size());
      const std::string value = equals < item.size() ? item.substr(equals + 1) : "";
      keep(httplib::detail::decode_url(item.substr(0, equals), true),
           boost::json::value(httplib::detail::decode_url(value, true)));
      start = end + 1;
    }
  }
  return "{" + text + "}";
}

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

/// A loopback HTTP peer: every request gets its path's route, else the default answer; each
/// request is recorded. One answer per connection, so stopping never waits.
class ScriptedServer {
 public:
  struct Answer {
    int status = 200;
    std::string contentType = "application/json";  ///< "": none
    std::string body = "{}";
    std::vector<std::pair<std::string, std::string>> headers = {};
  };
  struct Seen {
    std::string method, path, target, body, authorization;
  };

  ScriptedServer() {
    server_.set_tcp_nodelay(true);
    auto handler = [this](const httplib::Request& req, httplib::Response& res) {
      std::lock_guard lock(mutex_);
      seen_.push_back({req.method, req.path, req.target, req.body, req.get_header_value("Authorization")});
      auto route = routes_.find(req.path);
      const Answer& answer = route == routes_.end() ? default_ : route->second;
      res.status = answer.status;
      for (const auto& [name, value] : answer.headers) res.set_header(name, value);
      if (answer.contentType.empty()) {
        res.body = answer.body;
      } else {
        res.set_content(answer.body, answer.contentType.c_str());
      }
    };
    server_.Get(".*", handler);
    server_.Post(".*", handler);
    server_.Put(".*", handler);
    server_.Delete(".*", handler);
    serving_ = std::make_unique<ServerThread>(server_);
  }

  /// The default answer.
  void answer(int status, std::string contentType, std::string body) {
    std::lock_guard lock(mutex_);
    default_ = {status, std::move(contentType), std::move(body)};
  }
  /// The answer to every request for `path`.
  void route(const std::string& path, Answer answer) {
    std::lock_guard lock(mutex_);
    routes_[path] = std::move(answer);
  }
  std::string baseUrl() const { return serving_->baseUrl(); }
  std::vector<Seen> seen() {
    std::lock_guard lock(mutex_);
    return seen_;
  }
  /// The target (path and query) of the last request; "" before the first.
  std::string lastTarget() {
    std::lock_guard lock(mutex_);
    return seen_.empty() ? "" : seen_.back().target;
  }

 private:
  httplib::Server server_;
  std::mutex mutex_;
  Answer default_;
  std::map<std::string, Answer> routes_;
  std::vector<Seen> seen_;
  std::unique_ptr<ServerThread> serving_;  // stops first
};

}  // namespace brivane::test
