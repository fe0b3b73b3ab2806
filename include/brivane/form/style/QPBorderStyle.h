#pragma once

#include <memory>
#include <string>
#include <utility>

#include "brivane/QPExport.h"
#include "brivane/form/style/QPBorderSideStyle.h"
#include "brivane/form/style/QPEmptyCheckerProtocol.h"

namespace brivane {

/// A border of four sides.
///
/// Each side getter creates its side on first read and, on every read, names the side
/// "left", "right", "top" or "bottom" (a side shared with another border takes the name
/// of the border it was last read through). Setters store the given side as it is; a
/// null side is created afresh on the next read. Copies share their sides.
/// Plain value object: use from one thread at a time.
class BRIVANE_API QPBorderStyle : public QPEmptyCheckerProtocol {
 public:
  /// The left side, created on first read, named "left" on every read.
  std::shared_ptr<QPBorderSideStyle> leftBorderStyle();
  /// The right side, created on first read, named "right" on every read.
  std::shared_ptr<QPBorderSideStyle> rightBorderStyle();
  /// The top side, created on first read, named "top" on every read.
  std::shared_ptr<QPBorderSideStyle> topBorderStyle();
  /// The bottom side, created on first read, named "bottom" on every read.
  std::shared_ptr<QPBorderSideStyle> bottomBorderStyle();

  /// Stores the side as it is (its name changes on the next read).
  void setLeftBorderStyle(std::shared_ptr<QPBorderSideStyle> side) { left_ = std::move(side); }
  /// Stores the side as it is (its name changes on the next read).
  void setRightBorderStyle(std::shared_ptr<QPBorderSideStyle> side) { right_ = std::move(side); }
  /// Stores the side as it is (its name changes on the next read).
  void setTopBorderStyle(std::shared_ptr<QPBorderSideStyle> side) { top_ = std::move(side); }
  /// Stores the side as it is (its name changes on the next read).
  void setBottomBorderStyle(std::shared_ptr<QPBorderSideStyle> side) { bottom_ = std::move(side); }

  /// True when any stored side is set; creates no side.
  bool isObjSet() const override;

  /// The `css` of the left, right, top and bottom sides in this order, each read through
  /// its getter (so all four are created and printed, also those never set).
  std::string css();

 private:
  std::shared_ptr<QPBorderSideStyle> left_;
  std::shared_ptr<QPBorderSideStyle> right_;
  std::shared_ptr<QPBorderSideStyle> top_;
  std::shared_ptr<QPBorderSideStyle> bottom_;
};

}  // namespace brivane
