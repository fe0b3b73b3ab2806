// Display-free tests of the configuration checks and the page rendering.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <stdexcept>

#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/QPPaymentForm.h"
#include "form/FormTestSupport.h"

namespace brivane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Options = std::optional<std::vector<std::string>>;

QPFormConfiguration validConfiguration(std::uint64_t provider = QPPaymentProviderPayon) {
  QPFormConfiguration configuration;
  configuration.paymentProvider = provider;
  configuration.apiURL = "https://forms.example/api/";
  configuration.redirectURL = "https://shop.example/return";
  return configuration;
}

std::optional<std::string> check(const QPFormConfiguration& configuration, const Options& options,
                                 const std::optional<std::string>& token = "tok") {
  return QPFormRenderer::checkConfiguration(configuration, options, token);
}

TEST(QPFormChecks, EachCheckReportsItsMessageInOrder) {
  QPFormConfiguration c = validConfiguration();
  EXPECT_EQ(check(c, std::nullopt),
            "The 'paymentOptions' must be set and must contain at least one payment code");
  EXPECT_EQ(check(c, Options(std::vector<std::string>{})),
            "The 'paymentOptions' must be set and must contain at least one payment code");

  // Every later fault is present too: only the first failing check speaks.
  c.mode = -1;
  c.providerMode = -1;
  c.apiURL.reset();
  EXPECT_EQ(check(c, Options({"VISA"}), std::nullopt), "The 'mode' property must be set.");
  c.mode = 0;
  c.showStorePaymentMethod = true;
  EXPECT_EQ(check(c, Options({"VISA"}), std::nullopt),
            "The 'showStorePaymentMethod' property is not supported in Registration mode.");
  c.mode = 7;  // anything but payment is registration for this check
  EXPECT_EQ(check(c, Options({"VISA"}), std::nullopt),
            "The 'showStorePaymentMethod' property is not supported in Registration mode.");
  c.mode = 1;
  EXPECT_EQ(check(c, Options({"VISA"}), std::nullopt), "The 'paymentProviderMode' property must be set.");
  c.providerMode = 5;
  EXPECT_EQ(check(c, Options({"VISA"}), std::nullopt), "The 'authorizationToken' property must be set.");
  EXPECT_EQ(check(c, Options({"VISA"}), ""), "The 'apiURL' property must be set.");  // empty token is set
  c.apiURL = "";
  EXPECT_EQ(check(c, Options({"VISA"})), "The 'apiURL' property must be set.");
  c.apiURL = "https://a/";
  EXPECT_EQ(check(c, Options({"VISA"})), std::nullopt);
}

TEST(QPFormChecks, RedirectURLIsNeededForPayUAndTheFormServiceCardProviders) {
  for (std::uint64_t provider : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u}) {
    QPFormConfiguration c = validConfiguration(provider);
    c.redirectURL = "";
    const bool needed = provider >= 3 && provider <= 6;
    const Options options = provider == 6   ? Options({"BNKACCT"})
                            : provider == 2 ? Options({"PAYPAL"})
                                            : Options({"VISA"});
    EXPECT_EQ(check(c, options) == "The 'redirectURL' property must be set.", needed) << provider;
    c.redirectURL.reset();
    EXPECT_EQ(check(c, options) == "The 'redirectURL' property must be set.", needed) << provider;
  }
  QPFormConfiguration c = validConfiguration(QPPaymentProviderPayon);
  c.redirectURL.reset();
  EXPECT_EQ(check(c, Options({"PAYU"})), "The 'redirectURL' property must be set.");
}

