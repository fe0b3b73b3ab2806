#include "brivane/form/QPFormRenderer.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "brivane/api/core/QPLookups.h"
#include "brivane/util/QPUtils.h"
#include "form/PageBridge.h"
#include "form/ProviderProfile.h"
#include "util/QPBundle.h"

namespace brivane {
namespace {

bool contains(const std::vector<std::string>& list, const std::string& value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

char lowerASCII(char c) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// A height in whole pixels, for any double: cut toward zero, negative and NaN give 0, and very
// large heights are capped (a plain cast is undefined beyond the range of int).
int wholePixels(double height) {
  constexpr double kLargest = 1 << 20;
  if (!(height > 0)) return 0;
  return static_cast<int>(std::min(height, kLargest));
}

std::string inQuotes(const std::string& text) {
  return "\"" + text + "\"";
}

// Puts a backslash before what would end or change a double-quoted script string, and writes
// "<" and the line terminators as escapes so that no value can close the script element.
// Ordinary values (no quote, backslash, "<" or control character) stay as they are.
std::string escapedInScriptString(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '"' || c == '\\') {
      result.push_back('\\');
      result.push_back(static_cast<char>(c));
    } else if (c == '<') {
      result += "\\u003C";
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\r') {
      result += "\\r";
    } else if (c < 0x20 || c == 0x7F) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04X", c);
      result += escape;
    } else if (c == 0xE2 && i + 2 < text.size() && static_cast<unsigned char>(text[i + 1]) == 0x80 &&
               (static_cast<unsigned char>(text[i + 2]) == 0xA8 ||
                static_cast<unsigned char>(text[i + 2]) == 0xA9)) {
      result += static_cast<unsigned char>(text[i + 2]) == 0xA8 ? "\\u2028" : "\\u2029";  // line terminators
      i += 2;
    } else {
      result.push_back(static_cast<char>(c));
    }
  }
  return result;
}

// Removes every line feed, then escapes the rest for a double-quoted script string (a double
// quote gets its backslash), so that the CSS fits into one.
std::string escapedForScriptString(const std::string& css) {
  std::string withoutLineFeeds;
  withoutLineFeeds.reserve(css.size());
  for (char c : css)
    if (c != '\n') withoutLineFeeds.push_back(c);
  return escapedInScriptString(withoutLineFeeds);
}

// Where a placeholder stands in the page, judged from the template's own text around it.
enum class Place { Text, Attribute, Script, Style };

// Escapes a value for its place: a double-quoted script string, a style element, a quoted
// attribute value, or text. Values that are script code rather than a string (flags, the quoted
// option codes, placeholder members, pre-escaped CSS) only lose the "<" that could end their
// element. Ordinary values come out byte for byte.
std::string escapedFor(Place place, std::string_view value, bool code) {
  if (place == Place::Script && !code) return escapedInScriptString(value);
  std::string result;
  result.reserve(value.size());
  for (char c : value) {
    if (c == '<') {
      result += place == Place::Script  ? "\\u003C"
                : place == Place::Style ? "\\3C "  // CSS's escape: "</style>" cannot end the element
                                        : "&lt;";
    } else if (place == Place::Attribute && !code && c == '"') {
      result += "&quot;";
    } else if (place == Place::Attribute && !code && c == '\'') {
      result += "&#39;";
    } else {
      result.push_back(c);
    }
  }
  return result;
}

// Follows the template's markup while it is copied: inside a tag (and its quoted attribute
// values), inside a script or style element, or in text. Only the template's own characters
// are fed, never the values put into it.
class MarkupState {
 public:
  Place place() const {
    if (inTag_) return Place::Attribute;
    if (rawElement_ == "script") return Place::Script;
    if (rawElement_ == "style") return Place::Style;
    return Place::Text;
  }

