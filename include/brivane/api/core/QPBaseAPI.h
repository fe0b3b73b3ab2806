#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/json/fwd.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPError.h"
#include "brivane/api/core/QPRequestBase.h"

namespace brivane {

class QPTransportLayer;

/// Completion of an API operation: (error or nil, response or nil); exactly one is set.
/// Called once, asynchronously, on the main queue; an empty function is skipped.
template <class Response>
using QPCompletion = std::function<void(std::optional<QPError> error, std::shared_ptr<Response> response)>;

/// One identifier argument of an operation's path ("userId", "accno", ...), by name and value.
struct BRIVANE_API QPPathArgument {
  const char* name;
  const std::optional<std::string>& value;
};

/// Base of the five API families: holds the shared transport and the common call pattern.
///
/// Thread rules: operations may be started on any thread and return at once.
class BRIVANE_API QPBaseAPI {
 public:
  explicit QPBaseAPI(std::shared_ptr<QPTransportLayer> transportLayer);
  virtual ~QPBaseAPI();
  QPBaseAPI(const QPBaseAPI&) = delete;
  QPBaseAPI& operator=(const QPBaseAPI&) = delete;

  const std::shared_ptr<QPTransportLayer>& transportLayer() const { return transportLayer_; }

 protected:
  // The common call pattern of the families. Defined inside the SDK (the families' sources
  // include its detail header): the typed answer is built there, never in a host's code.

  /// GET parameters travel as query items, other methods' as a JSON body; the answer becomes a
  /// `Response` and reaches `completion` on the main queue.
  template <class Response>
  void call(std::string path, std::string_view method, const QPRequestBaseInterface& request,
            QPCompletion<Response> completion) const;

  /// The common call of an operation that takes a request object and identifiers for its path.
  /// A nil request or a nil identifier is a client error (`QPClientErrorMissingArgument`)
  /// reported through the completion, and nothing is sent. Otherwise every "%@" of
  /// `pathFormat` is replaced by the next identifier as one percent-encoded path segment: a
  /// "/", "?", "#", "%" or a dot segment in it cannot reach another endpoint; an empty
  /// identifier leaves an empty segment.
  template <class Response, class Request>
  void call(std::string_view pathFormat, std::initializer_list<QPPathArgument> arguments,
            std::string_view method, const std::shared_ptr<Request>& request,
            QPCompletion<Response> completion) const;

  /// The form-encoded call of the token endpoint.
  template <class Response>
  void callForm(std::string path, std::vector<std::pair<std::string, std::string>> fields,
                QPCompletion<Response> completion) const;

  /// Reports `error` to `completion` on the main queue without sending anything (posted: the
  /// caller is still inside the operation).
  template <class Response>
  static void fail(QPCompletion<Response> completion, QPError error);

 private:
  using TransportCompletion =
      std::function<void(std::optional<boost::json::value> json, std::optional<QPError> error)>;

  static std::optional<QPError> composePath(std::string_view pathFormat,
                                            std::initializer_list<QPPathArgument> arguments, bool haveRequest,
                                            std::string* path);
  void send(std::string path, std::string_view method, const QPRequestBaseInterface& request,
            TransportCompletion completion) const;
  void sendForm(std::string path, std::vector<std::pair<std::string, std::string>> fields,
                TransportCompletion completion) const;

  std::shared_ptr<QPTransportLayer> transportLayer_;
};

}  // namespace brivane