// The single-option check and the set check; on an unknown code in a set, check 8 names it first,
// check 9 fails on it as well and its message wins. (PayPal without a redirect URL: see above.)
TEST(QPFormChecks, OptionChecksAndTheSetCheckPrecedence) {
  const std::string invalid = "Invalid payment option ", forProvider = " for current payment provider.";
  const std::string set = "Unexpected set of payment options (";
  const struct {
    std::uint64_t provider;
    std::vector<std::string> options;
    std::optional<std::string> expected;
  } rows[] = {
      // clang-format off
      {0, {"AMEX"}, invalid + "AMEX" + forProvider},     {0, {"VISA", "AMEX"}, set + "AMEX)."},
      {0, {"VISA", "BNKACCT"}, set + "BNKACCT)."},        {0, {"visa"}, invalid + "visa" + forProvider},
      {0, {"VISA", "MSTRCRD"}, std::nullopt},            {3, {"VISA", "XYZ", "AMEX"}, set + "XYZ)."},
      {3, {"VISA", "MSTRCRD", "AMEX", "DISCOVER"}, {}},  {3, {"MSTRO"}, invalid + "MSTRO" + forProvider},
      {2, {"PAYPAL"}, std::nullopt},                     {2, {"PAYPAL", "PAYPAL"}, set + "PAYPAL)."},
      {8, {"VISA"}, invalid + "VISA" + forProvider},
      // clang-format on
  };
  for (const auto& row : rows)
    EXPECT_EQ(check(validConfiguration(row.provider), row.options), row.expected) << row.provider;
}

TEST(QPFormChecks, OptionTablesPerProvider) {
  using V = std::vector<std::string>;
  const V all = {"VISA", "MSTRCRD", "BNKACCT", "PAYU", "PAYPAL", "AMEX", "MSTRO", "DISCOVER"};
  const V card = {"VISA", "MSTRCRD", "AMEX", "DISCOVER"},
          vesta = {"VISA", "MSTRCRD", "AMEX", "MSTRO", "DISCOVER"};
  const V payonSingle = {"VISA", "MSTRCRD", "BNKACCT", "PAYPAL"}, payonSet = {"VISA", "MSTRCRD"};
  const struct {
    std::uint64_t provider;
    V single, set;  // the codes each check accepts
  } rows[] = {
      // clang-format off
      {0, payonSingle, payonSet}, {1, {"PAYU"}, {}}, {2, {"PAYPAL"}, {}}, {3, card, card}, {4, card, card},
      {5, vesta, vesta}, {6, {"BNKACCT"}, {"BNKACCT"}}, {7, payonSingle, payonSet}, {8, {}, {}},
      // clang-format on
  };
  for (const auto& row : rows) {
    V single, set;
    for (const std::string& code : all) {
      if (QPFormRenderer::isPaymentOptionValid(row.provider, code)) single.push_back(code);
      if (QPFormRenderer::isPaymentOptionCodeValidInSet(row.provider, code)) set.push_back(code);
    }
    EXPECT_EQ(single, row.single) << row.provider;
    EXPECT_EQ(set, row.set) << row.provider;
  }
}

TEST(QPFormChecks, SmallConversions) {
  for (auto [url, expected] :
       {std::pair{"https://a/b", "https://a/b/"}, {"https://a/b/", "https://a/b/"}, {"", "/"}})
    EXPECT_EQ(QPFormRenderer::normalizedApiURL(url), expected) << url;
  const char* codes[] = {"VISA", "MSTRCRD", "BNKACCT", "PAYU", "PAYPAL", "AMEX", "MSTRO", "DISCOVER"};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(QPFormRenderer::paymentOptionCodeForNumber(i), codes[i]);
  EXPECT_EQ(QPFormRenderer::paymentOptionCodeForNumber(8), "");
  EXPECT_EQ(QPFormRenderer::paymentOptionCodeForNumber(-1), "");
  EXPECT_EQ(QPFormRenderer::elementName(3), "cvv");
  EXPECT_EQ(QPFormRenderer::elementName(4), "");
  EXPECT_EQ(QPFormRenderer::wkScripMessageNames(),
            (std::vector<std::string>{"ObjC_Log", "ios_formLoaded", "ios_showLoading", "ios_formError",
                                      "ios_postParam", "ObjC_onError", "ObjC_PrevButtEnabled",
                                      "ObjC_NextButtEnabled"}));
}

TEST(QPFormText, ReplacementIgnoresLetterCaseAndDoesNotRescanItsOutput) {
  const std::array<const char*, 4> replacements[] = {
      // text, needle, replacement, result
      {"a {{{Token}}} b {{{TOKEN}}} c {{{token}}}", "{{{token}}}", "x", "a x b x c x"},
      {"aaa", "a", "aa", "aaaaaa"},
      {"no match", "{{{x}}}", "y", "no match"}};
  for (const auto& [before, needle, replacement, after] : replacements) {
    std::string text = before;
    QPFormRenderer::replaceAllIgnoringCase(text, needle, replacement);
    EXPECT_EQ(text, after) << before;
  }
  EXPECT_EQ(QPFormRenderer::findIgnoringCase("abcABC", "Bc", 2), 4u);
  EXPECT_EQ(QPFormRenderer::findIgnoringCase("ab", "abc"), std::string::npos);
  EXPECT_EQ(QPFormRenderer::findIgnoringCase("ab", ""), std::string::npos);
}