  void feed(std::string_view text, std::size_t at) {
    const char c = text[at];
    if (inComment_) {
      if (c == '>' && at >= 2 && text[at - 1] == '-' && text[at - 2] == '-') inComment_ = false;
      return;
    }
    if (inTag_) {
      if (quote_ != 0) {
        if (c == quote_) quote_ = 0;
      } else if (c == '"' || c == '\'') {
        quote_ = c;
      } else if (c == '>') {
        inTag_ = false;
        if (tagName_ == "script" || tagName_ == "style") rawElement_ = tagName_;
        if (tagName_ == "/script" || tagName_ == "/style") rawElement_.clear();
      } else if (readingName_ &&
                 (std::isalnum(static_cast<unsigned char>(c)) || (c == '/' && tagName_.empty()))) {
        tagName_.push_back(lowerASCII(c));
      } else {
        readingName_ = false;
      }
      return;
    }
    if (c != '<' || at + 1 >= text.size()) return;
    const char next = text[at + 1];
    if (!rawElement_.empty()) {
      // In a script or style element only its own end tag is markup.
      const std::string closing = "</" + rawElement_;
      if (findIgnoringCaseAt(text, closing, at)) startTag();
      return;
    }
    if (text.substr(at, 4) == "<!--") {
      inComment_ = true;  // quotes in a comment mean nothing
    } else if (std::isalpha(static_cast<unsigned char>(next)) || next == '/' || next == '!') {
      startTag();
    }
  }

 private:
  static bool findIgnoringCaseAt(std::string_view text, std::string_view needle, std::size_t at) {
    return QPFormRenderer::findIgnoringCase(text.substr(0, at + needle.size()), needle, at) == at;
  }
  void startTag() {
    inTag_ = true;
    readingName_ = true;
    quote_ = 0;
    tagName_.clear();
  }

  bool inComment_ = false;
  bool inTag_ = false;
  bool readingName_ = false;
  char quote_ = 0;
  std::string tagName_;
  std::string rawElement_;  // "script" or "style" while inside one
};

struct Fill {
  std::string_view placeholder;
  std::string value;
  bool code = false;  // script code, not a string (see `escapedFor`)
};

// Fills every placeholder in one pass over the template: a value put into the page is never
// searched for placeholders again, so the cost is linear in the page's size. Placeholders are
// found without regard to letter case; when two fills share a placeholder the first one wins.
std::string filled(std::string_view page, const std::vector<Fill>& fills) {
  std::string result;
  result.reserve(page.size());
  MarkupState markup;
  std::size_t at = 0;
  while (at < page.size()) {
    const Fill* match = nullptr;
    if (page[at] == '{' || page[at] == '_') {
      for (const Fill& fill : fills) {
        if (page.size() - at >= fill.placeholder.size() &&
            QPFormRenderer::findIgnoringCase(page.substr(at, fill.placeholder.size()), fill.placeholder) ==
                0) {
          match = &fill;
          break;
        }
      }
    }
    if (match != nullptr) {
      result += escapedFor(markup.place(), match->value, match->code);
      at += match->placeholder.size();
      continue;
    }
    markup.feed(page, at);
    result.push_back(page[at]);
    ++at;
  }
  return result;
}

std::string readFile(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) throw std::invalid_argument("file not found");
  std::ifstream in(file, std::ios::binary);
  std::stringstream content;
  if (in) content << in.rdbuf();  // an unreadable file reads as empty
  return content.str();
}

// Templates share pieces kept once in the bundle: "{{> name}}" stands for the file `name`
// beside them (a plain file name; nested includes are not expanded).
std::string expandIncludes(std::string text, const std::filesystem::path& directory) {
  static constexpr std::string_view kOpen = "{{> ";
  std::size_t at = 0;
  while ((at = text.find(kOpen, at)) != std::string::npos) {
    std::size_t close = text.find("}}", at);
    if (close == std::string::npos) break;
    std::string name = text.substr(at + kOpen.size(), close - at - kOpen.size());
    if (name.empty() || name.find('/') != std::string::npos || name.starts_with('.')) {
      at = close;
      continue;
    }
    std::string piece = readFile(directory / name);
    text.replace(at, close + 2 - at, piece);
    at += piece.size();
  }
  return text;
}

std::string readTemplate(const std::string& directory, const std::string& name) {
  return expandIncludes(readFile(std::filesystem::path(directory) / (name + ".html")), directory);
}

}  // namespace

