#include "brivane/form/QPPaymentForm.h"

#include <webkit/webkit.h>

#include <set>
#include <stdexcept>

#include <glibmm/main.h>
#include <gtkmm/overlay.h>
#include <gtkmm/spinner.h>

#include <boost/json/parse.hpp>

#include "brivane/api/core/QPLookups.h"
#include "form/CustomWebView.h"
#include "form/ScripMessageHandlerMediator.h"

namespace brivane {
namespace {

constexpr unsigned kShortDelayMs = 300;
constexpr std::string_view kPromptPrefix = "jsFunction: ";

std::string percentDecoded(const std::string& text) {
  gchar* decoded = g_uri_unescape_string(text.c_str(), nullptr);
  if (decoded == nullptr) return text;
  std::string result = decoded;
  g_free(decoded);
  return result;
}

double mainScreenHeight() {
  GdkDisplay* display = gdk_display_get_default();
  if (display == nullptr) return 0;
  GListModel* monitors = gdk_display_get_monitors(display);
  if (monitors == nullptr || g_list_model_get_n_items(monitors) == 0) return 0;
  auto* monitor = static_cast<GdkMonitor*>(g_list_model_get_item(monitors, 0));
  GdkRectangle geometry{};
  gdk_monitor_get_geometry(monitor, &geometry);
  g_object_unref(monitor);
  return geometry.height;
}

}  // namespace

struct QPPaymentForm::Impl : ScriptMessageDelegate, std::enable_shared_from_this<Impl> {
  QPPaymentForm* form = nullptr;
  QPFormConfiguration configuration;
  QPFormDeployment deployment;

  FormLoadedCallback onFormLoaded;
  SuccessCallback onSuccessCallback;
  ErrorCallback onError;
  CancelCallback onCancel;
  BeforeSubmitCallback onBeforeSubmitCallback;
  BeforeSubmitCallbackWithArg onBeforeSubmitCallbackWithArg;
  ScriptMessageObserver observer;

  std::unique_ptr<CustomWebView> webView;
  std::unique_ptr<ScripMessageHandlerMediator> wkMessageHandler;
  Gtk::Overlay overlay;
  std::unique_ptr<Gtk::Spinner> activityInd;
  std::vector<gulong> viewHandlers;

  std::uint64_t toolbarType = QPToolbarTypeNone;
  std::optional<std::string> paymentCode;
  std::optional<std::string> authToken;
  std::vector<std::string> delayedJScalls;
  std::set<std::uint64_t> visibleElements;
  bool prevButtEnabled = true;
  bool nextButtEnabled = true;

  bool isAlreadyLayout = false;
  bool isWebViewLoaded = false;
  bool isFormFinished = false;
  bool isAlreadySubmitted = false;
  bool isAuthParamsAccepted = false;
  boost::json::value formPostParam;
  std::optional<boost::json::object> onBeforeSubmitDict;

  // Runs `work` on the main loop later, unless the form is gone by then.
  void later(std::function<void(Impl&)> work, unsigned delayMs = 0) {
    std::weak_ptr<Impl> weak = weak_from_this();
    auto run = [weak, work = std::move(work)] {
      if (auto self = weak.lock(); self && self->form != nullptr) work(*self);
    };
    if (delayMs == 0) {
      Glib::signal_idle().connect_once(run);
    } else {
      Glib::signal_timeout().connect_once(run, delayMs);
    }
  }

  void evaluate(const std::string& script) {
    if (webView) webView->evaluate(script);
  }

  void addActivityInd() {
    removeActivityInd();
    activityInd = std::make_unique<Gtk::Spinner>();
    activityInd->set_halign(Gtk::Align::FILL);
    activityInd->set_valign(Gtk::Align::FILL);
    overlay.add_overlay(*activityInd);
    activityInd->start();
  }

  void removeActivityInd() {
    if (!activityInd || activityInd->get_parent() == nullptr) return;
    activityInd->stop();
    overlay.remove_overlay(*activityInd);
  }

  bool isActivityIndicatorShown() const { return activityInd && activityInd->get_parent() != nullptr; }

  void reportError(const boost::json::value& error) {
    if (onError) onError(error);
  }

