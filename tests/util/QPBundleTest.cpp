#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <stdlib.h>

#include "brivane/util/QPUtils.h"
#include "util/QPBundle.h"

namespace brivane {
namespace {

const char* const kKeys =
    "submit_pay_butt_title submit_butt_title iban_country_warning invalid_card_holder invalid_account_holder "
    "store_payment_option toolbar_previous_field toolbar_next_field toolbar_done processing_payment "
    "form_unavailable try_again dialog_ok dialog_cancel";

TEST(QPBundle, IsFoundBesideTheCoreLibraryWithEveryTextInEveryLanguage) {
  const std::filesystem::path bundle = bundle::coreBundleDirectory();
  EXPECT_EQ(bundle.filename(), "BrivaneSDK.bundle");
  for (const char* name : {"payon_form.html", "paypal_form.html", "cybersource_form.html"}) {
    EXPECT_TRUE(std::filesystem::is_regular_file(bundle / name)) << name;
  }
  for (const std::string& language : QPUtils::supportedLanguages()) {
    std::istringstream keys(kKeys);
    for (std::string key; keys >> key;) {
      std::optional<std::string> text = bundle::catalogueText(bundle, language, key);
      ASSERT_TRUE(text.has_value()) << language << " " << key;
      EXPECT_FALSE(text->empty()) << language << " " << key;
      // Texts go into double-quoted script strings and HTML of the templates.
      EXPECT_EQ(text->find_first_of("\"\\<>"), std::string::npos) << language << " " << key;
    }
  }
  EXPECT_EQ(bundle::catalogueText(bundle, "de", "submit_pay_butt_title"), "Bezahlen");
  EXPECT_EQ(bundle::catalogueText(bundle, "el", "submit_butt_title"), "Αποθήκευση");
}

TEST(QPBundle, MissingTextsAndCataloguesFallBackToTheKey) {
  EXPECT_EQ(QPUtils::LStr("no_such_key"), "no_such_key");
  EXPECT_EQ(QPUtils::LStr(""), "");
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / "brivane-bundle-test";
  std::filesystem::create_directories(dir / "strings");
  std::ofstream(dir / "strings" / "en.json") << R"({"a": "A", "n": 5})";
  std::ofstream(dir / "strings" / "de.json") << "{not json";
  EXPECT_EQ(bundle::catalogueText(dir, "en", "a"), "A");
  EXPECT_EQ(bundle::catalogueText(dir, "en", "n"), std::nullopt);  // not a text
  EXPECT_EQ(bundle::catalogueText(dir, "de", "a"), std::nullopt);  // malformed catalogue
  EXPECT_EQ(bundle::catalogueText(dir, "fr", "a"), std::nullopt);  // no catalogue
  std::filesystem::remove_all(dir);
}

TEST(QPBundle, LStrUsesTheCatalogueOfTheCurrentLanguage) {
  const char* saved = std::getenv("LANGUAGE");
  const std::string previous = saved ? saved : "";
  setenv("LANGUAGE", "de_AT", 1);
  EXPECT_EQ(QPUtils::LStr("submit_pay_butt_title"), "Bezahlen");
  setenv("LANGUAGE", "el", 1);
  EXPECT_EQ(QPUtils::LStr("submit_butt_title"), "Αποθήκευση");
  if (saved) {
    setenv("LANGUAGE", previous.c_str(), 1);
  } else {
    unsetenv("LANGUAGE");
  }
}

// Where the host keeps the bundle: set by API first, then by the environment, then beside the
// libraries; a place that holds no bundle is searched and passed over.
TEST(QPBundle, HostChosenDirectoriesComeFirstAndMissingOnesAreReported) {
  const std::filesystem::path root = std::filesystem::temp_directory_path() / "brivane-bundle-location";
  const std::filesystem::path byApi = root / "api" / "BrivaneSDK.bundle";
  const std::filesystem::path byEnvironment = root / "env";
  std::filesystem::create_directories(byApi / "strings");
  std::filesystem::create_directories(byEnvironment / "BrivaneSDK.bundle" / "strings");
  const std::filesystem::path standard = bundle::coreBundleDirectory();

  struct Case {
    std::optional<std::string> api;
    std::optional<std::string> environment;
    std::filesystem::path expected;
    std::size_t searched;
  };
  const Case cases[] = {
      {byApi.string(), byEnvironment.string(), byApi, 1},
      {(root / "api").string(), std::nullopt, byApi, 1},  // a directory holding the bundle
      {std::nullopt, byEnvironment.string(), byEnvironment / "BrivaneSDK.bundle", 1},
      {(root / "nowhere").string(), byEnvironment.string(), byEnvironment / "BrivaneSDK.bundle", 2},
      // This program carries the core itself: its own directory, then the libraries' one.
      {(root / "nowhere").string(), std::nullopt, standard, 3},
  };
  for (const Case& c : cases) {
    QPUtils::setBundleDirectory(c.api);
    if (c.environment) {
      setenv("BRIVANE_BUNDLE_DIR", c.environment->c_str(), 1);
    } else {
      unsetenv("BRIVANE_BUNDLE_DIR");
    }
    EXPECT_EQ(bundle::coreBundleDirectory(), c.expected) << c.api.value_or("-");
    std::vector<std::string> searched = QPUtils::bundleSearchDirectories();
    ASSERT_EQ(searched.size(), c.searched) << c.api.value_or("-");
    if (c.api) {
      EXPECT_EQ(searched.front(), *c.api);
    }
  }
  QPUtils::setBundleDirectory(std::nullopt);
  unsetenv("BRIVANE_BUNDLE_DIR");
  EXPECT_EQ(bundle::coreBundleDirectory(), standard);
  std::filesystem::remove_all(root);
}

}  // namespace
}  // namespace brivane
