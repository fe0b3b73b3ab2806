#include "brivane/form/style/QPInputStyle.h"
#include "form/ProviderProfile.h"
#include "form/style/QPCSSText.h"

namespace brivane {
namespace {

// Replaces every non-overlapping occurrence, left to right.
std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  std::size_t at = 0;
  while ((at = text.find(from, at)) != std::string::npos) {
    text.replace(at, from.size(), to);
    at += to.size();
  }
  return text;
}

// A class name derived from the group's by turning "group" into `part`; a missing group
// name prints as "(null)", as a missing object does in the page's text.
std::string derivedClass(const std::optional<std::string>& group, std::string_view part) {
  return group ? csstext::identifier(replaceAll(*group, "group", part)) : std::string("(null)");
}

template <typename Style>
std::shared_ptr<Style> created(std::shared_ptr<Style>& style) {
  if (!style) style = std::make_shared<Style>();
  return style;
}

template <typename Style>
bool isSet(const std::shared_ptr<Style>& style) {
  return style && style->isObjSet();
}

}  // namespace

void QPInputStyle::setIsPlaceholderVisible(bool visible) {
  isPlaceholderVisible_ = visible;
  isPlaceHolderVisabilitySet_ = true;
}

std::shared_ptr<QPFontStyle> QPInputStyle::labelFontStyle() {
  return created(labelFontStyle_);
}
std::shared_ptr<QPFontStyle> QPInputStyle::editTextFontStyle() {
  return created(editTextFontStyle_);
}
std::shared_ptr<QPBorderStyle> QPInputStyle::editTextBorderStyle() {
  return created(editTextBorderStyle_);
}
std::shared_ptr<QPFontStyle> QPInputStyle::validationHintFontStyle() {
  return created(validationHintFontStyle_);
}

bool QPInputStyle::isObjSet() const {
  return isSet(labelFontStyle_) || isSet(editTextFontStyle_) || isSet(editTextBorderStyle_) ||
         isSet(validationHintFontStyle_) || isPlaceHolderVisabilitySet_;
}

std::string QPInputStyle::css() {
  return cssForProvider(0);
}

std::string QPInputStyle::cssForProvider(std::int64_t provider) {
  const bool emptyName = !className_ || className_->empty();
  // A negative number is no provider: it converts to one far beyond the table.
  const bool formService =
      ProviderProfile::of(static_cast<std::uint64_t>(provider)).page == ProviderPage::FormService;
  if (formService) {
    className_ = emptyName ? std::string("qp-group") : replaceAll(*className_, "wpwl", "qp");
    if (provider == 6) className_ = replaceAll(*className_, "accountIban", "iban");
  } else if (provider == 0 && emptyName) {
    className_ = "wpwl-group";
  }
  return cssStr(provider);
}

std::string QPInputStyle::cssStr(std::int64_t provider) {
  const std::string label = derivedClass(className_, "label");
  const std::string control = derivedClass(className_, "control");
  const std::string hint = derivedClass(className_, "hint");
  const std::string wrapper = derivedClass(className_, "wrapper");
  const std::string labelClosing = provider == 7 ? "}" : "margin-top: 16px;}";
  const std::string fieldClosing = provider == 7 ? "}" : "margin-top: 4px;}";

  // Each fragment is read through its getter, so reading creates it.
  auto fontCss = [](const std::shared_ptr<QPFontStyle>& font, const char* after) {
    return font->isObjSet() ? font->css() + after : std::string();
  };

  std::string css = "." + label + "{ " + fontCss(labelFontStyle(), " ") + labelClosing;
  css += "\n." + label + ":not(:first-child){ " + fontCss(labelFontStyle(), " ") + labelClosing;

  css += "\n." + control + ", ." + wrapper + " {" + fontCss(editTextFontStyle(), " ");
  const std::shared_ptr<QPBorderStyle> border = editTextBorderStyle();
  if (border->isObjSet()) css += border->css() + " ";
  css += "background: transparent; " + fieldClosing;

  if (provider != 4 && provider != 5 && provider != 7) {
    css += "\n." + control + "::-webkit-input-placeholder {" + fontCss(editTextFontStyle(), "");
    css += isPlaceholderVisible_ ? "opacity: 0.5}" : "opacity: 0}";
  }

  css += "\n[class*=\"" + hint + "\"]{" + fontCss(validationHintFontStyle(), "") + fieldClosing;
  return css;
}

}  // namespace brivane
