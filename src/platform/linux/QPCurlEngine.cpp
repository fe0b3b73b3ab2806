#include <curl/curl.h>
#include <glib.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/linux/QPMainContext.h"
#include "platform/linux/QPNetworkEngine.h"

namespace brivane::platform {
namespace {

static_assert(NetworkEngine::kStoppedCode == CURLE_ABORTED_BY_CALLBACK);

// A request's header lines as libcurl takes them, kept while a transfer uses them. Calls of one
// provider send the same headers call after call: the engine keeps the last list and hands it
// to the next request whose headers are equal, instead of building the lines again.
struct HeaderList {
  QPHttpHeaders fields;
  curl_slist* lines = nullptr;

  explicit HeaderList(const QPHttpHeaders& headers) : fields(headers) {
    std::string line;
    for (const auto& [name, value] : headers) {
      line.assign(name).append(": ").append(value);
      lines = curl_slist_append(lines, line.c_str());
    }
    lines = curl_slist_append(lines, "Expect:");
  }
  ~HeaderList() { curl_slist_free_all(lines); }
  HeaderList(const HeaderList&) = delete;
  HeaderList& operator=(const HeaderList&) = delete;
};

struct Transfer {
  QPHttpRequest request;
  QPHttpClient::Completion done;
  std::uint64_t id = 0;
  // Tells the engine when the request's stop token is stopped; destroyed before the transfer.
  std::unique_ptr<std::stop_callback<std::function<void()>>> onStop;
  CURL* easy = nullptr;
  // A GET without a body: it leaves on its handle only options that every transfer sets again.
  bool plain = false;
  std::shared_ptr<const HeaderList> headers;
  std::vector<std::pair<std::string, std::string>> headerFields;  // of the latest answer
  std::string body;
  bool tooLarge = false;
  int redirects = 0;
  std::optional<std::string> refusedOrigin;  // a redirect to this origin was not followed
  char errorText[CURL_ERROR_SIZE] = {};

  ~Transfer() {
    onStop.reset();
    if (easy != nullptr) curl_easy_cleanup(easy);  // before the header lines it may still point to
  }
};

// The blanks of the "C" locale, whatever the process's locale (header lines are ASCII).
constexpr bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

size_t onHeader(char* data, size_t size, size_t count, void* user) {
  auto* transfer = static_cast<Transfer*>(user);
  std::string_view line(data, size * count);
  if (line.starts_with("HTTP/")) {
    transfer->headerFields.clear();  // a new response (after a redirect or 100 Continue)
  } else if (auto colon = line.find(':'); colon != std::string_view::npos) {
    if (transfer->headerFields.empty()) transfer->headerFields.reserve(8);  // an answer's usual few
    transfer->headerFields.emplace_back(std::string(trim(line.substr(0, colon))),
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
  if (transfer->body.empty()) {
    // The announced length, within the limit, is taken at once: a large body is not copied
    // from buffer to growing buffer, nor left with up to twice the room it needs.
    curl_off_t announced = -1;
    if (curl_easy_getinfo(transfer->easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced) == CURLE_OK &&
        announced > 0 && static_cast<std::uint64_t>(announced) > transfer->body.capacity())
      transfer->body.reserve(
          std::min(static_cast<std::size_t>(announced), transfer->request.maximumResponseSize));
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

bool isHeader(const std::pair<std::string, std::string>& header, std::string_view name) {
  if (header.first.size() != name.size()) return false;
  for (std::size_t i = 0; i < name.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(header.first[i])) !=
        std::tolower(static_cast<unsigned char>(name[i])))
      return false;
  return true;
}

template <class Task>
void guarded(Task&& task) {
  runGuarded(task, "a networking callback");
}

// The multi handle is driven by one source on the default main context: it watches libcurl's
// sockets (through one epoll descriptor) and takes libcurl's timer as its time-out, so that a
// call started on the main context is sent, answered and completed there without waking another
// thread. Calls
// started on other threads are queued and wake the context once per burst.
class CurlEngine final : public NetworkEngine {
 public:
  CurlEngine() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    multi_ = curl_multi_init();
    // Like a browser: a few connections per host, reused; further requests wait for one.
    curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, 6L);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, onSocket);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, onTimer);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    context_ = g_main_context_ref(g_main_context_default());
    source_ = g_source_new(&kSourceFuncs, sizeof(EngineSource));
    reinterpret_cast<EngineSource*>(source_)->engine = this;
    g_source_set_priority(source_, G_PRIORITY_DEFAULT);
    // A host's code that runs a nested main loop from a transport completion still sees its
    // other requests progress.
    g_source_set_can_recurse(source_, TRUE);
    g_source_set_static_name(source_, "BrivaneSDK networking");
    // libcurl's sockets are watched through one epoll descriptor: the context polls that one
    // only, and a socket's interest changes with one epoll_ctl instead of a change of the
    // context's poll set (which wakes the context each time).
    epoll_ = epoll_create1(EPOLL_CLOEXEC);
    epollTag_ = g_source_add_unix_fd(source_, epoll_, G_IO_IN);
    g_source_attach(source_, context_);
  }

