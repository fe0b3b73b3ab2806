#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "brivane/util/QPUtils.h"

namespace brivane {
namespace {

TEST(QPUtilsRandom, LengthBoundsAndAlphabet) {
  for (int length : {0, -5, 500}) EXPECT_FALSE(QPUtils::genRandomIdWithLength(length)) << length;
  for (int length : {1, 499}) {
    auto id = QPUtils::genRandomIdWithLength(length);
    ASSERT_TRUE(id) << length;
    EXPECT_EQ(id->size(), static_cast<std::size_t>(length));
    EXPECT_THAT(*id, ::testing::MatchesRegex("[0-9A-Za-z]+"));
  }
}

TEST(QPUtilsRandom, EveryCharacterTurnsUpAndNoneDominates) {
  std::map<char, int> counts;
  constexpr int kDraws = 62 * 400;
  for (int i = 0; i < kDraws / 400; ++i) {
    const std::string id = QPUtils::genRandomIdWithLength(400).value();
    for (char c : id) ++counts[c];
  }
  EXPECT_EQ(counts.size(), 62u);
  for (const auto& [c, n] : counts) {
    // Expected 400 each; a biased generator (modulo without rejection) would skew the first 8.
    EXPECT_GT(n, 280) << c;
    EXPECT_LT(n, 520) << c;
  }
  EXPECT_NE(QPUtils::genRandomIdWithLength(20), QPUtils::genRandomIdWithLength(20));
}

TEST(QPUtilsLocale, FirstSupportedPreferredLanguage) {
  EXPECT_EQ(QPUtils::localeFromLanguages({"de_AT"}), "de");
  EXPECT_EQ(QPUtils::localeFromLanguages({"ja_JP", "ja", "fr_CH", "fr"}), "fr");
  EXPECT_EQ(QPUtils::localeFromLanguages({"ZH_cn", "EL"}), "el");
  EXPECT_EQ(QPUtils::localeFromLanguages({"ja"}), "en");
  EXPECT_EQ(QPUtils::localeFromLanguages({}), "en");
}

TEST(QPUtilsLocale, FullLocaleUsesOnlyTheFirstLanguageAndTheRegion) {
  EXPECT_EQ(QPUtils::fullLocaleFromLanguages({"ja_JP", "fr_CH"}, "CH"), "en_US");
  EXPECT_EQ(QPUtils::fullLocaleFromLanguages({"de_DE"}, "AT"), "de_AT");
  EXPECT_EQ(QPUtils::fullLocaleFromLanguages({"de_DE"}, std::nullopt), "de_US");
  EXPECT_EQ(QPUtils::fullLocaleFromLanguages({"De_DE"}, ""), "De_US");  // as given, not lower-cased
  EXPECT_EQ(QPUtils::fullLocaleFromLanguages({}, "AT"), "en_US");
}

TEST(QPUtilsLocale, ReadsTheEnvironmentWithoutTouchingTheProcessLocale) {
  setenv("LANGUAGE", "ja_JP:fr_CH", 1);
  setenv("LANG", "de_AT.UTF-8", 1);
  unsetenv("LC_ALL");
  unsetenv("LC_MESSAGES");
  EXPECT_EQ(QPUtils::getCurLocale(), "fr");
  EXPECT_EQ(QPUtils::getCurLocaleFull(), "en_US");
  setenv("LANGUAGE", "de_DE", 1);
  EXPECT_EQ(QPUtils::getCurLocaleFull(), "de_AT");
  EXPECT_EQ(QPUtils::currentRegion(), "AT");
  unsetenv("LANGUAGE");
  setenv("LANG", "C.UTF-8", 1);
  EXPECT_EQ(QPUtils::getCurLocale(), "en");
  EXPECT_EQ(QPUtils::getCurLocaleFull(), "en_US");
  EXPECT_EQ(std::string(setlocale(LC_ALL, nullptr)), "C");
}

TEST(QPUtilsColour, PrintsRRGGBBAAWithoutClamping) {
  EXPECT_EQ(QPUtils::hexStringForColor(QPColor::grey(1.0)), "FFFFFFFF");
  EXPECT_EQ(QPUtils::hexStringForColor(QPColor::grey(0.0, 0.0)), "00000000");
  EXPECT_EQ(QPUtils::hexStringForColor(QPColor::rgba(1, 0, 0, 0.5)), "FF000080");
  EXPECT_EQ(QPUtils::hexStringForColor(QPColor::rgba(0.5, 0.2, 0.0039, 1)), "803301FF");
  EXPECT_EQ(QPUtils::hexStringForColor(QPColor::rgba(1.2, 0, 0, 1)), "1320000FF");  // extended range: 306
}

}  // namespace
}  // namespace brivane
