#include "brivane/form/QPPaymentForm.h"

#include <webkit/webkit.h>

#include <set>
#include <stdexcept>

#include <gdkmm/display.h>
#include <glibmm/main.h>
#include <gtkmm/button.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/label.h>
#include <gtkmm/messagedialog.h>
#include <gtkmm/overlay.h>
#include <gtkmm/stylecontext.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include "brivane/api/core/QPLookups.h"
#include "brivane/util/QPUtils.h"
#include "form/BusySpinner.h"
#include "form/CustomWebView.h"
#include "form/FieldValidation.h"
#include "form/FormEngineWarmUp.h"
#include "form/KeyboardToolbar.h"
#include "form/NavigationPolicy.h"
#include "form/PageBridge.h"
#include "form/ProviderProfile.h"
#include "form/QPPaymentFormInternal.h"
#include "form/ScripMessageHandlerMediator.h"

namespace brivane {
namespace {

constexpr unsigned kShortDelayMs = 300;
constexpr unsigned kPayUDelayMs = 3000;
// How long the form service may take to show its form before the shopper is told.
constexpr unsigned kFormServiceWaitMs = 5000;
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

// The form's busy states cover the whole form and take every click while shown: the activity
// overlay is translucent over the page, PayU's return dims it.
constexpr const char* kFormWidgetCSS = R"CSS(
.brivane-busy { background: rgba(128, 128, 128, 0.28); }
.brivane-dimmed { background: rgba(0, 0, 0, 0.3); }
.brivane-notice { margin: 16px; padding: 16px; border-radius: 8px; background: @theme_bg_color;
  border: 1px solid alpha(currentColor, 0.25); }
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

void openWithDesktop(const std::string& url) {
  g_app_info_launch_default_for_uri_async(url.c_str(), nullptr, nullptr, nullptr, nullptr);
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

NavigationType navigationTypeOf(WebKitNavigationType type) {
  switch (type) {
    case WEBKIT_NAVIGATION_TYPE_LINK_CLICKED:
      return NavigationType::LinkActivated;
    case WEBKIT_NAVIGATION_TYPE_FORM_SUBMITTED:
      return NavigationType::FormSubmitted;
    case WEBKIT_NAVIGATION_TYPE_BACK_FORWARD:
      return NavigationType::BackForward;
    case WEBKIT_NAVIGATION_TYPE_RELOAD:
      return NavigationType::Reload;
    case WEBKIT_NAVIGATION_TYPE_FORM_RESUBMITTED:
      return NavigationType::FormResubmitted;
    default:
      return NavigationType::Other;
  }
}

// A full-form overlay with a centred spinner, named for screen readers.
std::unique_ptr<Gtk::Box> busyOverlay(const char* cssClass, int spinnerSize) {
  installFormWidgetCSS();
  auto box = std::make_unique<Gtk::Box>();
  box->add_css_class(cssClass);
  box->set_halign(Gtk::Align::FILL);
  box->set_valign(Gtk::Align::FILL);
  box->set_can_target(true);  // the page under it gets no click
  const std::string name = QPUtils::LStr("processing_payment");
  gtk_accessible_update_property(GTK_ACCESSIBLE(box->gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(),
                                 -1);
  // The spinner sits on a card of the theme's background, so that it reads over whatever part of
  // the page lies under the centre (the Pay button's label, say).
  appendBusySpinner(*box, spinnerSize, name);
  return box;
}

}  // namespace

// Wires the form's parts: the web view and its messages, the navigation policy, the keyboard
// toolbar, validation and the busy overlays. Every host callback goes through `callHost`: a
// copy, called last, with arguments the host owns. Entry points from the engine hold the Impl
// while they run, so that after a callback they can see (`alive`) whether the host destroyed
// the form, and touch nothing of it then.
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
  bool pageHadKeyboard = false;  // the page had the keyboard when a busy overlay took it
  std::vector<gulong> viewHandlers;

  // The keyboard toolbar: the accessory chosen for the web view, shown below it while an input
  // of the page has the focus.
  std::unique_ptr<KeyboardToolbar> toolbar;
  bool keyboardShown = false;

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
  // The URL the form itself asked the view to load (PayU's page, a link it loads), until it shows.
  std::optional<std::string> requestedURL;
  // The form service's page of the current render: whether it showed its form, and the notice
  // shown when it did not in time (its own later error is the same news: dropped meanwhile).
  unsigned renderGeneration = 0;
  bool formServiceReady = false;
  bool serviceWaitArmed = false;
  std::unique_ptr<Gtk::Box> serviceNotice;
  bool retryChosen = false;  // "Try again" was chosen on the last notice
  std::function<void()> renderAgain;
  boost::json::value formPostParam;
  std::optional<boost::json::object> onBeforeSubmitDict;

  bool alive() const { return form != nullptr; }
  const ProviderProfile& profile() const { return ProviderProfile::of(configuration.paymentProvider); }

  // Calls a host callback last: through a copy, with arguments it owns. Whether the form still
  // exists afterwards (the caller holds the Impl).
  template <class Callback, class... Args>
  bool callHost(const Callback& callback, Args... arguments) {
    if (callback) {
      Callback copy = callback;
      copy(std::move(arguments)...);
    }
    return alive();
  }

  // Runs `work` on the main loop later, unless the form is gone by then.
  void later(std::function<void(Impl&)> work, unsigned delayMs = 0) {
    std::weak_ptr<Impl> weak = weak_from_this();
    auto run = [weak, work = std::move(work)] {
      if (auto self = weak.lock(); self && self->alive()) work(*self);
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
  void evaluateIsTrue(const std::string& script, std::function<void(bool)> done) {
    if (!webView) return;
    std::weak_ptr<Impl> weak = weak_from_this();
    webView->evaluate(script, [weak, done = std::move(done)](const std::optional<boost::json::value>& result,
                                                             const std::optional<std::string>&) {
      auto self = weak.lock();
      if (!self || !self->alive()) return;
      done(result && result->is_bool() && result->get_bool());
    });
  }

  // --- Busy states ---

  void addActivityInd() {
    removeActivityInd();
    activityInd = busyOverlay("brivane-busy", 32);
    overlay.add_overlay(*activityInd);
    holdPageInput(*activityInd);
  }

  void removeActivityInd() {
    if (!activityInd || activityInd->get_parent() == nullptr) return;
    overlay.remove_overlay(*activityInd);
    releasePageInput();
  }

  // While a busy overlay shows, the page takes no key either (an Enter cannot submit twice): the
  // overlay holds the keyboard and the page cannot take it back; afterwards the page has it again
  // if it had it before.
  void holdPageInput(Gtk::Widget& busy) {
    if (!webView) return;
    Gtk::Widget& page = webView->widget();
    if (page.get_sensitive()) {
      Gtk::Root* root = page.get_root();
      Gtk::Widget* focus = root ? root->get_focus() : nullptr;
      pageHadKeyboard = focus != nullptr && (focus == &page || focus->is_ancestor(page));
    }
    busy.set_focusable(true);
    if (pageHadKeyboard) busy.grab_focus();
    page.set_sensitive(false);
  }

  void releasePageInput() {
    const bool busy = isActivityIndicatorShown() || (payUOverlay && payUOverlay->get_parent() != nullptr);
    if (!webView || busy) return;
    Gtk::Widget& page = webView->widget();
    page.set_sensitive(true);
    if (std::exchange(pageHadKeyboard, false)) page.grab_focus();
  }

  bool isActivityIndicatorShown() const { return activityInd && activityInd->get_parent() != nullptr; }

  // PayU's return: the whole view dimmed, with a large spinner, until the success 3 s later.
  void addPayUOverlay() {
    removePayUOverlay();
    payUOverlay = busyOverlay("brivane-dimmed", 64);
    overlay.add_overlay(*payUOverlay);
    holdPageInput(*payUOverlay);
  }

  void removePayUOverlay() {
    if (!payUOverlay || payUOverlay->get_parent() == nullptr) return;
    overlay.remove_overlay(*payUOverlay);
    releasePageInput();
  }

  // --- The form service's wait ---

  // After a render of a form-service page: when its form has not shown within the wait, the
  // shopper sees a notice in the form's language with a way to try again, and the host hears why.
  // The wait starts once the form's own page is there (the engine's start is not the service's).
  void watchFormService() {
    ++renderGeneration;
    formServiceReady = false;
    removeServiceNotice();
    serviceWaitArmed = profile().page == ProviderPage::FormService;
  }

  void didCommitNavigation() {
    // The page replaced took its focused input with it (a provider's challenge loaded over the
    // form, say): its toolbar goes too, until an input of the new page takes the focus.
    if (keyboardShown) keyboardWillHide();
    if (!serviceWaitArmed) return;
    serviceWaitArmed = false;
    const unsigned generation = renderGeneration;
    later(
        [generation](Impl& self) {
          if (generation != self.renderGeneration || self.formServiceReady || self.isFormFinished) return;
          self.showServiceNotice();
          self.reportError(boost::json::object{
              {"name", "FormServiceUnavailable"},
              {"message", "The payment form service did not show its form within 5 seconds."}});
        },
        kFormServiceWaitMs);
  }

  void showServiceNotice() {
    removeActivityInd();
    removeServiceNotice();
    installFormWidgetCSS();
    serviceNotice = std::make_unique<Gtk::Box>(Gtk::Orientation::VERTICAL, 12);
    serviceNotice->add_css_class("brivane-notice");
    serviceNotice->set_valign(Gtk::Align::START);
    serviceNotice->set_halign(Gtk::Align::FILL);
    auto* text = Gtk::make_managed<Gtk::Label>(QPUtils::LStr("form_unavailable"));
    text->set_wrap(true);
    text->set_xalign(0);
    serviceNotice->append(*text);
    auto* retry = Gtk::make_managed<Gtk::Button>(QPUtils::LStr("try_again"));
    retry->set_halign(Gtk::Align::START);
    std::weak_ptr<Impl> weak = weak_from_this();
    retry->signal_clicked().connect([weak] {
      // Later: the button goes with the notice that the new render removes.
      if (auto self = weak.lock(); self && self->alive()) {
        self->retryChosen = true;
        self->later([](Impl& form) {
          if (auto again = form.renderAgain) again();
        });
      }
    });
    serviceNotice->append(*retry);
    overlay.add_overlay(*serviceNotice);
    // A shopper who tried again finds the keyboard on the next notice's button, not lost with the
    // button that the new render removed.
    if (retryChosen) retry->grab_focus();
    retryChosen = false;
  }

  void removeServiceNotice() {
    if (!serviceNotice || serviceNotice->get_parent() == nullptr) return;
    overlay.remove_overlay(*serviceNotice);
  }

  bool isServiceNoticeShown() const { return serviceNotice && serviceNotice->get_parent() != nullptr; }

  // --- The page's alert() and confirm() ---

  // A dialog of the host's window, titled with the page's host name and answered in the form's
  // language; the page waits for it. One at a time: the page cannot open a second meanwhile.
  struct PageDialog {
    WebKitScriptDialog* script = nullptr;
    std::unique_ptr<Gtk::MessageDialog> window;
  };
  std::optional<PageDialog> pageDialog;

  void showPageDialog(WebKitScriptDialog* dialog) {
    closePageDialog(false);
    const bool confirm = webkit_script_dialog_get_dialog_type(dialog) == WEBKIT_SCRIPT_DIALOG_CONFIRM;
    auto* root = form != nullptr ? dynamic_cast<Gtk::Window*>(form->get_root()) : nullptr;
    auto window = std::make_unique<Gtk::MessageDialog>(
        webkit_script_dialog_get_message(dialog), false,
        confirm ? Gtk::MessageType::QUESTION : Gtk::MessageType::INFO, Gtk::ButtonsType::NONE, true);
    if (root != nullptr) window->set_transient_for(*root);
    window->set_title(pageHostName());
    if (confirm) window->add_button(QPUtils::LStr("dialog_cancel"), Gtk::ResponseType::CANCEL);
    window->add_button(QPUtils::LStr("dialog_ok"), Gtk::ResponseType::OK);
    window->set_default_response(Gtk::ResponseType::OK);
    std::weak_ptr<Impl> weak = weak_from_this();
    window->signal_response().connect([weak](int response) {
      if (auto self = weak.lock())
        self->later([response](Impl& form) { form.closePageDialog(response == Gtk::ResponseType::OK); });
    });
    pageDialog = PageDialog{webkit_script_dialog_ref(dialog), std::move(window)};
    pageDialog->window->present();
  }

  // Answers the page's dialog (confirm: `confirmed`) and closes its window.
  void closePageDialog(bool confirmed) {
    if (!pageDialog) return;
    PageDialog dialog = std::move(*pageDialog);
    pageDialog.reset();
    if (webkit_script_dialog_get_dialog_type(dialog.script) == WEBKIT_SCRIPT_DIALOG_CONFIRM) {
      webkit_script_dialog_confirm_set_confirmed(dialog.script, confirmed);
    }
    webkit_script_dialog_close(dialog.script);
    webkit_script_dialog_unref(dialog.script);
    dialog.window->hide();
  }

  std::string pageHostName() const {
    const char* uri = webView ? webkit_web_view_get_uri(webView->view()) : nullptr;
    GUri* parsed = uri != nullptr ? g_uri_parse(uri, G_URI_FLAGS_NONE, nullptr) : nullptr;
    std::string host = parsed != nullptr && g_uri_get_host(parsed) != nullptr ? g_uri_get_host(parsed) : "";
    if (parsed != nullptr) g_uri_unref(parsed);
    return host;
  }

  // --- Endings ---

  bool reportError(const boost::json::value& error) { return callHost(onError, error); }

  // The end of every successful path: no error may follow a success, and nothing stays
  // spinning over the page the provider ended on.
  void succeed(std::optional<std::string> payload) {
    removeActivityInd();
    if (!onSuccessCallback) return;
    onError = nullptr;
    callHost(onSuccessCallback, paymentCode, authToken.value_or(""), std::move(payload));
  }

  // --- Script messages ---

  void didReceiveScriptMessage(const std::string& name, const boost::json::value& body) override {
    const std::optional<PageMessage> message = PageBridge::messageNamed(name);
    if (!message) return;
    switch (*message) {
      case PageMessage::Log:
        if (body.is_string()) {
          g_debug("page: %s", NavigationPolicy::percentDecoded(std::string(body.get_string())).c_str());
        }
        break;
      case PageMessage::FormLoaded:
        formServiceReady = true;
        later([](Impl& self) { self.removeServiceNotice(); });
        [[fallthrough]];
      case PageMessage::FormError:
        isAlreadySubmitted = false;
        later([](Impl& self) { self.removeActivityInd(); });
        break;
      case PageMessage::ShowLoading:
        // Once the form has ended nothing would take a late indicator away again.
        later([](Impl& self) {
          if (!self.isFormFinished) self.addActivityInd();
        });
        break;
      case PageMessage::PostParam:
        formPostParam = body;
        break;
      case PageMessage::OnError:
        later([body](Impl& self) {
          if (!self.isServiceNoticeShown()) self.reportError(body);
        });
        break;
      case PageMessage::PrevButtEnabled:
      case PageMessage::NextButtEnabled: {
        const bool enabled = body.is_bool() && body.get_bool();
        const bool previous = *message == PageMessage::PrevButtEnabled;
        later([previous, enabled](Impl& self) {
          if (!self.toolbar) return;
          if (previous) {
            self.toolbar->setPreviousEnabled(enabled);
          } else {
            self.toolbar->setNextEnabled(enabled);
          }
        });
        break;
      }
      case PageMessage::Keyboard:
        if (body.is_bool()) {
          if (body.get_bool()) {
            keyboardWillShow();
          } else {
            keyboardWillHide();
          }
        }
        break;
    }
    callHost(observer, name, body);
  }

  // --- Keyboard toolbar ---

  std::unique_ptr<KeyboardToolbar> newToolbar(KeyboardToolbar::Kind kind, void (Impl::*done)()) {
    std::weak_ptr<Impl> weak = weak_from_this();
    auto action = [weak](void (Impl::*run)()) {
      return [weak, run] {
        if (auto self = weak.lock(); self && self->alive()) ((*self).*run)();
      };
    };
    return std::make_unique<KeyboardToolbar>(
        kind, KeyboardToolbar::Actions{action(&Impl::prevWebViewInput), action(&Impl::nextWebViewInput),
                                       action(done)});
  }

  std::unique_ptr<KeyboardToolbar> keyboardToolbar() {
    toolbarType = QPToolbarTypeStandard;
    return newToolbar(KeyboardToolbar::Kind::Standard, &Impl::doneWebViewInpit);
  }
  std::unique_ptr<KeyboardToolbar> keyboardToolbarFor3dSecure() {
    toolbarType = QPToolbarType3dSecure;
    return newToolbar(KeyboardToolbar::Kind::ThreeDSecure, &Impl::doneWebViewInpit);
  }
  std::unique_ptr<KeyboardToolbar> keyboardToolbarForWizard() {
    toolbarType = QPToolbarTypeWizard;
    return newToolbar(KeyboardToolbar::Kind::Wizard, &Impl::doneWebViewInpitForWizard);
  }

  // The web view's input accessory: kept while set, shown while the keyboard is. The toolbar
  // replaced goes with its buttons.
  void setCustomInputAccessoryView(std::unique_ptr<KeyboardToolbar> bar) {
    if (toolbar && toolbar->widget().get_parent() != nullptr && form != nullptr)
      form->remove(toolbar->widget());
    toolbar = std::move(bar);
    updateToolbarVisibility();
  }

  void updateToolbarVisibility() {
    if (!toolbar || form == nullptr) return;
    Gtk::Widget& bar = toolbar->widget();
    const bool attached = bar.get_parent() != nullptr;
    if (keyboardShown && !attached) form->append(bar);
    if (!keyboardShown && attached) form->remove(bar);
  }

  bool isPayUOrPayPal() const {
    return paymentCode == QPLookups::PaymentOptionCode_PayU() ||
           paymentCode == QPLookups::PaymentOptionCode_PayPal();
  }

  void keyboardWillShow() {
    if (isPayUOrPayPal()) return;
    switch (profile().toolbar) {
      case ToolbarVariant::None:
        return;
      case ToolbarVariant::DoneOnly:
        setCustomInputAccessoryView(keyboardToolbarFor3dSecure());
        break;
      case ToolbarVariant::ByFormState:
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
        break;
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

  void validateElement(std::uint64_t element, ValidationCallback callback) {
    evaluate(kEndEditingScript);
    std::weak_ptr<Impl> weak = weak_from_this();
    FieldValidation::Page page;
    page.evaluate = [weak](const std::string& script) {
      if (auto self = weak.lock(); self && self->alive()) self->evaluate(script);
    };
    page.evaluateIsTrue = [weak](const std::string& script, std::function<void(bool)> done) {
      if (auto self = weak.lock(); self && self->alive()) self->evaluateIsTrue(script, std::move(done));
    };
    page.later = [weak](std::function<void()> work, unsigned delayMs) {
      if (auto self = weak.lock(); self && self->alive()) {
        self->later([work = std::move(work)](Impl&) { work(); }, delayMs);
      }
    };
    FieldValidation::start(std::move(page), visibleElements, element, std::move(callback));
  }

  // --- Navigation ---

  NavigationOutcome decidePolicy(const NavigationRequest& request) {
    NavigationContext context;
    context.provider = configuration.paymentProvider;
    context.paymentCode = paymentCode;
    context.redirectURL = configuration.redirectURL;
    context.deployment = deployment;
    context.isFormFinished = isFormFinished;
    NavigationOutcome outcome = NavigationPolicy::decide(context, request);
    if (outcome.showIndicator) addActivityInd();
    if (outcome.decision == NavigationDecision::LoadInView && webView) {
      requestedURL = request.url;
      webView->loadURL(request.url);
    }
    return outcome;
  }

  // After the engine has its decision: the ending the navigation reached, the host last.
  void reachEnding(const NavigationOutcome& outcome, const std::string& url) {
    switch (outcome.ending) {
      case NavigationEnding::None:
        break;
      case NavigationEnding::PayPalSuccess:
      case NavigationEnding::GatewayCallback:
        isFormFinished = true;
        succeed(outcome.payload);
        return;
      case NavigationEnding::PayPalCancel:
        isFormFinished = true;
        removeActivityInd();
        callHost(onCancel, std::optional<std::string>());
        return;
      case NavigationEnding::PostedInputs:
        collectPostedInputs();
        return;
      case NavigationEnding::PayURedirect:
        addPayUOverlay();
        onError = nullptr;
        isFormFinished = true;
        later(
            [](Impl& self) {
              self.removePayUOverlay();
              self.succeed(std::nullopt);
            },
            kPayUDelayMs);
        return;
    }
    if (outcome.decision == NavigationDecision::OpenOutside) {
      if (urlOpener) {
        callHost(urlOpener, url);
      } else {
        openWithDesktop(url);
      }
    }
  }

  void collectPostedInputs() {
    if (!webView) return;
    std::weak_ptr<Impl> weak = weak_from_this();
    webView->evaluate(kHttpBodyScript, [weak](const std::optional<boost::json::value>& result,
                                              const std::optional<std::string>&) {
      auto self = weak.lock();
      // A second redirect may have been answered first: the form ends once.
      if (!self || !self->alive() || self->isFormFinished) return;
      std::optional<std::string> payload;
      if (result && result->is_string()) payload = std::string(result->get_string());
      self->isFormFinished = true;
      self->later([payload](Impl& form) { form.succeed(payload); });
    });
  }

  // The engine refuses some addresses (ports it blocks) without a failure: it finishes an empty
  // page instead. A form that asked for a URL and got that has failed to load.
  bool refusedByTheEngine() {
    if (!requestedURL || currentLoadFailed || !webView) return false;
    const char* shown = webkit_web_view_get_uri(webView->view());
    if (shown == nullptr || std::string_view(shown) != "about:blank" || *requestedURL == "about:blank")
      return false;
    const std::string url = *requestedURL;
    requestedURL.reset();
    currentLoadFailed = true;
    removeActivityInd();
    reportError(boost::json::string("The page " + url + " could not be loaded: the address is not allowed."));
    return true;
  }

  void didStartNavigation() { currentLoadFailed = false; }

  void didFinishNavigation() {
    if (refusedByTheEngine()) return;
    requestedURL.reset();
    if (profile().page != ProviderPage::FormService) removeActivityInd();
    // WebKitGTK reports a failed load as finished too: that is not a page.
    if (currentLoadFailed || isWebViewLoaded) return;
    isWebViewLoaded = true;
    if (profile().runsQueuedCallsAtLoad && !isPayUOrPayPal()) {
      evaluate("iframeFix();");
      later(
          [](Impl& self) {
            self.evaluate("setMaxCardHolderLenght('201');");
            self.performDelayedJSCalls();
          },
          kShortDelayMs);
    }
    callHost(onFormLoaded);
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
    const std::string script = profile().submitScript;
    if (!script.empty()) evaluate(script);
  }

  // The page's before-submit request; nil keeps the page from submitting.
  std::optional<std::string> beforeSubmitRequest(std::string_view prompt, const char* defaultText) {
    if (!prompt.starts_with(PageBridge::kPromptPrefix) ||
        prompt.substr(PageBridge::kPromptPrefix.size()) != PageBridge::kBeforeSubmitFunction) {
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
      callHost(onBeforeSubmitCallbackWithArg, arguments);
      // The object is the host's and this frame's: readable whatever the host did.
      if (arguments->isSubmitPrevented()) return std::nullopt;
      return "true";
    }
    if (onBeforeSubmitCallback) {
      if (toolbar) {
        toolbar->setPreviousEnabled(false);
        toolbar->setNextEnabled(false);
      }
      later([](Impl& self) { self.setCustomInputAccessoryView(self.keyboardToolbarFor3dSecure()); });
      callHost(onBeforeSubmitCallback);
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
    removeServiceNotice();
    closePageDialog(false);
    renderAgain = nullptr;
    keyboardShown = false;
    setCustomInputAccessoryView(nullptr);
    overlay.unset_child();
    webView.reset();
    form = nullptr;
  }

  // --- The engine's signals ---

  // The engine's signals reach the Impl through these; each holds it while it runs, since the
  // host may destroy the form from a callback on the way.
  static std::shared_ptr<Impl> held(gpointer data) { return static_cast<Impl*>(data)->shared_from_this(); }

  static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    auto self = held(data);
    if (event == WEBKIT_LOAD_STARTED) self->didStartNavigation();
    if (event == WEBKIT_LOAD_COMMITTED) self->didCommitNavigation();
    if (event == WEBKIT_LOAD_FINISHED) self->didFinishNavigation();
  }

  // Every navigation of the page and its frames passes here. WebKitGTK wants a decision for
  // each request: where the form gives none (an already finished form met its ending again),
  // the navigation is ignored, which leaves the page where it is.
  static gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision,
                                 WebKitPolicyDecisionType type, gpointer data) {
    if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION &&
        type != WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
      return FALSE;
    }
    auto self = held(data);
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    WebKitURIRequest* request = webkit_navigation_action_get_request(action);
    const char* uri = request != nullptr ? webkit_uri_request_get_uri(request) : nullptr;
    NavigationRequest navigation;
    navigation.url = uri != nullptr ? uri : "";
    navigation.type = navigationTypeOf(webkit_navigation_action_get_navigation_type(action));
    navigation.newWindow = type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION;
    if (const char* frame = webkit_navigation_action_get_frame_name(action)) navigation.targetFrame = frame;
    const NavigationOutcome outcome = self->decidePolicy(navigation);
    if (outcome.decision == NavigationDecision::Allow) {
      webkit_policy_decision_use(decision);
    } else {
      webkit_policy_decision_ignore(decision);
    }
    self->reachEnding(outcome, navigation.url);
    return TRUE;
  }

  static gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, gchar*, GError* error, gpointer data) {
    // A reported failure is handled here: the engine's own error page would be a second load
    // that finishes, and the host has the text already.
    return held(data)->didFailNavigation(error) ? TRUE : FALSE;
  }

  static gboolean onLoadFailedWithTLSErrors(WebKitWebView*, gchar* uri, GTlsCertificate*,
                                            GTlsCertificateFlags, gpointer data) {
    // Handled: the certificate is never accepted, and the host hears of it once.
    held(data)->didFailWithTLSErrors(uri);
    return TRUE;
  }

  static gboolean onScriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, gpointer data) {
    const WebKitScriptDialogType type = webkit_script_dialog_get_dialog_type(dialog);
    if (type == WEBKIT_SCRIPT_DIALOG_ALERT || type == WEBKIT_SCRIPT_DIALOG_CONFIRM) {
      held(data)->showPageDialog(dialog);
      return TRUE;
    }
    if (type != WEBKIT_SCRIPT_DIALOG_PROMPT) return FALSE;
    std::optional<std::string> answer = held(data)->beforeSubmitRequest(
        webkit_script_dialog_get_message(dialog), webkit_script_dialog_prompt_get_default_text(dialog));
    if (answer) webkit_script_dialog_prompt_set_text(dialog, answer->c_str());
    return TRUE;
  }
};

CustomWebView& QPPaymentFormInternals::webView(QPPaymentForm& form) {
  return *form.impl_->webView;
}

KeyboardToolbar* QPPaymentFormInternals::toolbar(QPPaymentForm& form) {
  return form.impl_->toolbar.get();
}

Gtk::Widget* QPPaymentFormInternals::serviceNotice(QPPaymentForm& form) {
  return form.impl_->isServiceNoticeShown() ? form.impl_->serviceNotice.get() : nullptr;
}

Gtk::Widget* QPPaymentFormInternals::activityOverlay(QPPaymentForm& form) {
  return form.impl_->isActivityIndicatorShown() ? form.impl_->activityInd.get() : nullptr;
}

QPPaymentForm::QPPaymentForm() : Gtk::Box(Gtk::Orientation::VERTICAL) {
  defaultInit();
}

void QPPaymentForm::defaultInit() {
  // Its own allocation (not make_shared's one with the count): a memory checker then sees any
  // touch of an Impl that is gone, even while weak references to it remain.
  impl_ = std::shared_ptr<Impl>(new Impl());
  impl_->form = this;
  WebKitUserContentManager* manager = webkit_user_content_manager_new();
  impl_->wkMessageHandler = std::make_unique<ScripMessageHandlerMediator>();
  impl_->wkMessageHandler->setDelegate(impl_);
  impl_->wkMessageHandler->registerHandlers(manager, PageBridge::registeredNames());
  // After a warm-up the page opens in its running web process.
  impl_->webView = std::make_unique<CustomWebView>(manager, FormEngineWarmUp::relatedView());
  g_object_unref(manager);  // the web view holds it

  WebKitWebView* view = impl_->webView->view();
  Impl* raw = impl_.get();
  impl_->viewHandlers = {
      g_signal_connect(view, "load-changed", G_CALLBACK(Impl::onLoadChanged), raw),
      g_signal_connect(view, "load-failed", G_CALLBACK(Impl::onLoadFailed), raw),
      g_signal_connect(view, "load-failed-with-tls-errors", G_CALLBACK(Impl::onLoadFailedWithTLSErrors), raw),
      g_signal_connect(view, "script-dialog", G_CALLBACK(Impl::onScriptDialog), raw),
      g_signal_connect(view, "decide-policy", G_CALLBACK(Impl::onDecidePolicy), raw),
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
  return PageBridge::wkScripMessageNames();
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
  // The host may destroy the form from its callbacks below.
  const std::shared_ptr<Impl> keep = impl_;
  Impl& self = *keep;
  if (auto message =
          QPFormRenderer::checkConfiguration(self.configuration, paymentOptions, authorizationToken)) {
    if (!self.onCancel) throw std::invalid_argument(*message);
    self.callHost(self.onCancel, std::optional<std::string>(*message));
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
    self.reportError(
        boost::json::object{{"message", missing.what()}, {"searchedDirectories", std::move(searched)}});
    return;
  }
  self.paymentCode = rendered.paymentCode;
  self.configuration.apiURL = rendered.apiURL;
  self.renderAgain = [this, paymentOptions, authorizationToken, formStyle] {
    renderWithPaymentOptions(paymentOptions, authorizationToken, formStyle);
  };
  self.watchFormService();
  if (rendered.isPayU) {
    self.requestedURL = rendered.url;
    self.webView->loadURL(rendered.url);
  } else {
    self.requestedURL.reset();
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
  if (!self.toolbar || self.toolbar->widget().get_parent() == nullptr) return {};
  return self.toolbar->titles();
}
bool QPPaymentForm::isPrevButtonEnabled() const {
  return impl_->toolbar && impl_->toolbar->isPreviousEnabled();
}
bool QPPaymentForm::isNextButtonEnabled() const {
  return impl_->toolbar && impl_->toolbar->isNextEnabled();
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
