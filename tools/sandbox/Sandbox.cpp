#include "sandbox/Sandbox.h"

#include <malloc.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <deque>
#include <filesystem>
#include <string_view>

#include "sandbox/SandboxState.h"
#include "sandbox/domain.h"

namespace brivane::sandbox {

std::string randomToken(std::mt19937_64& random, std::size_t length) {
  static constexpr std::string_view alphabet =
      "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
  std::string token;
  token.reserve(length);
  for (std::size_t i = 0; i < length; ++i) token.push_back(alphabet[pick(random)]);
  return token;
}

std::string nowFormatted(const char* format) {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char buffer[32];
  return std::string(buffer, std::strftime(buffer, sizeof buffer, format, &local));
}

void sendJSON(httplib::Response& res, int status, const json::value& body) {
  // Answers echo what requests carried, which need not be UTF-8.
  json::value valid = body;
  makeValidUtf8(valid);
  res.status = status;
  res.set_content(json::serialize(valid), "application/json");
}

void sendPlatformError(httplib::Response& res, int status, const char* code, const std::string& description) {
  sendJSON(res, status, json::object{{"responseCode", code}, {"responseDescription", description}});
}

// The token form as the client sends it: "k=v&" pairs, taken raw, without decoding.
std::map<std::string, std::string> parseRawForm(const std::string& body) {
  std::map<std::string, std::string> fields;
  std::size_t start = 0;
  while (start < body.size()) {
    std::size_t end = body.find('&', start);
    if (end == std::string::npos) end = body.size();
    std::string_view pair(body.data() + start, end - start);
    if (!pair.empty()) {
      std::size_t equals = pair.find('=');
      if (equals == std::string_view::npos)
        fields.emplace(std::string(pair), std::string());
      else
        fields.emplace(std::string(pair.substr(0, equals)), std::string(pair.substr(equals + 1)));
    }
    start = end + 1;
  }
  return fields;
}

std::int64_t balanceOf(const Store& store, const std::string& accno) {
  std::int64_t sum = 0;
  for (const LedgerEntry& entry : store.ledger)
    if (entry.accno == accno) sum += entry.amount;
  return sum;
}

bool bookable(const Store& store, const std::string& accno, std::int64_t amount) {
  return bookedBalance(balanceOf(store, accno), amount).has_value();
}

void book(Store& store, const std::string& reference, const std::string& accno, std::int64_t amount,
          const std::string& currency, const std::string& type, const std::string& description,
          const std::string& counterparty) {
  store.ledger.push_back(LedgerEntry{reference, accno, amount, currency, type, description, counterparty,
                                     nowFormatted("%Y-%m-%d"), nowFormatted("%H%M%S"), store.nextSequence++});
}

std::optional<std::string> textParam(const json::object& params, const char* key) {
  if (const json::value* value = params.if_contains(key); value != nullptr && value->is_string())
    return std::string(value->get_string());
  return std::nullopt;
}

httplib::Server::Handler admitted(Sandbox::State& state, AdmittedHandler handler) {
  return [&state, handler](const httplib::Request& req, httplib::Response& res) {
    auto params = state.admit(req, res);
    if (!params) return;
    const std::string id = req.matches.size() > 1 ? req.matches[1].str() : std::string();
    std::lock_guard lock(state.mutex);
    handler(state, *params, id, req, res);
  };
}

namespace {

// Calls `each(socket, peer port)` for every connection this process accepted on `port`.
template <class Each>
void forEachAcceptedConnection(int port, Each each) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ec)) {
    int fd = -1;
    try {
      fd = std::stoi(entry.path().filename().string());
    } catch (const std::exception&) {
      continue;
    }
    sockaddr_storage local{};
    socklen_t size = sizeof local;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size) != 0) continue;
    auto portOf = [](const sockaddr_storage& address) {
      return address.ss_family == AF_INET ? ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port)
             : address.ss_family == AF_INET6
                 ? ntohs(reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port)
                 : -1;
    };
    sockaddr_storage peer{};
    socklen_t peerSize = sizeof peer;
    if (portOf(local) == port && getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerSize) == 0)
      each(fd, portOf(peer));
  }
}

// Ends the keep-alive connections that this process accepted on `port`: the server would
// otherwise wait for each idle one to time out before it can stop.
void shutDownAcceptedConnections(int port) {
  forEachAcceptedConnection(port, [](int fd, int) { shutdown(fd, SHUT_RDWR); });
}