TEST(QPFormText, SectionSwitch) {
  const std::string page = "A{{#s}}B{{/s}}C{{#s}}D{{/s}}E";
  const struct {
    std::string text;
    bool show;
    const char* expected;
  } rows[] = {
      // clang-format off
      {page, true, "ABCDE"}, {page, false, "AC{{#s}}D{{/s}}E"},  // hiding: one section only
      {"A{{#S}}B{{/s}}C", false, "AC"}, {"A{{#s}}B", false, "A{{#s}}B"}, {"A{{#s}}B", true, "A{{#s}}B"},
      {"A{{/s}}B{{#s}}C", false, "A{{/s}}B{{#s}}C"}, {"A{{/s}}B{{#s}}C", true, "A{{/s}}B{{#s}}C"},
      {"plain", false, "plain"}, {"plain", true, "plain"},
      // clang-format on
  };
  for (const auto& row : rows) {
    std::string text = row.text;
    QPPaymentForm::setHtmlPartWithName("{{#s}}", text, row.show);
    EXPECT_EQ(text, row.expected) << row.text << " " << row.show;
  }
}

TEST(QPFormText, PayUURLCarriesTheCurrentLanguage) {
  const std::array<const char*, 3> rows[] = {
      // URL, language, result
      {"https://payu.example/p?lang=pl&order=7&x=1", "de", "https://payu.example/p?lang=de&order=7&x=1"},
      {"https://payu.example/p?order=7&lang=pl", "de", "https://payu.example/p?order=7&lang=de"},
      {"https://payu.example/p", "fr", "https://payu.example/p?lang=fr"},
      {"https://payu.example/p?order=7", "fr", "https://payu.example/p?order=7&lang=fr"}};
  for (const auto& [url, language, expected] : rows)
    EXPECT_EQ(QPFormRenderer::payUURL(url, language), expected);
}

// Every piece occurs in the page.
void expectIn(const std::string& html, std::initializer_list<std::string> pieces) {
  for (const std::string& piece : pieces) EXPECT_THAT(html, HasSubstr(piece));
}

// A template directory whose three templates list every placeholder, one per line.
class QPFormRenderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    directory_ = formtest::scratchDirectory(std::string("templates-") +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(directory_);
    const std::string body =
        "version={{{payment_form_version}}}\ntokenex=__useTokenEx__\nstorable=__isStorable__\n"
        "provider={{{paymentProvider}}}\nsubmit={{{submitButtonTitle}}}\nlocale={{{locale}}}\n"
        "LOCALE={{{LOCALE}}}\nheight={{{formHeight}}}\nmode={{{paymentProviderMode}}}\ntoken={{{token}}}\n"
        "widget={{{widgetUrl}}}\ncallback={{{callbackUrl}}}\nbrands={{{brands}}}\ncss={{{cssStyles}}}\n"
        "cardPh={{{cardNumberPlaceholderJson}}}\ncvvPh={{{cvvPlaceholderJson}}}\n"
        "iban={{validationErrorInvalidIbanCountry}}\nholder={{validationErrorCardHolder}}\n"
        "account={{validationErrorAccountHolder}}\nstore={{storePaymentMethodText}}\n"
        "unavailable={{formUnavailableText}}\nauth={{{authorizationToken}}}\nformUrl={{{paymentFormUrl}}}"
        "\ncodes=__paymentOptionCodes__\n"
        "iframeCss=__iframeCss__\nsuccess={{{successURL}}}\ncancel={{{cancelURL}}}\n"
        "pp={{{paypalButtonSize}}}|{{{paypalButtonColor}}}|{{{paypalButtonShape}}}|{{{paypalButtonLabel}}}|"
        "{{{paypalButtonTagline}}}\n"
        "cvvHint={{#showCVVHint}}on{{/showCVVHint}}\ndetect={{#useBrandDetection}}on{{/useBrandDetection}}\n"
        "storeBox={{#showStorePaymentMethod}}on{{/showStorePaymentMethod}}\n";
    for (const char* name : {"payon_form", "paypal_form", "cybersource_form"}) {
      std::ofstream(directory_ / (std::string(name) + ".html")) << name << "\n" << body;
    }
    environment_.locale = "de";
    environment_.localeFull = "de_AT";
    environment_.text = [](std::string_view key) { return "T(" + std::string(key) + ")"; };
    environment_.viewHeight = 480.7;
    environment_.screenHeight = 900;
    environment_.templateDirectory = directory_.string();
    deployment_ = QPFormDeployment::forBaseURL("http://sandbox.test");
  }
  void TearDown() override { std::filesystem::remove_all(directory_); }

  QPRenderedForm render(const QPFormConfiguration& configuration, const std::vector<std::string>& options,
                        const std::shared_ptr<QPFormStyle>& style = nullptr) {
    return QPFormRenderer::render(configuration, options, "tok-1", style, deployment_, environment_);
  }

  std::filesystem::path directory_;
  QPRenderEnvironment environment_;
  QPFormDeployment deployment_;
};

