// The stand-in provider pages and the form's templates as a shopper meets them, their scripts
// running in the real engine: errors that clear, input formatted as typed, what a screen reader
// is told, a decline, the 3-D Secure challenge, PayPal and PayU, and the dark theme.
#include <gtest/gtest.h>
#include <httplib.h>

#include <cstdlib>
#include <mutex>
#include <tuple>

#include <gtkmm/settings.h>
#include <gtkmm/window.h>

#include <boost/json.hpp>

#include "brivane/form/QPPaymentForm.h"
#include "brivane/form/style/QPFormStyle.h"
#include "form/FormTestSupport.h"
#include "sandbox/SandboxState.h"
#include "sandbox/Shopper.h"

namespace brivane {
namespace {

using formtest::pumpFor;
using formtest::pumpUntil;
namespace json = boost::json;

// The document holding the inputs: the form service's frame, or the page itself.
constexpr const char* kInputs =
    "var qpDoc = (function () { var f = document.getElementById('qp-frame');"
    " return f ? f.contentDocument : document; })();"
    // The card widget's names, else the form service's.
    "function qpField(name) { var inner = { number: 'cardNumber', holder: 'cardHolder' }[name] || name;"
    " return qpDoc.querySelector(\"input[name='card.\" + name + \"'], #qp-form input[name=\" + inner + "
    "\"]\"); }"
    // Types a value as the engine reports it (an input event), then leaves the field.
    "function qpType(input, value) { input.value = value;"
    " input.dispatchEvent(new InputEvent('input', { bubbles: true, inputType: 'insertText' }));"
    " input.dispatchEvent(new Event('blur')); }"
    "function qpGroupOf(input) { return input.closest('.wpwl-group, .qp-group'); }"
    "function qpHints(input) { return qpGroupOf(input).querySelectorAll('[class*=hint-error]'); }";

// WCAG contrast of two computed colours ("rgb(r, g, b)").
constexpr const char* kContrast =
    "function qpLum(c) { var v = c.match(/\\d+(\\.\\d+)?/g).slice(0, 3).map(function (x) { x = x / 255;"
    " return x <= 0.03928 ? x / 12.92 : Math.pow((x + 0.055) / 1.055, 2.4); });"
    " return 0.2126 * v[0] + 0.7152 * v[1] + 0.0722 * v[2]; }"
    "function qpContrast(a, b) { var x = qpLum(a), y = qpLum(b);"
    " return (Math.max(x, y) + 0.05) / (Math.min(x, y) + 0.05); }";

class StandInPagesTest : public formtest::FormTest {
 protected:
  void SetUp() override {
    setenv("LANGUAGE", "en", 1);
    FormTest::SetUp();
  }
  void TearDown() override {
    FormTest::TearDown();
    unsetenv("LANGUAGE");
  }