  void didReceiveScriptMessage(const std::string& name, const boost::json::value& body) override {
    if (name == "ObjC_Log") {
      if (body.is_string()) g_debug("page: %s", percentDecoded(std::string(body.get_string())).c_str());
    } else if (name == "ios_formLoaded" || name == "ios_formError") {
      isAlreadySubmitted = false;
      later([](Impl& self) { self.removeActivityInd(); });
    } else if (name == "ios_showLoading") {
      later([](Impl& self) { self.addActivityInd(); });
    } else if (name == "ios_postParam") {
      formPostParam = body;
    } else if (name == "ObjC_onError") {
      later([body](Impl& self) { self.reportError(body); });
    } else if (name == "ObjC_PrevButtEnabled" || name == "ObjC_NextButtEnabled") {
      const bool enabled = body.is_bool() ? body.get_bool() : false;
      later([name, enabled](Impl& self) {
        (name == "ObjC_PrevButtEnabled" ? self.prevButtEnabled : self.nextButtEnabled) = enabled;
      });
    }
    if (observer) observer(name, body);
  }

  void didFinishNavigation() {
    const std::uint64_t provider = configuration.paymentProvider;
    if (provider < QPPaymentProviderCyberSource || provider > QPPaymentProviderPayonPci) removeActivityInd();
    if (isWebViewLoaded) return;
    if (onFormLoaded) onFormLoaded();
    isWebViewLoaded = true;
    if (provider == QPPaymentProviderPayon && paymentCode != QPLookups::PaymentOptionCode_PayU() &&
        paymentCode != QPLookups::PaymentOptionCode_PayPal()) {
      evaluate("iframeFix();");
      later(
          [](Impl& self) {
            self.evaluate("setMaxCardHolderLenght('201');");
            self.performDelayedJSCalls();
          },
          kShortDelayMs);
    }
  }

  void didFailNavigation(const GError* error) {
    removeActivityInd();
    // A load replaced by another one (a new render, a redirect) is not a failure.
    if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
        g_error_matches(error, WEBKIT_POLICY_ERROR,
                        WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE)) {
      return;
    }
    reportError(boost::json::string(error != nullptr ? error->message : "The page could not be loaded."));
  }

  void didFailWithTLSErrors(const char* uri) {
    removeActivityInd();
    reportError(boost::json::string(std::string("The server certificate of ") +
                                    (uri != nullptr ? uri : "the page") + " is not trusted."));
  }

  void performDelayedJSCalls() {
    std::vector<std::string> calls;
    calls.swap(delayedJScalls);
    for (const std::string& call : calls) evaluate(call);
  }

  void submit() {
    const std::uint64_t provider = configuration.paymentProvider;
    if (provider == QPPaymentProviderPayon) {
      evaluate("lm.submit();");
    } else if (provider >= QPPaymentProviderCyberSource && provider <= QPPaymentProviderPayonPci) {
      evaluate("submit();");
    }
  }

  // The page's before-submit request; nil keeps the page from submitting.
  std::optional<std::string> beforeSubmitRequest(std::string_view prompt, const char* defaultText) {
    if (!prompt.starts_with(kPromptPrefix) || prompt.substr(kPromptPrefix.size()) != "ObjC_onBeforeSubmit") {
      return std::nullopt;
    }
    boost::system::error_code parseError;
    boost::json::value parsed = boost::json::parse(defaultText != nullptr ? defaultText : "", parseError);
    std::optional<boost::json::object> args;
    if (!parseError && parsed.is_object()) args = parsed.get_object();
    if ((!paymentCode || paymentCode->empty()) && args) {
      const boost::json::value* brand = args->if_contains("paymentBrand");
      paymentCode = brand != nullptr && brand->is_string() ? std::optional<std::string>(brand->get_string())
                                                           : std::nullopt;
    }
    if (isAuthParamsAccepted) {
      isAuthParamsAccepted = false;
      return "true";
    }
    onBeforeSubmitDict = args;
    if (onBeforeSubmitCallbackWithArg) {
      std::shared_ptr<OnBeforeSubmitObj> arguments = QPFormRenderer::beforeSubmitArguments(args, paymentCode);
      BeforeSubmitCallbackWithArg callback = onBeforeSubmitCallbackWithArg;
      callback(arguments);
      if (arguments->isSubmitPrevented()) return std::nullopt;
      return "true";
    }
    if (onBeforeSubmitCallback) {
      BeforeSubmitCallback callback = onBeforeSubmitCallback;
      callback();
      prevButtEnabled = nextButtEnabled = false;
      toolbarType = QPToolbarType3dSecure;
    }
    return "true";
  }

