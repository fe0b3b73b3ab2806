#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "brivane/QPExport.h"
#include "brivane/form/QPPaymentFormTypes.h"
#include "brivane/form/style/QPFormStyle.h"

namespace brivane {

/// The part of a payment form's configuration that the checks and the rendering read.
/// Plain value type; `QPPaymentForm` keeps one and hosts without a display can fill their own.
struct BRIVANE_API QPFormConfiguration {
  std::int64_t mode = QPPaymentFormModeRegistration;
  std::int64_t providerMode = QPProviderModeTest;
  std::uint64_t paymentProvider = QPPaymentProviderPayon;
  bool showStorePaymentMethod = false;
  std::optional<std::string> redirectURL;
  /// Stored with a trailing "/" (see `QPFormRenderer::normalizedApiURL`).
  std::optional<std::string> apiURL;
};

/// What rendering produced: either a page with its base URL, or (PayU) a URL to load.
struct BRIVANE_API QPRenderedForm {
  /// True for PayU: `url` is the provider's page, `html` is empty.
  bool isPayU = false;
  /// The filled template.
  std::string html;
  /// The base URL of `html`, or the PayU page's URL.
  std::string url;
  /// The payment option code of the form shown; nil when several codes are shown by the
  /// form service, "" when several are shown by the card widget.
  std::optional<std::string> paymentCode;
  /// The form's `apiURL` after rendering: for provider 0 the widget URL replaces it.
  std::optional<std::string> apiURL;
};

/// The inputs of rendering that come from the user's session rather than the host.
struct BRIVANE_API QPRenderEnvironment {
  /// Two-letter language code (`QPUtils::getCurLocale`).
  std::string locale = "en";
  /// "ll_RR" (`QPUtils::getCurLocaleFull`).
  std::string localeFull = "en_US";
  /// Localised text of a key (`QPUtils::LStr`); null returns the key.
  std::function<std::string(std::string_view)> text;
  /// The web view's height in pixels; below 1 means not yet laid out.
  double viewHeight = 0;
  /// Used instead of `viewHeight` when that is below 1.
  double screenHeight = 0;
  /// Directory holding the templates; empty: the resource bundle of the form library.
  std::string templateDirectory;

  /// Locale and texts of the current user, templates from the resource bundle, no heights.
  static QPRenderEnvironment current();
};

/// The configuration checks and the page rendering of the payment form, free of any display.
/// Every function is a pure function of its arguments (plus the template file read by
/// `render`) and may be called from any thread.
class BRIVANE_API QPFormRenderer {
 public:
  /// The form version put into the pages, "7.6.0".
  static const std::string& formVersion();
  /// CSS appended to the style's CSS for the form service (providers 3 to 7).
  static const std::string& brandCSS();

  /// The eight script message names the page posts, in their fixed order.
  static const std::vector<std::string>& wkScripMessageNames();
  /// A URL as the form stores it: with "/" appended unless it ends with one.
  static std::string normalizedApiURL(const std::string& url);
  /// Whether `code` may be the only option for `provider`.
  static bool isPaymentOptionValid(std::uint64_t provider, const std::string& code);
  /// Whether `code` may be one of two or more options for `provider`.
  static bool isPaymentOptionCodeValidInSet(std::uint64_t provider, const std::string& code);
  /// 0 "VISA", 1 "MSTRCRD", 2 "BNKACCT", 3 "PAYU", 4 "PAYPAL", 5 "AMEX", 6 "MSTRO",
  /// 7 "DISCOVER", anything else "".
  static std::string paymentOptionCodeForNumber(std::int64_t number);
  /// "cardNumber", "expiry", "cardHolder", "cvv" for 0 to 3, else "".
  static std::string elementName(std::uint64_t element);
  /// "payon_form", "paypal_form" or "cybersource_form".
  static std::string templateNameForProvider(std::uint64_t provider);

  /// The nine checks in order; the message of the failing one (check 9 overriding check 8),
  /// or nil when the configuration may be rendered.
  static std::optional<std::string> checkConfiguration(const QPFormConfiguration& configuration,
                                                       const std::optional<std::vector<std::string>>& options,
                                                       const std::optional<std::string>& authorizationToken);

  /// Renders a configuration that passed the checks. Throws `std::invalid_argument`
  /// ("file not found") when the provider's template does not exist.
  static QPRenderedForm render(const QPFormConfiguration& configuration,
                               const std::vector<std::string>& options, const std::string& authorizationToken,
                               const std::shared_ptr<QPFormStyle>& formStyle,
                               const QPFormDeployment& deployment, const QPRenderEnvironment& environment);

  /// The argument of the before-submit callback from the page's arguments (nil when the page
  /// sent no JSON object): "bankAccount.holder" becomes "accountHolder" (and "bankAccount.iban"
  /// "iban", only together with it), the IBAN loses its blanks, `paymentCode` is carried.
  static std::shared_ptr<OnBeforeSubmitObj> beforeSubmitArguments(
      const std::optional<boost::json::object>& args, const std::optional<std::string>& paymentCode);

  /// PayU's page: the token with its "lang=" parameter set to `locale`.
  static std::string payUURL(const std::string& token, const std::string& locale);

  /// Switches a section on (markers removed, content kept) or off (first section deleted).
  /// `name` is the opening marker, e.g. "{{#showCVVHint}}"; the closing one has "/" for "#".
  /// Markers are found without regard to letter case; a missing marker leaves `html` as is.
  static void setHtmlPartWithName(const std::string& name, std::string& html, bool enabled);

  /// Replaces every occurrence of `target`, found without regard to ASCII letter case.
  static void replaceAllIgnoringCase(std::string& text, std::string_view target,
                                     std::string_view replacement);
  /// First position of `needle` at or after `from`, ignoring ASCII letter case; npos if none.
  static std::size_t findIgnoringCase(std::string_view text, std::string_view needle, std::size_t from = 0);

  /// The directory holding the templates: "BrivaneSDK.bundle" beside the form library,
  /// else beside the core library (or those directories themselves when they hold no bundle).
  static std::string bundleDirectory();
};

}  // namespace brivane
