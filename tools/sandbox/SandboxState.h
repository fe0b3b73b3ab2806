#pragma once

// Internal to the sandbox: the state every route shares and the helpers that give answers the
// platform's forms. Routes live in one file per family and register themselves on `server`.

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"
#include "sandbox/SandboxStore.h"
#include "sandbox/storage.h"

namespace brivane::sandbox {

namespace json = boost::json;

/// The platform's result code of a successful call.
inline constexpr const char* kSuccessCode = "0000";

/// A random text of `length` letters and digits.
std::string randomToken(std::mt19937_64& random, std::size_t length);
/// The sandbox's local time, formatted with strftime's `format`.
std::string nowFormatted(const char* format);
void sendJSON(httplib::Response& res, int status, const json::value& body);
/// An answer in the platform's error form: {"responseCode": code, "responseDescription": text}.
void sendPlatformError(httplib::Response& res, int status, const char* code, const std::string& description);
/// The token form as the client sends it: "k=v&" pairs, taken raw, without decoding.
std::map<std::string, std::string> parseRawForm(const std::string& body);

struct PendingFault {
  std::string pathPrefix;
  Fault fault;
  int remaining;
  std::chrono::milliseconds delay;

  bool operator==(const PendingFault&) const = default;
};

/// What the last request to a path carried, for tests to inspect. The sandbox keeps at most
/// kMaxSeenPaths of these, none older than kSeenLifetime, with at most kMaxSeenBody of a body.
struct Seen {
  std::string body;
  std::string query;
  httplib::Headers headers;
  std::chrono::steady_clock::time_point at;
};

// The bounds of what one request may carry and of what the sandbox keeps (README, "Sandbox").
inline constexpr std::size_t kMaxBody = 1 << 20;  ///< 1 MiB, not compressed
inline constexpr std::size_t kMaxHeaders = 100;
inline constexpr std::size_t kMaxSeenPaths = 128;
inline constexpr std::size_t kMaxSeenBody = 64 << 10;
inline constexpr std::chrono::minutes kSeenLifetime{10};
/// How many connections are served at once, each on a thread of its own; more wait.
inline constexpr std::size_t kMaxConnections = 256;

/// The whole-request deadline: cuts off connections whose request has taken longer than the
/// sandbox's `requestDeadline` to arrive since the connection opened or its last answer was sent.
/// Once a request has arrived, the time until its answer (a `delay` fault included) is the
/// sandbox's own and does not count. Scans the process's sockets on the sandbox's port.
class RequestDeadline {
 public:
  RequestDeadline() = default;
  ~RequestDeadline();
  RequestDeadline(const RequestDeadline&) = delete;
  RequestDeadline& operator=(const RequestDeadline&) = delete;

  void start(int port, std::chrono::milliseconds deadline);
  void stop();
  /// The connection from `peerPort` has been answered: its next request starts now.
  void answered(int peerPort);
  /// The request on the connection from `peerPort` has arrived: no deadline until it is answered.
  void arrived(int peerPort);

 private:
  using Clock = std::chrono::steady_clock;
  struct Connection {
    Clock::time_point since;
    bool answering = false;  ///< the request has arrived, its answer is on the way
  };
  void watch(int port, std::chrono::milliseconds deadline);

  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::map<std::pair<int, int>, Connection> connections_;  // (socket, peer port)
  std::map<int, Connection> activity_;                     // peer port → since its last answer
  std::thread thread_;
};

struct Sandbox::State {
  SandboxOptions options;
  httplib::Server server;
  std::thread thread;
  std::atomic<int> port{0};
  std::atomic<bool> stopping{false};
  std::atomic<bool> finished{false};
  std::atomic<std::uint64_t> requests{0};

  /// Guards everything below, the platform's data included.
  mutable std::mutex mutex;
  std::condition_variable wake;  // cuts delayed answers short on stop
  std::vector<PendingFault> faults;
  std::map<std::string, std::string> accessTokens;   // access token → user id
  std::map<std::string, std::string> refreshTokens;  // refresh token → user id, while still valid
  std::map<std::string, Seen> seen;
  RequestDeadline deadline;
  std::mt19937_64 random{std::random_device{}()};
  Store store;
  /// Where the state is kept beyond memory; brought up to date after every request.
  std::unique_ptr<Storage> storage;
  /// Why the storage could not be opened or read ("" when it could): the sandbox does not start.
  std::string storageError;