  void teardown() {
    if (!webView) return;
    wkMessageHandler->unregisterHandlers();
    webView->stopLoading();
    wkMessageHandler->setDelegate({});
    for (gulong handler : viewHandlers) g_signal_handler_disconnect(webView->view(), handler);
    viewHandlers.clear();
    webkit_user_content_manager_remove_all_scripts(webView->userContentManager());
    removeActivityInd();
    overlay.unset_child();
    webView.reset();
    form = nullptr;
  }
};

namespace {

using Impl = QPPaymentForm::Impl;

void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
  if (event == WEBKIT_LOAD_FINISHED) static_cast<Impl*>(data)->didFinishNavigation();
}

gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, gchar*, GError* error, gpointer data) {
  static_cast<Impl*>(data)->didFailNavigation(error);
  return FALSE;
}

gboolean onLoadFailedWithTLSErrors(WebKitWebView*, gchar* uri, GTlsCertificate*, GTlsCertificateFlags,
                                   gpointer data) {
  // Handled: the certificate is never accepted, and the host hears of it once.
  static_cast<Impl*>(data)->didFailWithTLSErrors(uri);
  return TRUE;
}

gboolean onScriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, gpointer data) {
  if (webkit_script_dialog_get_dialog_type(dialog) != WEBKIT_SCRIPT_DIALOG_PROMPT) return FALSE;
  std::optional<std::string> answer = static_cast<Impl*>(data)->beforeSubmitRequest(
      webkit_script_dialog_get_message(dialog), webkit_script_dialog_prompt_get_default_text(dialog));
  if (answer) webkit_script_dialog_prompt_set_text(dialog, answer->c_str());
  return TRUE;
}

}  // namespace

QPPaymentForm::QPPaymentForm() : Gtk::Box(Gtk::Orientation::VERTICAL) {
  defaultInit();
}

void QPPaymentForm::defaultInit() {
  impl_ = std::make_shared<Impl>();
  impl_->form = this;
  WebKitUserContentManager* manager = webkit_user_content_manager_new();
  impl_->wkMessageHandler = std::make_unique<ScripMessageHandlerMediator>();
  impl_->wkMessageHandler->setDelegate(impl_);
  impl_->wkMessageHandler->registerHandlers(manager, wkScripMessageNames());
  impl_->webView = std::make_unique<CustomWebView>(manager);
  g_object_unref(manager);  // the web view holds it

  WebKitWebView* view = impl_->webView->view();
  Impl* raw = impl_.get();
  impl_->viewHandlers = {
      g_signal_connect(view, "load-changed", G_CALLBACK(onLoadChanged), raw),
      g_signal_connect(view, "load-failed", G_CALLBACK(onLoadFailed), raw),
      g_signal_connect(view, "load-failed-with-tls-errors", G_CALLBACK(onLoadFailedWithTLSErrors), raw),
      g_signal_connect(view, "script-dialog", G_CALLBACK(onScriptDialog), raw),
  };

  impl_->toolbarType = QPToolbarTypeNone;
  impl_->configuration.paymentProvider = QPPaymentProviderPayon;
  impl_->visibleElements = {0, 1, 2, 3};

  impl_->overlay.set_child(impl_->webView->widget());
  impl_->overlay.set_hexpand(true);
  impl_->overlay.set_vexpand(true);
  append(impl_->overlay);
  set_hexpand(true);
  set_vexpand(true);
  // The first layout shows the activity indicator until the page reports that it has loaded.
  signal_realize().connect([weak = std::weak_ptr<Impl>(impl_)] {
    auto self = weak.lock();
    if (!self || self->isAlreadyLayout) return;
    self->isAlreadyLayout = true;
    self->addActivityInd();
  });
}

QPPaymentForm::~QPPaymentForm() {
  impl_->teardown();
  remove(impl_->overlay);
}

