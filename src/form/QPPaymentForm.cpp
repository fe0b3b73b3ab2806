#include "brivane/form/QPPaymentForm.h"

#include <webkit/webkit.h>

#include <set>
#include <stdexcept>

#include <gdkmm/display.h>
#include <glibmm/main.h>
#include <gtkmm/button.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/overlay.h>
#include <gtkmm/spinner.h>
#include <gtkmm/stylecontext.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include "brivane/api/core/QPLookups.h"
#include "brivane/util/QPUtils.h"
#include "form/CustomWebView.h"
#include "form/FormEngineWarmUp.h"
#include "form/ScripMessageHandlerMediator.h"

namespace brivane {
namespace {

constexpr unsigned kShortDelayMs = 300;
constexpr unsigned kPayUDelayMs = 3000;
constexpr std::string_view kPromptPrefix = "jsFunction: ";
// Posted by the page's bridge when one of its inputs takes (true) or loses (false) the focus:
// the desktop's stand-in for the on-screen keyboard showing and hiding.
constexpr const char* kKeyboardMessage = "qp_keyboard";
// Ends editing in the page: blurs the focused input (the form-service page forwards it to its frame).
constexpr const char* kEndEditingScript =
    "if (typeof qpEndEditing === 'function') { qpEndEditing(); } "
    "else if (document.activeElement && document.activeElement.blur) { document.activeElement.blur(); }";

constexpr const char* kHttpBodyScript =
    "function getHttpBodyPlz() {var inputs, index, result = ''; inputs = "
    "document.getElementsByTagName('input');if (inputs != undefined) { for (index = 0; index < "
    "inputs.length; ++index) { var curInput = inputs[index]; if (curInput.name == undefined || "
    "curInput.name.length == 0) { continue; }if (curInput.name == 'data') {return  "
    "encodeURIComponent(curInput.name) + '=' + encodeURIComponent(curInput.value); }result = result + "
    "encodeURIComponent(curInput.name) + '=' + encodeURIComponent(curInput.value) + '&'; }}return result;} "
    "getHttpBodyPlz();";

// The look of the form's own widgets: a compact spinner card, PayU's dimmed overlay and the
// keyboard toolbar. Installed once per display.
constexpr const char* kFormWidgetCSS = R"CSS(
.brivane-activity { background: rgba(255, 255, 255, 0.92); border-radius: 12px; padding: 14px;
  box-shadow: 0 1px 6px rgba(0, 0, 0, 0.18); }
.brivane-dimmed { background: rgba(0, 0, 0, 0.3); }
.brivane-toolbar { background: #f4f5f7; border-top: 1px solid #d0d4da; padding: 4px 8px; }
.brivane-toolbar button { min-height: 36px; }
.brivane-toolbar .brivane-arrow { font-size: 26px; font-weight: 500; padding: 0 10px; }
)CSS";

void installFormWidgetCSS() {
  static bool installed = false;
  auto display = Gdk::Display::get_default();
  if (installed || !display) return;
  installed = true;
  auto provider = Gtk::CssProvider::create();
  provider->load_from_data(kFormWidgetCSS);
  Gtk::StyleContext::add_provider_for_display(display, provider, GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

bool isCardFormProvider(std::uint64_t provider) {
  return provider >= QPPaymentProviderCyberSource && provider <= QPPaymentProviderPayonPci;
}

std::string percentDecoded(const std::string& text);

std::vector<QPURLQueryItem> queryItemsOf(const std::string& url) {
  std::vector<QPURLQueryItem> items;
  const std::size_t question = url.find('?');
  if (question == std::string::npos) return items;
  std::string query = url.substr(question + 1);
  query = query.substr(0, query.find('#'));
  std::size_t start = 0;
  while (start <= query.size()) {
    std::size_t end = query.find('&', start);
    if (end == std::string::npos) end = query.size();
    const std::string pair = query.substr(start, end - start);
    if (!pair.empty()) {
      const std::size_t equals = pair.find('=');
      QPURLQueryItem item;
      item.name = percentDecoded(pair.substr(0, equals));
      if (equals != std::string::npos) item.value = percentDecoded(pair.substr(equals + 1));
      items.push_back(std::move(item));
    }
    start = end + 1;
  }
  return items;
}

void openWithDesktop(const std::string& url) {
  g_app_info_launch_default_for_uri_async(url.c_str(), nullptr, nullptr, nullptr, nullptr);
}

// The done item's title: German when the first preferred language is German.
std::string doneTitle() {
  const std::vector<std::string> languages = QPUtils::preferredLanguages();
  if (!languages.empty() && (languages.front().starts_with("de") || languages.front().starts_with("DE"))) {
    return "Fertig";
  }
  return "Done";
}

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
  URLOpener urlOpener;

  std::unique_ptr<CustomWebView> webView;
  std::unique_ptr<ScripMessageHandlerMediator> wkMessageHandler;
  Gtk::Overlay overlay;
  std::unique_ptr<Gtk::Box> activityInd;
  std::unique_ptr<Gtk::Box> payUOverlay;
  std::vector<gulong> viewHandlers;

  // The keyboard toolbar: the accessory chosen for the web view, shown below it while an input
  // of the page has the focus.
  std::unique_ptr<Gtk::Box> toolbar;
  std::vector<std::string> toolbarTitles;
  bool keyboardShown = false;
  Gtk::Button* prevButtItem = nullptr;
  Gtk::Button* nextButtItem = nullptr;

  std::uint64_t toolbarType = QPToolbarTypeNone;
  std::optional<std::string> paymentCode;
  std::optional<std::string> authToken;
  std::vector<std::string> delayedJScalls;
  std::set<std::uint64_t> visibleElements;

  bool isAlreadyLayout = false;
  bool isInputsExctracted = false;  // nothing sets it: the page re-collects its inputs each time
  bool isWebViewLoaded = false;
  bool isFormFinished = false;
  bool isAlreadySubmitted = false;
  bool isAuthParamsAccepted = false;
  bool currentLoadFailed = false;
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

  // Evaluates `script`; `done` gets whether the answer is the value true (a script error is
  // not), later on the main loop and only while the form exists.
  void evaluateIsTrue(const std::string& script, std::function<void(Impl&, bool)> done) {
    if (!webView) return;
    std::weak_ptr<Impl> weak = weak_from_this();
    webView->evaluate(script, [weak, done = std::move(done)](const std::optional<boost::json::value>& result,
                                                             const std::optional<std::string>&) {
      auto self = weak.lock();
      if (!self || self->form == nullptr) return;
      done(*self, result && result->is_bool() && result->get_bool());
    });
  }

  // A spinner of a fixed size on a light card, centred over the web view.
  void addActivityInd() {
    removeActivityInd();
    installFormWidgetCSS();
    activityInd = std::make_unique<Gtk::Box>();
    activityInd->add_css_class("brivane-activity");
    activityInd->set_halign(Gtk::Align::CENTER);
    activityInd->set_valign(Gtk::Align::CENTER);
    activityInd->set_can_target(false);
    auto* spinner = Gtk::make_managed<Gtk::Spinner>();
    spinner->set_size_request(32, 32);
    spinner->start();
    activityInd->append(*spinner);
    overlay.add_overlay(*activityInd);
  }

  void removeActivityInd() {
    if (!activityInd || activityInd->get_parent() == nullptr) return;
    overlay.remove_overlay(*activityInd);
  }

  bool isActivityIndicatorShown() const { return activityInd && activityInd->get_parent() != nullptr; }

  // PayU's return: the whole view dimmed, with a large spinner, until the success 3 s later.
  void addPayUOverlay() {
    removePayUOverlay();
    installFormWidgetCSS();
    payUOverlay = std::make_unique<Gtk::Box>();
    payUOverlay->add_css_class("brivane-dimmed");
    payUOverlay->set_halign(Gtk::Align::FILL);
    payUOverlay->set_valign(Gtk::Align::FILL);
    auto* spinner = Gtk::make_managed<Gtk::Spinner>();
    spinner->set_size_request(64, 64);
    spinner->set_hexpand(true);
    spinner->set_vexpand(true);
    spinner->set_halign(Gtk::Align::CENTER);
    spinner->set_valign(Gtk::Align::CENTER);
    spinner->start();
    payUOverlay->append(*spinner);
    overlay.add_overlay(*payUOverlay);
  }

  void removePayUOverlay() {
    if (!payUOverlay || payUOverlay->get_parent() == nullptr) return;
    overlay.remove_overlay(*payUOverlay);
  }

  void reportError(const boost::json::value& error) {
    if (onError) onError(error);
  }

  // The end of every successful path: no error may follow a success, and nothing stays
  // spinning over the page the provider ended on.
  void succeed(const std::optional<std::string>& payload) {
    removeActivityInd();
    if (!onSuccessCallback) return;
    onError = nullptr;
    SuccessCallback callback = onSuccessCallback;
    callback(paymentCode, authToken.value_or(""), payload);
  }

  void didReceiveScriptMessage(const std::string& name, const boost::json::value& body) override {
    if (name == "ObjC_Log") {
      if (body.is_string()) g_debug("page: %s", percentDecoded(std::string(body.get_string())).c_str());
    } else if (name == "ios_formLoaded" || name == "ios_formError") {
      isAlreadySubmitted = false;
      later([](Impl& self) { self.removeActivityInd(); });
    } else if (name == "ios_showLoading") {
      // Once the form has ended nothing would take a late indicator away again.
      later([](Impl& self) {
        if (!self.isFormFinished) self.addActivityInd();
      });
    } else if (name == "ios_postParam") {
      formPostParam = body;
    } else if (name == "ObjC_onError") {
      later([body](Impl& self) { self.reportError(body); });
    } else if (name == "ObjC_PrevButtEnabled" || name == "ObjC_NextButtEnabled") {
      const bool enabled = body.is_bool() && body.get_bool();
      later([name, enabled](Impl& self) {
        Gtk::Button* item = name == "ObjC_PrevButtEnabled" ? self.prevButtItem : self.nextButtItem;
        if (item != nullptr) item->set_sensitive(enabled);
      });
    } else if (name == kKeyboardMessage) {
      if (body.is_bool()) {
        if (body.get_bool()) {
          keyboardWillShow();
        } else {
          keyboardWillHide();
        }
      }
    }
    if (observer) observer(name, body);
  }

  // --- Keyboard toolbar ---

  Gtk::Button* toolbarButton(Gtk::Box& bar, const std::string& title, void (Impl::*action)()) {
    auto* button = Gtk::make_managed<Gtk::Button>(title);
    button->set_focus_on_click(false);
    button->set_can_focus(false);
    std::weak_ptr<Impl> weak = weak_from_this();
    button->signal_clicked().connect([weak, action] {
      if (auto self = weak.lock(); self && self->form != nullptr) ((*self).*action)();
    });
    bar.append(*button);
    toolbarTitles.push_back(title);
    return button;
  }

  std::unique_ptr<Gtk::Box> newToolbar() {
    installFormWidgetCSS();
    auto bar = std::make_unique<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 6);
    bar->add_css_class("brivane-toolbar");
    toolbarTitles.clear();
    return bar;
  }

  void flexibleSpace(Gtk::Box& bar) {
    auto* space = Gtk::make_managed<Gtk::Box>();
    space->set_hexpand(true);
    bar.append(*space);
    toolbarTitles.emplace_back();
  }

  void doneItem(Gtk::Box& bar, void (Impl::*action)()) {
    toolbarButton(bar, doneTitle(), action)->add_css_class("suggested-action");
  }

  std::unique_ptr<Gtk::Box> keyboardToolbar() {
    auto bar = newToolbar();
    prevButtItem = toolbarButton(*bar, " < ", &Impl::prevWebViewInput);
    nextButtItem = toolbarButton(*bar, " > ", &Impl::nextWebViewInput);
    prevButtItem->add_css_class("brivane-arrow");
    nextButtItem->add_css_class("brivane-arrow");
    flexibleSpace(*bar);
    doneItem(*bar, &Impl::doneWebViewInpit);
    toolbarType = QPToolbarTypeStandard;
    return bar;
  }

  std::unique_ptr<Gtk::Box> keyboardToolbarFor3dSecure() {
    auto bar = newToolbar();
    flexibleSpace(*bar);
    doneItem(*bar, &Impl::doneWebViewInpit);
    toolbarType = QPToolbarType3dSecure;
    return bar;
  }

  std::unique_ptr<Gtk::Box> keyboardToolbarForWizard() {
    auto bar = newToolbar();
    flexibleSpace(*bar);
    doneItem(*bar, &Impl::doneWebViewInpitForWizard);
    toolbarType = QPToolbarTypeWizard;
    return bar;
  }

  // The web view's input accessory: kept while set, shown while the keyboard is.
  void setCustomInputAccessoryView(std::unique_ptr<Gtk::Box> bar) {
    if (toolbar && toolbar->get_parent() != nullptr) form->remove(*toolbar);
    if (!bar) {
      prevButtItem = nextButtItem = nullptr;
      toolbarTitles.clear();
    }
    toolbar = std::move(bar);
    updateToolbarVisibility();
  }

  void updateToolbarVisibility() {
    if (!toolbar || form == nullptr) return;
    const bool attached = toolbar->get_parent() != nullptr;
    if (keyboardShown && !attached) form->append(*toolbar);
    if (!keyboardShown && attached) form->remove(*toolbar);
  }

  bool isPayUOrPayPal() const {
    return paymentCode == QPLookups::PaymentOptionCode_PayU() ||
           paymentCode == QPLookups::PaymentOptionCode_PayPal();
  }

  void keyboardWillShow() {
    if (isPayUOrPayPal()) return;
    const std::uint64_t provider = configuration.paymentProvider;
    if (provider >= QPPaymentProviderCyberSource && provider <= QPPaymentProviderSepa) {
      setCustomInputAccessoryView(keyboardToolbarFor3dSecure());
    } else if (provider == QPPaymentProviderPayon) {
      switch (toolbarType) {
        case QPToolbarTypeWizard:
          setCustomInputAccessoryView(keyboardToolbarForWizard());
          break;
        case QPToolbarType3dSecure:
          setCustomInputAccessoryView(keyboardToolbarFor3dSecure());
          break;
        case QPToolbarTypeNone:
          setCustomInputAccessoryView(keyboardToolbar());
          [[fallthrough]];
        case QPToolbarTypeStandard:
          if (!isInputsExctracted) evaluate("extractIframeInputs();");
          evaluate("checkFocus();");
          break;
        default:
          break;
      }
    } else {
      return;  // PayU, PayPal and the form-service card gateway show no toolbar
    }
    keyboardShown = true;
    updateToolbarVisibility();
  }

  void keyboardWillHide() {
    if (isPayUOrPayPal()) return;
    keyboardShown = false;
    setCustomInputAccessoryView(nullptr);
    if (toolbarType != QPToolbarType3dSecure && toolbarType != QPToolbarTypeWizard) {
      toolbarType = QPToolbarTypeNone;
    }
  }

  void nextWebViewInput() {
    evaluate("nextInput();");
    evaluate("checkFocus();");
  }
  void prevWebViewInput() {
    evaluate("prevInput();");
    evaluate("checkFocus();");
  }
  void doneWebViewInpit() { evaluate(kEndEditingScript); }
  void doneWebViewInpitForWizard() {
    evaluate("$(window).focus();$(window).blur();");
    evaluate(kEndEditingScript);
  }

  // --- Validation ---

  struct Validation {
    std::uint64_t element = 0;
    ValidationCallback callback;
    std::size_t pendingEmptyQueries = 0;
    bool someInputEmpty = false;
    std::size_t pendingValidations = 0;
    bool valid = true;
    bool waited = false;
  };

  void validateElement(std::uint64_t element, ValidationCallback callback) {
    evaluate(kEndEditingScript);
    auto validation = std::make_shared<Validation>();
    validation->element = element;
    validation->callback = std::move(callback);
    validation->pendingEmptyQueries = visibleElements.size();
    if (visibleElements.empty()) {
      later([validation](Impl& self) { self.afterEmptinessQueries(validation); });
      return;
    }
    for (std::uint64_t visible : visibleElements) {
      evaluateIsTrue("isElementInputEmpty('" + QPFormRenderer::elementName(visible) + "');",
                     [validation](Impl& self, bool empty) {
                       if (empty) validation->someInputEmpty = true;
                       if (--validation->pendingEmptyQueries == 0) self.afterEmptinessQueries(validation);
                     });
    }
  }

  void afterEmptinessQueries(const std::shared_ptr<Validation>& validation) {
    if (!validation->someInputEmpty) {
      runValidationQueries(validation);
      return;
    }
    evaluate("$(\".wpwl-button\").click();");
    later([validation](Impl& self) { self.runValidationQueries(validation); }, kShortDelayMs);
  }

  void runValidationQueries(const std::shared_ptr<Validation>& validation) {
    std::vector<std::uint64_t> elements;
    if (validation->element <= QPFormElementCvv) {
      elements = {validation->element};
    } else if (validation->element == QPFormElementAll) {
      elements = {QPFormElementCardNumber, QPFormElementExpiry, QPFormElementCardHolder, QPFormElementCvv};
    }
    validation->pendingValidations = elements.size();
    for (std::uint64_t e : elements) {
      evaluateIsTrue("validateElement('" + QPFormRenderer::elementName(e) + "');",
                     [validation](Impl& self, bool valid) {
                       if (!valid) validation->valid = false;
                       --validation->pendingValidations;
                       self.finishValidation(validation);
                     });
    }
    later(
        [validation](Impl& self) {
          validation->waited = true;
          self.finishValidation(validation);
        },
        kShortDelayMs);
  }

  // Runs once the 0.3 s have passed and every validation query has answered.
  void finishValidation(const std::shared_ptr<Validation>& validation) {
    if (!validation->waited || validation->pendingValidations > 0 || !validation->callback) return;
    if (validation->someInputEmpty) {
      const bool onlyCardHolder =
          visibleElements.size() == 1 && visibleElements.count(QPFormElementCardHolder) == 1;
      if (!onlyCardHolder) {
        const std::string elementName = QPFormRenderer::elementName(validation->element);
        for (std::uint64_t e = QPFormElementCardNumber; e <= QPFormElementCvv; ++e) {
          const std::string name = QPFormRenderer::elementName(e);
          if (visibleElements.count(e) == 0 && name != elementName)
            evaluate("clearElementError('" + name + "');");
        }
      }
    }
    ValidationCallback callback = std::move(validation->callback);
    validation->callback = nullptr;
    callback(validation->element, validation->valid);
  }

  // --- Navigation ---

  struct Navigation {
    std::string url;      // the absolute URL as requested
    std::string urlText;  // the same, percent-decoded
    WebKitNavigationType type = WEBKIT_NAVIGATION_TYPE_OTHER;
    bool newWindow = false;                // aimed at no frame (a new window)
    std::optional<std::string> frameName;  // the link's target, when it names one
  };

  enum class Decision { Allow, Cancel, None };

  Decision decidePolicy(const Navigation& navigation) {
    const std::uint64_t provider = configuration.paymentProvider;
    const std::string& text = navigation.urlText;
    if (provider == QPPaymentProviderPayPal) {
      if (isFormFinished) return Decision::None;
      if (text.starts_with(deployment.payPalSuccessURL)) {
        isFormFinished = true;
        succeed(valueForKey("PayerID", queryItemsOf(navigation.url)));
        return Decision::Allow;
      }
      if (text.starts_with(deployment.payPalCancelURL)) {
        isFormFinished = true;
        removeActivityInd();
        if (onCancel) {
          CancelCallback cancel = onCancel;
          cancel(std::nullopt);
        }
        return Decision::Cancel;
      }
    } else if (isCardFormProvider(provider)) {
      // Once the form has ended, nothing is shown for a late redirect: it would stay forever.
      if (!isFormFinished) addActivityInd();
      const std::string& redirect = configuration.redirectURL.value_or("");
      if (!redirect.empty() && text.find(redirect) != std::string::npos) {
        if (!isFormFinished && webView) {
          std::weak_ptr<Impl> weak = weak_from_this();
          webView->evaluate(kHttpBodyScript, [weak](const std::optional<boost::json::value>& result,
                                                    const std::optional<std::string>&) {
            auto self = weak.lock();
            // A second redirect may have been answered first: the form ends once.
            if (!self || self->form == nullptr || self->isFormFinished) return;
            std::optional<std::string> payload;
            if (result && result->is_string()) payload = std::string(result->get_string());
            self->isFormFinished = true;
            self->later([payload](Impl& form) { form.succeed(payload); });
          });
        }
        return Decision::Cancel;
      }
    } else if (provider == QPPaymentProviderPayon) {
      if (paymentCode == QPLookups::PaymentOptionCode_PayPal() &&
          navigation.type == WEBKIT_NAVIGATION_TYPE_FORM_SUBMITTED) {
        addActivityInd();
      }
    }

    if (paymentCode == QPLookups::PaymentOptionCode_PayU()) {
      const std::string& redirect = configuration.redirectURL.value_or("");
      if (!redirect.empty() && text.starts_with(redirect)) {
        if (isFormFinished) return Decision::None;
        addPayUOverlay();
        onError = nullptr;
        isFormFinished = true;
        later(
            [](Impl& self) {
              self.removePayUOverlay();
              self.succeed(std::nullopt);
            },
            kPayUDelayMs);
        return Decision::Allow;
      }
    } else if (text.starts_with(deployment.callbackBaseURL)) {
      if (isFormFinished) return Decision::None;
      isFormFinished = true;
      succeed(std::nullopt);
      return Decision::Cancel;
    }

    if (navigation.newWindow) return openOutside(navigation.url);
    if (navigation.type != WEBKIT_NAVIGATION_TYPE_LINK_CLICKED) return Decision::Allow;
    if (!navigation.frameName || navigation.frameName->empty() || *navigation.frameName == "_self") {
      // A link within its own frame: the form loads it itself.
      if (webView) webView->loadURL(navigation.url);
      addActivityInd();
      return Decision::Cancel;
    }
    if (*navigation.frameName == "_top") return Decision::Allow;
    return openOutside(navigation.url);
  }

  Decision openOutside(const std::string& url) {
    if (urlOpener) {
      URLOpener opener = urlOpener;
      opener(url);
    } else {
      openWithDesktop(url);
    }
    return Decision::Cancel;
  }

  void didStartNavigation() { currentLoadFailed = false; }

  void didFinishNavigation() {
    const std::uint64_t provider = configuration.paymentProvider;
    if (!isCardFormProvider(provider)) removeActivityInd();
    // WebKitGTK reports a failed load as finished too: that is not a page.
    if (currentLoadFailed || isWebViewLoaded) return;
    if (onFormLoaded) {
      FormLoadedCallback loaded = onFormLoaded;
      loaded();
    }
    isWebViewLoaded = true;
    if (provider == QPPaymentProviderPayon && !isPayUOrPayPal()) {
      evaluate("iframeFix();");
      later(
          [](Impl& self) {
            self.evaluate("setMaxCardHolderLenght('201');");
            self.performDelayedJSCalls();
          },
          kShortDelayMs);
    }
  }

  // Whether the failure was reported (a load replaced by another one is no failure).
  bool didFailNavigation(const GError* error) {
    currentLoadFailed = true;
    removeActivityInd();
    if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
        g_error_matches(error, WEBKIT_POLICY_ERROR,
                        WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE)) {
      return false;
    }
    reportError(boost::json::string(error != nullptr ? error->message : "The page could not be loaded."));
    return true;
  }