TEST_F(QPFormRenderTest, CardGatewayWidget) {
  QPFormConfiguration c = validConfiguration(QPPaymentProviderPayon);
  QPRenderedForm page = render(c, {"MSTRCRD"});
  expectIn(page.html, {"payon_form\nversion=7.6.0\ntokenex=false\nstorable=false\nprovider=\n",
                       "submit=T(submit_butt_title)\nlocale=de\nLOCALE=de\nheight=480px\nmode=test\n",
                       "widget=http://sandbox.test/providers/payon/test/v1/\n",
                       "callback=http://sandbox.test/callbacks/payon?paymentOptionCode=MSTRCRD&"
                       "authorizationToken=tok-1\nbrands=MASTER\ncss=\ncardPh=\ncvvPh=\n",
                       "iban=T(iban_country_warning)\nholder=T(invalid_card_holder)\n"
                       "account=T(invalid_account_holder)\nstore=T(store_payment_option)\n"
                       "unavailable=T(form_unavailable)\n"});
  // Placeholders of the other providers stay; switched-off sections go.
  expectIn(page.html, {"auth={{{authorizationToken}}}\n", "cvvHint=\ndetect=\nstoreBox=\n"});
  EXPECT_EQ(page.paymentCode, "MSTRCRD");
  EXPECT_EQ(page.apiURL, "http://sandbox.test/providers/payon/test/v1/");
  EXPECT_EQ(page.url, page.apiURL);

  c.providerMode = 2;
  c.mode = 1;
  c.showStorePaymentMethod = true;
  page = render(c, {"VISA", "MSTRCRD"});
  expectIn(page.html,
           {"mode=live\n", "submit=T(submit_pay_butt_title)\n", "storable=true\n", "brands=VISA MASTER\n",
            "detect=on\nstoreBox=on\n", "callback=http://sandbox.test/callbacks/payon?paymentOptionCode=&"});
  EXPECT_EQ(page.paymentCode, "");
  EXPECT_EQ(page.apiURL, "http://sandbox.test/providers/payon/live/v1/");

  for (auto [option, brands] : {std::pair{"BNKACCT", "DIRECTDEBIT_SEPA"}, {"PAYPAL", "PAYPAL"}})
    EXPECT_THAT(render(c, {option}).html, HasSubstr(std::string("brands=") + brands + "\n")) << option;
}

TEST_F(QPFormRenderTest, CardGatewayLocaleRewriting) {
  QPFormConfiguration c = validConfiguration(QPPaymentProviderPayon);
  for (auto [locale, expected] : {std::pair{"el", "gr"}, {"zh", "cn"}, {"cs", "cz"}, {"en", "en"}}) {
    environment_.locale = locale;
    EXPECT_THAT(render(c, {"VISA"}).html, HasSubstr(std::string("locale=") + expected + "\n")) << locale;
  }
  // Only provider 0 rewrites.
  environment_.locale = "el";
  EXPECT_THAT(render(validConfiguration(QPPaymentProviderVesta), {"VISA"}).html, HasSubstr("locale=el\n"));
}

