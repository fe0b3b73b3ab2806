#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "brivane/QPExport.h"
#include "brivane/form/style/QPBorderStyle.h"
#include "brivane/form/style/QPFontStyle.h"
#include "brivane/form/style/QPInputStyle.h"
#include "brivane/form/style/QPPayPalButtonStyle.h"

namespace brivane {

/// The style that the host hands to the payment form: a general input style for every
/// input group, optional per-field input styles, the security-code hint flag and the PayPal
/// button.
///
/// The general and per-field input styles are created on first read (per-field ones with
/// the card widget's class names, e.g. "wpwl-group-cvv"); setters store what they are
/// given. To style all fields use `paymentFormInputStyle`: the form-level font and border
/// setters store values that nothing reads, while their getters return the general input
/// style's. Copies share their sub-objects.
/// Plain value object: use from one thread at a time.
class BRIVANE_API QPFormStyle {
 public:
  /// The general input style's `isPlaceholderVisible` (creating the general style).
  bool isPlaceholderVisible();
  /// Ignores `visible`: passes the form style's own flag, which is always false, to the
  /// general input style. Any call therefore hides the general placeholder and marks its
  /// visibility as set.
  void setIsPlaceholderVisible(bool visible);

  /// Whether the payment form shows the security-code hint; false by default.
  bool paymentFormShowCVVHint() const { return paymentFormShowCVVHint_; }
  /// Sets whether the security-code hint is shown.
  void setPaymentFormShowCVVHint(bool show) { paymentFormShowCVVHint_ = show; }

  /// The general input style's label font (creating both if missing).
  std::shared_ptr<QPFontStyle> labelFontStyle();
  /// Stores a value that no operation reads; see the class comment.
  void setLabelFontStyle(std::shared_ptr<QPFontStyle> style) { labelFontStyle_ = std::move(style); }
  /// The general input style's edit-text font (creating both if missing).
  std::shared_ptr<QPFontStyle> editTextFontStyle();
  /// Stores a value that no operation reads; see the class comment.
  void setEditTextFontStyle(std::shared_ptr<QPFontStyle> style) { editTextFontStyle_ = std::move(style); }
  /// The general input style's border (creating both if missing).
  std::shared_ptr<QPBorderStyle> editTextBorderStyle();
  /// Stores a value that no operation reads; see the class comment.
  void setEditTextBorderStyle(std::shared_ptr<QPBorderStyle> style) {
    editTextBorderStyle_ = std::move(style);
  }
  /// The general input style's validation hint font (creating both if missing).
  std::shared_ptr<QPFontStyle> validationHintFontStyle();
  /// Stores a value that no operation reads; see the class comment.
  void setValidationHintFontStyle(std::shared_ptr<QPFontStyle> style) {
    validationHintFontStyle_ = std::move(style);
  }

  /// The general input style, created on first read with the class name "".
  std::shared_ptr<QPInputStyle> paymentFormInputStyle();
  /// Stores the general input style as it is.
  void setPaymentFormInputStyle(std::shared_ptr<QPInputStyle> style) { inputStyle_ = std::move(style); }
  /// Card number group, created on first read with "wpwl-group-cardNumber".
  std::shared_ptr<QPInputStyle> paymentFormCardNumberInputStyle();
  /// Stores the style as it is, with its own class name.
  void setPaymentFormCardNumberInputStyle(std::shared_ptr<QPInputStyle> style) {
    cardNumberStyle_ = std::move(style);
  }
  /// Expiry date group, created on first read with "wpwl-group-expiry".
  std::shared_ptr<QPInputStyle> paymentFormExpiryDateInputStyle();
  /// Stores the style as it is, with its own class name.
  void setPaymentFormExpiryDateInputStyle(std::shared_ptr<QPInputStyle> style) {
    expiryDateStyle_ = std::move(style);
  }
  /// Card holder group, created on first read with "wpwl-group-cardHolder".
  std::shared_ptr<QPInputStyle> paymentFormCardHolderInputStyle();
  /// Stores the style as it is, with its own class name.
  void setPaymentFormCardHolderInputStyle(std::shared_ptr<QPInputStyle> style) {
    cardHolderStyle_ = std::move(style);
  }
  /// Security code group, created on first read with "wpwl-group-cvv".
  std::shared_ptr<QPInputStyle> paymentFormCvvInputStyle();
  /// Stores the style as it is, with its own class name.
  void setPaymentFormCvvInputStyle(std::shared_ptr<QPInputStyle> style) { cvvStyle_ = std::move(style); }
  /// Account holder group, created on first read with "wpwl-group-accountHolder".
  std::shared_ptr<QPInputStyle> paymentFormAccountHolderInputStyle();
  /// Stores the style as it is, with its own class name.
  void setPaymentFormAccountHolderInputStyle(std::shared_ptr<QPInputStyle> style) {
    accountHolderStyle_ = std::move(style);
  }
  /// IBAN group, created on first read with "wpwl-group-accountIban".
  std::shared_ptr<QPInputStyle> paymentFormIbanInputStyle();
  /// Stores the style as it is, with its own class name.
  void setPaymentFormIbanInputStyle(std::shared_ptr<QPInputStyle> style) { ibanStyle_ = std::move(style); }

  /// The PayPal button's look; null when not set (the form then uses
  /// `QPPayPalButtonStyle::initDefault()`).
  const std::shared_ptr<QPPayPalButtonStyle>& paypalButtonStyle() const { return paypalButtonStyle_; }
  /// Stores the button style (null: the form's default button).
  void setPaypalButtonStyle(std::shared_ptr<QPPayPalButtonStyle> style) {
    paypalButtonStyle_ = std::move(style);
  }

  /// `cssForProvider(0)`.
  std::string css();

  /// The CSS of all input groups for a payment provider (0 to 7), each group's text
  /// followed by "\n": the general input style (the six characters "(null)" when it was
  /// never created), then the security-code, card-holder, card-number, expiry-date,
  /// account-holder and IBAN styles that exist and are set. Creates no style; adjusts the
  /// class names of the styles it prints (see `QPInputStyle::cssForProvider`).
  std::string cssForProvider(std::int64_t provider);

  /// Script object members for the security-code placeholder: the edit-text font's `json`
  /// of the security-code style when it exists and is set, else of the general input
  /// style (created if missing), then "'opacity': '0.5', " or "'opacity': '0', ".
  std::string placeholderCVVCSS();
  /// As `placeholderCVVCSS`, for the card-number style.
  std::string placeholderCardNumCSS();

 private:
  std::string placeholderCSS(const std::shared_ptr<QPInputStyle>& fieldStyle);

  bool isPlaceholderVisible_ = false;  // never written; see setIsPlaceholderVisible
  bool paymentFormShowCVVHint_ = false;
  std::shared_ptr<QPFontStyle> labelFontStyle_;
  std::shared_ptr<QPFontStyle> editTextFontStyle_;
  std::shared_ptr<QPBorderStyle> editTextBorderStyle_;
  std::shared_ptr<QPFontStyle> validationHintFontStyle_;
  std::shared_ptr<QPInputStyle> inputStyle_;
  std::shared_ptr<QPInputStyle> cardNumberStyle_;
  std::shared_ptr<QPInputStyle> expiryDateStyle_;
  std::shared_ptr<QPInputStyle> cardHolderStyle_;
  std::shared_ptr<QPInputStyle> cvvStyle_;
  std::shared_ptr<QPInputStyle> accountHolderStyle_;
  std::shared_ptr<QPInputStyle> ibanStyle_;
  std::shared_ptr<QPPayPalButtonStyle> paypalButtonStyle_;
};

}  // namespace brivane
