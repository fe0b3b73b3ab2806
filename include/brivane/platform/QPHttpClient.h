#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "brivane/QPExport.h"

namespace brivane {

/// Header fields in the order they are sent or were received: (name, value).
using QPHttpHeaders = std::vector<std::pair<std::string, std::string>>;

/// One HTTP exchange as the API client hands it to a `QPHttpClient`: everything is final, the
/// client sends it as it is. Plain value type.
struct BRIVANE_API QPHttpRequest {
  std::string method;  ///< "GET", "POST", "PUT" or "DELETE"
  std::string url;     ///< absolute, already percent-encoded where needed
  QPHttpHeaders headers;
  std::optional<std::string> body;      ///< nil: no body at all
  std::chrono::milliseconds timeout{};  ///< of the whole exchange
  std::size_t maximumResponseSize = 0;  ///< the largest body to accept
  /// Stopped when the call is cancelled: the client ends the exchange if it can and sends
  /// nothing more for it. Its completion is still expected (its result is then ignored).
  std::stop_token stop;
};

/// What came back of one exchange: an answer (`code` 0: status, headers and body hold it) or a
/// failure (`code`: the transport's code in libcurl's numbering, such as 6 host not resolved,
/// 7 no connection, 28 timed out, 52 empty reply, 56 receive failure). Plain value type.
struct BRIVANE_API QPHttpResult {
  /// Why the client ended an exchange on its own, by a rule of the request.
  enum class Stop {
    None,
    RedirectToOtherOrigin,  ///< `detail`: the origin; the redirect was not followed
    TooManyRedirects,       ///< `detail`: the limit
    BodyTooLarge,           ///< `detail`: the limit in bytes
  };

  int code = 0;           ///< 0: answered; otherwise the failure's code
  std::string errorText;  ///< the failure's text
  Stop stop = Stop::None;
  std::string detail;
  long status = 0;  ///< the HTTP status of the answer
  std::string url;  ///< the answer's final URL (after redirects)
  QPHttpHeaders headers;
  std::string body;

  /// Whether an answer came (status, headers and body are set).
  bool answered() const { return code == 0 && stop == Stop::None; }
};

/// The sending step of the API client: one HTTP exchange in, its result out. The SDK's own is
/// libcurl's multi interface driven from the default main context; a host may give its own in
/// `QPApiProviderOption::httpClient` (a test double such as `QPFakeHttpClient`, or its own
/// networking).
///
/// Thread rules: `send` is called on the thread that started the call, and must return at once.
/// The client calls `completion` exactly once, later (never inside `send`), on any thread; the
/// SDK takes the result to the main queue itself. Redirects within the request's origin may be
/// followed; credentials never follow one to another origin (report `RedirectToOtherOrigin`).
class BRIVANE_API QPHttpClient {
 public:
  using Completion = std::function<void(QPHttpResult result)>;

  virtual ~QPHttpClient() = default;
  virtual void send(QPHttpRequest request, Completion completion) = 0;
};

}  // namespace brivane
