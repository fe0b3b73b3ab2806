#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

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

// Identifiers come from a pool of the kernel's bytes: a forked child draws fresh ones, never the
// rest of the pool it inherited from its parent.
TEST(QPUtilsRandom, AForkedChildDrawsOtherIdentifiersThanItsParent) {
  ASSERT_TRUE(QPUtils::genRandomIdWithLength(10));  // the parent's pool is filled and partly used
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const std::string drawn = QPUtils::genRandomIdWithLength(100).value_or("");
    _exit(write(fds[1], drawn.data(), drawn.size()) == static_cast<ssize_t>(drawn.size()) ? 0 : 1);
  }
  close(fds[1]);
  const std::string parent = QPUtils::genRandomIdWithLength(100).value();
  std::string fromChild(100, '\0');
  EXPECT_EQ(read(fds[0], fromChild.data(), fromChild.size()), 100);
  close(fds[0]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_NE(fromChild, parent);
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
