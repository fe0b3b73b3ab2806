// The transport's request pipeline: one call travels through ordered steps, each with one job.
// A step does its part of the call on the way in and hands on to the next step; what comes back
// travels up through the completion each step gave, so a step may also act on the answer (map
// it, retry it, watch it). A step may end the call itself by completing without handing on.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <boost/json.hpp>

#include "api/core/QPAnswerReader.h"
#include "brivane/api/core/QPCallOptions.h"
#include "brivane/api/core/QPError.h"
#include "brivane/api/core/QPTransportLayer.h"
#include "brivane/platform/QPHttpClient.h"

namespace brivane::pipeline {

/// One call as it travels through the steps.
struct Exchange {
  enum class Entry { JSON, Form };

  // What the family gave, read by the steps that build the request.
  Entry entry = Entry::JSON;
  QPURLComponents components;
  std::optional<boost::json::object> params;  // the JSON entry's parameters
  std::optional<QPFormParams> form;           // the form entry's fields

  // Where the call's configuration comes from: the transport, alive while the steps build the
  // request on the caller's thread; only weakly afterwards (a released transport no longer
  // judges the answer's status).
  const QPTransportLayer* transport = nullptr;
  std::weak_ptr<const QPTransportLayer> owner;
  std::shared_ptr<QPHttpClient> client;
  // Reads a successful answer's body into the family's response instead of the step parsing
  // it (the outcome then carries no JSON); none for the transport's own callers.
  std::shared_ptr<detail::AnswerReader> reader;
  // The call's options, read once when it starts: the transport's, overridden by the scope's.
  QPCallOptions options;

  // Built by the steps.
  // "partnerReference" and "programCode", set by the identify step for the JSON entry.
  std::array<std::pair<const char*, std::string>, 2> identifying{
      {{"partnerReference", {}}, {"programCode", {}}}};
  QPHttpRequest request;
  std::atomic<int> attempts{0};      // made so far (read where the call finishes)
  bool resent = false;               // a step may send `request` again (else the send step takes it)
  std::atomic<bool> started{false};  // the pipeline's run has returned to the caller
};

/// What comes back up: the client's result of the last exchange (when one was made), and the
/// call's outcome once mapped, either JSON or an error.
struct Outcome {
  std::optional<QPHttpResult> result;
  std::optional<boost::json::value> json;
  std::optional<QPError> error;

  static Outcome failure(QPError error) {
    Outcome outcome;
    outcome.error = std::move(error);
    return outcome;
  }
};

using Done = std::function<void(Outcome&&)>;
class Step;
using Steps = std::vector<std::unique_ptr<Step>>;

/// Hands a call on to the step after the current one.
class Next {
 public:
  Next(const Steps& steps, std::size_t index) : steps_(steps), index_(index) {}
  void operator()(const std::shared_ptr<Exchange>& exchange, Done done) const;

 private:
  const Steps& steps_;
  std::size_t index_;
};

/// One job of the pipeline.
class Step {
 public:
  virtual ~Step() = default;
  /// Does the step's part of `exchange` and calls `next` with a completion of its own, or
  /// completes `done` at once (a call that ends here). `done` runs exactly once.
  virtual void process(const std::shared_ptr<Exchange>& exchange, const Next& next, Done done) const = 0;
};

/// The ordered steps of the transport. Shared by the calls in flight, so that a call finishes
/// even when its transport has gone.
class Pipeline {
 public:
  explicit Pipeline(Steps steps) : steps_(std::move(steps)) {}
  /// Runs `exchange` through every step; `done` runs exactly once, never before this returns.
  void run(const std::shared_ptr<Exchange>& exchange, Done done) const;

  /// The transport's steps, in order: watch the call, authorise, identify, encode, cancel, map,
  /// retry, watch the attempt, send. A step whose option is unset hands on untouched.
  static std::shared_ptr<const Pipeline> standard();

 private:
  Steps steps_;
};

}  // namespace brivane::pipeline
