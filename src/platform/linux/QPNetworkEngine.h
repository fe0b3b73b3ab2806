#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brivane::platform {

/// One HTTP exchange: method, URL, headers and body in.
struct NetworkRequest {
  std::string url;
  std::string method;
  std::vector<std::string> headers;     ///< "Name: value"
  std::optional<std::string> body;      ///< nil: no body at all
  std::chrono::milliseconds timeout{};  ///< of the whole exchange; set by the caller
  std::size_t maximumResponseSize = 0;  ///< the largest body accepted; set by the caller
};

/// What came back: status, headers and body of the final answer, or libcurl's code of a failure,
/// or the reason the engine itself ended the exchange.
struct NetworkResult {
  /// Why the engine ended an exchange on its own.
  enum class Stop {
    None,
    RedirectToOtherOrigin,  ///< `detail`: the origin; the redirect was not followed
    TooManyRedirects,       ///< `detail`: the limit
    BodyTooLarge,           ///< `detail`: the limit in bytes
  };
  bool answered = false;  ///< `status`, `url`, `headerFields` and `body` hold the answer
  int code = 0;           ///< libcurl's result code (0: none)
  std::string errorText;  ///< libcurl's text of a failure
  Stop stop = Stop::None;
  std::string detail;
  long status = 0;
  std::string url;  ///< the answer's final URL
  std::vector<std::pair<std::string, std::string>> headerFields;
  std::string body;
};

/// The process's networking: libcurl's multi interface driven from the default main context,
/// connections reused.
///
/// Thread rules: `perform`, `dispatch` and `offload` may be called from any thread and never run
/// their callback before returning. The callbacks of `perform` and `dispatch` run on the main
/// context, exactly once each (with a failure if the engine shuts down first, then on the thread
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
