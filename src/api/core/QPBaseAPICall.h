// The families' common call pattern: the member templates that `QPBaseAPI` declares, defined
// here so that building typed answers and reaching the main queue stay inside the SDK. Included
// by the families' sources only.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <boost/json/value.hpp>

#include "brivane/api/core/QPBaseAPI.h"
#include "brivane/api/core/QPTransportLayer.h"
#include "brivane/platform/QPMainQueue.h"
#include "platform/linux/QPMainContext.h"

namespace brivane {
namespace detail {

/// Turns a transport completion into an operation's typed completion: on success the answer
/// becomes a `Response` where the transport reads it; the host's completion runs on the main
/// queue.
template <class Response>
QPTransportLayer::Completion deliver(QPCompletion<Response> completion) {
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
    // As `QPMainQueue::complete`, without wrapping the host's call when it runs at once.
    auto toHost = [completion = std::move(completion), error = std::move(error),
                   response = std::move(response)]() { completion(error, response); };
    if (!platform::completeInScope(toHost)) QPMainQueue::post(std::move(toHost));
  };
}

}  // namespace detail

template <class Response>
void QPBaseAPI::call(std::string path, std::string_view method, const QPRequestBaseInterface& request,
                     QPCompletion<Response> completion) const {
  send(std::move(path), method, request, detail::deliver<Response>(std::move(completion)));
}

template <class Response, class Request>
void QPBaseAPI::call(std::string_view pathFormat, std::initializer_list<QPPathArgument> arguments,
                     std::string_view method, const std::shared_ptr<Request>& request,
                     QPCompletion<Response> completion) const {
  std::string path;
  if (auto error = composePath(pathFormat, arguments, request != nullptr, &path))
    return fail(std::move(completion), std::move(*error));
  call(std::move(path), method, *request, std::move(completion));
}

template <class Response>
void QPBaseAPI::callForm(std::string path, std::vector<std::pair<std::string, std::string>> fields,
                         QPCompletion<Response> completion) const {
  sendForm(std::move(path), std::move(fields), detail::deliver<Response>(std::move(completion)));
}

template <class Response>
void QPBaseAPI::fail(QPCompletion<Response> completion, QPError error) {
  if (!completion) return;
  QPMainQueue::post([completion = std::move(completion), error = std::move(error)]() {
    completion(error, std::shared_ptr<Response>());
  });
}

}  // namespace brivane