// Set when a connection's memory should go back to the system once the connection ends.
std::atomic<bool> trimAfterConnection{false};

// Serves each connection on a thread of its own, up to kMaxConnections at once (more wait for a
// free thread), so that slow clients and delayed answers leave threads for everyone else.
class ConnectionThreads : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> task) override {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (tasks_.size() > idle_ && threads_.size() < kMaxConnections)
      threads_.emplace_back([this] { serve(); });
    else
      wake_.notify_one();
  }

  void shutdown() override {
    std::vector<std::thread> threads;
    {
      std::lock_guard lock(mutex_);
      stopping_ = true;
      threads.swap(threads_);
    }
    wake_.notify_all();
    for (std::thread& thread : threads) thread.join();
  }

 private:
  void serve() {
    std::unique_lock lock(mutex_);
    for (;;) {
      ++idle_;
      wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
      --idle_;
      if (tasks_.empty()) return;  // stopping, with nothing left to serve
      std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
      if (trimAfterConnection.exchange(false)) malloc_trim(0);
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;
  bool stopping_ = false;
};

// A request the sandbox refuses before reading its body: too many headers, a compressed or a
// chunked body. Writes the refusal and closes the connection. (A body above kMaxBody is read and
// dropped by the server, which answers 413.)
bool refusedUnread(const httplib::Request& req, httplib::Response& res) {
  const std::string encoding = req.get_header_value("Content-Encoding");
  if (req.headers.size() > kMaxHeaders) {
    sendPlatformError(res, 431, "4010",
                      "A request may carry at most " + std::to_string(kMaxHeaders) + " header fields.");
  } else if (!encoding.empty() && encoding != "identity") {
    sendPlatformError(res, 415, "4008", "Request bodies are not taken compressed ('" + encoding + "').");
  } else if (req.has_header("Transfer-Encoding")) {
    sendPlatformError(res, 411, "4009",
                      "A request body needs a Content-Length; chunked bodies are not taken.");
  } else {
    return false;
  }
  res.set_header("Connection", "close");
  return true;
}

// After a refusal's answer: the server would wait for a next request on the connection, which
// gets none; what a flood of headers took is given back once the connection ends.
void closeAfterRefusal(int port, const httplib::Request& req, const httplib::Response& res) {
  if (res.get_header_value("Connection") != "close") return;
  forEachAcceptedConnection(port, [&](int fd, int peerPort) {
    if (peerPort == req.remote_port) shutdown(fd, SHUT_RD);
  });
  if (req.headers.size() > kMaxHeaders) trimAfterConnection = true;
}

void handleFaultAdmin(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  boost::system::error_code ec;
  json::value body = json::parse(req.body, ec);
  const json::object* object = ec ? nullptr : body.if_object();
  Fault fault;
  const json::value* path = object ? object->if_contains("path") : nullptr;
  const json::value* name = object ? object->if_contains("fault") : nullptr;
  if (path == nullptr || !path->is_string() || name == nullptr || !name->is_string() ||
      !parseFault(std::string(name->get_string()), &fault)) {
    sendPlatformError(
        res, 400, "4005",
        "Expected {\"path\": \"/prefix\", \"fault\": \"503|404-html|not-json|204|delay|reset\", "
        "\"count\": 1, \"delayMs\": 0}.");
    return;
  }
  int count = 1;
  std::int64_t delayMs = 0;
  if (const json::value* c = object->if_contains("count"); c && c->is_int64())
    count = static_cast<int>(c->get_int64());
  if (const json::value* d = object->if_contains("delayMs"); d && d->is_int64()) delayMs = d->get_int64();
  std::lock_guard lock(state.mutex);
  state.faults.push_back({std::string(path->get_string()), fault, count, std::chrono::milliseconds(delayMs)});
  sendJSON(res, 200,
           json::object{{"responseCode", kSuccessCode}, {"responseDescription", "Fault scheduled."}});
}

}  // namespace

bool parseFault(const std::string& name, Fault* fault) {
  static const std::map<std::string, Fault> names = {
      {"503", Fault::ServiceUnavailable}, {"404-html", Fault::NotFoundHtml}, {"not-json", Fault::NotJson},
      {"204", Fault::NoContent},          {"delay", Fault::Delay},           {"reset", Fault::Reset},
  };
  auto it = names.find(name);
  if (it == names.end()) return false;
  *fault = it->second;
  return true;
}

