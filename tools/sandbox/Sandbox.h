#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace brivane::sandbox {

/// A way the sandbox can misbehave for one request, chosen per request.
enum class Fault {
  ServiceUnavailable,  ///< 503 with a JSON body
  NotFoundHtml,        ///< 404 with an HTML body and a text/html content type
  NotJson,             ///< 200 with a body that is not JSON
  NoContent,           ///< 204 with an empty body
  Delay,               ///< the normal answer, sent only after the fault's delay
  Reset,               ///< headers promise a body, then the connection is cut
};

/// Parses the names used by the admin endpoint and the CLI ("503", "404-html", "not-json",
/// "204", "delay", "reset"); false for an unknown name.
bool parseFault(const std::string& name, Fault* fault);

/// Options of a sandbox instance.
struct SandboxOptions {
  std::string host = "127.0.0.1";
  int port = 0;                         ///< 0: pick a free port
  std::string programCode = "BRIVANE";  ///< the only program the sandbox serves
  std::string userName = "demo@brivane.test";
  std::string password = "Demo-Pass-1";
  /// How long one request may take from its first byte to its answer, not counting a `delay`
  /// fault's delay; a client still sending then is cut off.
  std::chrono::milliseconds requestDeadline = std::chrono::seconds(10);
  /// The SQLite database that keeps the state across restarts ("" keeps it in memory only).
  std::string dataFile;
  /// Starts from the seed data, forgetting what `dataFile` kept.
  bool reset = false;
};

/// The platform's REST back end in miniature: in-memory state, the platform's error forms and
/// fault injection. One instance serves on one loopback port from its own threads.
///
/// Thread rules: every member function may be called from any thread.
class Sandbox {
 public:
  explicit Sandbox(SandboxOptions options = {});
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  /// Binds and serves on a background thread; returns once the port accepts connections.
  /// False when the address cannot be bound or the data file cannot be used (see `error`).
  bool start();
  /// Binds and serves on the calling thread until `stop` (for `brivane sandbox`).
  bool listen();
  /// Stops serving; pending delayed answers are cut short. Idempotent.
  void stop();

  /// Why the data file cannot be used ("" when it can, or when there is none).
  std::string error() const;

  int port() const;
  /// "http://host:port", without a trailing slash.
  std::string baseUrl() const;
  const SandboxOptions& options() const;

  /// The next `count` requests whose path starts with `pathPrefix` suffer `fault`.
  /// `delay` applies to Fault::Delay.
  void injectFault(const std::string& pathPrefix, Fault fault, int count = 1,
                   std::chrono::milliseconds delay = std::chrono::milliseconds(0));
  /// Forgets all pending faults.
  void clearFaults();

  /// Marks the payment page rendered with `token` as finished by the shopper, approved or
  /// declined, as the stand-in provider pages do (for tests and the journey demo). False for a
  /// token the sandbox never issued.
  bool completeAuthorizationAsShopper(const std::string& token, bool approve = true);

  /// The sum of an account's ledger entries in minor units (cents); 0 for an unknown account.
  std::int64_t balance(const std::string& accno) const;

  /// Issues a token pair as the password grant would (for tests that need a valid token).
  std::string issueAccessToken();

  /// The raw body and query string of the last request to `path` ("" when none came).
  std::string lastBody(const std::string& path) const;
  std::string lastQuery(const std::string& path) const;
  /// A header of the last request to `path` ("" when absent).
  std::string lastHeader(const std::string& path, const std::string& header) const;
  /// How many requests reached the sandbox in all.
  std::uint64_t requestCount() const;

  struct State;

 private:
  std::unique_ptr<State> state_;
};

}  // namespace brivane::sandbox
