#include "brivane/api/core/QPNumber.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace brivane {

QPNumber QPNumber::boolean(bool value) {
  QPNumber number(static_cast<std::int64_t>(value ? 1 : 0));
  number.kind_ = Kind::Boolean;
  return number;
}

std::int64_t QPNumber::saturatedInteger(double value) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (std::isnan(value)) return 0;
  if (value >= kTwoTo63) return std::numeric_limits<std::int64_t>::max();
  if (value <= -kTwoTo63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

std::optional<QPNumber> QPNumber::parse(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const char* begin = text.data();
  const char* end = begin + text.size();
  if (text.find_first_of(".eE") == std::string_view::npos) {
    std::int64_t integer = 0;
    auto [ptr, ec] = std::from_chars(begin, end, integer);
    if (ec == std::errc() && ptr == end) return QPNumber(integer);
  }
  double real = 0.0;
  auto [ptr, ec] = std::from_chars(begin, end, real);
  if (ec != std::errc() || ptr != end || !std::isfinite(real)) return std::nullopt;
  return QPNumber(real);
}

std::string QPNumber::description() const {
  if (kind_ != Kind::Real) return std::to_string(integer_);
  // Whole reals print without a decimal point, like integers.
  if (std::trunc(real_) == real_ && std::fabs(real_) < 1e15)
    return std::to_string(static_cast<std::int64_t>(real_));
  char buffer[64];
  auto [ptr, ec] = std::to_chars(buffer, buffer + sizeof buffer, real_);
  return ec == std::errc() ? std::string(buffer, ptr) : std::string("nan");
}

bool QPNumber::operator==(const QPNumber& other) const {
  if (kind_ == Kind::Real || other.kind_ == Kind::Real) return doubleValue() == other.doubleValue();
  return integer_ == other.integer_;
}

}  // namespace brivane