  ~CurlEngine() override {
    shutDown();
    for (const IdleHandle& idle : idleHandles_) {
      curl_easy_reset(idle.easy);  // it may still point to a finished transfer's buffers
      curl_easy_cleanup(idle.easy);
    }
    g_source_destroy(source_);
    g_source_unref(source_);
    g_main_context_unref(context_);
    curl_multi_cleanup(multi_);
    close(epoll_);
    {
      std::lock_guard lock(workMutex_);
      workStopping_ = true;
    }
    workReady_.notify_one();
    if (worker_.joinable()) worker_.join();
  }

  void send(QPHttpRequest request, Completion done) override {
    auto transfer = std::make_unique<Transfer>();
    transfer->request = std::move(request);
    transfer->done = std::move(done);
    transfer->id = nextId_.fetch_add(1, std::memory_order_relaxed);
    if (transfer->request.stop.stop_possible()) {
      // Runs on the thread that stops (at once if that already happened): the transfer itself
      // is touched only where the main context runs, at the next pass.
      std::function<void()> stopped = [this, id = transfer->id] { enqueue([&] { stopped_.push_back(id); }); };
      transfer->onStop = std::make_unique<std::stop_callback<std::function<void()>>>(transfer->request.stop,
                                                                                     std::move(stopped));
    }
    enqueue([&] { incoming_.push_back(std::move(transfer)); });
  }

