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

  /// Guards everything below, the platform's data included.
  mutable std::mutex mutex;
  std::condition_variable wake;  // cuts delayed answers short on stop
  std::vector<PendingFault> faults;
  std::map<std::string, std::string> accessTokens;   // access token → user id
  std::map<std::string, std::string> refreshTokens;  // refresh token → user id, while still valid
  std::map<std::string, Seen> seen;
  std::mt19937_64 random{std::random_device{}()};
  Store store;

  std::string baseUrl() const { return "http://" + options.host + ":" + std::to_string(port.load()); }

  std::optional<PendingFault> takeFault(const std::string& path);
  /// Issues an access and a refresh token for `userId`. Takes the lock.
  std::pair<std::string, std::string> issueTokens(const std::string& userId);
  /// Answers the fault now, or (for a delay) waits and lets the normal handler answer.
  httplib::Server::HandlerResponse applyFault(const PendingFault& fault, httplib::Response& res);

  /// The platform's guard of every REST call: the bearer token, then the identifying parameters
  /// (from the query of a GET, from the JSON body otherwise). On success returns the call's
  /// parameters (query items as texts, or the body) with the caller's user id under
  /// "__userId"; on refusal writes the platform's error answer and returns nil.
  std::optional<json::object> admit(const httplib::Request& req, httplib::Response& res);
  /// The common fields of every successful answer, echoing the call's parameters.
  json::object successEnvelope(const json::object& params) const;

  /// The users, accounts and opening balances every sandbox starts with.
  void seed();
  void configure();
  void routeEverythingElse();
  bool bind();
};

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

/// Adds the stand-in provider pages (card widget, PayPal button, form service, PayU) to `server`,
/// whose own base URL is `baseUrl`. With a sandbox's `state` the pages are tied to its ledger;
/// without one (a bare server in a test) they only render.
void registerProviderPages(httplib::Server& server, const std::string& baseUrl, Sandbox::State* state);

}  // namespace brivane::sandbox
