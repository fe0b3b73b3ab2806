#include "sandbox/Sandbox.h"

#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <filesystem>

#include <atomic>
#include <condition_variable>
#include <ctime>
#include <map>
#include <mutex>
#include <random>
#include <string_view>
#include <thread>
#include <vector>

#include <boost/json.hpp>

namespace brivane::sandbox {
namespace {

namespace json = boost::json;

struct Country {
  const char* name;
  const char* code;
  bool inProgram;
};

// Reference data of the sandbox program: the program serves the euro area's SEPA countries.
constexpr Country kCountries[] = {
    {"Austria", "AT", true},      {"Belgium", "BE", true},         {"Bulgaria", "BG", false},
    {"Croatia", "HR", true},      {"Cyprus", "CY", true},          {"Czech Republic", "CZ", false},
    {"Denmark", "DK", false},     {"Estonia", "EE", true},         {"Finland", "FI", true},
    {"France", "FR", true},       {"Germany", "DE", true},         {"Greece", "GR", true},
    {"Hungary", "HU", false},     {"Iceland", "IS", false},        {"Ireland", "IE", true},
    {"Italy", "IT", true},        {"Latvia", "LV", true},          {"Liechtenstein", "LI", false},
    {"Lithuania", "LT", true},    {"Luxembourg", "LU", true},      {"Malta", "MT", true},
    {"Netherlands", "NL", true},  {"Norway", "NO", false},         {"Poland", "PL", false},
    {"Portugal", "PT", true},     {"Romania", "RO", false},        {"Slovakia", "SK", true},
    {"Slovenia", "SI", true},     {"Spain", "ES", true},           {"Sweden", "SE", false},
    {"Switzerland", "CH", false}, {"United Kingdom", "GB", false}, {"United States", "US", false},
};

constexpr const char* kSuccessCode = "0000";

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
  res.status = status;
  res.set_content(json::serialize(body), "application/json");
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

// Ends the keep-alive connections that this process accepted on `port`: the server would
// otherwise wait for each idle one to time out before it can stop.
void shutDownAcceptedConnections(int port) {
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
    int localPort = local.ss_family == AF_INET    ? ntohs(reinterpret_cast<sockaddr_in*>(&local)->sin_port)
                    : local.ss_family == AF_INET6 ? ntohs(reinterpret_cast<sockaddr_in6*>(&local)->sin6_port)
                                                  : -1;
    sockaddr_storage peer{};
    socklen_t peerSize = sizeof peer;
    if (localPort == port && getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerSize) == 0)
      shutdown(fd, SHUT_RDWR);
  }
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

struct PendingFault {
  std::string pathPrefix;
  Fault fault;
  int remaining;
  std::chrono::milliseconds delay;
};

struct Seen {
  std::string body;
  std::string query;
  httplib::Headers headers;
};

struct Sandbox::State {
  SandboxOptions options;
  httplib::Server server;
  std::thread thread;
  std::atomic<int> port{0};
  std::atomic<bool> stopping{false};
  std::atomic<bool> finished{false};
  std::atomic<std::uint64_t> requests{0};

  mutable std::mutex mutex;
  std::condition_variable wake;  // cuts delayed answers short on stop
  std::vector<PendingFault> faults;
  std::map<std::string, std::string> accessTokens;  // access token → refresh token
  std::map<std::string, bool> refreshTokens;        // refresh token → still valid
  std::map<std::string, Seen> seen;
  std::mt19937_64 random{std::random_device{}()};

  std::optional<PendingFault> takeFault(const std::string& path) {
    std::lock_guard lock(mutex);
    for (auto it = faults.begin(); it != faults.end(); ++it) {
      if (!path.starts_with(it->pathPrefix)) continue;
      PendingFault fault = *it;
      if (--it->remaining <= 0) faults.erase(it);
      return fault;
    }
    return std::nullopt;
  }

  std::pair<std::string, std::string> issueTokens() {
    std::lock_guard lock(mutex);
    std::string access = randomToken(random, 32);
    std::string refresh = randomToken(random, 40);
    accessTokens[access] = refresh;
    refreshTokens[refresh] = true;
    return {access, refresh};
  }

  bool knownAccessToken(const std::string& token) const {
    std::lock_guard lock(mutex);
    return accessTokens.contains(token);
  }