const std::string& QPFormRenderer::formVersion() {
  static const std::string version = "7.6.0";
  return version;
}

const std::string& QPFormRenderer::brandCSS() {
  static const std::string css =
      " .qp-group-brand {display: flex; justify-content: flex-end; align-items: center; } .qp-label-brand "
      "{display: none;}";
  return css;
}

const std::vector<std::string>& QPFormRenderer::wkScripMessageNames() {
  return PageBridge::wkScripMessageNames();
}

std::string QPFormRenderer::normalizedApiURL(const std::string& url) {
  return url.ends_with("/") ? url : url + "/";
}

bool QPFormRenderer::isPaymentOptionValid(std::uint64_t provider, const std::string& code) {
  return ProviderProfile::of(provider).acceptsAlone(code);
}

bool QPFormRenderer::isPaymentOptionCodeValidInSet(std::uint64_t provider, const std::string& code) {
  return ProviderProfile::of(provider).acceptsInSet(code);
}

std::string QPFormRenderer::paymentOptionCodeForNumber(std::int64_t number) {
  switch (number) {
    case 0:
      return QPLookups::PaymentOptionCode_Visa();
    case 1:
      return QPLookups::PaymentOptionCode_MasterCard();
    case 2:
      return QPLookups::PaymentOptionCode_BankAccount();
    case 3:
      return QPLookups::PaymentOptionCode_PayU();
    case 4:
      return QPLookups::PaymentOptionCode_PayPal();
    case 5:
      return QPLookups::PaymentOptionCode_Amex();
    case 6:
      return QPLookups::PaymentOptionCode_Maestro();
    case 7:
      return QPLookups::PaymentOptionCode_Discover();
    default:
      return "";
  }
}

std::string QPFormRenderer::elementName(std::uint64_t element) {
  switch (element) {
    case QPFormElementCardNumber:
      return "cardNumber";
    case QPFormElementExpiry:
      return "expiry";
    case QPFormElementCardHolder:
      return "cardHolder";
    case QPFormElementCvv:
      return "cvv";
    default:
      return "";
  }
}

std::string QPFormRenderer::templateNameForProvider(std::uint64_t provider) {
  return ProviderProfile::of(provider).templateName;
}

std::optional<std::string> QPFormRenderer::checkConfiguration(
    const QPFormConfiguration& configuration, const std::optional<std::vector<std::string>>& options,
    const std::optional<std::string>& authorizationToken) {
  if (!options || options->empty()) {
    return "The 'paymentOptions' must be set and must contain at least one payment code";
  }
  if (configuration.mode == QPPaymentFormModeNotSet) return "The 'mode' property must be set.";
  if (configuration.mode != QPPaymentFormModePayment && configuration.showStorePaymentMethod) {
    return "The 'showStorePaymentMethod' property is not supported in Registration mode.";
  }
  if (configuration.providerMode == QPProviderModeNotSet)
    return "The 'paymentProviderMode' property must be set.";
  if (!authorizationToken) return "The 'authorizationToken' property must be set.";
  const std::uint64_t provider = configuration.paymentProvider;
  const bool needsRedirect = contains(*options, QPLookups::PaymentOptionCode_PayU()) ||
                             ProviderProfile::of(provider).needsRedirectURL;
  if (needsRedirect && (!configuration.redirectURL || configuration.redirectURL->empty())) {
    return "The 'redirectURL' property must be set.";
  }
  if (!configuration.apiURL || configuration.apiURL->empty()) return "The 'apiURL' property must be set.";

  std::optional<std::string> message;
  for (const std::string& code : *options) {
    if (!isPaymentOptionValid(provider, code)) {
      message = "Invalid payment option " + code + " for current payment provider.";
      break;
    }
  }
  // The set check runs even after a failed option check, and its message wins.
  if (options->size() >= 2) {
    for (const std::string& code : *options) {
      if (!isPaymentOptionCodeValidInSet(provider, code)) {
        message = "Unexpected set of payment options (" + code + ").";
        break;
      }
    }
  }
  return message;
}

