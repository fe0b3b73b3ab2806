#pragma once

// A scripted shopper for the stand-in provider pages: fills and submits whatever stand-in the
// payment form shows, for tests and integrators' CI (`brivane form show --shopper ...`).

#include <optional>
#include <string>

namespace brivane::sandbox {

/// What the scripted shopper does.
enum class ShopperMode {
  Approve,    ///< an approved test card, IBAN or PayPal account
  Decline,    ///< the declined test card, IBAN or PayPal account
  Challenge,  ///< the 3-D Secure test card, then the challenge's code
  Cancel,     ///< PayPal's cancel (other providers offer the shopper no way to cancel)
};

/// Parses "approve", "decline", "3ds" and "cancel".
std::optional<ShopperMode> parseShopperMode(const std::string& name);

/// A script for the page's main frame that takes the shopper's next step on the stand-in
/// showing now (in the page or a frame of the same origin): fill and submit a card or SEPA
/// form, press the PayPal button, approve or cancel on PayPal's page, type the 3-D Secure code.
/// Each step is taken once per document. The script answers what it did ("" for nothing).
std::string shopperStepScript(ShopperMode mode);

}  // namespace brivane::sandbox
