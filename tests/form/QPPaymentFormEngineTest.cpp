// The form in the real web engine, against the stand-in provider pages on a loopback server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <webkit/webkit.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>

#include <gtkmm/window.h>

#include <boost/json.hpp>

#include "brivane/form/QPPaymentForm.h"
#include "brivane/form/style/QPFormStyleJSON.h"
#include "brivane/util/QPUtils.h"
#include "form/CustomWebView.h"
#include "form/FormTestSupport.h"
#include "form/QPPaymentFormInternal.h"
#include "sandbox/SandboxState.h"

namespace brivane {
namespace {

using ::testing::HasSubstr;

using formtest::pumpFor;
using formtest::pumpUntil;

// A loopback address where nothing listens.
const std::string kDeadBase = "http://127.0.0.1:1";

void onTestError(WebKitUserContentManager*, JSCValue* value, gpointer data) {
  gchar* text = jsc_value_to_string(value);
  static_cast<std::vector<std::string>*>(data)->push_back(text);
  g_free(text);
}

class QPPaymentFormEngineTest : public formtest::FormTest {
 protected:
  void SetUp() override {
    FormTest::SetUp();
    // Script errors of every frame, from the very start of each document.
    manager_ = QPPaymentFormInternals::webView(*form_).userContentManager();
    handler_ = g_signal_connect(manager_, "script-message-received::qpTestError", G_CALLBACK(onTestError),
                                &scriptErrors_);
    webkit_user_content_manager_register_script_message_handler(manager_, "qpTestError", nullptr);
    WebKitUserScript* script = webkit_user_script_new(
        "window.addEventListener('error', function (e) { "
        "window.webkit.messageHandlers.qpTestError.postMessage("
        "String(e.message) + ' at ' + e.filename + ':' + e.lineno); });"
        "window.addEventListener('unhandledrejection', function (e) {"
        "window.webkit.messageHandlers.qpTestError.postMessage('rejection: ' + e.reason); });",
        WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES, WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
    webkit_user_content_manager_add_script(manager_, script);
    webkit_user_script_unref(script);
  }
  void TearDown() override {
    if (form_) {
      g_signal_handler_disconnect(manager_, handler_);
      webkit_user_content_manager_unregister_script_message_handler(manager_, "qpTestError", nullptr);
    }
    FormTest::TearDown();
  }

  bool waitFor(const std::string& name, double seconds = 15) {
    return pumpUntil([&] { return record_.count(name) > 0; }, seconds);
  }

  // Names of the page functions the form calls that the page does not define.
  boost::json::value missingPageFunctions() {
    return evaluate(
        "['setVisibility','isElementInputEmpty','validateElement','clearElementError','submit','iframeFix',"
        "'setMaxCardHolderLenght','extractIframeInputs','nextInput','prevInput','checkFocus']"
        ".filter(function (n) { return typeof window[n] !== 'function'; })"
        ".concat(typeof lm === 'object' && typeof lm.submit === 'function' ? [] : ['lm.submit'])");
  }

  // Calls every page function as the form would; the last call's answer.
  boost::json::value callEveryPageFunction() {
    return evaluate(
        "setVisibility('cvv', false); setVisibility('cvv', true); isElementInputEmpty('cardNumber');"
        "validateElement('expiry'); clearElementError('expiry'); iframeFix(); setMaxCardHolderLenght('201');"
        "extractIframeInputs(); nextInput(); prevInput(); checkFocus(); $(window).focus(); $(window).blur();"
        "typeof isElementInputEmpty('cvv') === 'boolean' && typeof validateElement('cvv') === 'boolean'");
  }

  WebKitUserContentManager* manager_ = nullptr;
  gulong handler_ = 0;
  std::vector<std::string> scriptErrors_;
};

struct TemplateCase {
  std::uint64_t provider;
  std::vector<std::string> options;
  bool styled = false;  // a full style, payment mode and the store check box
};

// Every section switched on, quotes in the CSS, placeholder members in the widget options.
std::shared_ptr<QPFormStyle> fullStyle() {
  QPFormStyleLoadResult loaded = formStyleFromJSON(R"({
    "paymentFormShowCVVHint": true,
    "paymentFormInputStyle": {
      "labelFontStyle": {"fontName": "Inter", "textSize": 12, "textColor": {"grey": 0.2}, "textStyle": 2},
      "editTextFontStyle": {"fontName": "Open Sans", "textSize": 15},
      "editTextBorderStyle": {"bottomBorderStyle": {"size": 1, "color": {"red": 0, "green": 0.5, "blue": 1}}}
    },
    "paymentFormCvvInputStyle": {"isPlaceholderVisible": true},
    "paymentFormCardNumberInputStyle": {"isPlaceholderVisible": false},
    "paypalButtonStyle": {"buttonColor": 2, "buttonShape": 0, "buttonLabel": 3, "buttonTagline": 0}
  })");
  EXPECT_TRUE(loaded.ok()) << loaded.error;
  return loaded.style;
}

class QPFormTemplateTest : public QPPaymentFormEngineTest,
                           public ::testing::WithParamInterface<TemplateCase> {};

TEST_P(QPFormTemplateTest, LoadsFromTheBundleAndDefinesThePageFunctions) {
  form_->setPaymentProvider(GetParam().provider);
  if (GetParam().styled) {
    form_->setMode(QPPaymentFormModePayment);
    form_->setShowStorePaymentMethod(true);
  }
  form_->renderWithPaymentOptions(GetParam().options, "checkout-42",
                                  GetParam().styled ? fullStyle() : std::make_shared<QPFormStyle>());
  ASSERT_TRUE(waitFor("ios_formLoaded")) << "no ios_formLoaded";
  // The page may report before the engine finishes the load, which calls onFormLoaded.
  ASSERT_TRUE(pumpUntil([this] { return record_.loaded > 0; }, 5));
  EXPECT_EQ(record_.loaded, 1);
  EXPECT_TRUE(form_->isWebViewLoaded());
  EXPECT_EQ(missingPageFunctions(), boost::json::array());
  EXPECT_EQ(callEveryPageFunction(), boost::json::value(true));
  pumpFor(0.4);  // the delayed calls after the first load
  EXPECT_EQ(record_.count("ios_formError"), 0u);
  EXPECT_TRUE(record_.errors.empty()) << boost::json::serialize(record_.errors.front());
  EXPECT_TRUE(scriptErrors_.empty()) << scriptErrors_.front();
  EXPECT_GT(record_.count("ObjC_NextButtEnabled"), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Providers, QPFormTemplateTest,
    ::testing::Values(TemplateCase{0, {"VISA", "MSTRCRD"}}, TemplateCase{0, {"BNKACCT"}},
                      TemplateCase{0, {"PAYPAL"}}, TemplateCase{2, {"PAYPAL"}},
                      TemplateCase{3, {"VISA", "MSTRCRD"}}, TemplateCase{4, {"AMEX"}},
                      TemplateCase{5, {"VISA", "MSTRO"}}, TemplateCase{6, {"BNKACCT"}},
                      TemplateCase{7, {"VISA"}}, TemplateCase{0, {"VISA", "MSTRCRD"}, true},
                      TemplateCase{0, {"BNKACCT"}, true}, TemplateCase{2, {"PAYPAL"}, true},
                      TemplateCase{3, {"VISA", "MSTRCRD"}, true}, TemplateCase{6, {"BNKACCT"}, true}),
    [](const ::testing::TestParamInfo<TemplateCase>& info) {
      std::string name = "provider" + std::to_string(info.param.provider);
      for (const std::string& code : info.param.options) name += "_" + code;
      return info.param.styled ? name + "_styled" : name;
    });

TEST_F(QPPaymentFormEngineTest, UnreachableProviderScriptsFailGracefully) {
  struct Case {
    std::uint64_t provider;
    std::string option;
  };
  for (const Case& c : {Case{0, "VISA"}, Case{2, "PAYPAL"}, Case{5, "VISA"}}) {
    SCOPED_TRACE(c.provider);
    record_.messages.clear();
    record_.errors.clear();
    form_->setDeployment(QPFormDeployment::forBaseURL(kDeadBase));
    form_->setApiURL(kDeadBase + "/providers/formservice/");
    form_->setPaymentProvider(c.provider);
    form_->renderWithPaymentOptions(std::vector<std::string>{c.option}, "checkout-42", nullptr);
    ASSERT_TRUE(waitFor("ios_formError", 25));
    EXPECT_EQ(record_.count("ios_formLoaded"), 0u);
    EXPECT_EQ(missingPageFunctions(), boost::json::array());
    pumpFor(0.1);
    EXPECT_EQ(record_.errors.size(), 1u);  // the page's "ObjC_onError" reaches onError
    EXPECT_TRUE(scriptErrors_.empty()) << scriptErrors_.front();
  }
}

TEST_F(QPPaymentFormEngineTest, WidgetErrorReachesOnError) {
  form_->renderWithPaymentOptions(std::vector<std::string>{"VISA"}, "invalid-7", nullptr);
  ASSERT_TRUE(waitFor("ios_formError"));
  ASSERT_TRUE(pumpUntil([this] { return !record_.errors.empty(); }, 5));
  EXPECT_THAT(boost::json::serialize(record_.errors.front()), HasSubstr("InvalidCheckoutIdError"));
  EXPECT_TRUE(scriptErrors_.empty());
}

TEST_F(QPPaymentFormEngineTest, DelayedScriptCallsRunAfterTheFirstLoad) {
  form_->setElement(QPFormElementCardHolder, false);
  EXPECT_EQ(form_->toolbarType(), QPToolbarTypeWizard);
  form_->renderWithPaymentOptions(std::vector<std::string>{"VISA"}, "checkout-1", nullptr);
  ASSERT_TRUE(waitFor("ios_formLoaded"));
  const std::string display = "document.querySelector('.wpwl-group-cardHolder').style.display";
  ASSERT_TRUE(pageAnswers(display, "none", 5));
  form_->setElement(QPFormElementAll, true);  // after the load: at once
  ASSERT_TRUE(pageAnswers(display, "", 5));
  EXPECT_EQ(evaluate("document.querySelector(\"input[name='card.holder']\").maxLength"),
            boost::json::value(201));
}

TEST_F(QPPaymentFormEngineTest, BeforeSubmitRequestReachesTheHost) {
  std::vector<std::shared_ptr<OnBeforeSubmitObj>> requests;
  bool prevent = true;
  form_->setOnBeforeSubmitCallbackWithArg([&](const std::shared_ptr<OnBeforeSubmitObj>& arguments) {
    requests.push_back(arguments);
    if (prevent) arguments->preventSubmit();
  });
  form_->setPaymentProvider(QPPaymentProviderSepa);
  form_->setMode(QPPaymentFormModePayment);
  form_->renderWithPaymentOptions(std::vector<std::string>{"BNKACCT"}, "tok-sepa", nullptr);
  ASSERT_TRUE(waitFor("ios_formLoaded"));
  evaluate(
      "var d = document.getElementById('qp-frame').contentDocument;"
      "d.querySelector('input[name=accountHolder]').value = 'Erika Mustermann';"
      "d.querySelector('input[name=iban]').value = 'DE89 3704 0044 0532 0130 00'; true");
  form_->submit();
  ASSERT_TRUE(pumpUntil([&] { return requests.size() == 1; }, 5));
  const OnBeforeSubmitObj& first = *requests.front();
  EXPECT_EQ(first.accountHolder(), "Erika Mustermann");
  EXPECT_EQ(first.iban(), "DE89370400440532013000");
  EXPECT_EQ(first.paymentOptionCode(), "BNKACCT");
  ASSERT_TRUE(first.originArgs().has_value());
  EXPECT_FALSE(first.originArgs()->contains("bankAccount.holder"));
  EXPECT_EQ(first.originArgs()->at("iban"), boost::json::value("DE89 3704 0044 0532 0130 00"));
  pumpFor(0.3);
  EXPECT_EQ(record_.count("ios_postParam"), 0u);  // prevented

  // Accepted in advance: the host is not asked, and the page goes on.
  form_->acceptAndSubmit();
  ASSERT_TRUE(waitFor("ios_showLoading", 5));  // posted after the parameters
  EXPECT_GE(record_.count("ios_postParam"), 1u);
  EXPECT_EQ(requests.size(), 1u);
  EXPECT_TRUE(scriptErrors_.empty()) << scriptErrors_.front();
}

TEST_F(QPPaymentFormEngineTest, RejectedConfigurationGoesToCancelOrThrows) {
  std::vector<std::optional<std::string>> cancels;
  form_->setMode(QPPaymentFormModeNotSet);
  form_->setOnCancel(nullptr);  // without a cancel callback the render raises
  EXPECT_THROW(form_->renderWithPaymentOptions(std::vector<std::string>{"VISA"}, "t", nullptr),
               std::invalid_argument);
  form_->setOnCancel([&](const std::optional<std::string>& message) { cancels.push_back(message); });
  form_->renderWithPaymentOptions(std::vector<std::string>{"VISA"}, "t", nullptr);
  ASSERT_EQ(cancels.size(), 1u);
  EXPECT_EQ(cancels[0], "The 'mode' property must be set.");
  EXPECT_FALSE(form_->authToken().has_value());
  pumpFor(0.2);
  EXPECT_EQ(record_.loaded, 0);
  EXPECT_TRUE(record_.errors.empty());

  form_->setMode(QPPaymentFormModeRegistration);
  form_->renderWithPaymentOptionCode(1, "tok", nullptr);
  EXPECT_EQ(form_->paymentCode(), "MSTRCRD");
  EXPECT_EQ(form_->authToken(), "tok");
  // Provider 0 replaces the host's apiURL with the widget URL.
  EXPECT_EQ(form_->apiURL(), base() + "/providers/payon/test/v1/");
}

TEST_F(QPPaymentFormEngineTest, PropertiesAndExclusiveBeforeSubmitCallbacks) {
  QPPaymentForm& form = *form_;
  EXPECT_EQ(form.mode(), 0);
  EXPECT_EQ(form.providerMode(), 0);
  EXPECT_EQ(form.paymentProvider(), 0u);
  EXPECT_EQ(form.toolbarType(), 0u);
  form.setApiURL("https://a.example/x");
  EXPECT_EQ(form.apiURL(), "https://a.example/x/");
  form.setApiURL("https://a.example/y/");
  EXPECT_EQ(form.apiURL(), "https://a.example/y/");
  form.setOnBeforeSubmitCallback([] {});
  form.setOnBeforeSubmitCallbackWithArg([](const std::shared_ptr<OnBeforeSubmitObj>&) {});
  EXPECT_FALSE(form.onBeforeSubmitCallback());
  EXPECT_TRUE(form.onBeforeSubmitCallbackWithArg());
  form.setOnBeforeSubmitCallback([] {});
  EXPECT_TRUE(form.onBeforeSubmitCallback());
  EXPECT_FALSE(form.onBeforeSubmitCallbackWithArg());
  form.setPaymentProvider(QPPaymentProviderVesta);
  EXPECT_TRUE(form.isPaymentOptionValid("MSTRO"));
  EXPECT_FALSE(form.isPaymentOptionCodeValidInSet("BNKACCT"));
}

TEST_F(QPPaymentFormEngineTest, NothingRunsOnceTheFormIsGone) {
  int calls = 0;
  form_->setOnFormLoaded([&calls] { ++calls; });
  form_->setOnError([&calls](const boost::json::value&) { ++calls; });
  form_->setScriptMessageObserver([&calls](const std::string&, const boost::json::value&) { ++calls; });
  form_->renderWithPaymentOptions(std::vector<std::string>{"VISA"}, "invalid-1", nullptr);
  pumpUntil([this] { return form_->isWebViewLoaded(); }, 10);
  g_signal_handler_disconnect(manager_, handler_);
  webkit_user_content_manager_unregister_script_message_handler(manager_, "qpTestError", nullptr);
  QPPaymentFormInternals::webView(*form_).evaluate(
      "1 + 1", [&calls](const auto&, const auto&) { ++calls; });  // answered later
  const int before = calls;
  window_->unset_child();
  form_.reset();
  pumpFor(1.0);
  EXPECT_EQ(calls, before + 1);  // only the script answer (with an error or a value), nothing of the form
}

// A server whose certificate nobody trusts: the page must not load, and the host hears of it.
TEST_F(QPPaymentFormEngineTest, UntrustedCertificateGoesToOnError) {
  const std::filesystem::path dir = formtest::scratchDirectory("form-tls");
  ASSERT_TRUE(formtest::makeUntrustedCertificate(dir)) << "openssl could not make a certificate";
  const std::string cert = (dir / "cert.pem").string(), key = (dir / "key.pem").string();
  formtest::ProviderServer tls(std::make_unique<httplib::SSLServer>(cert.c_str(), key.c_str()));
  form_->setPaymentProvider(QPPaymentProviderPayU);
  form_->renderWithPaymentOptions(std::vector<std::string>{"PAYU"},
                                  tls.baseUrl("https") + "/providers/payu/pay", nullptr);
  ASSERT_TRUE(pumpUntil([this] { return !record_.errors.empty(); }, 15));
  ASSERT_TRUE(record_.errors.front().is_string());
  EXPECT_THAT(std::string(record_.errors.front().get_string()), HasSubstr("not trusted"));
  pumpFor(0.3);
  EXPECT_EQ(record_.errors.size(), 1u);
  EXPECT_EQ(evaluate("document.getElementById('lang') === null"), boost::json::value(true));
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace brivane
