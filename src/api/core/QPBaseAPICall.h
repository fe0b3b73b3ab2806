// The families' common call pattern: the member templates that `QPBaseAPI` declares, defined
// here so that building typed answers and reaching the main queue stay inside the SDK. Included
// by the families' sources only.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <boost/json/value.hpp>

#include "api/core/QPAnswerReader.h"
#include "api/core/QPJSONParse.h"
#include "brivane/api/core/QPBaseAPI.h"
#include "brivane/api/core/QPResponseBase.h"
#include "brivane/api/core/QPTransportLayer.h"
#include "brivane/platform/QPMainQueue.h"
#include "platform/linux/QPMainContext.h"

namespace brivane {
namespace detail {

/// Hands the host's completion an answer on the main queue: the response when there was no
/// error, else the error.
template <class Response>
void completeOnMainQueue(QPCompletion<Response>& completion, std::optional<QPError> error,
                         std::shared_ptr<Response> response) {
  if (!completion) return;
  // As `QPMainQueue::complete`, without wrapping the host's call when it runs at once.
  auto toHost = [completion = std::move(completion), error = std::move(error),
                 response = std::move(response)]() { completion(error, response); };
  if (!platform::completeInScope(toHost)) QPMainQueue::post(std::move(toHost));
}

/// A response filled from its JSON value (a null value when there is none).
template <class Response>
std::shared_ptr<Response> responseFrom(const std::optional<boost::json::value>& json) {
  auto response = std::make_shared<Response>();
  // (Not `json ? *json : value()`: the conditional would copy the whole document.)
  if (json) {
    response->initWithJSONObject(*json);
  } else {
    response->initWithJSONObject(boost::json::value());
  }
  return response;
}

/// The typed end of a call whose response fills itself by its table: the transport has it read
/// the answer's body into the response directly (see `readResponse`).
template <class Response>
class TypedReader final : public AnswerReader {
 public:
  explicit TypedReader(QPCompletion<Response> completion) : completion_(std::move(completion)) {}

  std::optional<QPError> read(std::string_view body) override {
    auto response = std::make_shared<Response>();
    if (readResponse(*response, body)) {
      response_ = std::move(response);
      return std::nullopt;
    }
    // Not read that way: the document, which also tells what is wrong with the body.
    std::optional<QPError> error;
    std::optional<boost::json::value> json = parseJSON(body, &error);
    if (!error) response_ = responseFrom<Response>(json);
    return error;
  }

  void complete(std::optional<boost::json::value> json, std::optional<QPError> error) override {
    std::shared_ptr<Response> response;
    if (!error) response = response_ ? std::move(response_) : responseFrom<Response>(json);
    completeOnMainQueue(completion_, std::move(error), std::move(response));
  }

 private:
  QPCompletion<Response> completion_;
  std::shared_ptr<Response> response_;
};

/// Turns a transport completion into an operation's typed completion: on success the answer
/// becomes a `Response` where the transport reads it; the host's completion runs on the main
/// queue.
template <class Response>
QPTransportLayer::Completion deliver(QPCompletion<Response> completion) {
  if constexpr (std::is_base_of_v<QPResponseBase, Response>) {
    return ReadingCompletion{std::make_shared<TypedReader<Response>>(std::move(completion))};
  } else {
    return [completion = std::move(completion)](std::optional<boost::json::value> json,
                                                std::optional<QPError> error) mutable {
      std::shared_ptr<Response> response;
      if (!error) response = responseFrom<Response>(json);
      completeOnMainQueue(completion, std::move(error), std::move(response));
    };
  }
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