TEST_F(QPFormRenderTest, FormServiceProviders) {
  auto style = std::make_shared<QPFormStyle>();
  style->paymentFormInputStyle();  // the general style now prints real rules
  style->setPaymentFormShowCVVHint(true);
  const std::string css = QPFormStyle(*style).cssForProvider(3);
  ASSERT_THAT(css, HasSubstr("\n"));

  QPFormConfiguration c = validConfiguration(QPPaymentProviderCyberSource);
  QPRenderedForm page = render(c, {"VISA", "MSTRCRD"}, style);
  expectIn(page.html, {"provider=cyber\n",
                       "auth=tok-1\nformUrl=https://forms.example/api/cybersource/paymentform\n"
                       "codes=\"VISA\",\"MSTRCRD\"\n",
                       "brands=VISA MASTER\n", "cvvHint=on\ndetect=on\n"});
  EXPECT_EQ(page.paymentCode, std::nullopt);
  EXPECT_EQ(page.url, "https://forms.example/api/");
  // The CSS goes into a script string: no line feeds, quotes escaped, brand CSS appended.
  const std::size_t at = page.html.find("iframeCss=");
  const std::string iframeCss = page.html.substr(at + 10, page.html.find('\n', at) - at - 10);
  EXPECT_THAT(iframeCss, Not(HasSubstr("\n")));
  EXPECT_THAT(iframeCss, Not(HasSubstr("\\n")));  // removed, not escaped
  EXPECT_THAT(iframeCss, ::testing::EndsWith(" .qp-group-brand {display: flex; justify-content: flex-end; "
                                             "align-items: center; } .qp-label-brand {display: none;}"));
  EXPECT_THAT(page.html, HasSubstr("css=" + iframeCss + "\n"));

  c.paymentProvider = QPPaymentProviderCyberSourceTokenEx;
  page = render(c, {"AMEX"});
  expectIn(page.html, {"tokenex=true\n", "codes=\"AMEX\"\n"});
  EXPECT_EQ(page.paymentCode, "AMEX");

  c.paymentProvider = QPPaymentProviderVesta;
  page = render(c, {"VISA", "MSTRO"});
  expectIn(page.html, {"provider=vesta\n", "formUrl=https://forms.example/api/\ncodes=\"VISA\",\"MSTRO\"\n",
                       "tokenex=false\n"});

  c.paymentProvider = QPPaymentProviderSepa;
  page = render(c, {"BNKACCT", "BNKACCT"});
  expectIn(page.html, {"provider=sepa\n", "codes=\"BNKACCT\"\n"});  // never joined
  EXPECT_EQ(page.paymentCode, "BNKACCT");

  c.paymentProvider = QPPaymentProviderPayonPci;
  page = render(c, {"VISA"});
  expectIn(page.html, {"provider=payonpci\n", "cybersource_form\n"});
}

