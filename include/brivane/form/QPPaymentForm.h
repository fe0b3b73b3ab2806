#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtkmm/box.h>

#include <boost/json/value.hpp>

#include "brivane/QPExport.h"
#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/QPPaymentFormTypes.h"
#include "brivane/form/style/QPFormStyle.h"
#include "brivane/form/style/QPPayPalButtonStyle.h"

namespace brivane {

/// The payment form: a GTK widget that shows a payment provider's card, SEPA, PayPal or PayU
/// page in an embedded web engine and reports the outcome through callbacks.
///
/// Thread rules: the form lives on the GTK main thread. Create it, configure it, render it,
/// destroy it and expect every callback there. Work scheduled for later (script answers,
/// timers) does nothing once the form is destroyed.
///
/// Callbacks: a host may do anything inside any callback, destroying the form included (close the
/// window when the form ends), rendering again or calling any public method. The form calls each
/// callback last, through a copy, with arguments the host owns, and touches nothing of itself
/// afterwards once it has been destroyed.
///
/// Use: set `mode`, `providerMode`, `paymentProvider`, `redirectURL`, `apiURL`, the
/// callbacks, then call `renderWithPaymentOptions`. A rejected configuration goes to
/// `onCancel`, or throws `std::invalid_argument` when no `onCancel` is set.
class BRIVANE_API QPPaymentForm : public Gtk::Box {
 public:
  using FormLoadedCallback = std::function<void()>;
  /// (payment option code, authorization token, payload).
  using SuccessCallback =
      std::function<void(const std::optional<std::string>& paymentOptionCode,
                         const std::string& authorizationToken, const std::optional<std::string>& payload)>;
  /// The error payload: the page's error value, or a text for failed loads.
  using ErrorCallback = std::function<void(const boost::json::value& error)>;
  /// The message of a rejected configuration, or nil for a user's cancel.
  using CancelCallback = std::function<void(const std::optional<std::string>& message)>;
  using BeforeSubmitCallback = std::function<void()>;
  /// May call `preventSubmit` on the object to keep the page from submitting.
  using BeforeSubmitCallbackWithArg =
      std::function<void(const std::shared_ptr<OnBeforeSubmitObj>& arguments)>;
  /// Every script message the page posts, after the form has handled it (diagnostics).
  using ScriptMessageObserver = std::function<void(const std::string& name, const boost::json::value& body)>;

  /// Builds the web view and registers the script message handlers (`defaultInit`).
  QPPaymentForm();
  /// Tears the web view down: handlers unregistered, loading stopped, delegates cleared.
  ~QPPaymentForm() override;
  QPPaymentForm(const QPPaymentForm&) = delete;
  QPPaymentForm& operator=(const QPPaymentForm&) = delete;

  /// 0 registration (default), 1 payment, -1 not set (rejected).
  std::int64_t mode() const;
  void setMode(std::int64_t mode);
  /// 0 test (default), other values live, -1 not set (rejected).
  std::int64_t providerMode() const;
  void setProviderMode(std::int64_t providerMode);
  /// `QPPaymentProvider`, 0 by default.
  std::uint64_t paymentProvider() const;
  void setPaymentProvider(std::uint64_t provider);
  /// Offer the user to store the payment option (payment mode only).
  bool showStorePaymentMethod() const;
  void setShowStorePaymentMethod(bool show);
  /// The host's return URL.
  const std::optional<std::string>& redirectURL() const;
  void setRedirectURL(std::optional<std::string> url);
  /// Base URL of the provider's form service, stored with a trailing "/". After a render
  /// with provider 0 it holds the card gateway's widget URL.
  const std::optional<std::string>& apiURL() const;
  void setApiURL(const std::optional<std::string>& url);
  /// Where the providers live and call back; production values by default.
  const QPFormDeployment& deployment() const;
  void setDeployment(QPFormDeployment deployment);

