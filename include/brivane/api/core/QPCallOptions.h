#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPError.h"

namespace brivane {

/// When and how often a failed call is tried again. Opt-in: without a policy nothing is retried.
///
/// Retried are networking failures 6 (host not resolved), 7 (no connection), 28 (time-out),
/// 52 (empty reply) and 56 (receive failure), and the HTTP statuses 408, 429, 500, 502, 503 and
/// 504. The wait before attempt n+1 is drawn uniformly from 0 to
/// min(`maxBackoff`, `initialBackoff` × `multiplier`^(n-1)) ("full jitter"); an answer's
/// `Retry-After` (seconds or an HTTP date) replaces it, capped at `maxBackoff`. No attempt starts once
/// `maxTotal` would be passed. Only GET operations are retried unless `retryNonIdempotent` is
/// set: PUT and POST create accounts and payments, and a repeated `initAuthorize` or `transfer`
/// moves money twice. The completion runs once, with the last attempt's result. Plain value type.
struct BRIVANE_API QPRetryPolicy {
  int maxAttempts = 3;  ///< attempts in all, the first included
  std::chrono::milliseconds initialBackoff{200};
  std::chrono::milliseconds maxBackoff{5000};
  std::chrono::milliseconds maxTotal{30000};  ///< from the call's start to the last attempt's start
  double multiplier = 2.0;
  bool retryNonIdempotent = false;  ///< also retry POST, PUT and DELETE
};

/// What a `QPCallListener` is told of a call. Never an identifier, a parameter value, a token, a
/// header value or a body: the path is the operation's template (`/account/{accno}/balance`),
/// and an error carries its domain and code only (an answer's error, whose domain is the
/// request's URL, carries the base URL and the template instead).
struct BRIVANE_API QPCallInfo {
  std::string method = {};
  std::string pathTemplate = {};
  int attempt = 0;  ///< 1 for the first attempt; 0 before one started
  long status = 0;  ///< the HTTP status; 0 before an answer (or without one)
  /// `onAttempt`: of that attempt; `onCallFinished`: of the whole call, retries included.
  std::chrono::milliseconds duration{0};
  std::optional<QPError> error = std::nullopt;
};

/// Watches calls, for metrics and logs of the host's own. Opt-in: given in `QPCallOptions`.
///
/// Every method does nothing by default. Thread rules: `onCallStarted` runs on the thread that
/// starts the call; `onAttempt` and `onCallFinished` where the call's answer is handled (the main
/// context; a worker thread for answers of 256 KiB or more; the calling thread for a call
/// refused before sending). Keep them short; an exception thrown from one is logged and dropped.
class BRIVANE_API QPCallListener {
 public:
  virtual ~QPCallListener();
  virtual void onCallStarted(const QPCallInfo& info);
  /// After each attempt, with its status (or error) and duration; not for an attempt cut by the
  /// call's stop.
  virtual void onAttempt(const QPCallInfo& info);
  virtual void onCallFinished(const QPCallInfo& info);
};

/// Options of a call. Given provider-wide in `QPApiProviderOption::callOptions`, and per call
/// through a `QPCallOptionsScope`; a field set per call overrides the provider-wide one. Every
/// field is unset by default, and an unset field changes nothing. Plain value type.
struct BRIVANE_API QPCallOptions {
  /// Time-out of each attempt, replacing the transport's (60 s by default).
  std::optional<std::chrono::milliseconds> timeout = std::nullopt;
  /// Retries; nil: none.
  std::optional<QPRetryPolicy> retry = std::nullopt;
  /// Stopping it cancels the call: it completes once with `brivane.client` 7
  /// (`QPClientErrorCancelled`), its transfer ends and nothing more is sent. An answer that had
  /// already completed is delivered as usual instead, never both.
  std::stop_token stop = {};
  std::shared_ptr<QPCallListener> listener = nullptr;

  /// These options with every field that `overrides` sets taken from it.
  QPCallOptions overriddenBy(const QPCallOptions& overrides) const;
};

/// Applies `options` to every call started on this thread while the scope lives (read once, when
/// the call starts; the call keeps them after the scope ends). Scopes nest: an inner scope's set
/// fields override the outer's.
///
/// ```
/// std::stop_source leaving;
/// {
///   brivane::QPCallOptionsScope scope({.stop = leaving.get_token()});
///   provider.paymentAPI()->getPaymentInformation(request, uniqueReference, completion);
/// }
/// leaving.request_stop();  // the call completes with brivane.client 7, unless it already had
/// ```
///
/// Thread rules: create and destroy it on one thread, in nested order (as a local variable).
class BRIVANE_API QPCallOptionsScope {
 public:
  explicit QPCallOptionsScope(QPCallOptions options);
  ~QPCallOptionsScope();
  QPCallOptionsScope(const QPCallOptionsScope&) = delete;
  QPCallOptionsScope& operator=(const QPCallOptionsScope&) = delete;

  /// The options in force on this thread (the innermost scope's, outer ones included); nil
  /// outside any scope.
  static const QPCallOptions* current();

 private:
  QPCallOptions options_;
  const QPCallOptionsScope* outer_;
};

}  // namespace brivane