TEST_F(QPFormRenderTest, CssEscapingOfQuotesAndLineFeeds) {
  // A style whose CSS holds a font name in double quotes.
  auto style = std::make_shared<QPFormStyle>();
  style->paymentFormInputStyle()->editTextFontStyle()->setFontName("Open \"Sans\"");
  const std::string raw = QPFormStyle(*style).cssForProvider(5);
  ASSERT_THAT(raw, HasSubstr(R"(font-family:"Open \"Sans\"")"));
  QPRenderedForm page = render(validConfiguration(QPPaymentProviderVesta), {"VISA"}, style);
  // The name's quotes are escaped in the CSS string, then the CSS for the script string.
  EXPECT_THAT(page.html, HasSubstr(R"(font-family:\"Open \\\"Sans\\\"\")"));
  EXPECT_THAT(page.html, Not(HasSubstr("Open \"Sans\"")));
}

TEST_F(QPFormRenderTest, PayPal) {
  QPFormConfiguration c = validConfiguration(QPPaymentProviderPayPal);
  QPRenderedForm page = render(c, {"PAYPAL"});
  expectIn(page.html, {"paypal_form\n", "locale=de_AT\nLOCALE=de_AT\n",
                       "success=http://sandbox.test/callbacks/paypal/success/\n"
                       "cancel=http://sandbox.test/callbacks/paypal/cancel/\n",
                       "pp=small|gold|rect|paypal|false\n"});
  EXPECT_EQ(page.url, "https://forms.example/api/");

  auto style = std::make_shared<QPFormStyle>();
  style->setPaypalButtonStyle(std::make_shared<QPPayPalButtonStyle>(1, 3, 0, 2, 0));
  EXPECT_THAT(render(c, {"PAYPAL"}, style).html, HasSubstr("pp=responsive|black|pill|pay|true\n"));
  EXPECT_EQ(QPPaymentForm::getPayPalButtonStyle(nullptr).getButtonShapeAsString(), "rect");
  // The button words are for the PayPal page only.
  EXPECT_THAT(render(validConfiguration(), {"VISA"}, style).html, HasSubstr("pp={{{paypalButtonSize}}}"));
}

TEST_F(QPFormRenderTest, PayULoadsTheTokenAsURL) {
  std::filesystem::remove_all(directory_);  // no template is needed
  QPFormConfiguration c = validConfiguration(QPPaymentProviderPayU);
  QPRenderedForm page = QPFormRenderer::render(c, {"PAYU"}, "https://payu.example/p?lang=pl&o=1", nullptr,
                                               deployment_, environment_);
  EXPECT_TRUE(page.isPayU);
  EXPECT_TRUE(page.html.empty());
  EXPECT_EQ(page.url, "https://payu.example/p?lang=de&o=1");
  EXPECT_EQ(page.paymentCode, "PAYU");
}

// The view's height when it is at least one pixel, else the screen's; whole pixels, clamped.
TEST_F(QPFormRenderTest, AnyHeightGivesWholePixels) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  const struct {
    double view, screen;
    const char* expected;
  } cases[] = {
      // clang-format off
      {0.5, 900, "height=900px\n"}, {1.0, 900, "height=1px\n"}, {-1.7e308, 900, "height=900px\n"},
      {-1.7e308, -1.7e308, "height=0px\n"}, {-inf, -1, "height=0px\n"}, {0, 1e300, "height=1048576px\n"},
      {1e300, 0, "height=1048576px\n"}, {nan, 900, "height=0px\n"}, {0, nan, "height=0px\n"},
      {2.5e9, 0, "height=1048576px\n"},
      // clang-format on
  };
  for (const auto& c : cases) {
    environment_.viewHeight = c.view;
    environment_.screenHeight = c.screen;
    EXPECT_THAT(render(validConfiguration(), {"VISA"}).html, HasSubstr(c.expected))
        << c.view << " " << c.screen;
  }
}

TEST_F(QPFormRenderTest, EachPlaceHasItsEscaping) {
  std::ofstream(directory_ / "payon_form.html")
      << "<!-- the shop's page --><p title='{{{token}}}' data-x=\"{{{token}}}\">{{{token}}}</p>\n"
         "<style>.a{font-family:\"{{{token}}}\"}</style>\n"
         "<script>var t = \"{{{token}}}\"; if (a < b) {}</script>{{{token}}}\n";
  const std::string token = "a\"b'c<d\\e";
  const std::string html =
      QPFormRenderer::render(validConfiguration(), {"VISA"}, token, nullptr, deployment_, environment_).html;
  EXPECT_EQ(html,
            "<!-- the shop's page --><p title='a&quot;b&#39;c&lt;d\\e' data-x=\"a&quot;b&#39;c&lt;d\\e\">"
            "a\"b'c&lt;d\\e</p>\n"
            "<style>.a{font-family:\"a\"b'c\\3C d\\e\"}</style>\n"
            "<script>var t = \"a\\\"b'c\\u003Cd\\\\e\"; if (a < b) {}</script>a\"b'c&lt;d\\e\n");
}

// Line breaks and other control characters cannot end or change a script string: each has its
// own escape, and the two Unicode line terminators keep theirs apart.
TEST_F(QPFormRenderTest, ControlCharactersAndLineTerminatorsAreEscapedInScripts) {
  std::ofstream(directory_ / "payon_form.html") << "<script>var t = \"{{{token}}}\";</script>";
  const std::string token =
      "a\nb\rc\td\x01"
      "e\x7F"
      "f\xE2\x80\xA8g\xE2\x80\xA9h";
  EXPECT_EQ(
      QPFormRenderer::render(validConfiguration(), {"VISA"}, token, nullptr, deployment_, environment_).html,
      "<script>var t = \"a\\nb\\rc\\u0009d\\u0001e\\u007Ff\\u2028g\\u2029h\";</script>");
}

