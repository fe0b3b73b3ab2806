#include <gtest/gtest.h>

#include <limits>

#include "brivane/form/style/QPFontStyle.h"
#include "brivane/form/style/QPInputStyle.h"

namespace brivane {
namespace {

TEST(QPFontStyle, DefaultIsUnsetYetPrintsSizeAndNormalWeight) {
  QPFontStyle font;
  EXPECT_FALSE(font.isObjSet());
  EXPECT_EQ(font.css(), "font-size: 16.000000px !important; font-weight: normal !important; ");
  EXPECT_EQ(font.json(), "'font-size': '16.000000px', 'font-weight': 'normal', ");
}

TEST(QPFontStyle, EachFieldMakesItSet) {
  QPFontStyle named, sized, coloured, styled, restored;
  named.setFontName("Inter");
  sized.setTextSize(16.0000001);
  coloured.setTextColor(QPColor::black());
  styled.setTextStyle(1);  // a meaningless bit still counts as a change
  for (const QPFontStyle* font : {&named, &sized, &coloured, &styled}) EXPECT_TRUE(font->isObjSet());

  restored.setTextSize(16.0);
  restored.setFontName(std::nullopt);
  EXPECT_FALSE(restored.isObjSet());
}

TEST(QPFontStyle, FullCssInDeclarationOrder) {
  QPFontStyle font;
  font.setFontName("Open Sans");
  font.setTextSize(12.5);
  font.setTextColor(QPColor::rgba(1, 0, 0, 0.5));
  font.setTextStyle(QPFontStyle::kTextStyleBold | QPFontStyle::kTextStyleItalic);
  EXPECT_EQ(
      font.css(),
      "font-family:\"Open Sans\" !important; font-size: 12.500000px !important; color: #FF000080 !important; "
      "font-weight: normal !important; font-weight: bold !important; font-style: italic !important; ");
  // The script members never carry the family.
  EXPECT_EQ(
      font.json(),
      "'font-size': '12.500000px', 'color': '#FF000080', 'font-weight': 'normal', 'font-weight': 'bold', "
      "'font-style': 'italic', ");
}

TEST(QPFontStyle, OnlyBitsTwoAndFourCount) {
  const std::string base = "font-size: 16.000000px !important; font-weight: normal !important; ";
  const std::string bold = "font-weight: bold !important; ", italic = "font-style: italic !important; ";
  const std::pair<std::int64_t, std::string> rows[] = {
      {1 | 8 | 16, base}, {4, base + italic}, {-1, base + bold + italic}};
  for (const auto& [bits, expected] : rows) {
    QPFontStyle font;
    font.setTextStyle(bits);
    EXPECT_EQ(font.css(), expected) << bits;
  }
  QPFontStyle font;
  font.setTextStyle(4);
  EXPECT_EQ(font.json(), "'font-size': '16.000000px', 'font-weight': 'normal', 'font-style': 'italic', ");
}

TEST(QPFontStyle, SizePrintsAsPercentF) {
  QPFontStyle font;
  const std::pair<double, const char*> cases[] = {
      {0.1, "0.100000"},       {1.0 / 3.0, "0.333333"},
      {-2.0, "-2.000000"},     {1e20, "100000000000000000000.000000"},
      {0.0000004, "0.000000"}, {2.5e-6, "0.000003"}};
  for (const auto& [size, text] : cases) {
    font.setTextSize(size);
    EXPECT_EQ(font.css(),
              std::string("font-size: ") + text + "px !important; font-weight: normal !important; ");
  }
  font.setTextSize(std::numeric_limits<double>::infinity());
  EXPECT_EQ(font.json(), "'font-size': 'infpx', 'font-weight': 'normal', ");
  font.setTextSize(1e300);
  EXPECT_EQ(font.css().size(),
            std::string("font-size: px !important; font-weight: normal !important; ").size() + 308);
}

}  // namespace
}  // namespace brivane

namespace brivane {
namespace {

// A host's font or class name stays inside its place in the CSS: its quotes, braces and line
// breaks are escaped, ordinary names are printed as they are.
TEST(QPStyleNames, QuotesAndBracesInNamesStayInsideTheirPlace) {
  struct Case {
    const char* fontName;
    const char* expected;
  };
  const Case fonts[] = {
      {"Open Sans", "font-family:\"Open Sans\" !important; "},
      {"Ünïcode Sans", "font-family:\"Ünïcode Sans\" !important; "},
      {"x\"} body{background:red} .y{\"", "font-family:\"x\\\"} body{background:red} .y{\\\"\" !important; "},
      {"back\\slash", "font-family:\"back\\\\slash\" !important; "},
      {"line\nbreak", "font-family:\"line\\a break\" !important; "},
  };
  for (const Case& c : fonts) {
    QPFontStyle font;
    font.setFontName(c.fontName);
    EXPECT_EQ(font.css().substr(0, font.css().find("font-size")), c.expected) << c.fontName;
  }

  QPInputStyle hostile;
  hostile.setClassName("a{}body{background:red}.group");
  const std::string css = hostile.cssForProvider(0);
  EXPECT_EQ(css.find("body{background"), std::string::npos) << css;
  EXPECT_NE(css.find(".a\\{\\}body\\{background\\:red\\}\\.label{"), std::string::npos) << css;
}

}  // namespace
}  // namespace brivane
