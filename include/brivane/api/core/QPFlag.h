#pragma once

#include <optional>
#include <utility>

#include "brivane/api/core/QPNumber.h"

namespace brivane {

/// A flag of an answer as the server sent it: a number holding a truth value, nil when the
/// answer had none. Filled and printed like any optional number. Plain value type.
class QPFlag {
 public:
  QPFlag() = default;
  QPFlag(std::optional<QPNumber> value) : value_(std::move(value)) {}  // NOLINT: a flag is its number

  /// The number as sent; nil when absent.
  const std::optional<QPNumber>& value() const { return value_; }
  /// False when nil, otherwise the number's truth.
  bool truth() const { return value_ && value_->boolValue(); }

  bool operator==(const QPFlag& other) const = default;

 private:
  std::optional<QPNumber> value_;
};

}  // namespace brivane

/// The three accessors of a `QPFlag` member, under the names the platform gives them: `getter`
/// returns the number as sent (nil when absent), `test` its truth (false when nil), `setter`
/// replaces it. Used inside a class body.
#define BRIVANE_FLAG_ACCESSORS(getter, test, setter, member) \
  std::optional<QPNumber> getter() const {                   \
    return member.value();                                   \
  }                                                          \
  bool test() const {                                        \
    return member.truth();                                   \
  }                                                          \
  void setter(std::optional<QPNumber> value) {               \
    member = QPFlag(std::move(value));                       \
  }