TEST_F(QPFormRenderTest, MissingTemplateIsFileNotFound) {
  std::filesystem::remove(directory_ / "cybersource_form.html");
  EXPECT_THAT([&] { render(validConfiguration(QPPaymentProviderSepa), {"BNKACCT"}); },
              ::testing::ThrowsMessage<std::invalid_argument>(::testing::StrEq("file not found")));
  EXPECT_NO_THROW(render(validConfiguration(QPPaymentProviderPayon), {"VISA"}));
}

// The bundle's own templates: every placeholder of the renderer is filled for every provider.
TEST(QPFormBundleTemplates, NoPlaceholderIsLeftAndVersionIsStamped) {
  QPRenderEnvironment environment = QPRenderEnvironment::current();
  const std::pair<std::uint64_t, std::vector<std::string>> cases[] = {
      {0, {"VISA", "MSTRCRD"}}, {0, {"BNKACCT"}}, {2, {"PAYPAL"}}, {3, {"VISA", "AMEX"}}, {4, {"VISA"}},
      {5, {"MSTRO"}},           {6, {"BNKACCT"}}, {7, {"VISA"}}};
  for (const auto& [provider, options] : cases) {
    auto style = std::make_shared<QPFormStyle>();
    QPRenderedForm page = QPFormRenderer::render(validConfiguration(provider), options, "tok", style,
                                                 QPFormDeployment::production(), environment);
    EXPECT_THAT(page.html, Not(HasSubstr("{{"))) << provider;
    EXPECT_THAT(page.html, Not(HasSubstr("}}"))) << provider;
    for (const char* marker :
         {"__isStorable__", "__useTokenEx__", "__paymentOptionCodes__", "__iframeCss__"}) {
      EXPECT_THAT(page.html, Not(HasSubstr(marker))) << provider << " " << marker;
    }
    EXPECT_THAT(page.html, HasSubstr("7.6.0")) << provider;
    EXPECT_THAT(page.html, HasSubstr("jsFunction: ObjC_onBeforeSubmit")) << provider;
  }
}

}  // namespace
}  // namespace brivane