  const FormLoadedCallback& onFormLoaded() const;
  void setOnFormLoaded(FormLoadedCallback callback);
  const SuccessCallback& onSuccessCallback() const;
  void setOnSuccessCallback(SuccessCallback callback);
  const ErrorCallback& onError() const;
  void setOnError(ErrorCallback callback);
  const CancelCallback& onCancel() const;
  void setOnCancel(CancelCallback callback);
  /// Setting one before-submit callback clears the other.
  const BeforeSubmitCallback& onBeforeSubmitCallback() const;
  void setOnBeforeSubmitCallback(BeforeSubmitCallback callback);
  const BeforeSubmitCallbackWithArg& onBeforeSubmitCallbackWithArg() const;
  void setOnBeforeSubmitCallbackWithArg(BeforeSubmitCallbackWithArg callback);
  /// Diagnostics: sees every script message; null by default.
  void setScriptMessageObserver(ScriptMessageObserver observer);
  /// Opens a URL outside the form (links aimed at a new window or another frame). The
  /// desktop's default handler by default; null restores it.
  using URLOpener = std::function<void(const std::string& url)>;
  void setURLOpener(URLOpener opener);

  /// The eight script message names of the page, in their fixed order.
  static const std::vector<std::string>& wkScripMessageNames();
  /// Whether `code` may be the only payment option for the current provider.
  bool isPaymentOptionValid(const std::string& code) const;
  /// Whether `code` may be one of two or more payment options for the current provider.
  bool isPaymentOptionCodeValidInSet(const std::string& code) const;

  /// Checks the configuration, fills the provider's template and loads it (PayU: loads the
  /// token's URL). A rejected configuration is reported to `onCancel` or thrown as
  /// `std::invalid_argument` with the message. A missing template (the bundle is not where the SDK
  /// looks, see `QPUtils::setBundleDirectory`) goes to `onError` as {"message": "file not found",
  /// "searchedDirectories": [...]}, or throws `std::invalid_argument` ("file not found") when no
  /// `onError` is set.
  void renderWithPaymentOptions(const std::optional<std::vector<std::string>>& paymentOptions,
                                const std::optional<std::string>& authorizationToken,
                                const std::shared_ptr<QPFormStyle>& formStyle);
  /// `renderWithPaymentOptions` with one code given by number (0 "VISA" ... 7 "DISCOVER").
  void renderWithPaymentOptionCode(std::int64_t paymentOptionCode,
                                   const std::optional<std::string>& authorizationToken,
                                   const std::shared_ptr<QPFormStyle>& formStyle);
  /// The section switch of the templates (see `QPFormRenderer::setHtmlPartWithName`).
  static void setHtmlPartWithName(const std::string& name, std::string& html, bool enabled);
  /// The style's PayPal button style, or the default one.
  static QPPayPalButtonStyle getPayPalButtonStyle(const std::shared_ptr<QPFormStyle>& formStyle);

  /// Shows or hides one input (0 to 3) or all four (4). Queued until the page has loaded.
  void setElement(std::uint64_t element, bool visible);
  /// Runs the queued script calls in order, without waiting for their answers.
  void performDelayedJSCalls();
  /// (element, valid): the answer of `validateElement`.
  using ValidationCallback = std::function<void(std::uint64_t element, bool valid)>;
  /// Validates one input (0 to 3) or all four (4) in the page: ends editing, asks the visible
  /// inputs whether they are empty (when one is, clicks the page's own submit button so that
  /// it shows its errors and waits 0.3 s), asks the page to validate, waits 0.3 s, clears the
  /// errors of hidden inputs when one was empty, and calls `callback` once on the main loop
  /// (about 0.3 s later, or 0.6 s with an empty input). A script error counts as "not
  /// valid" / "not empty". Nothing is called once the form is destroyed.
  void validateElement(std::uint64_t element, ValidationCallback callback);
  /// Asks the page to submit (providers 0 and 3 to 7; nothing for PayU and PayPal).
  void submit();
  /// Submits and answers the next before-submit request without calling the host.
  void acceptAndSubmit();

  /// The script that collects the page's named inputs as form-encoded text (only the "data"
  /// pair when the page has an input named "data"); its answer is the payload of a card
  /// form's redirect to `redirectURL`.
  static const std::string& getHttpBodyScript();
  /// The value of the first query item named exactly `name`, or nil.
  static std::optional<std::string> valueForKey(const std::string& name,
                                                const std::vector<QPURLQueryItem>& queryItems);
  /// "\"key\"=\"value\"&" for every member in order (the trailing "&" kept); texts as they
  /// are, other values as JSON.
  static std::string dictToString(const boost::json::object& dictionary);

