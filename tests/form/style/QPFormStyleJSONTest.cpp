#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "brivane/form/style/QPFormStyleJSON.h"
#include "support/Command.h"

namespace brivane {
namespace {

TEST(QPFormStyleJSON, BuildsTheObjectTree) {
  const QPFormStyleLoadResult loaded = formStyleFromJSON(R"({
    "paymentFormShowCVVHint": true,
    "paymentFormInputStyle": {
      "className": "my-group",
      "labelFontStyle": {"fontName": "Inter", "textSize": 12, "textColor": {"grey": 0.5, "alpha": 0}, "textStyle": 6},
      "editTextBorderStyle": {"bottomBorderStyle": {"size": 1.9, "color": {"red": 1, "green": 0, "blue": 0.5}}}
    },
    "paymentFormCvvInputStyle": {"isPlaceholderVisible": false},
    "paypalButtonStyle": {"buttonColor": 3, "buttonTagline": 1}
  })");
  ASSERT_TRUE(loaded.ok()) << loaded.error;
  QPFormStyle& style = *loaded.style;
  EXPECT_TRUE(style.paymentFormShowCVVHint());

  QPInputStyle& general = *style.paymentFormInputStyle();
  EXPECT_EQ(general.className(), "my-group");
  const QPFontStyle& label = *general.labelFontStyle();
  EXPECT_EQ(label.fontName(), "Inter");
  EXPECT_EQ(label.textSize(), 12.0);
  EXPECT_EQ(label.textColor(), QPColor::grey(0.5, 0));
  EXPECT_EQ(label.textStyle(), 6);
  const QPBorderSideStyle& bottom = *general.editTextBorderStyle()->bottomBorderStyle();
  EXPECT_EQ(bottom.size(), 1u);
  EXPECT_EQ(bottom.storedColor(), QPColor::rgba(1, 0, 0.5, 1));
  EXPECT_FALSE(general.isPlaceHolderVisabilitySet());

  // Per-field styles keep their class names; unmentioned ones are not created.
  EXPECT_EQ(style.paymentFormCvvInputStyle()->className(), "wpwl-group-cvv");
  EXPECT_FALSE(style.paymentFormCvvInputStyle()->isPlaceholderVisible());
  const std::string css = style.cssForProvider(0);
  EXPECT_EQ(css.find("cardNumber"), std::string::npos);

  ASSERT_NE(style.paypalButtonStyle(), nullptr);
  EXPECT_EQ(style.paypalButtonStyle()->getButtonColorAsString(), "black");
  EXPECT_EQ(style.paypalButtonStyle()->getButtonShapeAsString(), "pill");  // missing values are 0
  EXPECT_EQ(style.paypalButtonStyle()->getButtonTaglineAsString(), "false");
}

TEST(QPFormStyleJSON, EmptyDescriptionIsAFreshStyle) {
  const QPFormStyleLoadResult loaded = formStyleFromJSON("{}");
  ASSERT_TRUE(loaded.ok()) << loaded.error;
  EXPECT_EQ(loaded.style->cssForProvider(0), "(null)\n");
  EXPECT_EQ(loaded.style->paypalButtonStyle(), nullptr);
}

TEST(QPFormStyleJSON, GoesThroughTheSettersQuirksIncluded) {
  const QPFormStyleLoadResult loaded = formStyleFromJSON(R"({
    "isPlaceholderVisible": true,
    "labelFontStyle": {"textSize": 20},
    "paymentFormIbanInputStyle": {"editTextBorderStyle": {"leftBorderStyle": {"color": null}}},
    "paymentFormCardNumberInputStyle": {"className": null, "editTextFontStyle": null}
  })");
  ASSERT_TRUE(loaded.ok()) << loaded.error;
  QPFormStyle& style = *loaded.style;
  EXPECT_FALSE(style.isPlaceholderVisible());  // the form-level setter ignores its argument
  EXPECT_EQ(style.paymentFormInputStyle()->labelFontStyle()->textSize(), 20.0);
  EXPECT_TRUE(style.paymentFormIbanInputStyle()->isObjSet());  // a null colour still sets the side
  EXPECT_EQ(style.paymentFormCardNumberInputStyle()->className(), std::nullopt);
}

