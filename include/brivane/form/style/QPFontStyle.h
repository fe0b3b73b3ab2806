#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "brivane/QPExport.h"
#include "brivane/util/QPColor.h"

namespace brivane {

/// A font of the payment form: family, size, colour and weight/slant bits.
///
/// Renders itself as CSS declarations (`css`) and as members of a script object literal
/// (`json`). Plain value object: use from one thread at a time.
class BRIVANE_API QPFontStyle {
 public:
  /// `textStyle` bit that makes the font bold.
  static constexpr std::int64_t kTextStyleBold = 2;
  /// `textStyle` bit that makes the font italic.
  static constexpr std::int64_t kTextStyleItalic = 4;
  /// The size of a default font, in CSS pixels.
  static constexpr double kDefaultTextSize = 16.0;

  /// CSS font family name; nil when not set.
  const std::optional<std::string>& fontName() const { return fontName_; }
  /// Sets or (nil) clears the family.
  void setFontName(std::optional<std::string> fontName) { fontName_ = std::move(fontName); }

  /// Size in CSS pixels, 16.0 by default.
  double textSize() const { return textSize_; }
  /// Sets the size in CSS pixels.
  void setTextSize(double textSize) { textSize_ = textSize; }

  /// Text colour; nil when not set.
  const std::optional<QPColor>& textColor() const { return textColor_; }
  /// Sets or (nil) clears the colour.
  void setTextColor(std::optional<QPColor> textColor) { textColor_ = std::move(textColor); }

  /// Bit set: `kTextStyleBold` (2) and `kTextStyleItalic` (4); other bits are ignored.
  std::int64_t textStyle() const { return textStyle_; }
  /// Sets the bold/italic bit set.
  void setTextStyle(std::int64_t textStyle) { textStyle_ = textStyle; }

  /// True when a font name or colour is present, the size is not exactly 16.0 or any
  /// `textStyle` bit is set.
  bool isObjSet() const;

  /// CSS declarations, each followed by a blank, e.g.
  /// "font-size: 16.000000px !important; font-weight: normal !important; ".
  std::string css() const;

  /// Script object members without the font family, each followed by ", ", e.g.
  /// "'font-size': '16.000000px', 'font-weight': 'normal', ".
  std::string json() const;

 private:
  std::optional<std::string> fontName_;
  double textSize_ = kDefaultTextSize;
  std::optional<QPColor> textColor_;
  std::int64_t textStyle_ = 0;
};

}  // namespace brivane