  void after(std::chrono::milliseconds delay, std::function<void()> task) override {
    GSource* timer = g_timeout_source_new(static_cast<guint>(std::max<std::int64_t>(delay.count(), 0)));
    g_source_set_callback(
        timer,
        [](gpointer data) -> gboolean {
          guarded(*static_cast<std::function<void()>*>(data));
          return G_SOURCE_REMOVE;
        },
        new std::function<void()>(std::move(task)),
        [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
    g_source_attach(timer, context_);
    g_source_unref(timer);
  }

  void dispatch(std::function<void()> task) override {
    enqueue([&] { tasks_.push_back(std::move(task)); });
  }

  void offload(std::function<void()> task) override {
    {
      std::lock_guard lock(workMutex_);
      if (!worker_.joinable()) worker_ = std::thread([this] { work(); });
      work_.push_back(std::move(task));
    }
    workReady_.notify_one();
  }

 private:
  struct EngineSource {
    GSource base;
    CurlEngine* engine;
  };

  struct IdleHandle {
    CURL* easy;
    bool configured;  // not reset since its common options were set
  };

  struct Finished {
    std::unique_ptr<Transfer> transfer;
    CURLcode code;
  };

  static CurlEngine* engineOf(GSource* source) { return reinterpret_cast<EngineSource*>(source)->engine; }

  // Only the call that makes the queues non-empty wakes the context, and only when another
  // thread is running it: the one wake-up covers every call queued until the queues are taken.
  template <class Push>
  void enqueue(Push push) {
    bool wake = false;
    {
      std::lock_guard lock(mutex_);
      wake = !queued_.load(std::memory_order_relaxed);
      push();
      queued_.store(true, std::memory_order_release);
    }
    if (wake) wakeIfWaiting(context_);
  }

  bool timerDue() const { return timerDeadline_ >= 0 && timerDeadline_ <= g_get_monotonic_time(); }

  static gboolean prepare(GSource* source, gint* timeout) {
    CurlEngine* engine = engineOf(source);
    *timeout = -1;
    if (engine->queued_.load(std::memory_order_acquire)) {
      *timeout = 0;
      return TRUE;
    }
    if (engine->timerDeadline_ >= 0) {
      gint64 remaining = engine->timerDeadline_ - g_get_monotonic_time();
      if (remaining <= 0) {
        *timeout = 0;
        return TRUE;
      }
      *timeout = static_cast<gint>(std::min<gint64>((remaining + 999) / 1000, G_MAXINT));
    }
    return FALSE;
  }

  static gboolean check(GSource* source) {
    CurlEngine* engine = engineOf(source);
    return engine->queued_.load(std::memory_order_acquire) || engine->timerDue() ||
           g_source_query_unix_fd(source, engine->epollTag_) != 0;
  }

  static gboolean dispatchSource(GSource* source, GSourceFunc, gpointer) {
    engineOf(source)->drive();
    return G_SOURCE_CONTINUE;
  }

  static inline GSourceFuncs kSourceFuncs = {prepare, check, dispatchSource, nullptr, nullptr, nullptr};

  static int onSocket(CURL*, curl_socket_t socket, int what, void* user, void* known) {
    auto* engine = static_cast<CurlEngine*>(user);
    epoll_event event{};
    event.data.fd = socket;
    if (what == CURL_POLL_REMOVE) {
      // The socket may already be gone from the set (closed); nothing else to undo.
      epoll_ctl(engine->epoll_, EPOLL_CTL_DEL, socket, &event);
      return 0;
    }
    if (what & CURL_POLL_IN) event.events |= EPOLLIN;
    if (what & CURL_POLL_OUT) event.events |= EPOLLOUT;
    if (known != nullptr) {
      epoll_ctl(engine->epoll_, EPOLL_CTL_MOD, socket, &event);
    } else {
      epoll_ctl(engine->epoll_, EPOLL_CTL_ADD, socket, &event);
      curl_multi_assign(engine->multi_, socket, engine);  // marks the socket as watched
    }
    return 0;
  }

  static int onTimer(CURLM*, long milliseconds, void* user) {
    auto* engine = static_cast<CurlEngine*>(user);
    engine->timerDeadline_ = milliseconds < 0 ? -1 : g_get_monotonic_time() + milliseconds * 1000;
    return 0;
  }

  // One pass over the multi handle: start what was queued, act on the sockets that are ready and
  // on the timer, then hand over what finished. The callbacks run last, outside any libcurl
  // call, so that they may start new requests (or, through a nested main loop, another pass).
  void drive() {
    std::vector<std::unique_ptr<Transfer>> incoming;
    std::vector<std::function<void()>> tasks;
    std::vector<std::uint64_t> stopped;
    if (queued_.load(std::memory_order_acquire)) {
      std::lock_guard lock(mutex_);
      incoming.swap(incoming_);
      tasks.swap(tasks_);
      stopped.swap(stopped_);
      queued_.store(false, std::memory_order_relaxed);
    }
    std::vector<Finished> finished;
    for (auto& transfer : incoming) begin(std::move(transfer), finished);
    for (std::uint64_t id : stopped) stop(id, finished);
    int running = 0;
    if (g_source_query_unix_fd(source_, epollTag_) != 0) {
      epoll_event events[64];
      int count = epoll_wait(epoll_, events, 64, 0);
      for (int i = 0; i < count; ++i) {
        int mask = 0;
        if (events[i].events & EPOLLIN) mask |= CURL_CSELECT_IN;
        if (events[i].events & EPOLLOUT) mask |= CURL_CSELECT_OUT;
        if (events[i].events & (EPOLLERR | EPOLLHUP)) mask |= CURL_CSELECT_ERR;
        curl_multi_socket_action(multi_, events[i].data.fd, mask, &running);
      }
    }
    // Newly added transfers ask for an immediate timer action: they are started in this pass.
    if (timerDue()) {
      timerDeadline_ = -1;
      curl_multi_socket_action(multi_, CURL_SOCKET_TIMEOUT, 0, &running);
    }
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
      if (message->msg == CURLMSG_DONE) finish(message->easy_handle, message->data.result, finished);
    }
    CompletionScope handingOver;
    for (auto& [transfer, code] : finished) complete(std::move(transfer), code);
    for (auto& task : tasks) guarded(task);
  }

  void begin(std::unique_ptr<Transfer> transfer, std::vector<Finished>& finished) {
    if (transfer->request.stop.stop_requested()) {
      finished.push_back({std::move(transfer), CURLE_ABORTED_BY_CALLBACK});
      return;
    }
    IdleHandle handle = takeHandle();
    CURL* easy = handle.easy;
    transfer->easy = easy;
    const QPHttpRequest& request = transfer->request;
    if (!handle.configured) {
      // The options every transfer has alike; a handle kept without a reset still has them.
      curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
      // Redirects are followed here, by `redirected`, only within the request's origin.
      curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
      curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
      curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
      curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
    }
    // Every option that differs from transfer to transfer is set here, each time; first the
    // pointers that a kept handle still has to its last transfer's buffers.
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, transfer->errorText);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, transfer.get());
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, transfer.get());
    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
    if (!headerList_ || headerList_->fields != request.headers)
      headerList_ = std::make_shared<const HeaderList>(request.headers);
    transfer->headers = headerList_;
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, transfer->headers->lines);
    // A kept, not reset handle is only one whose last transfer was plain as well: its method is
    // still GET, with no body and no custom request.
    transfer->plain = !request.body && request.method == "GET";
    if (request.body) {
      curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body->size()));
      curl_easy_setopt(easy, CURLOPT_COPYPOSTFIELDS, request.body->c_str());
      if (request.method != "POST") curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    } else if (request.method != "GET") {
      curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }
    if (curl_multi_add_handle(multi_, easy) != CURLM_OK) {
      finished.push_back({std::move(transfer), CURLE_FAILED_INIT});
      return;
    }
    transfers_.emplace(easy, std::move(transfer));
  }

  // An easy handle for a new transfer: a kept one, or a new one.
  IdleHandle takeHandle() {
    if (idleHandles_.empty()) return {curl_easy_init(), false};
    IdleHandle handle = idleHandles_.back();
    idleHandles_.pop_back();
    return handle;
  }

  // Keeps the easy handle of a finished transfer (out of the multi handle) for the next one; a
  // few are kept, as many as may run at once. A handle is reset to libcurl's defaults, so that it
  // carries none of the transfer's options over, unless `plain`: a plain GET that succeeded leaves
  // only the options common to all transfers and those that `begin` sets for every transfer
  // (the pointers to the transfer's buffers and header lines, which nothing reads while the
  // handle is idle).
  void giveBack(CURL* easy, bool plain) {
    if (easy == nullptr) return;
    if (idleHandles_.size() >= kKeptHandles) return curl_easy_cleanup(easy);
    if (!plain) curl_easy_reset(easy);
    idleHandles_.push_back({easy, plain});
  }

  // A stopped request leaves libcurl at once: nothing more is sent or read for it.
  void stop(std::uint64_t id, std::vector<Finished>& finished) {
    auto found = std::find_if(transfers_.begin(), transfers_.end(),
                              [id](const auto& entry) { return entry.second->id == id; });
    if (found == transfers_.end()) return;  // already finished
    curl_multi_remove_handle(multi_, found->first);
    std::unique_ptr<Transfer> transfer = std::move(found->second);
    transfers_.erase(found);
    finished.push_back({std::move(transfer), CURLE_ABORTED_BY_CALLBACK});
  }

  void finish(CURL* easy, CURLcode code, std::vector<Finished>& finished) {
    curl_multi_remove_handle(multi_, easy);
    auto found = transfers_.find(easy);
    if (found == transfers_.end()) return;
    std::unique_ptr<Transfer> transfer = std::move(found->second);
    transfers_.erase(found);
    if (code == CURLE_OK && redirected(*transfer)) {
      begin(std::move(transfer), finished);
      return;
    }
    finished.push_back({std::move(transfer), code});
  }

  // For a 3xx answer with a location in the request's own origin: turns the transfer into the
  // next request and returns true. A location in another origin (https to http included) is
  // refused: credentials and the body never follow it there.
  bool redirected(Transfer& transfer) {
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
    QPHttpRequest& request = transfer.request;
    request.url = location;
    // 303, and 301/302 after a POST, continue as a GET without the body or its headers (a
    // carried "Content-Length" would make the server wait for a body that never comes).
    if (status == 303 || ((status == 301 || status == 302) && request.method == "POST")) {
      request.method = "GET";
      request.body.reset();
      std::erase_if(request.headers, [](const std::pair<std::string, std::string>& header) {
        return isHeader(header, "Content-Length") || isHeader(header, "Content-Type");
      });
    }
    giveBack(transfer.easy, false);
    transfer.easy = nullptr;
    transfer.headers.reset();
    transfer.headerFields.clear();
    transfer.body.clear();
    transfer.errorText[0] = '\0';
    return true;
  }

  void complete(std::unique_ptr<Transfer> transfer, CURLcode code) {
    QPHttpResult result;
    bool plain = false;  // a plain transfer that succeeded
    if (code == CURLE_ABORTED_BY_CALLBACK && transfer->request.stop.stop_requested()) {
      result.code = code;
      result.errorText = "The call was cancelled.";
    } else if (transfer->refusedOrigin) {
      result.stop = QPHttpResult::Stop::RedirectToOtherOrigin;
      result.detail = *transfer->refusedOrigin;
    } else if (transfer->redirects > kMaximumRedirects) {
      result.stop = QPHttpResult::Stop::TooManyRedirects;
      result.code = CURLE_TOO_MANY_REDIRECTS;
      result.detail = std::to_string(kMaximumRedirects);
    } else if (transfer->tooLarge) {
      result.stop = QPHttpResult::Stop::BodyTooLarge;
      result.detail = std::to_string(transfer->request.maximumResponseSize);
    } else if (code != CURLE_OK) {
      result.code = static_cast<int>(code);
      result.errorText = transfer->errorText[0] != '\0' ? transfer->errorText : curl_easy_strerror(code);
    } else {
      char* url = nullptr;
      curl_easy_getinfo(transfer->easy, CURLINFO_RESPONSE_CODE, &result.status);
      curl_easy_getinfo(transfer->easy, CURLINFO_EFFECTIVE_URL, &url);
      result.url = url != nullptr ? url : transfer->request.url;
      result.headers = std::move(transfer->headerFields);
      result.body = std::move(transfer->body);
      plain = transfer->plain;
    }
    auto done = std::move(transfer->done);
    giveBack(std::exchange(transfer->easy, nullptr), plain);
    transfer.reset();  // the handle goes back before the caller sees the answer
    guarded([&] { done(std::move(result)); });
  }

  // Everything not yet completed is completed with an error, on the thread that ends the engine.
  void shutDown() {
    std::vector<std::unique_ptr<Transfer>> pending;
    std::vector<std::function<void()>> tasks;
    {
      std::lock_guard lock(mutex_);
      pending.swap(incoming_);
      tasks.swap(tasks_);
    }
    for (auto& [easy, transfer] : transfers_) {
      curl_multi_remove_handle(multi_, easy);
      pending.push_back(std::move(transfer));
    }
    transfers_.clear();
    for (auto& task : tasks) guarded(task);
    for (auto& transfer : pending) {
      std::snprintf(transfer->errorText, sizeof transfer->errorText, "%s",
                    "The request was cancelled because the SDK is shutting down.");
      complete(std::move(transfer), CURLE_ABORTED_BY_CALLBACK);
    }
  }

  // The worker for tasks kept off the main context (reading large answers).
  void work() {
    std::unique_lock lock(workMutex_);
    while (true) {
      workReady_.wait(lock, [this] { return workStopping_ || !work_.empty(); });
      if (work_.empty()) return;  // stopping, and nothing left to do
      std::function<void()> task = std::move(work_.front());
      work_.pop_front();
      lock.unlock();
      guarded(task);
      lock.lock();
    }
  }

  CURLM* multi_ = nullptr;
  GMainContext* context_ = nullptr;
  GSource* source_ = nullptr;
  int epoll_ = -1;
  gpointer epollTag_ = nullptr;

  // Shared with the threads that start calls.
  std::mutex mutex_;
  std::atomic<bool> queued_{false};  // whether `incoming_`, `tasks_` or `stopped_` holds anything
  std::vector<std::unique_ptr<Transfer>> incoming_;
  std::vector<std::function<void()>> tasks_;
  std::vector<std::uint64_t> stopped_;  // ids of transfers whose stop token was stopped
  std::atomic<std::uint64_t> nextId_{1};

  // Touched only where the main context runs.
  std::unordered_map<CURL*, std::unique_ptr<Transfer>> transfers_;
  std::shared_ptr<const HeaderList> headerList_;  // the latest request's header lines
  static constexpr std::size_t kKeptHandles = 8;
  std::vector<IdleHandle> idleHandles_;  // easy handles of finished transfers
  gint64 timerDeadline_ = -1;  // when libcurl wants its timer action (GLib's monotonic µs); -1: never

  std::mutex workMutex_;
  std::condition_variable workReady_;
  bool workStopping_ = false;
  std::deque<std::function<void()>> work_;
  std::thread worker_;
};

}  // namespace

std::shared_ptr<NetworkEngine> NetworkEngine::shared() {
  static const std::shared_ptr<NetworkEngine> engine = std::make_shared<CurlEngine>();
  return engine;
}

}  // namespace brivane::platform