  // Answers the fault now, or (for a delay) waits and lets the normal handler answer.
  httplib::Server::HandlerResponse applyFault(const PendingFault& fault, httplib::Response& res) {
    switch (fault.fault) {
      case Fault::ServiceUnavailable:
        sendPlatformError(res, 503, "5030", "The service is temporarily unavailable.");
        return httplib::Server::HandlerResponse::Handled;
      case Fault::NotFoundHtml:
        res.status = 404;
        res.set_content(
            "<html><head><title>404 Not Found</title></head><body><h1>Not Found</h1></body></html>",
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

  // The platform's guard of every REST call: bearer token, then the identifying parameters.
  bool admit(const httplib::Request& req, httplib::Response& res, const json::object* body) {
    std::string authorization = req.get_header_value("Authorization");
    if (!authorization.starts_with("Bearer ") || !knownAccessToken(authorization.substr(7))) {
      sendPlatformError(res, 401, "4001", "The access token is missing, unknown or expired.");
      return false;
    }
    auto identifying = [&](const char* key) -> std::optional<std::string> {
      if (body != nullptr) {
        if (const json::value* value = body->if_contains(key); value != nullptr && value->is_string())
          return std::string(value->get_string());
        return std::nullopt;
      }
      if (!req.has_param(key)) return std::nullopt;
      return req.get_param_value(key);
    };
    std::optional<std::string> reference = identifying("partnerReference");
    if (!reference || reference->empty()) {
      sendPlatformError(res, 400, "4002", "The 'partnerReference' parameter is missing.");
      return false;
    }
    std::optional<std::string> program = identifying("programCode");
    if (!program) {
      sendPlatformError(res, 400, "4003", "The 'programCode' parameter is missing.");
      return false;
    }
    if (*program != options.programCode) {
      sendPlatformError(res, 400, "4004", "Unknown program code '" + *program + "'.");
      return false;
    }
    return true;
  }

  json::object successEnvelope(const httplib::Request& req) const {
    return json::object{
        {"partnerReference", req.get_param_value("partnerReference")},
        {"localDate", req.get_param_value("localDate")},
        {"localTime", req.get_param_value("localTime")},
        {"sysDate", nowFormatted("%Y-%m-%d")},
        {"sysTime", nowFormatted("%H%M%S")},
        {"responseCode", kSuccessCode},
        {"responseDescription", "Success"},
    };
  }

  void handleToken(const httplib::Request& req, httplib::Response& res) {
    if (req.get_header_value("Content-Type").find("application/x-www-form-urlencoded") == std::string::npos) {
      sendJSON(res, 400,
               json::object{{"error", "invalid_request"},
                            {"error_description", "The token request must be form-encoded."}});
      return;
    }
    auto form = parseRawForm(req.body);
    const std::string grant = form.contains("grant_type") ? form["grant_type"] : "";
    if (grant == "password") {
      if (form["username"] != options.userName || form["password"] != options.password) {
        sendJSON(res, 400,
                 json::object{{"error", "invalid_grant"},
                              {"error_description", "RC1001 The user name or password is wrong."}});
        return;
      }
    } else if (grant == "refresh_token") {
      std::lock_guard lock(mutex);
      auto it = refreshTokens.find(form["refresh_token"]);
      if (it == refreshTokens.end() || !it->second) {
        res.status = 400;
        res.set_content(json::serialize(json::object{
                            {"error", "invalid_grant"},
                            {"error_description", "RC1002 The refresh token is unknown or already used."}}),
                        "application/json");
        return;
      }
      it->second = false;  // a refresh token is good for one renewal
    } else if (grant.empty()) {
      sendJSON(res, 400,
               json::object{{"error", "invalid_request"},
                            {"error_description", "The 'grant_type' field is missing."}});
      return;
    } else {
      sendJSON(res, 400,
               json::object{{"error", "unsupported_grant_type"},
                            {"error_description", "Grant type '" + grant + "' is not supported."}});
      return;
    }
    auto [access, refresh] = issueTokens();
    sendJSON(res, 200,
             json::object{{"access_token", access},
                          {"token_type", "bearer"},
                          {"expires_in", 3600},
                          {"refresh_token", refresh}});
  }

  void handleCountries(const httplib::Request& req, httplib::Response& res) {
    if (!admit(req, res, nullptr)) return;
    const bool onlyProgram = req.get_param_value("onlyProgramCountries") == "true";
    json::array countries;
    for (const Country& country : kCountries) {
      if (onlyProgram && !country.inProgram) continue;
      countries.push_back(json::object{{"countryName", country.name}, {"countryCode", country.code}});
    }
    json::object answer = successEnvelope(req);
    answer["countries"] = std::move(countries);
    sendJSON(res, 200, answer);
  }

  void handleFinancialInstitution(const httplib::Request& req, httplib::Response& res) {
    if (!admit(req, res, nullptr)) return;
    json::object answer = successEnvelope(req);
    answer["name"] = "Brivane Sandbox Bank AG";
    answer["addr1"] = "Kärntner Ring 12";
    answer["addr2"] = "3. Stock";
    answer["city"] = "Wien";
    answer["state"] = "Wien";
    answer["countryName"] = "Austria";
    answer["countryCode"] = "AT";
    answer["postCode"] = "1010";
    answer["creditorIdentifier"] = "AT61ZZZ00000012345";
    sendJSON(res, 200, answer);
  }

  void handleFaultAdmin(const httplib::Request& req, httplib::Response& res) {
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
    std::lock_guard lock(mutex);
    faults.push_back({std::string(path->get_string()), fault, count, std::chrono::milliseconds(delayMs)});
    sendJSON(res, 200,
             json::object{{"responseCode", kSuccessCode}, {"responseDescription", "Fault scheduled."}});
  }

  void configure() {
    server.set_tcp_nodelay(true);
    server.new_task_queue = [] { return new httplib::ThreadPool(32); };
    server.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
      requests.fetch_add(1);
      if (req.path.starts_with("/sandbox/")) return httplib::Server::HandlerResponse::Unhandled;
      if (auto fault = takeFault(req.path)) return applyFault(*fault, res);
      return httplib::Server::HandlerResponse::Unhandled;
    });
    server.Post("/token",
                [this](const httplib::Request& req, httplib::Response& res) { handleToken(req, res); });
    server.Get("/settings/country",
               [this](const httplib::Request& req, httplib::Response& res) { handleCountries(req, res); });
    server.Get("/settings/getFinancialInstitutionData",
               [this](const httplib::Request& req, httplib::Response& res) {
                 handleFinancialInstitution(req, res);
               });
    server.Post("/sandbox/faults",
                [this](const httplib::Request& req, httplib::Response& res) { handleFaultAdmin(req, res); });
    server.Delete("/sandbox/faults", [this](const httplib::Request&, httplib::Response& res) {
      std::lock_guard lock(mutex);
      faults.clear();
      sendJSON(res, 200,
               json::object{{"responseCode", kSuccessCode}, {"responseDescription", "Faults cleared."}});
    });
    // What arrived, body included (read only after the pre-routing handler), for tests to inspect.
    server.set_post_routing_handler([this](const httplib::Request& req, httplib::Response&) {
      std::lock_guard lock(mutex);
      Seen& entry = seen[req.path];
      entry.body = req.body;
      entry.headers = req.headers;
      std::size_t mark = req.target.find('?');
      entry.query = mark == std::string::npos ? std::string() : req.target.substr(mark + 1);
    });
    server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
      if (!res.body.empty()) return;
      if (res.status == 404) sendPlatformError(res, 404, "4040", "No such operation.");
    });
  }

