#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/json.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPAccessTokenProvider.h"
#include "brivane/api/core/QPApiClientSetting.h"
#include "brivane/api/core/QPCallOptions.h"
#include "brivane/api/core/QPError.h"
#include "brivane/api/core/QPURLQueryItem.h"
#include "brivane/platform/QPHttpClient.h"

namespace brivane {

/// The path and query items of a request URL, relative to the configured base URL.
struct BRIVANE_API QPURLComponents {
  std::optional<std::string> path;
  /// Nil: the URL has no query. Set (even empty): the transport appends its identifying items.
  std::optional<std::vector<QPURLQueryItem>> queryItems;
  /// The path with its identifiers as names ("/account/{accno}/balance"), as listeners are
  /// told it; nil: the path itself.
  std::optional<std::string> pathTemplate = std::nullopt;

  /// The decoded query text ("a=1&b=2"), nil without query items.
  std::optional<std::string> query() const;
};

/// Status, headers and final URL of an HTTP answer.
struct BRIVANE_API QPHTTPResponse {
  std::string url;
  long statusCode = 0;
  std::vector<std::pair<std::string, std::string>> headerFields;

  /// The value of a header, names compared without regard to case; nil when absent.
  std::optional<std::string> valueForHTTPHeaderField(std::string_view name) const;
  /// A readable dump of the URL, status and headers.
  std::string description() const;
};

/// Fields of a form-encoded body, in order.
using QPFormParams = std::vector<std::pair<std::string, std::string>>;

/// The one place where the API client talks HTTP.
///
/// Every call runs through one ordered pipeline of steps: authorise (the bearer token), identify
/// ("partnerReference", "programCode"), encode (the absolute URL from the base URL and the
/// components, the standard headers, the body), send (through the `QPHttpClient`: by default the
/// SDK's networking, libcurl's multi interface driven from the default main context) and map
/// (failed answers to a `QPError`, successful ones to JSON).
///
/// Thread rules: the load operations may be called from any thread and return at once; requests
/// progress while the default main context runs. The completion runs exactly once, never on the
/// caller's thread before returning, with either (JSON, nil) or (nil, error): on the main
/// context, or, for an answer of 256 KiB or more, on the networking's worker thread (so that
/// parsing it does not stall the main loop). Create it with `std::make_shared`: an in-flight
/// request holds it weakly, and if it is released meanwhile the answer is delivered as if no
/// error had been found.
class BRIVANE_API QPTransportLayer : public std::enable_shared_from_this<QPTransportLayer> {
 public:
  using Completion =
      std::function<void(std::optional<boost::json::value> json, std::optional<QPError> error)>;

  /// The default time-out of one request.
  static constexpr std::chrono::milliseconds kDefaultTimeout{60000};
  /// The default limit of an answer's body (64 MiB).
  static constexpr std::size_t kDefaultMaximumResponseSize = 64u << 20;

  QPTransportLayer(std::shared_ptr<QPAccessTokenProvider> accessTokenProvider,
                   std::shared_ptr<QPApiClientSettingsInterface> settings);
  ~QPTransportLayer();

  /// The JSON entry: `method` is "GET", "POST", "PUT" or "DELETE"; a non-empty `params`
  /// becomes the JSON body together with the identifying parameters.
  void loadRequestWithURLComponents(QPURLComponents components, std::string method,
                                    std::optional<boost::json::object> params, Completion completion);

  /// The form entry used by "/token": always POST, body "k=v&" per field with no encoding.
  void loadRequestWithFormURLComponents(QPURLComponents components, std::optional<QPFormParams> params,
                                        Completion completion);

  /// Decides whether an answer is a failure and builds its error; nil when it is not.
  std::optional<QPError> errorFromResponse(const QPHTTPResponse* response,
                                           const std::optional<QPError>& error,
                                           const std::string* data) const;

  /// "An API returned status code N - <response>".
  std::string defaultMessageFromResponse(const QPHTTPResponse& response) const;

  /// The absolute URL text for `components` under the configured base URL.
  std::string composeURL(const QPURLComponents& components) const;

  const std::shared_ptr<QPAccessTokenProvider>& accessTokenProvider() const { return accessTokenProvider_; }
  void setAccessTokenProvider(std::shared_ptr<QPAccessTokenProvider> provider) {
    accessTokenProvider_ = std::move(provider);
  }
  const std::shared_ptr<QPApiClientSettingsInterface>& setting() const { return setting_; }
  void setSetting(std::shared_ptr<QPApiClientSettingsInterface> setting) { setting_ = std::move(setting); }

  /// Time-out of each request (default 60 s). Set before requests start.
  std::chrono::milliseconds timeoutInterval() const { return timeout_; }
  void setTimeoutInterval(std::chrono::milliseconds timeout) { timeout_ = timeout; }
  /// Largest body accepted (default 64 MiB); a larger answer fails with
  /// `QPClientErrorBodyTooLarge`. Set before requests start.
  std::size_t maximumResponseSize() const { return maximumResponseSize_; }
  void setMaximumResponseSize(std::size_t bytes) { maximumResponseSize_ = bytes; }
  /// Options of every call; those of a `QPCallOptionsScope` in force when a call starts override
  /// them. Set before requests start.
  const QPCallOptions& callOptions() const { return callOptions_; }
  void setCallOptions(QPCallOptions options) { callOptions_ = std::move(options); }
  /// The sending step (nil: the SDK's own networking). Set before requests start.
  const std::shared_ptr<QPHttpClient>& httpClient() const { return httpClient_; }
  void setHttpClient(std::shared_ptr<QPHttpClient> client) { httpClient_ = std::move(client); }

 private:
  std::shared_ptr<QPAccessTokenProvider> accessTokenProvider_;
  std::shared_ptr<QPApiClientSettingsInterface> setting_;
  std::chrono::milliseconds timeout_ = kDefaultTimeout;
  std::size_t maximumResponseSize_ = kDefaultMaximumResponseSize;
  std::shared_ptr<QPHttpClient> httpClient_;
  QPCallOptions callOptions_;
};

}  // namespace brivane