std::optional<PendingFault> Sandbox::State::takeFault(const std::string& path) {
  std::lock_guard lock(mutex);
  for (auto it = faults.begin(); it != faults.end(); ++it) {
    if (!path.starts_with(it->pathPrefix)) continue;
    PendingFault fault = *it;
    if (--it->remaining <= 0) faults.erase(it);
    return fault;
  }
  return std::nullopt;
}

std::pair<std::string, std::string> Sandbox::State::issueTokens(const std::string& userId) {
  std::lock_guard lock(mutex);
  std::string access = randomToken(random, 32);
  std::string refresh = randomToken(random, 40);
  accessTokens[access] = userId;
  refreshTokens[refresh] = userId;
  return {access, refresh};
}

httplib::Server::HandlerResponse Sandbox::State::applyFault(const PendingFault& fault,
                                                            httplib::Response& res) {
  switch (fault.fault) {
    case Fault::ServiceUnavailable:
      sendPlatformError(res, 503, "5030", "The service is temporarily unavailable.");
      return httplib::Server::HandlerResponse::Handled;
    case Fault::NotFoundHtml:
      res.status = 404;
      res.set_content("<html><head><title>404 Not Found</title></head><body><h1>Not Found</h1></body></html>",
                      "text/html");
      return httplib::Server::HandlerResponse::Handled;
    case Fault::NotJson:
      res.status = 200;
      res.set_content("this is not JSON", "text/plain");
      return httplib::Server::HandlerResponse::Handled;
    case Fault::NoContent:
      res.status = 204;
      return httplib::Server::HandlerResponse::Handled;
    case Fault::Delay: {
      std::unique_lock lock(mutex);
      wake.wait_for(lock, fault.delay, [this] { return stopping.load(); });
      return httplib::Server::HandlerResponse::Unhandled;
    }
    case Fault::Reset:
      res.status = 200;
      // Promise a body, send a few bytes of it, then give up: the connection is cut.
      res.set_content_provider(4096, "application/json",
                               [](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                                 if (offset == 0) sink.write("{\"partial\":", 11);
                                 return false;
                               });
      return httplib::Server::HandlerResponse::Handled;
  }
  return httplib::Server::HandlerResponse::Unhandled;
}

std::optional<json::object> Sandbox::State::admit(const httplib::Request& req, httplib::Response& res) {
  json::object params;
  if (req.method == "GET") {
    for (const auto& [key, value] : req.params) params[key] = value;
  } else if (!req.body.empty()) {
    boost::system::error_code ec;
    json::value body = json::parse(req.body, ec);
    if (ec || !body.is_object()) {
      sendPlatformError(res, 400, "4006", "The request body is not a JSON object.");
      return std::nullopt;
    }
    params = std::move(body.get_object());
  }
  std::string authorization = req.get_header_value("Authorization");
  std::optional<std::string> userId;
  if (authorization.starts_with("Bearer ")) {
    std::lock_guard lock(mutex);
    if (auto it = accessTokens.find(authorization.substr(7)); it != accessTokens.end()) userId = it->second;
  }
  if (!userId) {
    sendPlatformError(res, 401, "4001", "The access token is missing, unknown or expired.");
    return std::nullopt;
  }
  std::optional<std::string> reference = textParam(params, "partnerReference");
  if (!reference || reference->empty()) {
    sendPlatformError(res, 400, "4002", "The 'partnerReference' parameter is missing.");
    return std::nullopt;
  }
  std::optional<std::string> program = textParam(params, "programCode");
  if (!program) {
    sendPlatformError(res, 400, "4003", "The 'programCode' parameter is missing.");
    return std::nullopt;
  }
  if (*program != options.programCode) {
    sendPlatformError(res, 400, "4004", "Unknown program code '" + *program + "'.");
    return std::nullopt;
  }
  params["__userId"] = *userId;
  return params;
}

void Sandbox::State::remember(const httplib::Request& req) {
  if (req.headers.size() > kMaxHeaders) return;  // refused unread
  const auto now = std::chrono::steady_clock::now();
  std::lock_guard lock(mutex);
  std::erase_if(seen, [&](const auto& entry) { return now - entry.second.at > kSeenLifetime; });
  if (!seen.contains(req.path) && seen.size() >= kMaxSeenPaths)
    seen.erase(std::min_element(seen.begin(), seen.end(),
                                [](const auto& a, const auto& b) { return a.second.at < b.second.at; }));
  Seen& entry = seen[req.path];
  entry.body = req.body.substr(0, kMaxSeenBody);
  entry.headers = req.headers;
  std::size_t mark = req.target.find('?');
  entry.query = mark == std::string::npos ? std::string() : req.target.substr(mark + 1);
  entry.at = now;
}

