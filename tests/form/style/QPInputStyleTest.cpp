#include <gtest/gtest.h>

#include <string>

#include "brivane/form/style/QPInputStyle.h"
#include "form/style/StyleText.h"

namespace brivane {
namespace {

using styletext::plainGroup;

TEST(QPInputStyleCss, DefaultGroupForProviderZero) {
  QPInputStyle input;
  EXPECT_EQ(input.css(), plainGroup("wpwl-label", "wpwl-control", "wpwl-wrapper", "wpwl-hint"));
  EXPECT_EQ(input.className(), "wpwl-group");
}

TEST(QPInputStyleCss, SetFragmentsLandInTheirRules) {
  QPInputStyle input;
  input.setClassName("x-group");
  input.labelFontStyle()->setTextStyle(2);
  input.editTextFontStyle()->setTextSize(10);
  input.editTextBorderStyle()->topBorderStyle()->setSize(1);
  input.validationHintFontStyle()->setTextColor(QPColor::grey(0));
  input.setIsPlaceholderVisible(false);

  const std::string label =
      "font-size: 16.000000px !important; font-weight: normal !important; "
      "font-weight: bold !important; ";
  const std::string edit = "font-size: 10.000000px !important; font-weight: normal !important; ";
  const std::string unsetSide = "18446744073709551615px !important; border-radius:0px; ";
  const std::string border =
      "border-left-width: " + unsetSide + "border-right-width: " + unsetSide +
      "border-top-width: 1px !important; border-radius:0px; border-bottom-width: " + unsetSide;
  const std::string hint =
      "font-size: 16.000000px !important; color: #000000FF !important; "
      "font-weight: normal !important; ";
  EXPECT_EQ(input.cssStr(1),
            ".x-label{ " + label + " margin-top: 16px;}\n.x-label:not(:first-child){ " + label +
                " margin-top: 16px;}\n.x-control, .x-wrapper {" + edit + " " + border +
                " background: transparent; margin-top: 4px;}\n.x-control::-webkit-input-placeholder {" +
                edit + "opacity: 0}\n[class*=\"x-hint\"]{" + hint + "margin-top: 4px;}");
}

TEST(QPInputStyleCss, UnsetFragmentsAreLeftOutButCreated) {
  QPInputStyle input;
  input.setClassName("x-group");
  input.editTextBorderStyle()->leftBorderStyle();  // a created, unset side prints nothing
  EXPECT_EQ(input.cssStr(2), plainGroup("x-label", "x-control", "x-wrapper", "x-hint"));
  EXPECT_FALSE(input.isObjSet());

  // cssStr reads every style through its getter, so all four exist afterwards.
  QPInputStyle fresh;
  fresh.cssStr(0);
  auto label = fresh.labelFontStyle();
  fresh.cssStr(0);
  EXPECT_EQ(fresh.labelFontStyle(), label);
}

// The form service's card pages have no placeholder rule; the PCI page has no margins either.
TEST(QPInputStyleCss, ProviderShapesTheRules) {
  const std::string plain = plainGroup("qp-label", "qp-control", "qp-wrapper", "qp-hint");
  const std::string noPlaceholder =
      ".qp-label{ margin-top: 16px;}\n.qp-label:not(:first-child){ margin-top: 16px;}\n.qp-control, "
      ".qp-wrapper "
      "{background: transparent; margin-top: 4px;}\n[class*=\"qp-hint\"]{margin-top: 4px;}";
  const std::string pci =
      ".qp-label{ }\n.qp-label:not(:first-child){ }\n.qp-control, .qp-wrapper {background: transparent; "
      "}\n[class*=\"qp-hint\"]{}";
  const std::pair<std::int64_t, std::string> rows[] = {
      {3, plain}, {4, noPlaceholder}, {5, noPlaceholder}, {6, plain}, {7, pci}};
  for (const auto& [provider, expected] : rows) {
    QPInputStyle input;
    EXPECT_EQ(input.cssForProvider(provider), expected) << provider;
  }
}

TEST(QPInputStyleClassName, AdjustedPerProvider) {
  struct Case {
    std::int64_t provider;
    std::optional<std::string> before;
    std::optional<std::string> after;
  };
  const auto none = std::nullopt;
  const Case cases[] = {
      // clang-format off
      {0, "", "wpwl-group"}, {0, none, "wpwl-group"}, {0, "wpwl-group-cvv", "wpwl-group-cvv"}, {1, "", ""},
      {2, none, none}, {1, "wpwl-group-cvv", "wpwl-group-cvv"}, {3, "", "qp-group"}, {4, none, "qp-group"},
      {2, "wpwl-group-accountIban", "wpwl-group-accountIban"}, {5, "wpwl-group-cvv", "qp-group-cvv"},
      {7, "wpwl-a wpwl-b", "qp-a qp-b"}, {3, "wpwl-group-accountIban", "qp-group-accountIban"},
      {6, "wpwl-group-accountIban", "qp-group-iban"}, {6, "accountIbanaccountIban", "ibaniban"},
      {6, none, "qp-group"}, {8, "wpwl-group", "wpwl-group"}, {-1, "", ""},
      // clang-format on
  };
  for (const Case& c : cases) {
    QPInputStyle input;
    input.setClassName(c.before);
    input.cssForProvider(c.provider);
    EXPECT_EQ(input.className(), c.after)
        << "provider " << c.provider << " from " << c.before.value_or("nil");
  }
}

TEST(QPInputStyleClassName, AdjustmentPersistsAcrossCalls) {
  QPInputStyle input;
  input.setClassName("wpwl-group-cvv");
  EXPECT_EQ(input.cssForProvider(0),
            plainGroup("wpwl-label-cvv", "wpwl-control-cvv", "wpwl-wrapper-cvv", "wpwl-hint-cvv"));
  input.cssForProvider(3);
  EXPECT_EQ(input.className(), "qp-group-cvv");
  // Never turned back: provider 0 now keeps the qp name.
  EXPECT_EQ(input.cssForProvider(0),
            plainGroup("qp-label-cvv", "qp-control-cvv", "qp-wrapper-cvv", "qp-hint-cvv"));

  // cssStr itself never adjusts.
  QPInputStyle raw;
  raw.setClassName("wpwl-group");
  raw.cssStr(3);
  EXPECT_EQ(raw.className(), "wpwl-group");
}

TEST(QPInputStyleClassName, EmptyOrMissingNamesForPayUAndPayPal) {
  QPInputStyle empty;
  EXPECT_EQ(empty.cssForProvider(1), plainGroup("", "", "", ""));
  QPInputStyle missing;
  missing.setClassName(std::nullopt);
  EXPECT_EQ(missing.cssForProvider(2), plainGroup("(null)", "(null)", "(null)", "(null)"));
  QPInputStyle twice;
  twice.setClassName("group-group");
  EXPECT_EQ(twice.cssStr(1), plainGroup("label-label", "control-control", "wrapper-wrapper", "hint-hint"));
}

TEST(QPInputStyleIsObjSet, RulesAndNoCreation) {
  QPInputStyle input;
  input.setClassName("something-else");
  EXPECT_FALSE(input.isObjSet());  // a class name alone does not count

  QPInputStyle visible;
  visible.setIsPlaceholderVisible(true);  // equal to the default, still set
  EXPECT_TRUE(visible.isObjSet());
  EXPECT_TRUE(visible.isPlaceHolderVisabilitySet());
  EXPECT_TRUE(visible.isPlaceholderVisible());

  QPInputStyle hidden;
  hidden.setIsPlaceholderVisible(false);
  EXPECT_TRUE(hidden.isObjSet());
  EXPECT_NE(hidden.css().find("opacity: 0}"), std::string::npos);

  auto font = std::make_shared<QPFontStyle>();
  QPInputStyle withHint;
  withHint.setValidationHintFontStyle(font);
  EXPECT_FALSE(withHint.isObjSet());
  font->setFontName("x");
  EXPECT_TRUE(withHint.isObjSet());

  QPInputStyle withBorder;
  withBorder.editTextBorderStyle()->rightBorderStyle()->setColor(std::nullopt);
  EXPECT_TRUE(withBorder.isObjSet());

  QPInputStyle withLabel;
  withLabel.labelFontStyle()->setTextSize(15);
  EXPECT_TRUE(withLabel.isObjSet());
  withLabel.setLabelFontStyle(nullptr);
  EXPECT_FALSE(withLabel.isObjSet());
  EXPECT_FALSE(withLabel.labelFontStyle()->isObjSet());  // created afresh
}

}  // namespace
}  // namespace brivane
