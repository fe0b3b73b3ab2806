#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <boost/json.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPError.h"
#include "brivane/api/core/QPRequestBase.h"
#include "brivane/api/core/QPTransportLayer.h"
#include "brivane/platform/QPMainQueue.h"

namespace brivane {

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
  /// The common call: GET parameters travel as query items, other methods' as a JSON body; the
  /// answer becomes a `Response` where the transport reads it and reaches `completion` on the
  /// main queue.
  template <class Response>
  void call(std::string path, std::string_view method, const QPRequestBaseInterface& request,
            QPCompletion<Response> completion) const {
    send(std::move(path), method, request, deliver<Response>(std::move(completion)));
  }

  /// The common call of an operation that takes a request object and identifiers for its path.
  /// A nil request or a nil identifier is a client error (`QPClientErrorMissingArgument`)
  /// reported through the completion, and nothing is sent. Otherwise every "%@" of
  /// `pathFormat` is replaced by the next identifier as one percent-encoded path segment: a
  /// "/", "?", "#", "%" or a dot segment in it cannot reach another endpoint; an empty
  /// identifier leaves an empty segment.
  template <class Response, class Request>
  void call(std::string_view pathFormat, std::initializer_list<QPPathArgument> arguments,
            std::string_view method, const std::shared_ptr<Request>& request,
            QPCompletion<Response> completion) const {
    std::string path;
    if (auto error = composePath(pathFormat, arguments, request != nullptr, &path))
      return fail(std::move(completion), std::move(*error));
    call(std::move(path), method, *request, std::move(completion));
  }

  /// The form-encoded call of the token endpoint.
  template <class Response>
  void callForm(std::string path, QPFormParams fields, QPCompletion<Response> completion) const {
    sendForm(std::move(path), std::move(fields), deliver<Response>(std::move(completion)));
  }

  /// Reports `error` to `completion` on the main queue without sending anything (posted: the
  /// caller is still inside the operation).
  template <class Response>
  static void fail(QPCompletion<Response> completion, QPError error) {
    if (!completion) return;
    QPMainQueue::post([completion = std::move(completion), error = std::move(error)]() {
      completion(error, std::shared_ptr<Response>());
    });
  }
  /// Turns a transport completion into the operation's typed completion.
  template <class Response>
  static QPTransportLayer::Completion deliver(QPCompletion<Response> completion) {
    return [completion = std::move(completion)](std::optional<boost::json::value> json,
                                                std::optional<QPError> error) mutable {
      std::shared_ptr<Response> response;
      if (!error) {
        response = std::make_shared<Response>();
        // (Not `json ? *json : value()`: the conditional would copy the whole document.)
        if (json) {
          response->initWithJSONObject(*json);
        } else {
          response->initWithJSONObject(boost::json::value());
        }
      }
      if (!completion) return;
      QPMainQueue::complete([completion = std::move(completion), error = std::move(error),
                             response = std::move(response)]() { completion(error, response); });
    };
  }

 private:
  static std::optional<QPError> composePath(std::string_view pathFormat,
                                            std::initializer_list<QPPathArgument> arguments, bool haveRequest,
                                            std::string* path);
  void send(std::string path, std::string_view method, const QPRequestBaseInterface& request,
            QPTransportLayer::Completion completion) const;
  void sendForm(std::string path, QPFormParams fields, QPTransportLayer::Completion completion) const;

  std::shared_ptr<QPTransportLayer> transportLayer_;
};

}  // namespace brivane