RequestDeadline::~RequestDeadline() {
  stop();
}

void RequestDeadline::start(int port, std::chrono::milliseconds deadline) {
  std::lock_guard lock(mutex_);
  if (thread_.joinable()) return;
  stopping_ = false;
  thread_ = std::thread([this, port, deadline] { watch(port, deadline); });
}

void RequestDeadline::stop() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

void RequestDeadline::answered(int peerPort) {
  std::lock_guard lock(mutex_);
  activity_[peerPort] = Connection{Clock::now(), false};
}

void RequestDeadline::arrived(int peerPort) {
  std::lock_guard lock(mutex_);
  activity_[peerPort] = Connection{Clock::now(), true};
}

void RequestDeadline::watch(int port, std::chrono::milliseconds deadline) {
  const auto interval =
      std::clamp(deadline / 10, std::chrono::milliseconds(10), std::chrono::milliseconds(250));
  std::unique_lock lock(mutex_);
  while (!wake_.wait_for(lock, interval, [this] { return stopping_; })) {
    const Clock::time_point now = Clock::now();
    std::map<std::pair<int, int>, Connection> open;
    std::vector<int> late;
    forEachAcceptedConnection(port, [&](int fd, int peerPort) {
      // A connection's request began when it opened or with its last answer, whichever came
      // later, and ends when it arrived. (The activity of a port not open at the last scan belongs
      // to this connection.)
      auto known = connections_.find({fd, peerPort});
      auto answer = activity_.find(peerPort);
      Connection connection = known != connections_.end() ? known->second
                              : answer != activity_.end() ? answer->second
                                                          : Connection{now, {}};
      if (answer != activity_.end() && answer->second.since > connection.since) connection = answer->second;
      if (!connection.answering && now - connection.since > deadline) late.push_back(fd);
      open[{fd, peerPort}] = connection;
    });
    connections_.swap(open);
    std::erase_if(activity_, [&](const auto& entry) {
      return std::none_of(connections_.begin(), connections_.end(),
                          [&](const auto& c) { return c.first.second == entry.first; });
    });
    for (int fd : late) shutdown(fd, SHUT_RDWR);
  }
}

json::object Sandbox::State::successEnvelope(const json::object& params) const {
  auto echo = [&](const char* key) -> json::value {
    const json::value* value = params.if_contains(key);
    return value != nullptr ? *value : json::value("");
  };
  return json::object{
      {"partnerReference", echo("partnerReference")},
      {"localDate", echo("localDate")},
      {"localTime", echo("localTime")},
      {"sysDate", nowFormatted("%Y-%m-%d")},
      {"sysTime", nowFormatted("%H%M%S")},
      {"responseCode", kSuccessCode},
      {"responseDescription", "Success"},
  };
}

void Sandbox::State::seed() {
  const std::string date = nowFormatted("%Y-%m-%d");
  const std::string time = nowFormatted("%H%M%S");
  auto open = [&](const std::string& userId, const std::string& password, const std::string& accno,
                  const std::string& name) {
    store.users[userId] = User{userId, password, {}, {accno}};
    Account account;
    account.accno = accno;
    account.accnoType = kDefaultAccnoType;
    account.userId = userId;
    account.information = json::object{{"firstName", name}, {"emailAddress", userId}};
    store.accounts[accno] = std::move(account);
    store.ledger.push_back(LedgerEntry{"OPEN-" + accno, accno, kOpeningBalance, "EUR", "OPENING_BALANCE",
                                       "Opening balance", "", date, time, store.nextSequence++});
  };
  open(options.userName, options.password, kDemoAccno, "Demo");
  open(kSecondUserId, kSecondPassword, kSecondAccno, "Second");
  Account program;
  program.accno = kProgramAccno;
  program.accnoType = kDefaultAccnoType;
  program.userId = "";
  program.information = json::object{{"companyName", kProgramCompanyName}};
  store.accounts[kProgramAccno] = std::move(program);
}

void Sandbox::State::reset() {
  store = Store{};
  accessTokens.clear();
  refreshTokens.clear();
  faults.clear();
  seed();
}