std::int64_t QPPaymentForm::mode() const {
  return impl_->configuration.mode;
}
void QPPaymentForm::setMode(std::int64_t mode) {
  impl_->configuration.mode = mode;
}
std::int64_t QPPaymentForm::providerMode() const {
  return impl_->configuration.providerMode;
}
void QPPaymentForm::setProviderMode(std::int64_t providerMode) {
  impl_->configuration.providerMode = providerMode;
}
std::uint64_t QPPaymentForm::paymentProvider() const {
  return impl_->configuration.paymentProvider;
}
void QPPaymentForm::setPaymentProvider(std::uint64_t provider) {
  impl_->configuration.paymentProvider = provider;
}
bool QPPaymentForm::showStorePaymentMethod() const {
  return impl_->configuration.showStorePaymentMethod;
}
void QPPaymentForm::setShowStorePaymentMethod(bool show) {
  impl_->configuration.showStorePaymentMethod = show;
}
const std::optional<std::string>& QPPaymentForm::redirectURL() const {
  return impl_->configuration.redirectURL;
}
void QPPaymentForm::setRedirectURL(std::optional<std::string> url) {
  impl_->configuration.redirectURL = std::move(url);
}
const std::optional<std::string>& QPPaymentForm::apiURL() const {
  return impl_->configuration.apiURL;
}
void QPPaymentForm::setApiURL(const std::optional<std::string>& url) {
  impl_->configuration.apiURL = url ? std::optional(QPFormRenderer::normalizedApiURL(*url)) : std::nullopt;
}
const QPFormDeployment& QPPaymentForm::deployment() const {
  return impl_->deployment;
}
void QPPaymentForm::setDeployment(QPFormDeployment deployment) {
  impl_->deployment = std::move(deployment);
}

const QPPaymentForm::FormLoadedCallback& QPPaymentForm::onFormLoaded() const {
  return impl_->onFormLoaded;
}
void QPPaymentForm::setOnFormLoaded(FormLoadedCallback callback) {
  impl_->onFormLoaded = std::move(callback);
}
const QPPaymentForm::SuccessCallback& QPPaymentForm::onSuccessCallback() const {
  return impl_->onSuccessCallback;
}
void QPPaymentForm::setOnSuccessCallback(SuccessCallback callback) {
  impl_->onSuccessCallback = std::move(callback);
}
const QPPaymentForm::ErrorCallback& QPPaymentForm::onError() const {
  return impl_->onError;
}
void QPPaymentForm::setOnError(ErrorCallback callback) {
  impl_->onError = std::move(callback);
}
const QPPaymentForm::CancelCallback& QPPaymentForm::onCancel() const {
  return impl_->onCancel;
}
void QPPaymentForm::setOnCancel(CancelCallback callback) {
  impl_->onCancel = std::move(callback);
}
const QPPaymentForm::BeforeSubmitCallback& QPPaymentForm::onBeforeSubmitCallback() const {
  return impl_->onBeforeSubmitCallback;
}
void QPPaymentForm::setOnBeforeSubmitCallback(BeforeSubmitCallback callback) {
  impl_->onBeforeSubmitCallback = std::move(callback);
  if (impl_->onBeforeSubmitCallbackWithArg) impl_->onBeforeSubmitCallbackWithArg = nullptr;
}
const QPPaymentForm::BeforeSubmitCallbackWithArg& QPPaymentForm::onBeforeSubmitCallbackWithArg() const {
  return impl_->onBeforeSubmitCallbackWithArg;
}
void QPPaymentForm::setOnBeforeSubmitCallbackWithArg(BeforeSubmitCallbackWithArg callback) {
  impl_->onBeforeSubmitCallbackWithArg = std::move(callback);
  if (impl_->onBeforeSubmitCallback) impl_->onBeforeSubmitCallback = nullptr;
}
void QPPaymentForm::setScriptMessageObserver(ScriptMessageObserver observer) {
  impl_->observer = std::move(observer);
}

const std::vector<std::string>& QPPaymentForm::wkScripMessageNames() {
  return QPFormRenderer::wkScripMessageNames();
}
bool QPPaymentForm::isPaymentOptionValid(const std::string& code) const {
  return QPFormRenderer::isPaymentOptionValid(impl_->configuration.paymentProvider, code);
}
bool QPPaymentForm::isPaymentOptionCodeValidInSet(const std::string& code) const {
  return QPFormRenderer::isPaymentOptionCodeValidInSet(impl_->configuration.paymentProvider, code);
}

