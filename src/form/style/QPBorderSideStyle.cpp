#include "brivane/form/style/QPBorderSideStyle.h"

#include <cmath>
#include <cstdio>

#include "brivane/util/QPUtils.h"

namespace brivane {

static_assert(sizeof(unsigned long) == sizeof(std::uint64_t), "widths are printed with %lu");

QPColor QPBorderSideStyle::color() const {
  return color_.value_or(QPColor::black());
}

void QPBorderSideStyle::setColor(std::optional<QPColor> color) {
  color_ = std::move(color);
  isObjSet_ = true;
}

void QPBorderSideStyle::setSize(double size) {
  // Truncation towards zero, saturating where the value has no unsigned 64-bit form.
  constexpr double kTwoTo64 = 18446744073709551616.0;
  if (std::isnan(size) || size <= 0.0) {
    size_ = 0;
  } else if (size >= kTwoTo64) {
    size_ = kUnsetSize;
  } else {
    size_ = static_cast<std::uint64_t>(size);
  }
  isObjSet_ = true;
}

std::string QPBorderSideStyle::css() const {
  const std::string side = name_.value_or("(null)");
  char width[32];
  std::snprintf(width, sizeof width, "%lu", static_cast<unsigned long>(size_));
  std::string css = "border-" + side + "-width: " + width + "px !important; border-radius:0px; ";
  if (color_) css += "border-" + side + "-color: #" + QPUtils::hexStringForColor(*color_) + " !important; ";
  return css;
}

}  // namespace brivane