  // Renders and waits until the page (and the form service's inputs) are there.
  void open(std::uint64_t provider, const std::vector<std::string>& options, const std::string& token,
            const std::shared_ptr<QPFormStyle>& style = nullptr) {
    ASSERT_TRUE(renderAndLoad(provider, options, token, style));
    if (provider == QPPaymentProviderPayU || provider == QPPaymentProviderPayPal) return;
    // The card inputs are built once the provider's script (or the form service) has started.
    ASSERT_TRUE(pumpUntil(
        [this] {
          return inputs("!!(qpDoc && qpDoc.querySelector('form input:not([type=hidden])'))") ==
                 json::value(true);
        },
        10));
  }
  json::value inputs(const std::string& script) { return evaluate(std::string(kInputs) + script); }
};

struct CardPageCase {
  std::string name;
  std::uint64_t provider;
};

const CardPageCase kCardPages[] = {{"card widget", 0}, {"form service", 3}};

TEST_F(StandInPagesTest, AnErrorShowsOncePerFieldTiedToItAndGoesOnceTheFieldIsRight) {
  for (const CardPageCase& c : kCardPages) {
    SCOPED_TRACE(c.name);
    restart();
    open(c.provider, {"VISA"}, "hints");
    const json::value seen = inputs(
        "var i = qpField('expiry'), out = [];"
        "qpType(i, '13 / 39'); out.push(qpHints(i).length);"
        "qpType(i, '14 / 39'); out.push(qpHints(i).length);"
        "var h = qpHints(i)[0];"
        "out.push(!!h && i.getAttribute('aria-describedby') === h.id && h.getAttribute('aria-live') !== null"
        " && i.getAttribute('aria-invalid') === 'true');"
        "qpType(i, '1239'); out.push(qpHints(i).length, i.value, /has-error/.test(qpGroupOf(i).className),"
        " i.hasAttribute('aria-describedby'));"
        "out");
    EXPECT_EQ(seen, (json::array{1, 1, true, 0, "12 / 39", false, false}));
  }
  // The security code's own hint is no error: it stays, and stays tied to the field.
  restart();
  auto style = std::make_shared<QPFormStyle>();
  style->setPaymentFormShowCVVHint(true);
  open(QPPaymentProviderPayon, {"VISA"}, "cvv-hint", style);
  EXPECT_EQ(inputs("var i = qpField('cvv'), out = [];"
                   "qpType(i, '12'); out.push(qpHints(i).length, i.getAttribute('aria-describedby').split(' "
                   "').length);"
                   "qpType(i, '123'); var h = qpGroupOf(i).querySelector('.wpwl-hint-cvv');"
                   "out.push(qpHints(i).length, !!h && i.getAttribute('aria-describedby') === h.id); out"),
            (json::array{1, 2, 0, true}));
  // The template's own check, which the form's validateElement asks, takes the expiry as typed.
  EXPECT_EQ(inputs("qpField('expiry').value = '1239'; [validateElement('expiry'), "
                   "qpField('expiry').hasAttribute('aria-invalid')]"),
            (json::array{true, false}));
}

TEST_F(StandInPagesTest, CardDigitsAndExpiryAreFormattedAsTypedAndTheBrandIsAnnounced) {
  struct Typed {
    std::string field;
    std::string typed;
    std::string shown;
    std::string announced;  // the brand's live region afterwards ("-" for not checked)
  };
  const Typed typed[] = {
      {"number", "4200000000000000", "4200 0000 0000 0000", "Card brand: Visa"},
      {"number", "378282246310005", "3782 822463 10005", "Card brand: American Express"},
      {"number", "5454-5454 5454545", "5454 5454 5454 545", "Card brand: Mastercard"},
      {"expiry", "1", "1", "-"},
      {"expiry", "4", "04 / ", "-"},
      {"expiry", "12/2039", "12 / 2039", "-"},
  };
  for (const CardPageCase& c : kCardPages) {
    SCOPED_TRACE(c.name);
    restart();
    open(c.provider, {"VISA", "MSTRCRD"}, "typing");
    for (const Typed& t : typed) {
      SCOPED_TRACE(t.typed);
      const json::value seen = inputs(
          "var i = qpField('" + t.field + "'); qpType(i, '" + t.typed +
          "'); var live = qpDoc.querySelector('[role=status][aria-live]');"
          "[i.value, '" +
          (t.announced == "-" ? std::string("-'") : std::string("' + (live ? live.textContent : 'none')")) +
          "]");
      EXPECT_EQ(seen, (json::array{t.shown.c_str(), t.announced.c_str()}));
    }
  }
}

TEST_F(StandInPagesTest, EveryInputHasALabelAndPlaceholdersFitTheBrands) {
  struct Case {
    std::string name;
    std::uint64_t provider;
    std::vector<std::string> options;
    std::string numberPlaceholder;
    std::string cvvPlaceholder;
  };
  const Case cases[] = {
      {"card widget", 0, {"VISA", "MSTRCRD"}, "1234 1234 1234 1234", "123"},
      {"form service, American Express only", 3, {"AMEX"}, "1234 123456 12345", "1234"},
      {"TokenEx, American Express only", 4, {"AMEX"}, "1234 123456 12345", "1234"},
      {"form service", 5, {"VISA", "MSTRO"}, "1234 1234 1234 1234", "123"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    restart();
    form_->setMode(QPPaymentFormModePayment);
    form_->setShowStorePaymentMethod(true);
    open(c.provider, c.options, "labels");
    const json::value seen = inputs(
        "var all = [document, qpDoc].map(function (d) { return Array.prototype.slice.call("
        "d.querySelectorAll('input:not([type=hidden])')); }).reduce(function (a, b) { return a.concat(b); });"
        "var unlabelled = all.filter(function (x) { return !(x.labels && x.labels.length) && "
        "!x.getAttribute('aria-labelledby') && !x.getAttribute('aria-label'); }).map(function (x) { return "
        "x.name || x.id; });"
        "[all.length > 3, unlabelled.join(','), qpField('number').placeholder, qpField('cvv').placeholder]");
    EXPECT_EQ(seen, (json::array{true, "", c.numberPlaceholder.c_str(), c.cvvPlaceholder.c_str()}));
  }
}

TEST_F(StandInPagesTest, ADeclineLeavesNoCardNumberOrSecurityCodeOnScreen) {
  struct Case {
    std::string name;
    std::uint64_t provider;
    std::vector<std::string> options;
    std::string fields;  // script answering [number, cvv, holder, whether the number has the focus]
  };
  const std::string card =
      "[qpField('number').value, qpField('cvv').value, qpField('holder').value, "
      "qpDoc.activeElement === qpField('number')]";
  const Case cases[] = {
      {"card widget", 0, {"VISA"}, card},
      {"form service", 3, {"VISA"}, card},
      {"PayU",
       1,
       {"PAYU"},
       "['cardNumber', 'cvv', 'cardHolder'].map(function (id) { "
       "return document.getElementById(id).value; }).concat(document.activeElement.id === 'cardNumber')"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    restart();
    open(c.provider, c.options,
         c.provider == QPPaymentProviderPayU ? payU("orderId=d1&token=declined-payu") : "declined");
    ASSERT_TRUE(formtest::shopUntil(
        *form_, sandbox::ShopperMode::Decline, [this] { return !record_.errors.empty(); }, 25));
    pumpFor(0.3);
    EXPECT_EQ(inputs(c.fields), (json::array{"", "", "Erika Mustermann", true}));
  }
}

TEST_F(StandInPagesTest, TheChallengeNamesMerchantAndAmountTakesTheFocusAndCanBeCancelled) {
  {
    std::lock_guard<std::mutex> lock(formtest::providerState().mutex);
    sandbox::Payment payment;
    payment.uniqueReference = "pay-3ds";
    payment.amount = 1234;
    payment.currency = "EUR";
    formtest::providerState().store.payments[payment.uniqueReference] = payment;
    sandbox::Authorization authorization;
    authorization.token = "tok-3ds";
    authorization.reference = payment.uniqueReference;
    formtest::providerState().store.authorizations[authorization.token] = authorization;
  }
  httplib::Client client("127.0.0.1", std::stoi(base().substr(base().rfind(':') + 1)));
  auto answer = client.Post("/providers/authorize",
                            json::serialize(json::object{{"token", "tok-3ds"},
                                                         {"method", "card"},
                                                         {"cardNumber", "4000 0000 0000 3220"},
                                                         {"expiry", "12/39"},
                                                         {"cvv", "123"},
                                                         {"holder", "Erika Mustermann"},
                                                         {"continueUrl", base() + "/providers/return"}}),
                            "application/json");
  ASSERT_TRUE(answer);
  const std::string url(json::parse(answer->body).at("challengeUrl").as_string());
  // The PayU provider shows any page: here the challenge, as the card widget leads to it.
  open(QPPaymentProviderPayU, {"PAYU"}, url);
  ASSERT_TRUE(pageAnswers("document.readyState", "complete"));
  EXPECT_EQ(evaluate("[document.activeElement.id, document.getElementById('merchant').textContent,"
                     " document.getElementById('amount').textContent]"),
            (json::array{"challenge-code", "Brivane Sandbox Shop", "€12.34"}));
  evaluate("document.getElementById('challenge-cancel').click(); true");
  ASSERT_TRUE(pumpUntil([this] { return !record_.errors.empty(); }, 10));
  EXPECT_EQ(record_.errors[0].at("name"), json::value("PaymentCancelled"));
  EXPECT_EQ(evaluate("document.getElementById('error').textContent"),
            json::value("The payment was cancelled."));
  std::lock_guard<std::mutex> lock(formtest::providerState().mutex);
  EXPECT_TRUE(formtest::providerState().store.authorizations.at("tok-3ds").declined);
  EXPECT_FALSE(formtest::providerState().store.authorizations.at("tok-3ds").completedByShopper);
}

TEST_F(StandInPagesTest, PayPalsDeclineIsShownAndPayUNamesItsLanguage) {
  open(QPPaymentProviderPayPal, {"PAYPAL"}, "paypal-declined");
  ASSERT_TRUE(formtest::shopUntil(
      *form_, sandbox::ShopperMode::Decline, [this] { return !record_.errors.empty(); }, 25));
  EXPECT_EQ(evaluate("var n = document.getElementById('qp-paypal-error');"
                     "[n.textContent, getComputedStyle(n).display !== 'none', n.getAttribute('role')]"),
            (json::array{"PayPal declined this payment.", true, "alert"}));

  for (const auto& [language, name] : {std::pair{"de_DE", "Deutsch"}, std::pair{"sk_SK", "Slovenčina"}}) {
    restart();
    setenv("LANGUAGE", language, 1);
    open(QPPaymentProviderPayU, {"PAYU"}, payU("orderId=o7"));
    EXPECT_EQ(evaluate("document.getElementById('lang').textContent"), json::value(name)) << language;
  }
}

// Every language has every text; the pages where a payment ends speak the language their link
// names, and the security code's hint the form's language, saying where an Amex has its code.
TEST_F(StandInPagesTest, ResultPagesAndTheSecurityCodeHintSpeakTheFormsLanguage) {
  struct Case {
    std::string path;
    std::string title;
  };
  const Case pages[] = {
      {"/providers/return?data=x&lang=de", "Zurück im Shop"},
      {"/providers/return?lang=gr", "Επιστροφή στο κατάστημα"},
      {"/callbacks/paypal/success/?lang=fr_FR", "Paiement PayPal approuvé"},
      {"/callbacks/paypal/cancel/?lang=xx", "PayPal payment cancelled"},
  };
  for (const Case& c : pages) {
    SCOPED_TRACE(c.path);
    QPPaymentFormInternals::webView(*form_).loadURL(base() + c.path);
    const json::value expected = json::array{c.title.c_str(), c.title.c_str(), true};
    const std::string shown =
        "var h = document.querySelector('h1'), p = document.querySelector('.qp-text');"
        "[document.title, h ? h.textContent : '', !!p && p.textContent.length > 20]";
    pageAnswers(shown, expected);
    EXPECT_EQ(evaluate(shown), expected);
  }
  EXPECT_EQ(evaluate("var keys = Object.keys(QP_TEXTS.en); Object.keys(QP_TEXTS).filter(function (l) {"
                     " return keys.some(function (k) { return !QP_TEXTS[l][k]; }); "
                     "}).concat(Object.keys(QP_TEXTS).length)"),
            (json::array{14}));

  auto hint = std::make_shared<QPFormStyle>();
  hint->setPaymentFormShowCVVHint(true);
  for (const auto& [provider, option, language, typed, text] :
       {std::tuple{0, "MSTRCRD", "de", "", "3 Ziffern auf der Rückseite der Karte"},
        std::tuple{3, "MSTRCRD", "fr", "", "3 chiffres au dos de la carte"},
        std::tuple{3, "AMEX", "it", "3782 8224", "4 cifre sul fronte della carta"}}) {
    SCOPED_TRACE(language);
    restart();
    setenv("LANGUAGE", language, 1);
    open(provider, {"VISA", option}, "hint", hint);
    EXPECT_EQ(inputs("var c = qpField('cvv'); if ('" + std::string(typed) + "') qpType(qpField('number'), '" +
                     typed +
                     "'); var h = qpDoc.getElementById(c.getAttribute('aria-describedby'));"
                     " h ? h.textContent : 'no hint'"),
              json::value(text));
  }
}

TEST_F(StandInPagesTest, ADarkDesktopDarkensThePageUnlessTheHostChoseColours) {
  auto settings = Gtk::Settings::get_default();
  auto hostColours = std::make_shared<QPFormStyle>();
  hostColours->paymentFormInputStyle()->editTextFontStyle()->setTextColor(QPColor::rgba(0.0, 0.0, 0.5));
  struct Case {
    std::string name;
    std::uint64_t provider;
    std::shared_ptr<QPFormStyle> style;
    bool desktopDark;  // what the page is told of the desktop
    bool dark;
  };
  const Case cases[] = {
      {"card widget", 0, nullptr, true, true},
      {"form service", 3, nullptr, true, true},
      {"card widget, host colours", 0, hostColours, true, false},
      {"form service, host colours", 3, hostColours, true, false},
      {"card widget, light desktop", 0, nullptr, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    settings->property_gtk_application_prefer_dark_theme() = c.desktopDark;
    restart();
    open(c.provider, {"VISA"}, "dark", c.style);
    // The page, the inputs' document, its text on it, what is typed into a field (with the host's
    // colours in the host's navy) and whether the page is told that the desktop is dark.
    const json::value seen =
        inputs(std::string(kContrast) +
               "var i = qpField('holder'), s = getComputedStyle(i);"
               "var page = getComputedStyle(document.body).backgroundColor;"
               "var inner = getComputedStyle(qpDoc.body);"
               "var label = getComputedStyle(qpGroupOf(i).querySelector('[class*=label]')).color;"
               "[qpLum(page) < 0.1, qpLum(inner.backgroundColor) < 0.1,"
               " qpContrast(label, inner.backgroundColor) >= 4.5,"
               " qpContrast(s.color, s.backgroundColor === 'rgba(0, 0, 0, 0)' ?"
               " inner.backgroundColor : s.backgroundColor) >= 4.5, s.color,"
               " matchMedia('(prefers-color-scheme: dark)').matches]");
    ASSERT_TRUE(seen.is_array() && seen.as_array().size() == 6) << json::serialize(seen);
    const json::value text = c.style ? json::value("rgb(0, 0, 128)") : seen.as_array()[4];
    EXPECT_EQ(seen, (json::array{c.dark, c.dark, true, true, text, c.desktopDark}));
  }
  settings->property_gtk_application_prefer_dark_theme() = false;
}

}  // namespace
}  // namespace brivane