std::size_t QPFormRenderer::findIgnoringCase(std::string_view text, std::string_view needle,
                                             std::size_t from) {
  if (needle.empty() || from > text.size() || needle.size() > text.size() - from) return std::string::npos;
  auto found = std::search(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), needle.begin(),
                           needle.end(), [](char a, char b) { return lowerASCII(a) == lowerASCII(b); });
  return found == text.end() ? std::string::npos : static_cast<std::size_t>(found - text.begin());
}

void QPFormRenderer::replaceAllIgnoringCase(std::string& text, std::string_view target,
                                            std::string_view replacement) {
  std::size_t position = findIgnoringCase(text, target);
  if (position == std::string::npos) return;
  std::string result;
  result.reserve(text.size());
  std::size_t copied = 0;
  while (position != std::string::npos) {
    result.append(text, copied, position - copied);
    result.append(replacement);
    copied = position + target.size();
    position = findIgnoringCase(text, target, copied);
  }
  result.append(text, copied, std::string::npos);
  text = std::move(result);
}

void QPFormRenderer::setHtmlPartWithName(const std::string& name, std::string& html, bool enabled) {
  std::string closing = name;
  std::replace(closing.begin(), closing.end(), '#', '/');
  const std::size_t open = findIgnoringCase(html, name);
  if (open == std::string::npos) return;
  const std::size_t close = findIgnoringCase(html, closing, open + name.size());
  if (close == std::string::npos) return;
  if (enabled) {
    replaceAllIgnoringCase(html, name, "");
    replaceAllIgnoringCase(html, closing, "");
  } else {
    html.erase(open, close + closing.size() - open);
  }
}

std::string QPFormRenderer::payUURL(const std::string& token, const std::string& locale) {
  const std::string parameter = "lang=" + locale;
  const std::size_t lang = findIgnoringCase(token, "lang=");
  if (lang != std::string::npos) {
    const std::size_t end = token.find('&', lang);
    std::string url = token;
    url.replace(lang, (end == std::string::npos ? token.size() : end) - lang, parameter);
    return url;
  }
  return token + (token.find('?') != std::string::npos ? "&" : "?") + parameter;
}

std::string QPFormRenderer::bundleDirectory() {
  bundle::Location location = bundle::locate();
  if (location.found) return location.found->string();
  // Nowhere: the template is then not found, and the render reports where it looked.
  return location.searched.empty() ? std::string(bundle::kBundleName) : location.searched.back().string();
}

QPRenderEnvironment QPRenderEnvironment::current() {
  QPRenderEnvironment environment;
  environment.locale = QPUtils::getCurLocale();
  environment.localeFull = QPUtils::getCurLocaleFull();
  environment.text = [](std::string_view key) { return QPUtils::LStr(key); };
  return environment;
}