  // Any other path is no operation of the platform; registered last so that it matches last.
  void routeEverythingElse() {
    auto unknown = [](const httplib::Request&, httplib::Response& res) {
      sendPlatformError(res, 404, "4040", "No such operation.");
    };
    server.Get(".*", unknown);
    server.Post(".*", unknown);
    server.Put(".*", unknown);
    server.Delete(".*", unknown);
  }

  bool bind() {
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
};

Sandbox::Sandbox(SandboxOptions options) : state_(std::make_unique<State>()) {
  state_->options = std::move(options);
  state_->configure();
}

Sandbox::~Sandbox() {
  stop();
}

bool Sandbox::start() {
  if (state_->thread.joinable()) return true;
  if (!state_->bind()) return false;
  registerProviderPages(state_->server, baseUrl());
  state_->routeEverythingElse();
  state_->thread = std::thread([state = state_.get()] {
    state->server.listen_after_bind();
    state->finished = true;
  });
  // The server ignores a stop that comes before its loop runs: wait for the loop.
  while (!state_->server.is_running()) std::this_thread::sleep_for(std::chrono::microseconds(50));
  return true;
}

bool Sandbox::listen() {
  if (!state_->bind()) return false;
  registerProviderPages(state_->server, baseUrl());
  state_->routeEverythingElse();
  return state_->server.listen_after_bind();
}

void Sandbox::stop() {
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

int Sandbox::port() const {
  return state_->port;
}

std::string Sandbox::baseUrl() const {
  return "http://" + state_->options.host + ":" + std::to_string(port());
}

const SandboxOptions& Sandbox::options() const {
  return state_->options;
}

void Sandbox::injectFault(const std::string& pathPrefix, Fault fault, int count,
                          std::chrono::milliseconds delay) {
  std::lock_guard lock(state_->mutex);
  state_->faults.push_back({pathPrefix, fault, count, delay});
}

void Sandbox::clearFaults() {
  std::lock_guard lock(state_->mutex);
  state_->faults.clear();
}

std::string Sandbox::issueAccessToken() {
  return state_->issueTokens().first;
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
