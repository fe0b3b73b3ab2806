#pragma once

// The sandbox's domain rules, in one place for the REST routes and the stand-in provider pages
// alike: money, card numbers, IBANs, masking, currencies and the texts of answers. The limits and
// lists below are published in the README's "Sandbox test data".

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <boost/json.hpp>

namespace brivane::sandbox {

// --- money ---------------------------------------------------------------------------------

/// The largest amount a request may carry and the largest balance an account may reach, in
/// minor units: 999,999,999.99.
inline constexpr std::int64_t kMaxMinorUnits = 99'999'999'999;

/// An amount of a request in minor units: a positive decimal number in major units with at most
/// two decimal places ("12", "12.5", "12.50", or the JSON numbers 12 and 12.5), at most
/// kMaxMinorUnits. Nil for anything else: zero, a sign, blanks, exponents, hexadecimal, a third
/// decimal place, texts that are no number, booleans.
std::optional<std::int64_t> amountOf(const boost::json::value* value);
/// The balance after booking `amount` on `balance`; nil when it would leave
/// [-kMaxMinorUnits, kMaxMinorUnits].
std::optional<std::int64_t> bookedBalance(std::int64_t balance, std::int64_t amount);
/// Minor units as the JSON number of major units the answers carry (whole amounts as integers).
boost::json::value majorUnits(std::int64_t minor);
/// Minor units as text for messages: "12.50", "-0.25".
std::string amountText(std::int64_t minor);
/// The refusal text of an amount parameter `key` that `amountOf` does not take.
std::string amountRefusal(std::string_view key);

// --- currencies ----------------------------------------------------------------------------

/// Whether `code` is one of the currencies the sandbox knows (see kCurrencies).
bool knownCurrency(std::string_view code);
/// The refusal text of a currency code that `knownCurrency` does not take.
std::string currencyRefusal(std::string_view code);
/// The known currencies, for messages: "EUR, USD, GBP, CHF, PLN, CZK, HUF, SEK, NOK, DKK".
inline constexpr const char* kCurrencies = "EUR, USD, GBP, CHF, PLN, CZK, HUF, SEK, NOK, DKK";

// --- cards and bank accounts ---------------------------------------------------------------

/// The documented test data, the only card numbers and IBAN the sandbox treats specially.
inline constexpr const char* kApprovedTestCard = "4111111111111111";  ///< approved by authorize, payToAccount
inline constexpr const char* kDeclinedTestCard = "4000000000000002";  ///< declined by routes and pages
inline constexpr const char* kChallengeTestCard = "4000000000003220";       ///< pages: a 3-D Secure challenge
inline constexpr const char* kChallengeCode = "1234";                       ///< the code that passes it
inline constexpr const char* kDeclinedTestIban = "DE02120300000000202051";  ///< declined by the pages

/// The value as shoppers type it, without blanks and dashes, upper-cased.
std::string compacted(std::string_view value);
/// Whether `number` is 12 to 19 digits (nothing else) passing the Luhn check.
bool luhnValid(std::string_view number);
/// Whether `value` (blanks and dashes allowed) is an IBAN of 15 to 34 characters with a valid
/// checksum.
bool ibanValid(std::string_view value);
/// Whether a card expiring at the end of `month` of `year` (two digits mean 20yy) is still
/// valid this month.
bool cardExpiryValid(int month, int year);
/// All but the first `keepFront` and the last `keepBack` characters replaced by '*'; a value too
/// short to keep anything hidden comes back all stars.
std::string masked(std::string_view value, std::size_t keepFront, std::size_t keepBack);
/// A card number as the sandbox keeps and shows it: the first six and the last four digits.
std::string maskedCard(std::string_view number);
/// An IBAN as the sandbox keeps and shows it: the first four and the last four characters.
std::string maskedIban(std::string_view iban);

// --- texts ---------------------------------------------------------------------------------

/// A member of a JSON object as text: a string as it is, a number or boolean as its JSON text;
/// "" when absent or null.
std::string text(const boost::json::object& object, const char* key);
/// `text` with every byte sequence that is not UTF-8 replaced by U+FFFD.
std::string validUtf8(std::string_view text);
/// `text` as valid UTF-8 with "&", "<", ">", quotes and backslashes written as character
/// references: safe in an HTML element or a quoted attribute value.
std::string htmlEscaped(std::string_view text);
/// Makes every string and key in `value` valid UTF-8, in place.
void makeValidUtf8(boost::json::value& value);

}  // namespace brivane::sandbox
