// The navigation rules in their order, without a web engine.
#include <gtest/gtest.h>

#include "form/NavigationPolicy.h"

namespace brivane {
namespace {

constexpr const char* kPlatform = "https://platform.test";
constexpr const char* kReturn = "https://shop.test/return";

using D = NavigationDecision;
using E = NavigationEnding;
using T = NavigationType;

// How the navigation came: its type, whether it asks for a new window, and its target frame.
struct Via {
  Via(T type = T::Other, bool newWindow = false, std::optional<std::string> frame = std::nullopt)
      : type(type), newWindow(newWindow), frame(std::move(frame)) {}
  T type;
  bool newWindow;
  std::optional<std::string> frame;
};
const Via kOther{}, kSubmit{T::FormSubmitted}, kReload{T::Reload}, kLinkTop{T::LinkActivated, false, "_top"};

struct PolicyCase {
  const char* name;
  std::uint64_t provider;
  std::string code;
  bool finished;
  std::string url;
  Via via;
  D decision;
  E ending;
  bool indicator;
  std::optional<std::string> payload = std::nullopt;
};

TEST(NavigationPolicy, TheFirstMatchingRuleDecides) {
  const std::string success = std::string(kPlatform) + "/callbacks/paypal/success/";
  const std::string cancel = std::string(kPlatform) + "/callbacks/paypal/cancel/";
  const std::string callback = std::string(kPlatform) + "/callbacks/payon?id=1";
  const std::string other = "https://provider.test/3ds", ret = kReturn;
  const PolicyCase cases[] = {
      // PayPal
      {"PayPal finished", 2, "PAYPAL", true, success + "?PayerID=P1", kOther, D::NoAnswer, E::None, false},
      {"PayPal success", 2, "PAYPAL", false, success + "?x=1&PayerID=P%201", kOther, D::Allow,
       E::PayPalSuccess, false, "P 1"},
      {"PayPal success without payer", 2, "PAYPAL", false, success, kOther, D::Allow, E::PayPalSuccess,
       false},
      {"PayPal cancel", 2, "PAYPAL", false, cancel + "?token=t", kOther, D::Cancel, E::PayPalCancel, false},
      {"PayPal other page", 2, "PAYPAL", false, other, kLinkTop, D::Allow, E::None, false},
      {"PayPal meets the gateway's callback", 2, "PAYPAL", false, callback, kOther, D::Cancel,
       E::GatewayCallback, false},
      // card forms
      {"redirect with a query", 5, "VISA", false, ret + "?a=1", kOther, D::Cancel, E::PostedInputs, true},
      {"redirect inside the URL", 3, "", false, other + "?next=" + ret, kOther, D::Cancel, E::PostedInputs,
       true},
      {"redirect percent-encoded", 6, "BNKACCT", false, other + "?r=https%3A%2F%2Fshop.test%2Freturn", kOther,
       D::Cancel, E::PostedInputs, true},
      {"redirect after the end", 5, "VISA", true, ret, kOther, D::Cancel, E::None, false},
      {"card form's other page", 4, "AMEX", false, other, kSubmit, D::Allow, E::None, true},
      {"card form finished meets the callback", 7, "VISA", true, callback, kOther, D::NoAnswer, E::None,
       false},
      // the card gateway
      {"gateway PayPal submit", 0, "PAYPAL", false, other, kSubmit, D::Allow, E::None, true},
      {"gateway PayPal link", 0, "PAYPAL", false, other, kLinkTop, D::Allow, E::None, false},
      {"gateway card submit", 0, "VISA", false, other, kSubmit, D::Allow, E::None, false},
      {"gateway callback", 0, "VISA", false, callback, kOther, D::Cancel, E::GatewayCallback, false},
      {"gateway callback after the end", 0, "VISA", true, callback, kOther, D::NoAnswer, E::None, false},
      // PayU
      {"PayU return", 1, "PAYU", false, ret + "?status=ok", kOther, D::Allow, E::PayURedirect, false},
      {"PayU return after the end", 1, "PAYU", true, ret, kOther, D::NoAnswer, E::None, false},
      {"PayU return not at the start", 1, "PAYU", false, other + "?r=" + ret, kOther, D::Allow, E::None,
       false},
      {"PayU ignores the gateway's callback", 1, "PAYU", false, callback, kOther, D::Allow, E::None, false},
      // other navigations: the type first, then the frame
      {"form post to a new window",
       0,
       "VISA",
       false,
       other,
       {T::FormSubmitted, true, "_blank"},
       D::Allow,
       E::None,
       false},
      {"reload", 0, "VISA", false, other, kReload, D::Allow, E::None, false},
      {"link in its own frame", 0, "VISA", false, other, {T::LinkActivated}, D::LoadInView, E::None, true},
      {"link to _self",
       0,
       "VISA",
       false,
       other,
       {T::LinkActivated, false, "_self"},
       D::LoadInView,
       E::None,
       true},
      {"link to the main frame", 0, "VISA", false, other, kLinkTop, D::Allow, E::None, false},
      {"link to a new window",
       0,
       "VISA",
       false,
       other,
       {T::LinkActivated, true, "_blank"},
       D::OpenOutside,
       E::None,
       false},
      {"link to another frame",
       0,
       "VISA",
       false,
       other,
       {T::LinkActivated, false, "elsewhere"},
       D::OpenOutside,
       E::None,
       false},
      // a number without a provider still meets the gateway's callback, and nothing else
      {"no provider, callback", 9, "VISA", false, callback, kOther, D::Cancel, E::GatewayCallback, false},
      {"no provider, PayPal submit", 9, "PAYPAL", false, other, kSubmit, D::Allow, E::None, false},
  };
  for (const PolicyCase& c : cases) {
    SCOPED_TRACE(c.name);
    NavigationContext context;
    context.provider = c.provider;
    context.paymentCode = c.code.empty() ? std::nullopt : std::optional(c.code);
    context.redirectURL = kReturn;
    context.deployment = QPFormDeployment::forBaseURL(kPlatform);
    context.isFormFinished = c.finished;
    NavigationRequest request;
    request.url = c.url;
    request.type = c.via.type;
    request.newWindow = c.via.newWindow;
    request.targetFrame = c.via.frame;
    const NavigationOutcome outcome = NavigationPolicy::decide(context, request);
    EXPECT_EQ(outcome.decision, c.decision);
    EXPECT_EQ(outcome.ending, c.ending);
    EXPECT_EQ(outcome.showIndicator, c.indicator);
    EXPECT_EQ(outcome.payload, c.payload);
  }
}

TEST(NavigationPolicy, WithoutARedirectURLNothingIsTakenForTheReturn) {
  NavigationContext context;
  context.provider = 5;
  context.paymentCode = "VISA";
  context.deployment = QPFormDeployment::forBaseURL(kPlatform);
  for (const std::optional<std::string>& redirect :
       {std::optional<std::string>(), std::optional<std::string>("")}) {
    context.redirectURL = redirect;
    NavigationRequest request;
    request.url = kReturn;
    EXPECT_EQ(NavigationPolicy::decide(context, request).ending, E::None);
  }
}

}  // namespace
}  // namespace brivane
