#include <gtest/gtest.h>

#include <array>
#include <string>

#include "brivane/form/style/QPFormStyle.h"
#include "form/style/StyleText.h"

namespace brivane {
namespace {

using styletext::plainGroupOf;

TEST(QPFormStyleCss, FreshStyleYieldsNullTextAndCreatesNothing) {
  QPFormStyle form;
  EXPECT_EQ(form.css(), "(null)\n");
  for (std::int64_t provider = 0; provider <= 7; ++provider)
    EXPECT_EQ(form.cssForProvider(provider), "(null)\n");
}

TEST(QPFormStyleCss, GeneralStyleOnceRead) {
  QPFormStyle form;
  EXPECT_EQ(form.paymentFormInputStyle()->className(), "");
  EXPECT_EQ(form.cssForProvider(0), plainGroupOf("wpwl", "") + "\n");
  EXPECT_EQ(form.cssForProvider(0).rfind(".wpwl-label{ ", 0), 0u);
  EXPECT_EQ(form.paymentFormInputStyle()->className(), "wpwl-group");
}

TEST(QPFormStyleCss, PerFieldStylesInFixedOrderOnlyWhenSet) {
  QPFormStyle form;
  // Read but untouched: skipped.
  form.paymentFormCardNumberInputStyle();
  form.paymentFormIbanInputStyle();
  EXPECT_EQ(form.cssForProvider(0), "(null)\n");

  // Set them in an order different from the printed one.
  form.paymentFormIbanInputStyle()->setIsPlaceholderVisible(true);
  form.paymentFormAccountHolderInputStyle()->setIsPlaceholderVisible(true);
  form.paymentFormExpiryDateInputStyle()->setIsPlaceholderVisible(true);
  form.paymentFormCardNumberInputStyle()->setIsPlaceholderVisible(false);
  form.paymentFormCardHolderInputStyle()->setIsPlaceholderVisible(true);
  form.paymentFormCvvInputStyle()->setIsPlaceholderVisible(true);
  form.paymentFormInputStyle();

  EXPECT_EQ(form.cssForProvider(0),
            plainGroupOf("wpwl", "") + "\n" + plainGroupOf("wpwl", "-cvv") + "\n" +
                plainGroupOf("wpwl", "-cardHolder") + "\n" + plainGroupOf("wpwl", "-cardNumber", "0") + "\n" +
                plainGroupOf("wpwl", "-expiry") + "\n" + plainGroupOf("wpwl", "-accountHolder") + "\n" +
                plainGroupOf("wpwl", "-accountIban") + "\n");

  // SEPA turns every group into the qp names for good, the IBAN group into "iban".
  form.cssForProvider(6);
  EXPECT_EQ(form.paymentFormIbanInputStyle()->className(), "qp-group-iban");
  EXPECT_EQ(form.paymentFormCvvInputStyle()->className(), "qp-group-cvv");
  EXPECT_EQ(form.paymentFormInputStyle()->className(), "qp-group");
  EXPECT_EQ(form.cssForProvider(0).rfind(".qp-label{ ", 0), 0u);
}

TEST(QPFormStyleCss, UnsetFieldStylesAreNotAdjusted) {
  QPFormStyle form;
  form.paymentFormCvvInputStyle();
  form.paymentFormInputStyle();
  form.cssForProvider(3);
  EXPECT_EQ(form.paymentFormCvvInputStyle()->className(), "wpwl-group-cvv");
  EXPECT_EQ(form.paymentFormInputStyle()->className(), "qp-group");
}

TEST(QPFormStyleCss, FieldStylesMayBeCreatedWithoutTheGeneralOne) {
  QPFormStyle form;
  form.paymentFormCvvInputStyle()->labelFontStyle()->setTextSize(20);
  const std::string css = form.cssForProvider(3);
  EXPECT_EQ(css.rfind("(null)\n.qp-label-cvv{ ", 0), 0u);
  EXPECT_NE(css.find("font-size: 20.000000px"), std::string::npos);
}

TEST(QPFormStyleAccessors, FormLevelSettersAreNotReadBack) {
  QPFormStyle form;
  auto font = std::make_shared<QPFontStyle>();
  font->setTextSize(30);
  form.setLabelFontStyle(font);
  form.setEditTextFontStyle(font);
  form.setValidationHintFontStyle(font);
  form.setEditTextBorderStyle(std::make_shared<QPBorderStyle>());
  EXPECT_NE(form.labelFontStyle(), font);
  EXPECT_EQ(form.labelFontStyle(), form.paymentFormInputStyle()->labelFontStyle());
  EXPECT_EQ(form.editTextFontStyle(), form.paymentFormInputStyle()->editTextFontStyle());
  EXPECT_EQ(form.validationHintFontStyle(), form.paymentFormInputStyle()->validationHintFontStyle());
  EXPECT_EQ(form.editTextBorderStyle(), form.paymentFormInputStyle()->editTextBorderStyle());
  EXPECT_EQ(form.css().find("30.000000"), std::string::npos);

  // Reading through the form-level getter styles every field.
  form.labelFontStyle()->setTextSize(30);
  EXPECT_NE(form.css().find("30.000000"), std::string::npos);
}

TEST(QPFormStyleAccessors, SetIsPlaceholderVisibleIgnoresItsArgument) {
  QPFormStyle form;
  EXPECT_TRUE(form.isPlaceholderVisible());  // the general style's default
  form.setIsPlaceholderVisible(true);
  EXPECT_FALSE(form.isPlaceholderVisible());
  EXPECT_TRUE(form.paymentFormInputStyle()->isPlaceHolderVisabilitySet());
  EXPECT_EQ(form.placeholderCardNumCSS(),
            "'font-size': '16.000000px', 'font-weight': 'normal', 'opacity': '0', ");
}

TEST(QPFormStyleAccessors, FieldSettersKeepTheGivenClassName) {
  QPFormStyle form;
  auto custom = std::make_shared<QPInputStyle>();
  form.setPaymentFormExpiryDateInputStyle(custom);
  EXPECT_EQ(form.paymentFormExpiryDateInputStyle(), custom);
  EXPECT_EQ(custom->className(), "");
  form.setPaymentFormExpiryDateInputStyle(nullptr);
  EXPECT_EQ(form.paymentFormExpiryDateInputStyle()->className(), "wpwl-group-expiry");
  EXPECT_EQ(form.paymentFormCardNumberInputStyle()->className(), "wpwl-group-cardNumber");
  EXPECT_EQ(form.paymentFormCardHolderInputStyle()->className(), "wpwl-group-cardHolder");
  EXPECT_EQ(form.paymentFormAccountHolderInputStyle()->className(), "wpwl-group-accountHolder");
  EXPECT_FALSE(form.paymentFormShowCVVHint());
  EXPECT_EQ(form.paypalButtonStyle(), nullptr);
}

TEST(QPFormStylePlaceholders, FallBackToTheGeneralStyle) {
  QPFormStyle form;
  EXPECT_EQ(form.placeholderCVVCSS(),
            "'font-size': '16.000000px', 'font-weight': 'normal', 'opacity': '0.5', ");
  EXPECT_EQ(form.cssForProvider(0).rfind("(null)", 0), std::string::npos);  // the general style now exists

  form.paymentFormInputStyle()->editTextFontStyle()->setTextStyle(2);
  form.paymentFormCvvInputStyle()->editTextFontStyle()->setTextColor(
      QPColor::grey(1));  // set: used for CVV only
  EXPECT_EQ(form.placeholderCVVCSS(),
            "'font-size': '16.000000px', 'color': '#FFFFFFFF', 'font-weight': 'normal', 'opacity': '0.5', ");
  EXPECT_EQ(form.placeholderCardNumCSS(),
            "'font-size': '16.000000px', 'font-weight': 'normal', 'font-weight': 'bold', 'opacity': '0.5', ");

  form.paymentFormCardNumberInputStyle()->setIsPlaceholderVisible(false);
  EXPECT_EQ(form.placeholderCardNumCSS(),
            "'font-size': '16.000000px', 'font-weight': 'normal', 'opacity': '0', ");
}

std::string words(const QPPayPalButtonStyle& b) {
  return b.getButtonSizeAsString() + " " + b.getButtonColorAsString() + " " + b.getButtonShapeAsString() +
         " " + b.getButtonLabelAsString() + " " + b.getButtonTaglineAsString();
}

// Size, colour, shape, label and tagline; values beyond a list fall back to its first word.
TEST(QPPayPalButtonStyle, WordsPerValue) {
  EXPECT_EQ(words(QPPayPalButtonStyle()), "small gold pill paypal true");
  EXPECT_EQ(words(QPPayPalButtonStyle::initDefault()), "small gold rect paypal false");
  const std::pair<std::array<std::uint64_t, 5>, const char*> rows[] = {
      // clang-format off
      {{0, 0, 0, 0, 0}, "small gold pill paypal true"},
      {{1, 1, 1, 1, 1}, "responsive blue rect checkout false"},
      {{2, 2, 2, 2, 2}, "responsive silver rect pay false"},
      {{3, 3, 3, 3, 3}, "responsive black rect buynow false"},
      {{4, 4, 4, 4, 4}, "responsive gold rect paypal false"},
      {{UINT64_MAX, 7, UINT64_MAX, 2, UINT64_MAX}, "responsive gold rect pay false"},
      // clang-format on
  };
  for (const auto& [v, expected] : rows)
    EXPECT_EQ(words(QPPayPalButtonStyle(v[0], v[1], v[2], v[3], v[4])), expected) << v[0] << " " << v[1];
}

}  // namespace
}  // namespace brivane
