#include "brivane/form/style/QPFontStyle.h"

#include <cstdio>

#include "brivane/util/QPUtils.h"
#include "form/style/QPCSSText.h"

namespace brivane {
namespace {

// The size exactly as "%f" prints it (16 gives "16.000000").
std::string fixedSix(double value) {
  int length = std::snprintf(nullptr, 0, "%f", value);
  if (length <= 0) return std::string();
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::snprintf(text.data(), text.size(), "%f", value);
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace

bool QPFontStyle::isObjSet() const {
  return fontName_.has_value() || textSize_ != kDefaultTextSize || textColor_.has_value() || textStyle_ != 0;
}

std::string QPFontStyle::css() const {
  std::string css;
  if (fontName_) css += "font-family:\"" + csstext::stringContent(*fontName_) + "\" !important; ";
  css += "font-size: " + fixedSix(textSize_) + "px !important; ";
  if (textColor_) css += "color: #" + QPUtils::hexStringForColor(*textColor_) + " !important; ";
  css += "font-weight: normal !important; ";
  if (textStyle_ & kTextStyleBold) css += "font-weight: bold !important; ";
  if (textStyle_ & kTextStyleItalic) css += "font-style: italic !important; ";
  return css;
}

std::string QPFontStyle::json() const {
  std::string json = "'font-size': '" + fixedSix(textSize_) + "px', ";
  if (textColor_) json += "'color': '#" + QPUtils::hexStringForColor(*textColor_) + "', ";
  json += "'font-weight': 'normal', ";
  if (textStyle_ & kTextStyleBold) json += "'font-weight': 'bold', ";
  if (textStyle_ & kTextStyleItalic) json += "'font-style': 'italic', ";
  return json;
}

}  // namespace brivane
