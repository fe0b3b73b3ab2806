#pragma once

#include <cstdint>
#include <string>

#include "brivane/QPExport.h"

namespace brivane {

/// The look of the PayPal button: five numbers, each turned into the word that the PayPal
/// page expects.
///
/// Plain value object: use from one thread at a time.
class BRIVANE_API QPPayPalButtonStyle {
 public:
  /// All five values 0.
  QPPayPalButtonStyle() = default;
  /// Stores the five values in this order.
  QPPayPalButtonStyle(std::uint64_t size, std::uint64_t color, std::uint64_t shape, std::uint64_t label,
                      std::uint64_t tagline)
      : buttonSize_(size),
        buttonColor_(color),
        buttonShape_(shape),
        buttonLabel_(label),
        buttonTagline_(tagline) {}

  /// The style the payment form uses when the host gives none: size 0 ("small"), colour 0
  /// ("gold"), shape 1 ("rect"), label 0 ("paypal"), tagline 1 ("false").
  static QPPayPalButtonStyle initDefault() { return QPPayPalButtonStyle(0, 0, 1, 0, 1); }

  /// Button size: 0 small, any other responsive.
  std::uint64_t buttonSize() const { return buttonSize_; }
  /// Sets the button size value.
  void setButtonSize(std::uint64_t value) { buttonSize_ = value; }
  /// Button colour: 0 gold, 1 blue, 2 silver, 3 black, any other gold.
  std::uint64_t buttonColor() const { return buttonColor_; }
  /// Sets the button colour value.
  void setButtonColor(std::uint64_t value) { buttonColor_ = value; }
  /// Button shape: 0 pill, any other rect.
  std::uint64_t buttonShape() const { return buttonShape_; }
  /// Sets the button shape value.
  void setButtonShape(std::uint64_t value) { buttonShape_ = value; }
  /// Button label: 0 paypal, 1 checkout, 2 pay, 3 buynow, any other paypal.
  std::uint64_t buttonLabel() const { return buttonLabel_; }
  /// Sets the button label value.
  void setButtonLabel(std::uint64_t value) { buttonLabel_ = value; }
  /// Inverted: 0 shows the tagline, any other value hides it.
  std::uint64_t buttonTagline() const { return buttonTagline_; }
  /// Sets the tagline value (0 shows the tagline).
  void setButtonTagline(std::uint64_t value) { buttonTagline_ = value; }

  /// 0 "small", any other "responsive".
  std::string getButtonSizeAsString() const;
  /// 0 "gold", 1 "blue", 2 "silver", 3 "black", any other "gold".
  std::string getButtonColorAsString() const;
  /// 0 "pill", any other "rect".
  std::string getButtonShapeAsString() const;
  /// 0 "paypal", 1 "checkout", 2 "pay", 3 "buynow", any other "paypal".
  std::string getButtonLabelAsString() const;
  /// 0 "true" (tagline shown), any other "false".
  std::string getButtonTaglineAsString() const;

 private:
  std::uint64_t buttonSize_ = 0;
  std::uint64_t buttonColor_ = 0;
  std::uint64_t buttonShape_ = 0;
  std::uint64_t buttonLabel_ = 0;
  std::uint64_t buttonTagline_ = 0;
};

}  // namespace brivane
