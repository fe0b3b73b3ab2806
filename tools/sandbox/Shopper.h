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

/// A test card as the stand-in pages take it.
struct ShopperCard {
  std::string number;  ///< digits only
  int expiryMonth = 12;
  int expiryYear = 0;  ///< four digits, five years ahead
};

/// The card the scripted shopper enters: the approved, declined or 3-D Secure test card.
ShopperCard shopperCard(ShopperMode mode);

/// Parses "approve", "decline", "3ds" and "cancel".
std::optional<ShopperMode> parseShopperMode(const std::string& name);

/// A script for the page's main frame that takes the shopper's next step on the stand-in
/// showing now (in the page or a frame of the same origin): fill and submit a card or SEPA
/// form, press the PayPal button, approve or cancel on PayPal's page, type the 3-D Secure code.
/// Each step is taken once per document. The script answers what it did ("" for nothing).
std::string shopperStepScript(ShopperMode mode);

/// Finishes the stand-in card page of `token` without a browser, as the page itself would: posts
/// the shopper's card (`shopperCard(mode)`, expiry, CVV and holder) to "/providers/authorize"
/// at `baseUrl` and, for the 3-D Secure card, the challenge's code to "/providers/3ds/verify".
/// True when the page ended the way `mode` asks (approved, or declined for Decline); otherwise
/// false with the reason in `why` (when not null). Cancel is refused: a card page offers none.
/// Blocks the calling thread for the two exchanges at most (a few seconds' time-out each).
bool completePageAsShopper(const std::string& baseUrl, const std::string& token, ShopperMode mode,
                           std::string* why);

}  // namespace brivane::sandbox