void Sandbox::State::openStorage() {
  if (options.dataFile.empty()) {
    storage = memoryStorage();
    seed();
    return;
  }
  storage = openDatabase(options.dataFile, &storageError);
  const bool kept = storage && storage->load(*this, &storageError);
  if (!storage || !storageError.empty()) {
    storage = memoryStorage();  // the sandbox does not start; `error` says why
    return;
  }
  if (!kept)
    seed();
  else if (options.reset)
    reset();
  save();
}

void Sandbox::State::settle(const httplib::Request& req) {
  std::string date, time;
  for (auto& [reference, payment] : store.payments) {
    if (!payment.history.empty() && payment.history.back().state == payment.state) continue;
    if (date.empty()) {
      date = nowFormatted("%Y-%m-%d");
      time = nowFormatted("%H%M%S");
    }
    payment.history.push_back({payment.state, req.method + " " + req.path, date, time});
  }
  save();
}

void Sandbox::State::save() {
  if (std::string problem = storage->save(*this); !problem.empty())
    std::fprintf(stderr, "brivane sandbox: the state could not be saved to '%s': %s\n",
                 options.dataFile.c_str(), problem.c_str());
}

void Sandbox::State::configure() {
  server.set_tcp_nodelay(true);
  server.new_task_queue = [] { return new ConnectionThreads(); };
  server.set_payload_max_length(kMaxBody);
  server.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
    requests.fetch_add(1);
    deadline.arrived(req.remote_port);
    if (refusedUnread(req, res)) return httplib::Server::HandlerResponse::Handled;
    if (req.path.starts_with("/sandbox/")) return httplib::Server::HandlerResponse::Unhandled;
    if (auto fault = takeFault(req.path)) return applyFault(*fault, res);
    return httplib::Server::HandlerResponse::Unhandled;
  });
  {
    std::lock_guard lock(mutex);
    openStorage();
  }
  registerAuthRoutes(*this);
  registerSettingsRoutes(*this);
  registerUserRoutes(*this);
  registerAccountRoutes(*this);
  registerPaymentRoutes(*this);

  server.Post("/sandbox/faults", [this](const httplib::Request& req, httplib::Response& res) {
    handleFaultAdmin(*this, req, res);
  });
  server.Delete("/sandbox/faults", [this](const httplib::Request&, httplib::Response& res) {
    std::lock_guard lock(mutex);
    faults.clear();
    sendJSON(res, 200,
             json::object{{"responseCode", kSuccessCode}, {"responseDescription", "Faults cleared."}});
  });
  // The messages the platform would have mailed or texted, oldest first.
  server.Get("/sandbox/outbox", [this](const httplib::Request&, httplib::Response& res) {
    json::array messages;
    {
      std::lock_guard lock(mutex);
      for (const OutboxMessage& message : store.outbox)
        messages.push_back(json::object{
            {"to", message.to}, {"kind", message.kind}, {"code", message.code}, {"text", message.text}});
    }
    sendJSON(res, 200, json::object{{"messages", std::move(messages)}});
  });
  // Back to the seed data, as a fresh sandbox starts: tokens and faults are forgotten too.
  server.Post("/sandbox/reset", [this](const httplib::Request&, httplib::Response& res) {
    std::lock_guard lock(mutex);
    reset();
    sendJSON(res, 200,
             json::object{{"responseCode", kSuccessCode},
                          {"responseDescription", "The sandbox is back to its seed data."}});
  });
  registerInspectorPages(*this);
  // What arrived, body included (read only after the pre-routing handler), for tests to inspect;
  // then, before the answer leaves, what the request changed is kept.
  server.set_post_routing_handler([this](const httplib::Request& req, httplib::Response&) {
    remember(req);
    std::lock_guard lock(mutex);
    settle(req);
  });
  server.set_logger([this](const httplib::Request& req, const httplib::Response& res) {
    closeAfterRefusal(port, req, res);
    deadline.answered(req.remote_port);
  });
  server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
    if (!res.body.empty()) return;
    if (res.status == 404) sendPlatformError(res, 404, "4040", "No such operation.");
    if (res.status == 413)
      sendPlatformError(res, 413, "4007",
                        "A request body may have at most " + std::to_string(kMaxBody) + " bytes.");
  });
}

// Any other path is no operation of the platform; registered last so that it matches last.
void Sandbox::State::routeEverythingElse() {
  auto unknown = [](const httplib::Request&, httplib::Response& res) {
    sendPlatformError(res, 404, "4040", "No such operation.");
  };
  server.Get(".*", unknown);
  server.Post(".*", unknown);
  server.Put(".*", unknown);
  server.Delete(".*", unknown);
}