  std::string baseUrl() const { return "http://" + options.host + ":" + std::to_string(port.load()); }

  std::optional<PendingFault> takeFault(const std::string& path);
  /// Issues an access and a refresh token for `userId`. Takes the lock.
  std::pair<std::string, std::string> issueTokens(const std::string& userId);
  /// Answers the fault now, or (for a delay) waits and lets the normal handler answer.
  httplib::Server::HandlerResponse applyFault(const PendingFault& fault, httplib::Response& res);
  /// Keeps what the request carried in `seen`, within its bounds. Takes the lock.
  void remember(const httplib::Request& req);

  /// The platform's guard of every REST call: the bearer token, then the identifying parameters
  /// (from the query of a GET, from the JSON body otherwise). On success returns the call's
  /// parameters (query items as texts, or the body) with the caller's user id under
  /// "__userId"; on refusal writes the platform's error answer and returns nil.
  std::optional<json::object> admit(const httplib::Request& req, httplib::Response& res);
  /// The common fields of every successful answer, echoing the call's parameters.
  json::object successEnvelope(const json::object& params) const;

  /// The users, accounts and opening balances every sandbox starts with. Needs the lock.
  void seed();
  /// Forgets everything (tokens and faults included) and starts again from the seed data. Needs
  /// the lock.
  void reset();
  /// Opens the storage of `options.dataFile` (memory when none) and loads it, or seeds.
  void openStorage();
  /// After a request, with the lock: records the payments' new states in their histories, then
  /// brings the storage up to date.
  void settle(const httplib::Request& req);
  /// Brings the storage up to date with the state. Needs the lock.
  void save();
  void configure();
  void routeEverythingElse();
  bool bind();
};

/// The sum of an account's ledger entries in minor units; 0 for an unknown account.
std::int64_t balanceOf(const Store& store, const std::string& accno);
/// Whether booking `amount` on `accno` keeps its balance within the sandbox's bounds.
bool bookable(const Store& store, const std::string& accno, std::int64_t amount);
/// Appends an entry to the ledger, dated now. Callers check `bookable` first.
void book(Store& store, const std::string& reference, const std::string& accno, std::int64_t amount,
          const std::string& currency, const std::string& type, const std::string& description,
          const std::string& counterparty);
/// Whether any user goes by `address`: as user id, main address or secondary address.
bool addressInUse(const Store& store, const std::string& address);

/// A text parameter of a call; nil when absent or not a text.
std::optional<std::string> textParam(const json::object& params, const char* key);

/// A REST handler that runs once `admit` has let the call in, with the state's mutex held: the
/// call's parameters, the route's first path identifier ("" when the route has none), the answer.
using AdmittedHandler = void (*)(Sandbox::State& state, const json::object& params, const std::string& id,
                                 const httplib::Request& req, httplib::Response& res);
/// The server handler that admits the call and then runs `handler` under the lock.
httplib::Server::Handler admitted(Sandbox::State& state, AdmittedHandler handler);

/// The English name of a country of the sandbox's reference data ("" for an unknown code).
std::string countryNameOf(const std::string& code);

// Each family's routes, registered by `Sandbox::State::configure`.
void registerAuthRoutes(Sandbox::State& state);
void registerSettingsRoutes(Sandbox::State& state);
void registerUserRoutes(Sandbox::State& state);
void registerAccountRoutes(Sandbox::State& state);
void registerPaymentRoutes(Sandbox::State& state);
/// The read-only pages at "/sandbox/" that show the sandbox's state to a developer.
void registerInspectorPages(Sandbox::State& state);

/// Adds the stand-in provider pages (card widget, PayPal button, form service, PayU) to `server`,
/// whose own base URL is `baseUrl`. With a sandbox's `state` the pages are tied to its ledger;
/// without one (a bare server in a test) they only render.
void registerProviderPages(httplib::Server& server, const std::string& baseUrl, Sandbox::State* state);

}  // namespace brivane::sandbox
