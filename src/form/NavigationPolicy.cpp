#include "form/NavigationPolicy.h"

#include <glib.h>

#include "brivane/api/core/QPLookups.h"
#include "form/ProviderProfile.h"

namespace brivane {
namespace {

std::optional<std::string> firstValue(const std::string& name, const std::vector<QPURLQueryItem>& items) {
  for (const QPURLQueryItem& item : items) {
    if (item.name == name) return item.value;
  }
  return std::nullopt;
}

NavigationOutcome decided(NavigationDecision decision, NavigationEnding ending = NavigationEnding::None) {
  NavigationOutcome outcome;
  outcome.decision = decision;
  outcome.ending = ending;
  return outcome;
}

// The last rule: navigations that end nothing.
NavigationOutcome otherNavigation(const NavigationRequest& request, bool showIndicator) {
  NavigationOutcome outcome = decided(NavigationDecision::Allow);
  outcome.showIndicator = showIndicator;
  if (request.type != NavigationType::LinkActivated) return outcome;
  const std::string frame = request.targetFrame.value_or("");
  if (!request.newWindow && (frame.empty() || frame == "_self")) {
    // A link within its own frame: the form loads it itself.
    outcome.decision = NavigationDecision::LoadInView;
    outcome.showIndicator = true;
  } else if (request.newWindow || frame != "_top") {
    outcome.decision = NavigationDecision::OpenOutside;
  }
  return outcome;
}

}  // namespace

NavigationOutcome NavigationPolicy::decide(const NavigationContext& context,
                                           const NavigationRequest& request) {
  const ProviderProfile& profile = ProviderProfile::of(context.provider);
  const std::string text = percentDecoded(request.url);
  const std::string redirect = context.redirectURL.value_or("");
  const QPFormDeployment& deployment = context.deployment;
  bool showIndicator = false;

  if (profile.page == ProviderPage::PayPal) {
    if (context.isFormFinished) return decided(NavigationDecision::NoAnswer);
    if (text.starts_with(deployment.payPalSuccessURL)) {
      NavigationOutcome outcome = decided(NavigationDecision::Allow, NavigationEnding::PayPalSuccess);
      outcome.payload = firstValue("PayerID", queryItemsOf(request.url));
      return outcome;
    }
    if (text.starts_with(deployment.payPalCancelURL)) {
      return decided(NavigationDecision::Cancel, NavigationEnding::PayPalCancel);
    }
  } else if (profile.page == ProviderPage::FormService) {
    // Once the form has ended, nothing is shown for a late navigation: it would stay forever.
    showIndicator = !context.isFormFinished;
    if (!redirect.empty() && text.find(redirect) != std::string::npos) {
      NavigationOutcome outcome =
          decided(NavigationDecision::Cancel,
                  context.isFormFinished ? NavigationEnding::None : NavigationEnding::PostedInputs);
      outcome.showIndicator = showIndicator;
      return outcome;
    }
  } else if (profile.page == ProviderPage::CardGateway) {
    showIndicator = context.paymentCode == QPLookups::PaymentOptionCode_PayPal() &&
                    request.type == NavigationType::FormSubmitted;
  }

  if (context.paymentCode == QPLookups::PaymentOptionCode_PayU()) {
    if (!redirect.empty() && text.starts_with(redirect)) {
      if (context.isFormFinished) return decided(NavigationDecision::NoAnswer);
      return decided(NavigationDecision::Allow, NavigationEnding::PayURedirect);
    }
  } else if (text.starts_with(deployment.callbackBaseURL)) {
    if (context.isFormFinished) return decided(NavigationDecision::NoAnswer);
    return decided(NavigationDecision::Cancel, NavigationEnding::GatewayCallback);
  }
  return otherNavigation(request, showIndicator);
}

std::string NavigationPolicy::percentDecoded(const std::string& text) {
  gchar* decoded = g_uri_unescape_string(text.c_str(), nullptr);
  if (decoded == nullptr) return text;
  std::string result = decoded;
  g_free(decoded);
  return result;
}

std::vector<QPURLQueryItem> NavigationPolicy::queryItemsOf(const std::string& url) {
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

}  // namespace brivane
