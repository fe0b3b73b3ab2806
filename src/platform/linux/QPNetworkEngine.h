#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brivane/api/core/QPError.h"
#include "brivane/api/core/QPTransportLayer.h"

namespace brivane::platform {

/// One HTTP exchange as the transport describes it.
struct NetworkRequest {
  std::string url;
  std::string method;
  std::vector<std::string> headers;  ///< "Name: value"
  std::optional<std::string> body;   ///< nil: no body at all
  std::chrono::milliseconds timeout{60000};
  std::size_t maximumResponseSize = 64u << 20;
};

/// What came back: a networking error, or a response with its body (or both, for a transfer
/// cut off after the headers).
struct NetworkResult {
  std::optional<QPError> error;
  std::optional<QPHTTPResponse> response;
  std::string body;
};

/// The process's networking: libcurl's multi interface driven from the default main context,
/// connections reused.
///
/// Thread rules: `perform`, `dispatch` and `offload` may be called from any thread and never run
/// their callback before returning. The callbacks of `perform` and `dispatch` run on the main
/// context, exactly once each (with an error if the engine shuts down first, then on the thread
/// that ends the process); requests progress only while the main context is run.
class NetworkEngine {
 public:
  static std::shared_ptr<NetworkEngine> shared();

  virtual ~NetworkEngine() = default;
  virtual void perform(NetworkRequest request, std::function<void(NetworkResult)> done) = 0;
  /// Runs `task` on the main context, later.
  virtual void dispatch(std::function<void()> task) = 0;
  /// Runs `task` later on a worker thread of the engine, away from the main context (for work
  /// that would stall it, such as reading a large answer).
  virtual void offload(std::function<void()> task) = 0;
};

}  // namespace brivane::platform
