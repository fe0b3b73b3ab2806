#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <boost/json/object.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPURLQueryItem.h"

namespace brivane {

/// What the form does with the payment option the user enters.
enum QPPaymentFormMode : std::int64_t {
  QPPaymentFormModeNotSet = -1,       ///< rejected by the configuration checks
  QPPaymentFormModeRegistration = 0,  ///< store a payment option
  QPPaymentFormModePayment = 1,       ///< pay
};

/// Which environment of the provider the form talks to; every non-zero value is live.
enum QPProviderMode : std::int64_t {
  QPProviderModeNotSet = -1,  ///< rejected by the configuration checks
  QPProviderModeTest = 0,
  QPProviderModeLive = 1,
};

/// The provider set-up whose page the form renders.
enum QPPaymentProvider : std::uint64_t {
  QPPaymentProviderPayon = 0,               ///< the card gateway's widget ("payon_form")
  QPPaymentProviderPayU = 1,                ///< PayU: the token is the URL of the provider's page
  QPPaymentProviderPayPal = 2,              ///< the PayPal button ("paypal_form")
  QPPaymentProviderCyberSource = 3,         ///< the platform's form service ("cybersource_form")
  QPPaymentProviderCyberSourceTokenEx = 4,  ///< as 3, with TokenEx
  QPPaymentProviderVesta = 5,               ///< the form service at the host's `apiURL`
  QPPaymentProviderSepa = 6,                ///< SEPA direct debit through the form service
  QPPaymentProviderPayonPci = 7,            ///< the card gateway through the form service
};

/// The four inputs of a card form, as named in the page's script functions.
enum QPFormElement : std::uint64_t {
  QPFormElementCardNumber = 0,  ///< "cardNumber"
  QPFormElementExpiry = 1,      ///< "expiry"
  QPFormElementCardHolder = 2,  ///< "cardHolder"
  QPFormElementCvv = 3,         ///< "cvv"
  QPFormElementAll = 4,         ///< all four
};

/// The keyboard toolbar the form currently shows.
enum QPToolbarType : std::uint64_t {
  QPToolbarTypeNone = 0,
  QPToolbarTypeStandard = 1,
  QPToolbarType3dSecure = 2,
  QPToolbarTypeWizard = 3,
};

/// Deployment values of the form: where the card gateway's widget lives and where the
/// providers send the user back. Rendering puts them into the pages and navigation matches
/// against the same values, so a form always uses one set for both.
///
/// The defaults are the production values; tests and demos point them at a sandbox.
/// Plain value type, safe to copy between threads.
struct BRIVANE_API QPFormDeployment {
  /// The card gateway's test widget base URL, ending in "/"; the page loads
  /// "paymentWidgets.js?checkoutId=TOKEN" from it.
  std::string gatewayWidgetBaseURLTest = "https://test.oppwa.com/v1/";
  /// The card gateway's live widget base URL, ending in "/".
  std::string gatewayWidgetBaseURLLive = "https://oppwa.com/v1/";
  /// The platform's card-gateway callback endpoint: scheme and host, no path.
  std::string callbackBaseURL = "https://api.brivane.com";
  /// The platform's PayPal success callback, path "/callbacks/paypal/success/".
  std::string payPalSuccessURL = "https://api.brivane.com/callbacks/paypal/success/";
  /// The platform's PayPal cancel callback, path "/callbacks/paypal/cancel/".
  std::string payPalCancelURL = "https://api.brivane.com/callbacks/paypal/cancel/";

  /// The PayPal button script that the PayPal page loads.
  std::string payPalScriptURL = "https://www.paypalobjects.com/api/checkout.js";

  /// The production values above.
  static QPFormDeployment production() { return {}; }
  /// Every value pointed at one server, e.g. the sandbox's "http://127.0.0.1:PORT" (no
  /// trailing slash): the widgets under "/providers/payon/test/v1/" and
  /// "/providers/payon/live/v1/", the PayPal script at "/providers/paypal/checkout.js", the card gateway's
  /// callback at "/callbacks/payon" (a path, so that other pages of that server are not taken for the
  /// callback) and the PayPal callbacks at "/callbacks/paypal/success/" and "/callbacks/paypal/cancel/".
  static QPFormDeployment forBaseURL(const std::string& baseURL);
};

/// What the host sees of a before-submit request.
class BRIVANE_API onBeforeSubmitArgInterface {
 public:
  virtual ~onBeforeSubmitArgInterface() = default;
  /// Keeps the page from submitting.
  virtual void preventSubmit() = 0;
  virtual bool isSubmitPrevented() const = 0;
  /// The SEPA account holder entered in the page, if any.
  virtual const std::optional<std::string>& accountHolder() const = 0;
  /// The IBAN entered in the page with blanks removed, if any.
  virtual const std::optional<std::string>& iban() const = 0;
  /// The form's payment option code at the time of the request.
  virtual const std::optional<std::string>& paymentOptionCode() const = 0;
  /// The page's arguments ("bankAccount.holder" renamed "accountHolder" and
  /// "bankAccount.iban" renamed "iban"); nil when the page sent malformed JSON.
  virtual const std::optional<boost::json::object>& originArgs() const = 0;
};

/// The argument of `QPPaymentForm::onBeforeSubmitCallbackWithArg`. Created by the form on
/// the GTK main thread and handed to the host's callback there.
class BRIVANE_API OnBeforeSubmitObj : public onBeforeSubmitArgInterface {
 public:
  void preventSubmit() override { isSubmitPrevented_ = true; }
  bool isSubmitPrevented() const override { return isSubmitPrevented_; }
  const std::optional<std::string>& accountHolder() const override { return accountHolder_; }
  const std::optional<std::string>& iban() const override { return iban_; }
  const std::optional<std::string>& paymentOptionCode() const override { return paymentOptionCode_; }
  const std::optional<boost::json::object>& originArgs() const override { return originArgs_; }

  void setAccountHolder(std::optional<std::string> value) { accountHolder_ = std::move(value); }
  void setIban(std::optional<std::string> value) { iban_ = std::move(value); }
  void setPaymentOptionCode(std::optional<std::string> value) { paymentOptionCode_ = std::move(value); }
  void setOriginArgs(std::optional<boost::json::object> value) { originArgs_ = std::move(value); }

 private:
  bool isSubmitPrevented_ = false;
  std::optional<std::string> accountHolder_;
  std::optional<std::string> iban_;
  std::optional<std::string> paymentOptionCode_;
  std::optional<boost::json::object> originArgs_;
};

}  // namespace brivane
