#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "brivane/QPExport.h"
#include "brivane/form/style/QPEmptyCheckerProtocol.h"
#include "brivane/util/QPColor.h"

namespace brivane {

/// One side of a border: width, colour and the side's name.
///
/// Plain value object: use from one thread at a time.
class BRIVANE_API QPBorderSideStyle : public QPEmptyCheckerProtocol {
 public:
  /// The width of a side whose size was never set (all bits set); it is printed as is.
  static constexpr std::uint64_t kUnsetSize = std::numeric_limits<std::uint64_t>::max();

  /// True once `size` or `color` has been set.
  bool isObjSet() const override { return isObjSet_; }
  /// Overrides the stored flag.
  void setIsObjSet(bool isObjSet) { isObjSet_ = isObjSet; }

  /// The side colour; black when none is stored.
  QPColor color() const;
  /// The stored colour as it is (nil when none).
  const std::optional<QPColor>& storedColor() const { return color_; }
  /// Stores the colour (also nil) and marks the side as set.
  void setColor(std::optional<QPColor> color);

  /// Width in CSS pixels; `kUnsetSize` until set.
  std::uint64_t size() const { return size_; }
  /// Stores the width truncated towards zero and marks the side as set. Negative widths
  /// and NaN store 0; widths beyond the unsigned 64-bit range store `kUnsetSize`.
  void setSize(double size);

  /// "left", "right", "top" or "bottom", set by the owning border style when it reads the
  /// side; nil for a side never read through a border (then printed as "(null)").
  const std::optional<std::string>& name() const { return name_; }
  /// Changes the name only.
  void setName(std::optional<std::string> name) { name_ = std::move(name); }

  /// "border-NAME-width: SIZEpx !important; border-radius:0px; " and, when a colour is
  /// stored, "border-NAME-color: #RRGGBBAA !important; ".
  std::string css() const;

 private:
  bool isObjSet_ = false;
  std::optional<QPColor> color_;
  std::uint64_t size_ = kUnsetSize;
  std::optional<std::string> name_;
};

}  // namespace brivane
