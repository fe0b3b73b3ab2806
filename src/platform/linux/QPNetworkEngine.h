#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "brivane/platform/QPHttpClient.h"

namespace brivane::platform {

/// The process's networking: libcurl's multi interface driven from the default main context,
/// connections reused. It is the default `QPHttpClient`: it speaks method, URL, headers and body
/// in, status, headers, body and libcurl's code out, and knows nothing of the API above it.
///
/// Thread rules: `send`, `dispatch`, `offload` and `after` may be called from any thread and
/// never run their callback before returning. The callbacks of `send`, `dispatch` and `after`
/// run on the main context, exactly once each (with a failure if the engine shuts down first,
/// then on the thread that ends the process); requests progress only while the main context is
/// run. A stopped request leaves libcurl at the engine's next pass and completes with
/// `kStoppedCode`.
class NetworkEngine : public QPHttpClient {
 public:
  /// The code of an exchange ended by its stop token (libcurl's "aborted by callback").
  static constexpr int kStoppedCode = 42;

  static std::shared_ptr<NetworkEngine> shared();

  /// Runs `task` on the main context, later.
  virtual void dispatch(std::function<void()> task) = 0;
  /// Runs `task` later on a worker thread of the engine, away from the main context (for work
  /// that would stall it, such as reading a large answer).
  virtual void offload(std::function<void()> task) = 0;
  /// Runs `task` on the main context once `delay` has passed.
  virtual void after(std::chrono::milliseconds delay, std::function<void()> task) = 0;
};

}  // namespace brivane::platform