bool Sandbox::State::bind() {
  // Only SO_REUSEADDR (a restart may take a port whose old connections linger): with the
  // library's default SO_REUSEPORT a second sandbox would share a busy port and its calls.
  server.set_socket_options([](socket_t sock) {
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&yes), sizeof yes);
  });
  if (options.port == 0) {
    int bound = server.bind_to_any_port(options.host);
    if (bound <= 0) return false;
    port = bound;
    return true;
  }
  if (!server.bind_to_port(options.host, options.port)) return false;
  port = options.port;
  return true;
}

Sandbox::Sandbox(SandboxOptions options) : state_(std::make_unique<State>()) {
  state_->options = std::move(options);
  state_->configure();
}

Sandbox::~Sandbox() {
  stop();
}

bool Sandbox::start() {
  if (state_->thread.joinable()) return true;
  if (!state_->storageError.empty()) return false;
  if (!state_->bind()) return false;
  registerProviderPages(state_->server, baseUrl(), state_.get());
  state_->routeEverythingElse();
  state_->deadline.start(state_->port, state_->options.requestDeadline);
  state_->thread = std::thread([state = state_.get()] {
    state->server.listen_after_bind();
    state->finished = true;
  });
  // The server ignores a stop that comes before its loop runs: wait for the loop.
  while (!state_->server.is_running()) std::this_thread::sleep_for(std::chrono::microseconds(50));
  return true;
}

bool Sandbox::listen() {
  if (!state_->storageError.empty()) return false;
  if (!state_->bind()) return false;
  registerProviderPages(state_->server, baseUrl(), state_.get());
  state_->routeEverythingElse();
  state_->deadline.start(state_->port, state_->options.requestDeadline);
  return state_->server.listen_after_bind();
}

void Sandbox::stop() {
  state_->deadline.stop();
  state_->stopping = true;
  state_->wake.notify_all();
  state_->server.stop();
  if (!state_->thread.joinable()) return;
  // Connections still busy answering reach their keep-alive wait later: sweep until all are gone.
  while (!state_->finished) {
    if (state_->port > 0) shutDownAcceptedConnections(state_->port);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  state_->thread.join();
}

std::string Sandbox::error() const {
  return state_->storageError;
}

int Sandbox::port() const {
  return state_->port;
}

std::string Sandbox::baseUrl() const {
  return state_->baseUrl();
}

const SandboxOptions& Sandbox::options() const {
  return state_->options;
}

void Sandbox::injectFault(const std::string& pathPrefix, Fault fault, int count,
                          std::chrono::milliseconds delay) {
  std::lock_guard lock(state_->mutex);
  state_->faults.push_back({pathPrefix, fault, count, delay});
  state_->save();
}

void Sandbox::clearFaults() {
  std::lock_guard lock(state_->mutex);
  state_->faults.clear();
  state_->save();
}

bool Sandbox::completeAuthorizationAsShopper(const std::string& token, bool approve) {
  std::lock_guard lock(state_->mutex);
  auto it = state_->store.authorizations.find(token);
  if (it == state_->store.authorizations.end()) return false;
  it->second.completedByShopper = approve;
  it->second.declined = !approve;
  state_->save();
  return true;
}

std::int64_t Sandbox::balance(const std::string& accno) const {
  std::lock_guard lock(state_->mutex);
  return balanceOf(state_->store, accno);
}

std::string Sandbox::issueAccessToken() {
  std::string token = state_->issueTokens(state_->options.userName).first;
  std::lock_guard lock(state_->mutex);
  state_->save();
  return token;
}

std::string Sandbox::lastBody(const std::string& path) const {
  std::lock_guard lock(state_->mutex);
  auto it = state_->seen.find(path);
  return it == state_->seen.end() ? std::string() : it->second.body;
}

std::string Sandbox::lastQuery(const std::string& path) const {
  std::lock_guard lock(state_->mutex);
  auto it = state_->seen.find(path);
  return it == state_->seen.end() ? std::string() : it->second.query;
}

std::string Sandbox::lastHeader(const std::string& path, const std::string& header) const {
  std::lock_guard lock(state_->mutex);
  auto it = state_->seen.find(path);
  if (it == state_->seen.end()) return std::string();
  auto found = it->second.headers.find(header);
  return found == it->second.headers.end() ? std::string() : found->second;
}

std::uint64_t Sandbox::requestCount() const {
  return state_->requests;
}

}  // namespace brivane::sandbox
