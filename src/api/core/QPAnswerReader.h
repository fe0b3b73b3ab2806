// Reading a successful answer straight into the family's typed response: the body is parsed and
// the response filled in one pass, so that a large answer never exists whole as a JSON document
// next to the response made from it.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include <boost/json/value.hpp>

#include "brivane/api/core/QPError.h"

namespace brivane {

class QPResponseBase;

namespace detail {

/// The typed end of one call, which the transport lets read the answer's body itself. Thread
/// rules: `read` runs once at most, where the answer is read (the main context or the
/// networking's worker), before the completion; the completion then delivers what it read.
class AnswerReader {
 public:
  virtual ~AnswerReader() = default;
  /// Parses `body` and fills the response; the error `parseJSON` gives when it is not JSON.
  virtual std::optional<QPError> read(std::string_view body) = 0;
  /// The transport's completion: (JSON, nil) or (nil, error), or (nil, nil) after `read`.
  virtual void complete(std::optional<boost::json::value> json, std::optional<QPError> error) = 0;
};

/// The transport's completion of a family's call: recognised by the transport (as the target of
/// its `Completion`), which then has the answer read by `reader` instead of parsing it.
struct ReadingCompletion {
  std::shared_ptr<AnswerReader> reader;
  void operator()(std::optional<boost::json::value> json, std::optional<QPError> error) const {
    reader->complete(std::move(json), std::move(error));
  }
};

/// Fills `response` by its table from `body`, as `parseJSON` and `initWithJSONObject` would, but
/// building only one key's value at a time, and one element at a time of a list of models. False
/// (nothing said about `response`) when the body is not a JSON dictionary read this way, or holds
/// a key of the table twice: the caller then reads it the usual way, which also finds the error.
bool readResponse(QPResponseBase& response, std::string_view body);

}  // namespace detail
}  // namespace brivane
