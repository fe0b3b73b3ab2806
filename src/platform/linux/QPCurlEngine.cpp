#include <curl/curl.h>

#include <cctype>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/linux/QPNetworkEngine.h"

namespace brivane::platform {
namespace {

struct Transfer {
  NetworkRequest request;
  std::function<void(NetworkResult)> done;
  CURL* easy = nullptr;
  curl_slist* headers = nullptr;
  QPHTTPResponse response;
  std::string body;
  bool tooLarge = false;
  int redirects = 0;
  std::optional<std::string> refusedOrigin;  // a redirect to this origin was not followed
  char errorText[CURL_ERROR_SIZE] = {};

  ~Transfer() {
    if (headers != nullptr) curl_slist_free_all(headers);
    if (easy != nullptr) curl_easy_cleanup(easy);
  }
};

std::string_view trim(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

size_t onHeader(char* data, size_t size, size_t count, void* user) {
  auto* transfer = static_cast<Transfer*>(user);
  std::string_view line(data, size * count);
  if (line.starts_with("HTTP/")) {
    transfer->response.headerFields.clear();  // a new response (after a redirect or 100 Continue)
  } else if (auto colon = line.find(':'); colon != std::string_view::npos) {
    transfer->response.headerFields.emplace_back(std::string(trim(line.substr(0, colon))),
                                                 std::string(trim(line.substr(colon + 1))));
  }
  return size * count;
}

size_t onBody(char* data, size_t size, size_t count, void* user) {
  auto* transfer = static_cast<Transfer*>(user);
  size_t bytes = size * count;
  if (transfer->body.size() + bytes > transfer->request.maximumResponseSize) {
    transfer->tooLarge = true;
    return 0;  // aborts the transfer
  }
  transfer->body.append(data, bytes);
  return bytes;
}

constexpr int kMaximumRedirects = 10;

// "scheme://host:port" of an absolute URL (scheme and host in lower case, the scheme's default
// port filled in); nil when the URL cannot be read.
std::optional<std::string> originOf(const std::string& url) {
  CURLU* parsed = curl_url();
  if (parsed == nullptr) return std::nullopt;
  std::optional<std::string> origin;
  char* scheme = nullptr;
  char* host = nullptr;
  char* port = nullptr;
  if (curl_url_set(parsed, CURLUPART_URL, url.c_str(), 0) == CURLUE_OK &&
      curl_url_get(parsed, CURLUPART_SCHEME, &scheme, 0) == CURLUE_OK &&
      curl_url_get(parsed, CURLUPART_HOST, &host, 0) == CURLUE_OK &&
      curl_url_get(parsed, CURLUPART_PORT, &port, CURLU_DEFAULT_PORT) == CURLUE_OK) {
    std::string text = std::string(scheme) + "://" + host + ":" + port;
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    origin = std::move(text);
  }
  curl_free(scheme);
  curl_free(host);
  curl_free(port);
  curl_url_cleanup(parsed);
  return origin;
}

bool isHeader(const std::string& header, std::string_view name) {
  if (header.size() <= name.size() || header[name.size()] != ':') return false;
  for (std::size_t i = 0; i < name.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(header[i])) !=
        std::tolower(static_cast<unsigned char>(name[i])))
      return false;
  return true;
}

class CurlEngine final : public NetworkEngine {
 public:
  CurlEngine() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    multi_ = curl_multi_init();
    // Like a browser: a few connections per host, reused; further requests wait for one.
    curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, 6L);
    thread_ = std::thread([this] { run(); });
  }