namespace brivane {
namespace {

std::size_t occurrences(const std::string& text, std::string_view needle) {
  std::size_t count = 0;
  for (std::size_t at = QPFormRenderer::findIgnoringCase(text, needle); at != std::string::npos;
       at = QPFormRenderer::findIgnoringCase(text, needle, at + 1))
    ++count;
  return count;
}

// The element structure of a page: how many script and style elements open and close.
std::string structure(const std::string& html) {
  return std::to_string(occurrences(html, "<script")) + "/" + std::to_string(occurrences(html, "</script")) +
         " " + std::to_string(occurrences(html, "<style")) + "/" +
         std::to_string(occurrences(html, "</style"));
}

// Every value that reaches the bundle's pages, one at a time hostile, on every template: the
// page keeps its elements and the value never appears unescaped.
TEST(QPFormBundleTemplates, HostileValuesStayInTheirPlace) {
  const std::string hostile =
      "x\"});alert(document.cookie);//'\"></script><script>alert(1)</script></style>\n\\";
  struct Input {
    std::string token = "tok";
    QPRenderEnvironment environment = QPRenderEnvironment::current();
    QPFormDeployment deployment = QPFormDeployment::forBaseURL("https://forms.example");
    std::string apiURL = "https://forms.example/api/";
    std::shared_ptr<QPFormStyle> style = std::make_shared<QPFormStyle>();
  };
  struct Row {
    const char* name;
    std::function<void(Input&)> make;
    bool quoteMayStay;  // CSS text: a quote stays a quote inside the style element
  } rows[] = {
      {"token", [&](Input& in) { in.token = hostile; }, false},
      {"locale", [&](Input& in) { in.environment.locale = hostile; }, false},
      {"localeFull", [&](Input& in) { in.environment.localeFull = hostile; }, false},
      {"texts", [&](Input& in) { in.environment.text = [&](std::string_view) { return hostile; }; }, true},
      {"apiURL", [&](Input& in) { in.apiURL = hostile + "/"; }, false},
      {"deployment", [&](Input& in) { in.deployment = QPFormDeployment::forBaseURL(hostile); }, false},
      {"font name",
       [&](Input& in) { in.style->paymentFormInputStyle()->editTextFontStyle()->setFontName(hostile); },
       true},
      {"class name", [&](Input& in) { in.style->paymentFormCardNumberInputStyle()->setClassName(hostile); },
       true},
  };
  const std::pair<std::uint64_t, std::vector<std::string>> pages[] = {
      {0, {"VISA"}}, {0, {"VISA", "MSTRCRD"}}, {2, {"PAYPAL"}},  {3, {"VISA", "AMEX"}},
      {4, {"VISA"}}, {5, {"MSTRO"}},           {6, {"BNKACCT"}}, {7, {"VISA"}}};
  for (const auto& page : pages) {
    const std::uint64_t provider = page.first;
    const std::vector<std::string>& options = page.second;
    auto renderWith = [&](const Input& in) {
      QPFormConfiguration configuration = validConfiguration(provider);
      configuration.apiURL = in.apiURL;
      return QPFormRenderer::render(configuration, options, in.token, in.style, in.deployment, in.environment)
          .html;
    };
    const std::string ordinary = structure(renderWith(Input()));
    for (const Row& row : rows) {
      Input in;
      row.make(in);
      const std::string html = renderWith(in);
      EXPECT_EQ(structure(html), ordinary) << row.name << " on provider " << provider;
      EXPECT_THAT(html, Not(HasSubstr("</script><script>alert(1)")))
          << row.name << " on provider " << provider;
      if (!row.quoteMayStay) {
        EXPECT_THAT(html, Not(HasSubstr("x\"}"))) << row.name << " on provider " << provider;
      }
    }
  }
}

TEST(QPFormBundleTemplates, TheTokenLandsEscapedForItsPlace) {
  const QPRenderEnvironment environment = QPRenderEnvironment::current();
  const auto deployment = QPFormDeployment::forBaseURL("https://forms.example");
  const std::string paypal =
      QPFormRenderer::render(validConfiguration(QPPaymentProviderPayPal), {"PAYPAL"},
                             "x\"});alert(document.cookie);//", nullptr, deployment, environment)
          .html;
  EXPECT_THAT(paypal, HasSubstr(R"(token: "x\"});alert(document.cookie);//",)"));
  const std::string card =
      QPFormRenderer::render(validConfiguration(QPPaymentProviderPayon), {"VISA"},
                             "\"></script><script>alert(1)</script>", nullptr, deployment, environment)
          .html;
  EXPECT_THAT(card, HasSubstr("checkoutId=&quot;>&lt;/script>&lt;script>alert(1)&lt;/script>\""));
  // Ordinary values are untouched, "&" in the callback URL included.
  const std::string plain = QPFormRenderer::render(validConfiguration(QPPaymentProviderPayon), {"VISA"},
                                                   "8ac7a4a1-tok.en_1", nullptr, deployment, environment)
                                .html;
  EXPECT_THAT(plain, HasSubstr("checkoutId=8ac7a4a1-tok.en_1\""));
  EXPECT_THAT(plain, HasSubstr("?paymentOptionCode=VISA&authorizationToken=8ac7a4a1-tok.en_1\""));
}

TEST(QPFormBundleTemplates, FillingIsOnePassAndLinear) {
  std::string token;
  for (int i = 0; i < 6000; ++i) token += "{{{callbackUrl}}}";
  const QPRenderEnvironment environment = QPRenderEnvironment::current();
  const auto deployment = QPFormDeployment::forBaseURL("https://forms.example");
  for (std::uint64_t provider : {QPPaymentProviderPayon, QPPaymentProviderPayPal, QPPaymentProviderVesta}) {
    const std::vector<std::string> options = {provider == QPPaymentProviderPayPal ? "PAYPAL" : "VISA"};
    const std::string small =
        QPFormRenderer::render(validConfiguration(provider), options, "t", nullptr, deployment, environment)
            .html;
    const std::string page =
        QPFormRenderer::render(validConfiguration(provider), options, token, nullptr, deployment, environment)
            .html;
    // The token's placeholders are kept as text, never filled: at most a few copies of the token.
    EXPECT_LT(page.size(), small.size() + 3 * token.size()) << provider;
    EXPECT_GE(occurrences(page, "{{{callbackUrl}}}"), 6000u) << provider;
  }
}

}  // namespace
}  // namespace brivane
