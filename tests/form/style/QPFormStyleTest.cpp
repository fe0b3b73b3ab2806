#include <gtest/gtest.h>

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

TEST(QPPayPalButtonStyle, WordsPerValue) {
  QPPayPalButtonStyle plain;
  EXPECT_EQ(plain.getButtonSizeAsString() + plain.getButtonColorAsString() + plain.getButtonShapeAsString() +
                plain.getButtonLabelAsString() + plain.getButtonTaglineAsString(),
            "smallgoldpillpaypaltrue");
  const QPPayPalButtonStyle byDefault = QPPayPalButtonStyle::initDefault();
  EXPECT_EQ(byDefault.getButtonSizeAsString() + byDefault.getButtonColorAsString() +
                byDefault.getButtonShapeAsString() + byDefault.getButtonLabelAsString() +
                byDefault.getButtonTaglineAsString(),
            "smallgoldrectpaypalfalse");

  const char* colours[] = {"gold", "blue", "silver", "black", "gold"};
  const char* labels[] = {"paypal", "checkout", "pay", "buynow", "paypal"};
  for (std::uint64_t value = 0; value < 5; ++value) {
    QPPayPalButtonStyle button(value, value, value, value, value);
    EXPECT_EQ(button.getButtonColorAsString(), colours[value]);
    EXPECT_EQ(button.getButtonLabelAsString(), labels[value]);
    EXPECT_EQ(button.getButtonSizeAsString(), value == 0 ? "small" : "responsive");
    EXPECT_EQ(button.getButtonShapeAsString(), value == 0 ? "pill" : "rect");
    EXPECT_EQ(button.getButtonTaglineAsString(), value == 0 ? "true" : "false");
  }
  QPPayPalButtonStyle far(UINT64_MAX, 7, UINT64_MAX, 2, UINT64_MAX);
  EXPECT_EQ(far.getButtonColorAsString(), "gold");
  EXPECT_EQ(far.getButtonLabelAsString(), "pay");
  EXPECT_EQ(far.getButtonTaglineAsString(), "false");
}

}  // namespace
}  // namespace brivane