QPRenderedForm QPFormRenderer::render(const QPFormConfiguration& configuration,
                                      const std::vector<std::string>& options,
                                      const std::string& authorizationToken,
                                      const std::shared_ptr<QPFormStyle>& formStyle,
                                      const QPFormDeployment& deployment,
                                      const QPRenderEnvironment& environment) {
  const std::uint64_t provider = configuration.paymentProvider;
  const ProviderProfile& profile = ProviderProfile::of(provider);
  QPRenderedForm rendered;
  rendered.apiURL = configuration.apiURL;

  if (contains(options, QPLookups::PaymentOptionCode_PayU())) {
    rendered.isPayU = true;
    rendered.paymentCode = QPLookups::PaymentOptionCode_PayU();
    rendered.url = payUURL(authorizationToken, environment.locale);
    return rendered;
  }

  // Payment code and brands.
  std::string brands;
  bool brandDetection = false;
  std::string paymentCode;
  if (options.size() >= 2 && !contains(options, QPLookups::PaymentOptionCode_BankAccount())) {
    brands = "VISA MASTER";
    brandDetection = true;
  } else {
    paymentCode = options.front();
    if (paymentCode == QPLookups::PaymentOptionCode_Visa()) {
      brands = "VISA";
    } else if (paymentCode == QPLookups::PaymentOptionCode_MasterCard()) {
      brands = "MASTER";
    } else if (paymentCode == QPLookups::PaymentOptionCode_BankAccount()) {
      brands = "DIRECTDEBIT_SEPA";
    } else {
      brands = paymentCode;
    }
  }
  rendered.paymentCode = paymentCode;

  std::string css = formStyle ? formStyle->cssForProvider(static_cast<std::int64_t>(provider)) : "";
  const bool showCVVHint = formStyle ? formStyle->paymentFormShowCVVHint() : false;
  const std::string cardNumberPlaceholder = formStyle ? formStyle->placeholderCardNumCSS() : "";
  const std::string cvvPlaceholder = formStyle ? formStyle->placeholderCVVCSS() : "";

  const bool live = configuration.providerMode != QPProviderModeTest;
  const std::string widgetURL =
      live ? deployment.gatewayWidgetBaseURLLive : deployment.gatewayWidgetBaseURLTest;
  const std::string providerModeText = live ? "live" : "test";
  const std::string callbackURL = deployment.callbackBaseURL + "?paymentOptionCode=" + paymentCode +
                                  "&authorizationToken=" + authorizationToken;

  std::string html =
      readTemplate(environment.templateDirectory.empty() ? bundleDirectory() : environment.templateDirectory,
                   templateNameForProvider(provider));

  std::string locale = environment.locale;
  const std::string storable = configuration.showStorePaymentMethod ? "true" : "false";
  const std::string apiURL = configuration.apiURL.value_or("");
  std::string providerName;
  // Provider-specific fills come first: they win over the common ones of the same placeholder.
  std::vector<Fill> fills;
  if (profile.page == ProviderPage::CardGateway) {
    for (const auto& [from, to] : {std::pair{"zh", "cn"}, std::pair{"cs", "cz"}, std::pair{"el", "gr"}}) {
      if (locale.starts_with(from)) {
        locale.replace(0, 2, to);
        break;
      }
    }
    rendered.apiURL = widgetURL;
  } else if (profile.page == ProviderPage::PayPal) {
    fills.push_back({"{{{locale}}}", environment.localeFull});
    fills.push_back({"{{{successURL}}}", deployment.payPalSuccessURL});
    fills.push_back({"{{{cancelURL}}}", deployment.payPalCancelURL});
  } else if (profile.page == ProviderPage::FormService) {
    std::string optionCodes = inQuotes(escapedInScriptString(paymentCode));
    if (profile.joinsOptions && options.size() >= 2) {
      optionCodes.clear();
      for (const std::string& code : options) optionCodes += "," + inQuotes(escapedInScriptString(code));
      optionCodes.erase(0, 1);
      rendered.paymentCode.reset();
    }
    fills.push_back({"{{{authorizationToken}}}", authorizationToken});
    const std::string formURL = apiURL + profile.formServicePath;
    css = escapedForScriptString(css + brandCSS());
    fills.push_back({"{{{paymentFormUrl}}}", formURL});
    fills.push_back({"__paymentOptionCodes__", optionCodes, true});
    fills.push_back({"__iframeCss__", css, true});
    providerName = profile.providerName;
  }

  const double height = environment.viewHeight < 1.0 ? environment.screenHeight : environment.viewHeight;
  const std::string formHeight = std::to_string(wholePixels(height)) + "px";
  auto text = [&environment](std::string_view key) {
    return environment.text ? environment.text(key) : std::string(key);
  };
  const std::string submitTitle = text(
      configuration.mode == QPPaymentFormModeRegistration ? "submit_butt_title" : "submit_pay_butt_title");

  if (profile.page == ProviderPage::PayPal) {
    const QPPayPalButtonStyle button = formStyle && formStyle->paypalButtonStyle()
                                           ? *formStyle->paypalButtonStyle()
                                           : QPPayPalButtonStyle::initDefault();
    fills.push_back({"{{{paypalButtonSize}}}", button.getButtonSizeAsString()});
    fills.push_back({"{{{paypalButtonColor}}}", button.getButtonColorAsString()});
    fills.push_back({"{{{paypalButtonShape}}}", button.getButtonShapeAsString()});
    fills.push_back({"{{{paypalButtonLabel}}}", button.getButtonLabelAsString()});
    fills.push_back({"{{{paypalButtonTagline}}}", button.getButtonTaglineAsString()});
    fills.push_back({"{{{paypalScriptUrl}}}", deployment.payPalScriptURL});
  }

  const Fill common[] = {
      {"{{{payment_form_version}}}", formVersion()},
      {"__useTokenEx__", profile.usesTokenEx ? "true" : "false", true},
      {"__isStorable__", storable, true},
      {"{{{paymentProvider}}}", providerName},
      {"{{{submitButtonTitle}}}", submitTitle},
      {"{{{locale}}}", locale},
      {"{{{formHeight}}}", formHeight},
      {"{{{paymentProviderMode}}}", providerModeText},
      {"{{{token}}}", authorizationToken},
      {"{{{widgetUrl}}}", widgetURL},
      {"{{{callbackUrl}}}", callbackURL},
      {"{{{brands}}}", brands},
      {"{{{cssStyles}}}", css},
      {"{{{cardNumberPlaceholderJson}}}", cardNumberPlaceholder, true},
      {"{{{cvvPlaceholderJson}}}", cvvPlaceholder, true},
      {"{{validationErrorInvalidIbanCountry}}", text("iban_country_warning")},
      {"{{validationErrorCardHolder}}", text("invalid_card_holder")},
      {"{{validationErrorAccountHolder}}", text("invalid_account_holder")},
      {"{{storePaymentMethodText}}", text("store_payment_option")},
      {"{{formUnavailableText}}", text("form_unavailable")},
  };
  fills.insert(fills.end(), std::begin(common), std::end(common));

  // Sections are switched in the template itself, before any value is in it.
  setHtmlPartWithName("{{#showCVVHint}}", html, showCVVHint);
  setHtmlPartWithName("{{#useBrandDetection}}", html, brandDetection);
  setHtmlPartWithName("{{#showStorePaymentMethod}}", html, configuration.showStorePaymentMethod);

  rendered.html = filled(html, fills);
  rendered.url = rendered.apiURL.value_or("");
  return rendered;
}