  /// Keyboard toolbar. A desktop has no on-screen keyboard: the page tells the form when one
  /// of its inputs takes the focus (`keyboardWillShow`) and loses it (`keyboardWillHide`),
  /// and the form shows the chosen toolbar below the web view meanwhile.
  void keyboardWillShow();
  void keyboardWillHide();
  /// " < ": the page's previous input ("prevInput();" then "checkFocus();").
  void prevWebViewInput();
  /// " > ": the page's next input ("nextInput();" then "checkFocus();").
  void nextWebViewInput();
  /// Done: ends editing in the page.
  void doneWebViewInpit();
  /// Done of the wizard toolbar: blurs the page's window, then ends editing.
  void doneWebViewInpitForWizard();
  /// The titles of the toolbar showing now, left to right ("" for the flexible space);
  /// empty when none shows.
  std::vector<std::string> shownToolbarItems() const;
  /// Whether the toolbar's previous / next items exist and are enabled.
  bool isPrevButtonEnabled() const;
  bool isNextButtonEnabled() const;

  /// The payment option code of the form shown (nil when several are shown).
  const std::optional<std::string>& paymentCode() const;
  /// The token passed to the last accepted render.
  const std::optional<std::string>& authToken() const;
  /// `QPToolbarType` of the keyboard toolbar.
  std::uint64_t toolbarType() const;
  /// The first page load has finished.
  bool isWebViewLoaded() const;
  /// Success, error or cancel has been reached since the last render.
  bool isFormFinished() const;
  /// Whether the activity indicator is showing.
  bool isActivityIndicatorShown() const;
  /// Whether PayU's dimmed overlay (shown for the 3 s before its success) is showing.
  bool isOverlayShown() const;

  /// Called once by `warmUp`: true when the engine is ready, false when the warm-up ended
  /// without becoming ready (no display, the engine failed to start, or `releaseWarmUp`).
  using WarmUpCallback = std::function<void(bool ready)>;
  /// Starts the web engine before any form is shown, so that the forms created afterwards open
  /// their pages without waiting for the engine to start: a hidden web view (in no window) loads
  /// an empty page, which starts a web process and the network process and keeps them running.
  /// Every form created while the warm-up exists opens its page in that web process; forms
  /// created before, or without any warm-up, start their own as always. Nothing else about a
  /// form changes.
  ///
  /// Thread rules: GTK main thread only, after GTK is initialised. Idempotent and cheap to call
  /// again: while a warm-up exists a call starts nothing and only adds its `ready`. `ready`
  /// (may be null) is called exactly once, later on the main loop (also when the engine is
  /// ready already). Returns false, and `ready` gets false, when there is no display.
  ///
  /// Cost: about 100 MiB of memory (proportional set size: the web process, the network
  /// process and the engine's part of this process) while no form is shown. Forms use that web
  /// process, so with a form shown the process tree is about as large as without the warm-up.
  /// Two forms shown at once share it, and an engine failure in it ends both. The warm-up stays
  /// until `releaseWarmUp`, or until the engine ends its web process (a crash, also of a form
  /// sharing it); later forms then start their own again, and `warmUp` may be called anew.
  static bool warmUp(WarmUpCallback ready = nullptr);
  /// Whether a warm-up is ready: its web process is running. GTK main thread only.
  static bool isWarmedUp();
  /// Ends the warm-up: the hidden view goes, and its web process is left to the engine, which
  /// ends it (or keeps it in its own cache) once no form uses it. A `warmUp` callback still
  /// waiting gets false. Forms keep working; later ones start their own web process, as without
  /// a warm-up. Does nothing without a warm-up. GTK main thread only.
  static void releaseWarmUp();

 private:
  struct Impl;
  friend class QPPaymentFormInternals;
  void defaultInit();
  std::shared_ptr<Impl> impl_;
};

}  // namespace brivane