void QPPaymentForm::renderWithPaymentOptions(const std::optional<std::vector<std::string>>& paymentOptions,
                                             const std::optional<std::string>& authorizationToken,
                                             const std::shared_ptr<QPFormStyle>& formStyle) {
  Impl& self = *impl_;
  if (auto message =
          QPFormRenderer::checkConfiguration(self.configuration, paymentOptions, authorizationToken)) {
    if (!self.onCancel) throw std::invalid_argument(*message);
    CancelCallback cancel = self.onCancel;
    cancel(*message);
    return;
  }
  self.isFormFinished = false;
  self.authToken = authorizationToken;

  QPRenderEnvironment environment = QPRenderEnvironment::current();
  environment.viewHeight = self.webView->height();
  environment.screenHeight = mainScreenHeight();
  QPRenderedForm rendered = QPFormRenderer::render(self.configuration, *paymentOptions, *authorizationToken,
                                                   formStyle, self.deployment, environment);
  self.paymentCode = rendered.paymentCode;
  self.configuration.apiURL = rendered.apiURL;
  if (rendered.isPayU) {
    self.webView->loadURL(rendered.url);
  } else {
    self.webView->loadHTML(rendered.html, rendered.url);
  }
}

void QPPaymentForm::renderWithPaymentOptionCode(std::int64_t paymentOptionCode,
                                                const std::optional<std::string>& authorizationToken,
                                                const std::shared_ptr<QPFormStyle>& formStyle) {
  std::string code = QPFormRenderer::paymentOptionCodeForNumber(paymentOptionCode);
  impl_->paymentCode = code;
  renderWithPaymentOptions(std::vector<std::string>{code}, authorizationToken, formStyle);
}

void QPPaymentForm::setHtmlPartWithName(const std::string& name, std::string& html, bool enabled) {
  QPFormRenderer::setHtmlPartWithName(name, html, enabled);
}

QPPayPalButtonStyle QPPaymentForm::getPayPalButtonStyle(const std::shared_ptr<QPFormStyle>& formStyle) {
  if (formStyle && formStyle->paypalButtonStyle()) return *formStyle->paypalButtonStyle();
  return QPPayPalButtonStyle::initDefault();
}

void QPPaymentForm::setElement(std::uint64_t element, bool visible) {
  Impl& self = *impl_;
  self.toolbarType = QPToolbarTypeWizard;
  auto queue = [&self, visible](std::uint64_t e) {
    if (visible) {
      self.visibleElements.insert(e);
    } else {
      self.visibleElements.erase(e);
    }
    self.delayedJScalls.push_back("setVisibility('" + QPFormRenderer::elementName(e) + "'," +
                                  (visible ? "true" : "false") + ");");
  };
  if (element <= QPFormElementCvv) {
    queue(element);
  } else if (element == QPFormElementAll) {
    if (!visible) self.visibleElements.clear();
    for (std::uint64_t e = QPFormElementCardNumber; e <= QPFormElementCvv; ++e) queue(e);
  }
  if (self.isWebViewLoaded) self.performDelayedJSCalls();
}

void QPPaymentForm::performDelayedJSCalls() {
  impl_->performDelayedJSCalls();
}
void QPPaymentForm::submit() {
  impl_->submit();
}
void QPPaymentForm::acceptAndSubmit() {
  impl_->isAuthParamsAccepted = true;
  impl_->submit();
}

const std::optional<std::string>& QPPaymentForm::paymentCode() const {
  return impl_->paymentCode;
}
const std::optional<std::string>& QPPaymentForm::authToken() const {
  return impl_->authToken;
}
std::uint64_t QPPaymentForm::toolbarType() const {
  return impl_->toolbarType;
}
bool QPPaymentForm::isWebViewLoaded() const {
  return impl_->isWebViewLoaded;
}
bool QPPaymentForm::isFormFinished() const {
  return impl_->isFormFinished;
}
bool QPPaymentForm::isActivityIndicatorShown() const {
  return impl_->isActivityIndicatorShown();
}
CustomWebView& QPPaymentForm::webView() {
  return *impl_->webView;
}

}  // namespace brivane