std::shared_ptr<OnBeforeSubmitObj> QPFormRenderer::beforeSubmitArguments(
    const std::optional<boost::json::object>& args, const std::optional<std::string>& paymentCode) {
  auto arguments = std::make_shared<OnBeforeSubmitObj>();
  if (args) {
    boost::json::object copy = *args;
    auto text = [&copy](const char* key) -> std::optional<std::string> {
      const boost::json::value* value = copy.if_contains(key);
      if (value == nullptr || !value->is_string()) return std::nullopt;
      return std::string(value->get_string());
    };
    if (const boost::json::value* holder = args->if_contains("bankAccount.holder")) {
      copy["accountHolder"] = *holder;
      copy.erase("bankAccount.holder");
      // The IBAN moves only together with the holder.
      if (const boost::json::value* iban = args->if_contains("bankAccount.iban")) copy["iban"] = *iban;
      copy.erase("bankAccount.iban");
    }
    arguments->setAccountHolder(text("accountHolder"));
    std::optional<std::string> iban = text("iban");
    if (iban) std::erase(*iban, ' ');
    arguments->setIban(iban);
    arguments->setOriginArgs(copy);
  }
  arguments->setPaymentOptionCode(paymentCode);
  return arguments;
}

QPFormDeployment QPFormDeployment::forBaseURL(const std::string& baseURL) {
  QPFormDeployment deployment;
  deployment.gatewayWidgetBaseURLTest = baseURL + "/providers/payon/test/v1/";
  deployment.gatewayWidgetBaseURLLive = baseURL + "/providers/payon/live/v1/";
  deployment.callbackBaseURL = baseURL + "/callbacks/payon";
  deployment.payPalSuccessURL = baseURL + "/callbacks/paypal/success/";
  deployment.payPalCancelURL = baseURL + "/callbacks/paypal/cancel/";
  deployment.payPalScriptURL = baseURL + "/providers/paypal/checkout.js";
  return deployment;
}

}  // namespace brivane