TEST(QPFormStyleJSON, ErrorsNameThePathAndTheProblem) {
  const std::pair<const char*, const char*> cases[] = {
      // clang-format off
      {R"({"paymentFormInputStyle": {"editTextBorderStyle": {"leftBorderStyle": {"size": "2"}}}})",
       "paymentFormInputStyle.editTextBorderStyle.leftBorderStyle.size: expected a number"},
      {R"({"paymentFormInputStyle": {"colour": 1}})",
       "paymentFormInputStyle.colour: unknown field (known fields: "},
      {R"({"paymentFormShowCVVHint": 1})", "paymentFormShowCVVHint: expected true or false"},
      {R"({"paymentFormCvvInputStyle": []})", "paymentFormCvvInputStyle: expected an object or null"},
      {R"({"labelFontStyle": {"textStyle": 2.5}})",
       "labelFontStyle.textStyle: expected a signed 64-bit integer"},
      {R"({"labelFontStyle": {"textColor": "#fff"}})",
       "labelFontStyle.textColor: expected a colour object or null"},
      {R"({"labelFontStyle": {"textColor": {"red": 1, "green": 1}}})",
       "labelFontStyle.textColor.blue: missing"},
      {R"({"labelFontStyle": {"textColor": {"grey": 1, "blue": 1}}})",
       "labelFontStyle.textColor.blue: unknown field"},
      {R"({"labelFontStyle": {"textColor": {"grey": true}}})",
       "labelFontStyle.textColor.grey: expected a number"},
      {R"({"labelFontStyle": {"fontName": 3}})", "labelFontStyle.fontName: expected a string or null"},
      {R"({"paypalButtonStyle": {"buttonSize": -1}})",
       "paypalButtonStyle.buttonSize: expected a non-negative integer"},
      {R"({"paymentFormShowCVVHint": null})", "paymentFormShowCVVHint: expected true or false"},
      {"[]", "style description: expected a JSON object"}, {"", "invalid JSON at line 1, column 1"},
      {"{\n  \"a\": tru\n}", "invalid JSON at line 2, column "}, {"{} {}", "invalid JSON at line 1, column "},
      // clang-format on
  };
  for (const auto& [text, expected] : cases) {
    const QPFormStyleLoadResult loaded = formStyleFromJSON(text);
    EXPECT_FALSE(loaded.ok()) << text;
    EXPECT_EQ(loaded.style, nullptr);
    EXPECT_EQ(loaded.error.rfind(expected, 0), 0u) << "for " << text << "\ngot " << loaded.error;
  }
}

TEST(QPFormStyleJSON, HostileInputFailsCleanly) {
  EXPECT_FALSE(formStyleFromJSON(std::string(100000, '[')).ok());  // nesting beyond the parser's limit
  EXPECT_FALSE(formStyleFromJSON(std::string("{\"a\":\0}", 7)).ok());
  EXPECT_EQ(formStyleFromJSON("{\"labelFontStyle\": {\"textSize\": 1e999}}").error,
            "labelFontStyle.textSize: expected a finite number");
  EXPECT_FALSE(formStyleFromJSON("\xff\xfe").ok());
}

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "brivane-style-XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  std::string write(const std::string& name, const std::string& text) const {
    const std::string file = (path_ / name).string();
    std::ofstream(file) << text;
    return file;
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

