#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "brivane/form/QPPaymentFormTypes.h"

namespace brivane {

/// How a navigation was started.
enum class NavigationType { LinkActivated, FormSubmitted, BackForward, Reload, FormResubmitted, Other };

/// One navigation of the page or of one of its frames.
struct NavigationRequest {
  std::string url;  ///< the absolute URL as requested
  NavigationType type = NavigationType::Other;
  /// Aimed at no frame: a new window.
  bool newWindow = false;
  /// The frame a link names ("" or "_self" its own, "_top" the main frame, another name another
  /// frame); nil when it names none.
  std::optional<std::string> targetFrame;
};

/// The form's side of a decision: its configuration and where it stands.
struct NavigationContext {
  std::uint64_t provider = QPPaymentProviderPayon;
  std::optional<std::string> paymentCode;
  std::optional<std::string> redirectURL;
  QPFormDeployment deployment;
  bool isFormFinished = false;
};

/// What happens to the navigation.
enum class NavigationDecision {
  Allow,
  Cancel,
  NoAnswer,     ///< a finished form met its ending again: it gives no decision
  LoadInView,   ///< cancelled; the form loads the URL in its own view
  OpenOutside,  ///< cancelled; the URL goes to the desktop's opener
};

/// The ending a navigation reaches, if any.
enum class NavigationEnding {
  None,
  PayPalSuccess,    ///< success, payload: the "PayerID" query item
  PayPalCancel,     ///< cancel
  PostedInputs,     ///< success once the page's inputs are collected (card forms' redirect)
  PayURedirect,     ///< success 3 s later, behind the dimmed overlay
  GatewayCallback,  ///< success without payload
};

struct NavigationOutcome {
  NavigationDecision decision = NavigationDecision::Allow;
  NavigationEnding ending = NavigationEnding::None;
  /// Show the activity indicator (the provider's next page is on its way).
  bool showIndicator = false;
  /// PayPal's success: the "PayerID" query item.
  std::optional<std::string> payload;

  bool operator==(const NavigationOutcome&) const = default;
};

/// The form's navigation rules, in their order; the first that matches decides. No GTK and no
/// web engine: the form turns the engine's navigation into a request and acts on the outcome.
struct NavigationPolicy {
  static NavigationOutcome decide(const NavigationContext& context, const NavigationRequest& request);
  /// `text` with its percent-encoding removed (unchanged when it is not valid encoding).
  static std::string percentDecoded(const std::string& text);
  /// The query items of `url` (up to its fragment), names and values percent-decoded.
  static std::vector<QPURLQueryItem> queryItemsOf(const std::string& url);
};

}  // namespace brivane
