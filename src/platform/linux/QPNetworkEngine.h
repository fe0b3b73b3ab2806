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

/// The process's networking thread: libcurl's multi interface, one thread, connection reuse.
///
/// Thread rules: `perform` and `dispatch` may be called from any thread; their callbacks run on
/// the networking thread, exactly once each (with an error if the engine shuts down first).
class NetworkEngine {
 public:
  static std::shared_ptr<NetworkEngine> shared();

  virtual ~NetworkEngine() = default;
  virtual void perform(NetworkRequest request, std::function<void(NetworkResult)> done) = 0;
  /// Runs `task` on the networking thread, later.
  virtual void dispatch(std::function<void()> task) = 0;
};

}  // namespace brivane::platform