  void didFailWithTLSErrors(const char* uri) {
    currentLoadFailed = true;
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
      if (prevButtItem != nullptr) prevButtItem->set_sensitive(false);
      if (nextButtItem != nullptr) nextButtItem->set_sensitive(false);
      later([](Impl& self) { self.setCustomInputAccessoryView(self.keyboardToolbarFor3dSecure()); });
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
    removePayUOverlay();
    keyboardShown = false;
    setCustomInputAccessoryView(nullptr);
    overlay.unset_child();
    webView.reset();
    form = nullptr;
  }
};

namespace {

using Impl = QPPaymentForm::Impl;

void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
  if (event == WEBKIT_LOAD_STARTED) static_cast<Impl*>(data)->didStartNavigation();
  if (event == WEBKIT_LOAD_FINISHED) static_cast<Impl*>(data)->didFinishNavigation();
}

// Every navigation of the page and its frames passes here. WebKitGTK wants a decision for
// each request: where the form gives none (an already finished form met its ending again),
// the navigation is ignored, which leaves the page where it is.
gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                        gpointer data) {
  if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION &&
      type != WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
    return FALSE;
  }
  WebKitNavigationAction* action =
      webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
  WebKitURIRequest* request = webkit_navigation_action_get_request(action);
  const char* uri = request != nullptr ? webkit_uri_request_get_uri(request) : nullptr;
  Impl::Navigation navigation;
  navigation.url = uri != nullptr ? uri : "";
  navigation.urlText = percentDecoded(navigation.url);
  navigation.type = webkit_navigation_action_get_navigation_type(action);
  navigation.newWindow = type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION;
  if (const char* frame = webkit_navigation_action_get_frame_name(action)) navigation.frameName = frame;
  switch (static_cast<Impl*>(data)->decidePolicy(navigation)) {
    case Impl::Decision::Allow:
      webkit_policy_decision_use(decision);
      break;
    case Impl::Decision::Cancel:
    case Impl::Decision::None:
      webkit_policy_decision_ignore(decision);
      break;
  }
  return TRUE;
}

gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, gchar*, GError* error, gpointer data) {
  // A reported failure is handled here: the engine's own error page would be a second load
  // that finishes, and the host has the text already.
  return static_cast<Impl*>(data)->didFailNavigation(error) ? TRUE : FALSE;
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
  std::vector<std::string> names = wkScripMessageNames();
  names.emplace_back(kKeyboardMessage);
  impl_->wkMessageHandler->registerHandlers(manager, names);
  // After a warm-up the page opens in its running web process.
  impl_->webView = std::make_unique<CustomWebView>(manager, FormEngineWarmUp::relatedView());
  g_object_unref(manager);  // the web view holds it

  WebKitWebView* view = impl_->webView->view();
  Impl* raw = impl_.get();
  impl_->viewHandlers = {
      g_signal_connect(view, "load-changed", G_CALLBACK(onLoadChanged), raw),
      g_signal_connect(view, "load-failed", G_CALLBACK(onLoadFailed), raw),
      g_signal_connect(view, "load-failed-with-tls-errors", G_CALLBACK(onLoadFailedWithTLSErrors), raw),
      g_signal_connect(view, "script-dialog", G_CALLBACK(onScriptDialog), raw),
      g_signal_connect(view, "decide-policy", G_CALLBACK(onDecidePolicy), raw),
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
    if (!self->isWebViewLoaded) self->addActivityInd();
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
void QPPaymentForm::setURLOpener(URLOpener opener) {
  impl_->urlOpener = std::move(opener);
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
  QPRenderedForm rendered;
  try {
    rendered = QPFormRenderer::render(self.configuration, *paymentOptions, *authorizationToken, formStyle,
                                      self.deployment, environment);
  } catch (const std::invalid_argument& missing) {
    // No template: the bundle is not where the SDK looked. A host with an error callback hears of it
    // there, with the places searched; without one the render raises.
    if (!self.onError) throw;
    boost::json::array searched;
    for (const std::string& directory : QPUtils::bundleSearchDirectories()) searched.emplace_back(directory);
    ErrorCallback report = self.onError;
    report(boost::json::object{{"message", missing.what()}, {"searchedDirectories", std::move(searched)}});
    return;
  }
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

void QPPaymentForm::validateElement(std::uint64_t element, ValidationCallback callback) {
  impl_->validateElement(element, std::move(callback));
}

const std::string& QPPaymentForm::getHttpBodyScript() {
  static const std::string script = kHttpBodyScript;
  return script;
}

std::optional<std::string> QPPaymentForm::valueForKey(const std::string& name,
                                                      const std::vector<QPURLQueryItem>& queryItems) {
  for (const QPURLQueryItem& item : queryItems) {
    if (item.name == name) return item.value;
  }
  return std::nullopt;
}

std::string QPPaymentForm::dictToString(const boost::json::object& dictionary) {
  std::string text;
  for (const auto& member : dictionary) {
    const std::string value = member.value().is_string() ? std::string(member.value().get_string())
                                                         : boost::json::serialize(member.value());
    text += "\"" + std::string(member.key()) + "\"=\"" + value + "\"&";
  }
  return text;
}

void QPPaymentForm::keyboardWillShow() {
  impl_->keyboardWillShow();
}
void QPPaymentForm::keyboardWillHide() {
  impl_->keyboardWillHide();
}
void QPPaymentForm::prevWebViewInput() {
  impl_->prevWebViewInput();
}
void QPPaymentForm::nextWebViewInput() {
  impl_->nextWebViewInput();
}
void QPPaymentForm::doneWebViewInpit() {
  impl_->doneWebViewInpit();
}
void QPPaymentForm::doneWebViewInpitForWizard() {
  impl_->doneWebViewInpitForWizard();
}
std::vector<std::string> QPPaymentForm::shownToolbarItems() const {
  const Impl& self = *impl_;
  if (!self.toolbar || self.toolbar->get_parent() == nullptr) return {};
  return self.toolbarTitles;
}
bool QPPaymentForm::isPrevButtonEnabled() const {
  return impl_->prevButtItem != nullptr && impl_->prevButtItem->get_sensitive();
}
bool QPPaymentForm::isNextButtonEnabled() const {
  return impl_->nextButtItem != nullptr && impl_->nextButtItem->get_sensitive();
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
bool QPPaymentForm::isOverlayShown() const {
  return impl_->payUOverlay && impl_->payUOverlay->get_parent() != nullptr;
}
CustomWebView& QPPaymentForm::webView() {
  return *impl_->webView;
}

bool QPPaymentForm::warmUp(WarmUpCallback ready) {
  return FormEngineWarmUp::start(std::move(ready));
}
bool QPPaymentForm::isWarmedUp() {
  return FormEngineWarmUp::isReady();
}
void QPPaymentForm::releaseWarmUp() {
  FormEngineWarmUp::release();
}

}  // namespace brivane
