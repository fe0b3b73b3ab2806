#include "brivane/form/style/QPFormStyle.h"

namespace brivane {
namespace {

std::shared_ptr<QPInputStyle> created(std::shared_ptr<QPInputStyle>& style, const char* className) {
  if (!style) {
    style = std::make_shared<QPInputStyle>();
    style->setClassName(className);
  }
  return style;
}

bool isSet(const std::shared_ptr<QPInputStyle>& style) {
  return style && style->isObjSet();
}

}  // namespace

bool QPFormStyle::isPlaceholderVisible() {
  return paymentFormInputStyle()->isPlaceholderVisible();
}

void QPFormStyle::setIsPlaceholderVisible(bool /*visible*/) {
  // The form's own flag, never written, is what reaches the general style.
  paymentFormInputStyle()->setIsPlaceholderVisible(isPlaceholderVisible_);
}

std::shared_ptr<QPFontStyle> QPFormStyle::labelFontStyle() {
  return paymentFormInputStyle()->labelFontStyle();
}

std::shared_ptr<QPFontStyle> QPFormStyle::editTextFontStyle() {
  return paymentFormInputStyle()->editTextFontStyle();
}

std::shared_ptr<QPBorderStyle> QPFormStyle::editTextBorderStyle() {
  return paymentFormInputStyle()->editTextBorderStyle();
}

std::shared_ptr<QPFontStyle> QPFormStyle::validationHintFontStyle() {
  return paymentFormInputStyle()->validationHintFontStyle();
}

std::shared_ptr<QPInputStyle> QPFormStyle::paymentFormInputStyle() {
  return created(inputStyle_, "");
}

std::shared_ptr<QPInputStyle> QPFormStyle::paymentFormCardNumberInputStyle() {
  return created(cardNumberStyle_, "wpwl-group-cardNumber");
}

std::shared_ptr<QPInputStyle> QPFormStyle::paymentFormExpiryDateInputStyle() {
  return created(expiryDateStyle_, "wpwl-group-expiry");
}

std::shared_ptr<QPInputStyle> QPFormStyle::paymentFormCardHolderInputStyle() {
  return created(cardHolderStyle_, "wpwl-group-cardHolder");
}

std::shared_ptr<QPInputStyle> QPFormStyle::paymentFormCvvInputStyle() {
  return created(cvvStyle_, "wpwl-group-cvv");
}

std::shared_ptr<QPInputStyle> QPFormStyle::paymentFormAccountHolderInputStyle() {
  return created(accountHolderStyle_, "wpwl-group-accountHolder");
}

std::shared_ptr<QPInputStyle> QPFormStyle::paymentFormIbanInputStyle() {
  return created(ibanStyle_, "wpwl-group-accountIban");
}

std::string QPFormStyle::css() {
  return cssForProvider(0);
}

std::string QPFormStyle::cssForProvider(std::int64_t provider) {
  // A general style never created prints as "(null)": the page expects that text.
  std::string css = (inputStyle_ ? inputStyle_->cssForProvider(provider) : std::string("(null)")) + "\n";
  for (const std::shared_ptr<QPInputStyle>* field : {&cvvStyle_, &cardHolderStyle_, &cardNumberStyle_,
                                                     &expiryDateStyle_, &accountHolderStyle_, &ibanStyle_}) {
    if (isSet(*field)) css += (*field)->cssForProvider(provider) + "\n";
  }
  return css;
}

std::string QPFormStyle::placeholderCSS(const std::shared_ptr<QPInputStyle>& fieldStyle) {
  // The general style is created even when the field's own style is used.
  std::shared_ptr<QPInputStyle> style = paymentFormInputStyle();
  if (isSet(fieldStyle)) style = fieldStyle;
  return style->editTextFontStyle()->json() +
         (style->isPlaceholderVisible() ? "'opacity': '0.5', " : "'opacity': '0', ");
}

std::string QPFormStyle::placeholderCVVCSS() {
  return placeholderCSS(cvvStyle_);
}

std::string QPFormStyle::placeholderCardNumCSS() {
  return placeholderCSS(cardNumberStyle_);
}

}  // namespace brivane
