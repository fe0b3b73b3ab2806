#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "brivane/QPExport.h"
#include "brivane/platform/QPHttpClient.h"

namespace brivane {

/// One request as a `QPFakeHttpClient` received it: what the SDK would have put on the wire.
struct BRIVANE_API QPRecordedRequest {
  std::string method;
  std::string url;  ///< absolute, with the query
  QPHttpHeaders headers;
  std::optional<std::string> body;

  /// The value of a header, names compared without regard to case; nil when absent.
  std::optional<std::string> header(std::string_view name) const;
};

/// An HTTP client for a host's unit tests: no server, no sockets. Give it in
/// `QPApiProviderOption::httpClient`, queue the answers the test needs, run the code under test,
/// then look at the requests it made.
///
/// ```
/// auto http = std::make_shared<brivane::QPFakeHttpClient>();
/// http->respond("GET", "/settings/country", 200, R"({"countries":[{"countryCode":"AT"}]})");
/// option.httpClient = http;
/// ... run the code under test and the main queue ...
/// EXPECT_EQ(http->requests().size(), 1u);
/// ```
///
/// Each queued answer serves one request with that method whose URL path ends with `path` (the
/// query is not compared, so a base URL's own path needs no mention), in the order they were
/// queued; a request nothing is queued for gets a 404 answer with an empty body. Answers carry
/// "Content-Type: application/json" unless given headers say otherwise, and arrive on the main
/// queue, later, like those of the real client.
///
/// Thread rules: every method may be called from any thread.
class BRIVANE_API QPFakeHttpClient : public QPHttpClient {
 public:
  /// Makes the answer to a request (the status, headers and body of the result; or a failure,
  /// `code` set to a networking code such as 7).
  using Responder = std::function<QPHttpResult(const QPRecordedRequest& request)>;

  QPFakeHttpClient();
  ~QPFakeHttpClient() override;

  /// Queues an answer with `status` and `body` for the next `method` request to `path`.
  void respond(std::string method, std::string path, long status, std::string body);
  /// The same with the answer's headers.
  void respond(std::string method, std::string path, long status, std::string body, QPHttpHeaders headers);
  /// Queues `responder`, asked for the answer when the request comes.
  void respond(std::string method, std::string path, Responder responder);

  /// Every request received so far, in order.
  std::vector<QPRecordedRequest> requests() const;

  void send(QPHttpRequest request, Completion completion) override;

 private:
  struct Queued {
    std::string method;
    std::string path;
    Responder responder;
  };

  mutable std::mutex mutex_;
  std::deque<Queued> queued_;
  std::vector<QPRecordedRequest> requests_;
};

}  // namespace brivane