  ~CurlEngine() override {
    {
      std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    curl_multi_wakeup(multi_);
    thread_.join();
    curl_multi_cleanup(multi_);
  }

  void perform(NetworkRequest request, std::function<void(NetworkResult)> done) override {
    auto transfer = std::make_unique<Transfer>();
    transfer->request = std::move(request);
    transfer->done = std::move(done);
    bool wake = false;
    {
      std::lock_guard lock(mutex_);
      wake = nothingQueued();
      incoming_.push_back(std::move(transfer));
    }
    if (wake) curl_multi_wakeup(multi_);
  }

  void dispatch(std::function<void()> task) override {
    bool wake = false;
    {
      std::lock_guard lock(mutex_);
      wake = nothingQueued();
      tasks_.push_back(std::move(task));
    }
    if (wake) curl_multi_wakeup(multi_);
  }

 private:
  // Whether both queues are empty (called with `mutex_` held). Only the call that makes them
  // non-empty wakes the networking thread: until it has taken the queues, that one wake-up is
  // still pending and covers every request queued after it (1,000 calls started at once cost
  // one wake-up, not 1,000).
  bool nothingQueued() const { return incoming_.empty() && tasks_.empty(); }

  void run() {
    while (true) {
      std::deque<std::unique_ptr<Transfer>> incoming;
      std::deque<std::function<void()>> tasks;
      {
        std::lock_guard lock(mutex_);
        if (stopping_) break;
        incoming.swap(incoming_);
        tasks.swap(tasks_);
      }
      for (auto& transfer : incoming) begin(std::move(transfer));
      for (auto& task : tasks) task();
      int running = 0;
      curl_multi_perform(multi_, &running);
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) finish(message->easy_handle, message->data.result);
      }
      curl_multi_poll(multi_, nullptr, 0, 1000, nullptr);
    }
    shutDown();
  }

  void begin(std::unique_ptr<Transfer> transfer) {
    CURL* easy = curl_easy_init();
    transfer->easy = easy;
    const NetworkRequest& request = transfer->request;
    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
    // Redirects are followed here, by `redirected`, only within the request's origin.
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, transfer->errorText);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, transfer.get());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, transfer.get());
    for (const std::string& header : request.headers)
      transfer->headers = curl_slist_append(transfer->headers, header.c_str());
    transfer->headers = curl_slist_append(transfer->headers, "Expect:");
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, transfer->headers);
    if (request.body) {
      curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body->size()));
      curl_easy_setopt(easy, CURLOPT_COPYPOSTFIELDS, request.body->c_str());
      if (request.method != "POST") curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    } else if (request.method != "GET") {
      curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }
    curl_easy_setopt(easy, CURLOPT_PRIVATE, transfer.get());
    if (curl_multi_add_handle(multi_, easy) != CURLM_OK) {
      complete(std::move(transfer), CURLE_FAILED_INIT);
      return;
    }
    transfers_.push_back(std::move(transfer));
  }

  void finish(CURL* easy, CURLcode code) {
    curl_multi_remove_handle(multi_, easy);
    for (auto it = transfers_.begin(); it != transfers_.end(); ++it) {
      if ((*it)->easy != easy) continue;
      std::unique_ptr<Transfer> transfer = std::move(*it);
      transfers_.erase(it);
      if (code == CURLE_OK && redirected(*transfer)) {
        begin(std::move(transfer));
        return;
      }
      complete(std::move(transfer), code);
      return;
    }
  }

  // For a 3xx answer with a location in the request's own origin: turns the transfer into the
  // next request and returns true. A location in another origin (https to http included) is
  // refused: credentials and the body never follow it there.
  static bool redirected(Transfer& transfer) {
    long status = 0;
    char* location = nullptr;
    curl_easy_getinfo(transfer.easy, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(transfer.easy, CURLINFO_REDIRECT_URL, &location);
    if (status < 300 || status > 399 || location == nullptr) return false;
    std::optional<std::string> from = originOf(transfer.request.url);
    std::optional<std::string> to = originOf(location);
    if (!from || !to || *from != *to) {
      transfer.refusedOrigin = to.value_or("(unreadable location)");
      return false;
    }
    if (++transfer.redirects > kMaximumRedirects) return false;
    NetworkRequest& request = transfer.request;
    request.url = location;
    // 303, and 301/302 after a POST, continue as a GET without the body or its headers (a
    // carried "Content-Length" would make the server wait for a body that never comes).
    if (status == 303 || ((status == 301 || status == 302) && request.method == "POST")) {
      request.method = "GET";
      request.body.reset();
      std::erase_if(request.headers, [](const std::string& header) {
        return isHeader(header, "Content-Length") || isHeader(header, "Content-Type");
      });
    }
    curl_slist_free_all(transfer.headers);
    transfer.headers = nullptr;
    curl_easy_cleanup(transfer.easy);
    transfer.easy = nullptr;
    transfer.response = QPHTTPResponse();
    transfer.body.clear();
    transfer.errorText[0] = '\0';
    return true;
  }

  static void complete(std::unique_ptr<Transfer> transfer, CURLcode code) {
    NetworkResult result;
    if (transfer->refusedOrigin) {
      result.error = QPError(std::string(QPErrorDomainClient), QPClientErrorRedirectRefused,
                             "The server redirected the call to another origin (" + *transfer->refusedOrigin +
                                 "); it was not followed.");
    } else if (transfer->redirects > kMaximumRedirects) {
      result.error = QPError(
          std::string(QPErrorDomainNetwork), CURLE_TOO_MANY_REDIRECTS,
          "The server redirected the call more than " + std::to_string(kMaximumRedirects) + " times.");
    } else if (transfer->tooLarge) {
      result.error = QPError(std::string(QPErrorDomainClient), QPClientErrorBodyTooLarge,
                             "The answer's body is larger than " +
                                 std::to_string(transfer->request.maximumResponseSize) + " bytes.");
    } else if (code != CURLE_OK) {
      std::string text = transfer->errorText[0] != '\0' ? transfer->errorText : curl_easy_strerror(code);
      result.error =
          QPError(std::string(QPErrorDomainNetwork), static_cast<std::int64_t>(code), std::move(text));
    } else {
      long status = 0;
      char* url = nullptr;
      curl_easy_getinfo(transfer->easy, CURLINFO_RESPONSE_CODE, &status);
      curl_easy_getinfo(transfer->easy, CURLINFO_EFFECTIVE_URL, &url);
      transfer->response.statusCode = status;
      transfer->response.url = url != nullptr ? url : transfer->request.url;
      result.response = std::move(transfer->response);
      result.body = std::move(transfer->body);
    }
    auto done = std::move(transfer->done);
    transfer.reset();  // the handle goes back before the caller sees the answer
    done(std::move(result));
  }

  void shutDown() {
    for (auto& transfer : transfers_) curl_multi_remove_handle(multi_, transfer->easy);
    std::deque<std::unique_ptr<Transfer>> pending;
    std::deque<std::function<void()>> tasks;
    {
      std::lock_guard lock(mutex_);
      pending.swap(incoming_);
      tasks.swap(tasks_);
    }
    for (auto& transfer : transfers_) pending.push_back(std::move(transfer));
    transfers_.clear();
    for (auto& task : tasks) task();
    for (auto& transfer : pending) {
      std::snprintf(transfer->errorText, sizeof transfer->errorText, "%s",
                    "The request was cancelled because the SDK is shutting down.");
      complete(std::move(transfer), CURLE_ABORTED_BY_CALLBACK);
    }
  }

  CURLM* multi_ = nullptr;
  std::thread thread_;
  std::mutex mutex_;
  bool stopping_ = false;
  std::deque<std::unique_ptr<Transfer>> incoming_;
  std::deque<std::function<void()>> tasks_;
  std::deque<std::unique_ptr<Transfer>> transfers_;  // touched only by the networking thread
};

}  // namespace

std::shared_ptr<NetworkEngine> NetworkEngine::shared() {
  static const std::shared_ptr<NetworkEngine> engine = std::make_shared<CurlEngine>();
  return engine;
}

}  // namespace brivane::platform
