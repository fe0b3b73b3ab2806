#include "brivane/form/style/QPPayPalButtonStyle.h"

namespace brivane {

std::string QPPayPalButtonStyle::getButtonSizeAsString() const {
  return buttonSize_ == 0 ? "small" : "responsive";
}

std::string QPPayPalButtonStyle::getButtonColorAsString() const {
  switch (buttonColor_) {
    case 1:
      return "blue";
    case 2:
      return "silver";
    case 3:
      return "black";
    default:
      return "gold";
  }
}

std::string QPPayPalButtonStyle::getButtonShapeAsString() const {
  return buttonShape_ == 0 ? "pill" : "rect";
}

std::string QPPayPalButtonStyle::getButtonLabelAsString() const {
  switch (buttonLabel_) {
    case 1:
      return "checkout";
    case 2:
      return "pay";
    case 3:
      return "buynow";
    default:
      return "paypal";
  }
}

std::string QPPayPalButtonStyle::getButtonTaglineAsString() const {
  return buttonTagline_ == 0 ? "true" : "false";
}

}  // namespace brivane