std::string slurp(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(QPFormStyleJSON, FileErrorsNameTheFile) {
  TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  const std::string bad = dir.write("bad.json", R"({"paymentFormInputStyle": 1})");
  EXPECT_EQ(formStyleFromJSONFile(bad).error, bad + ": paymentFormInputStyle: expected an object or null");
  EXPECT_EQ(formStyleFromJSONFile(dir.path().string() + "/none.json")
                .error.rfind(dir.path().string() + "/none.json: cannot open", 0),
            0u);
  EXPECT_FALSE(formStyleFromJSONFile(dir.path().string()).ok());
  EXPECT_TRUE(formStyleFromJSONFile(dir.write("good.json", "{}")).ok());
}

// The `brivane` tool built beside this test program, run as a designer would.
class StyleCommand : public ::testing::Test {
 protected:
  struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
  };

  void SetUp() override {
    ASSERT_TRUE(std::filesystem::exists(test::builtTool()))
        << "brivane tool not built at " << test::builtTool();
    ASSERT_FALSE(dir_.path().empty());
  }
  Outcome run(const std::string& arguments) {
    const auto err = dir_.path() / "err";
    const test::CommandOutcome outcome =
        test::runCommand(test::builtTool().string() + " style " + arguments + " 2>" + err.string());
    return Outcome{outcome.status, outcome.out, slurp(err)};
  }

  TempDir dir_;
};

TEST_F(StyleCommand, PrintsTheCssOfAStyle) {
  EXPECT_EQ(run("css --provider 0").out, "(null)\n");
  const std::string file = dir_.write("s.json", R"({"paymentFormInputStyle": {}})");
  const Outcome outcome = run("css --provider 4 --style " + file);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(
      outcome.out,
      ".qp-label{ margin-top: 16px;}\n.qp-label:not(:first-child){ margin-top: 16px;}\n.qp-control, "
      ".qp-wrapper {background: transparent; margin-top: 4px;}\n[class*=\"qp-hint\"]{margin-top: 4px;}\n");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(StyleCommand, PlaceholdersAndPayPalWords) {
  EXPECT_EQ(run("css --placeholders").out,
            "placeholderCardNumCSS: 'font-size': '16.000000px', 'font-weight': 'normal', 'opacity': '0.5', \n"
            "placeholderCVVCSS: 'font-size': '16.000000px', 'font-weight': 'normal', 'opacity': '0.5', \n");
  EXPECT_EQ(
      run("css --paypal").out,
      "buttonSize: small\nbuttonColor: gold\nbuttonShape: rect\nbuttonLabel: paypal\nbuttonTagline: false\n");
  const std::string file = dir_.write("p.json", R"({"paypalButtonStyle": {"buttonLabel": 2}})");
  EXPECT_EQ(
      run("css --paypal --style " + file).out,
      "buttonSize: small\nbuttonColor: gold\nbuttonShape: pill\nbuttonLabel: pay\nbuttonTagline: true\n");
}

TEST_F(StyleCommand, ExitCodes) {
  const std::string bad = dir_.write("bad.json", R"({"paymentFormInputStyle": {"className": 5}})");
  Outcome failed = run("css --provider 1 --style " + bad);
  EXPECT_EQ(failed.status, 2);  // a bad style file is a usage error, as in `brivane form`
  EXPECT_EQ(failed.out, "");
  const std::string first =
      "brivane style: --style: " + bad + ": paymentFormInputStyle.className: expected a string or null\n";
  EXPECT_EQ(failed.err.substr(0, first.size()), first);

  for (const char* usage :
       {"", "html", "css", "css --provider", "css --provider 8", "css --provider -1", "css --provider 1x",
        "css --provider 1 --bogus", "css --placeholders --paypal", "css --provider 1 --style"}) {
    const Outcome outcome = run(usage);
    EXPECT_EQ(outcome.status, 2) << usage;
    EXPECT_NE(outcome.err.find("usage: brivane style css"), std::string::npos) << usage;
    EXPECT_EQ(outcome.out, "") << usage;
  }
  EXPECT_EQ(run("--help").status, 0);
}

}  // namespace
}  // namespace brivane
