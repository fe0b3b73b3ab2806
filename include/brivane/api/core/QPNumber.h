#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "brivane/QPExport.h"

namespace brivane {

/// A boxed number as the server's JSON carries it: an integer, a real or a truth value.
///
/// Printed (`description`) the way the platform prints boxed numbers: integers without a decimal
/// point, reals in their shortest round-trip form, truth values as 1 and 0. Plain value type.
class BRIVANE_API QPNumber {
 public:
  enum class Kind { Integer, Real, Boolean };

  QPNumber() : QPNumber(std::int64_t{0}) {}
  QPNumber(int value) : QPNumber(static_cast<std::int64_t>(value)) {}
  QPNumber(std::int64_t value) : kind_(Kind::Integer), integer_(value), real_(static_cast<double>(value)) {}
  QPNumber(double value) : kind_(Kind::Real), integer_(saturatedInteger(value)), real_(value) {}
  /// A truth value (1 or 0).
  static QPNumber boolean(bool value);

  /// `value` cut toward zero and clamped to the 64-bit range (NaN gives 0): defined for every
  /// double, where a plain cast is not.
  static std::int64_t saturatedInteger(double value);

  /// Reads a decimal number ("42", "-7", "10.5", "1e3"); nil unless the whole text is one.
  static std::optional<QPNumber> parse(std::string_view text);

  Kind kind() const { return kind_; }
  std::int64_t int64Value() const { return integer_; }
  double doubleValue() const { return real_; }
  /// Non-zero is true.
  bool boolValue() const { return real_ != 0.0 || integer_ != 0; }

  /// The printed form: "10", "10.5", "1".
  std::string description() const;

  bool operator==(const QPNumber& other) const;

 private:
  Kind kind_;
  std::int64_t integer_;
  double real_;
};

}  // namespace brivane
