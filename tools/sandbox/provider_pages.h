#pragma once

// Internal to the sandbox: the pieces the stand-in provider pages are made of. Each stand-in
// validates what the shopper types, speaks the shopper's language and completes through the
// sandbox's "/providers/authorize" and 3-D Secure challenge, which mark the authorization
// token in the sandbox's ledger.

#include <string>

namespace brivane::sandbox::pages {

/// Script defining `QP_TEXTS` (fourteen languages) and `qpTexts(locale)`, which takes a
/// two-letter code, "ll_RR" or the card widget's "gr"/"cz"/"cn" and falls back to English.
const std::string& labelsScript();
/// Script defining the checks every stand-in applies: `qpLuhn`, `qpCheckCard(field, value,
/// brand)` (an error key or ""), `qpIbanValid`, `qpMask`, `qpAuthorize(body, done)`.
const std::string& checksScript();
/// The stand-ins' shared look: full-width inputs, consistent spacing, inline errors, a clear
/// primary button and brand marks drawn with CSS.
const std::string& standInCSS();

/// The card gateway's widget script (`paymentWidgets.js`).
const std::string& widgetScript();
/// PayPal's button script (`checkout.js`) and its approval page.
const std::string& payPalScript();
const std::string& payPalApprovalPage();
/// The platform's form service page, the frame of the card and SEPA forms (providers 3 to 7).
/// "@RETURN_URL@" marks where it sends the shopper back to.
const std::string& formServicePage();
/// PayU's hosted payment page; "@LANG@", "@ORDER@", "@TOKEN@", "@CONTINUE@" are filled per request.
const std::string& payUPage();
/// The 3-D Secure challenge page; "@SESSION@", "@LANG@", "@MERCHANT@", "@AMOUNT@" (minor units,
/// "" when the challenge has no payment) and "@CURRENCY@" are filled per request.
const std::string& challengePage();

}  // namespace brivane::sandbox::pages
