#include "sandbox/domain.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <ctime>

namespace brivane::sandbox {

namespace json = boost::json;

std::optional<std::int64_t> amountOf(const json::value* value) {
  if (value == nullptr) return std::nullopt;
  std::int64_t minor = 0;
  if (value->is_double()) {  // a JSON number from another client: whole cents only
    const double cents = std::round(value->get_double() * 100.0);
    if (!std::isfinite(cents) || std::abs(cents - value->get_double() * 100.0) > 1e-6 ||
        cents > static_cast<double>(kMaxMinorUnits))
      return std::nullopt;
    minor = static_cast<std::int64_t>(cents);
  } else if (value->is_int64()) {
    const std::int64_t units = value->get_int64();
    if (units > kMaxMinorUnits / 100) return std::nullopt;
    minor = units * 100;
  } else if (value->is_string()) {
    const std::string_view amount = value->get_string();
    const std::size_t dot = amount.find('.');
    const std::string_view whole = amount.substr(0, dot);
    const std::string_view fraction = dot == std::string_view::npos ? "" : amount.substr(dot + 1);
    auto digits = [](std::string_view s) {
      return std::all_of(s.begin(), s.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
    };
    if (whole.empty() || whole.size() > 12 || !digits(whole) || !digits(fraction) || fraction.size() > 2 ||
        (dot != std::string_view::npos && fraction.empty()))
      return std::nullopt;
    for (char c : whole) minor = minor * 10 + (c - '0');
    for (std::size_t i = 0; i < 2; ++i) minor = minor * 10 + (i < fraction.size() ? fraction[i] - '0' : 0);
  } else {
    return std::nullopt;
  }
  if (minor <= 0 || minor > kMaxMinorUnits) return std::nullopt;
  return minor;
}

std::optional<std::int64_t> bookedBalance(std::int64_t balance, std::int64_t amount) {
  std::int64_t after = 0;
  if (__builtin_add_overflow(balance, amount, &after) || after > kMaxMinorUnits || after < -kMaxMinorUnits)
    return std::nullopt;
  return after;
}

json::value majorUnits(std::int64_t minor) {
  if (minor % 100 == 0) return minor / 100;
  return static_cast<double>(minor) / 100.0;
}

std::string amountText(std::int64_t minor) {
  const std::uint64_t magnitude =
      minor < 0 ? 0 - static_cast<std::uint64_t>(minor) : static_cast<std::uint64_t>(minor);
  std::string fraction = std::to_string(magnitude % 100);
  if (fraction.size() < 2) fraction.insert(0, "0");
  return (minor < 0 ? "-" : "") + std::to_string(magnitude / 100) + "." + fraction;
}

std::string amountRefusal(std::string_view key) {
  return "'" + std::string(key) + "' must be a positive amount with at most two decimals, at most " +
         amountText(kMaxMinorUnits) + ".";
}

std::string currencyRefusal(std::string_view code) {
  return "'" + std::string(code) + "' is not a currency code of the sandbox (" + kCurrencies + ").";
}

bool knownCurrency(std::string_view code) {
  static constexpr std::array<std::string_view, 10> kCodes = {"EUR", "USD", "GBP", "CHF", "PLN",
                                                              "CZK", "HUF", "SEK", "NOK", "DKK"};
  return std::find(kCodes.begin(), kCodes.end(), code) != kCodes.end();
}

std::string compacted(std::string_view value) {
  std::string result;
  for (char c : value)
    if (c != ' ' && c != '-')
      result.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
  return result;
}

bool luhnValid(std::string_view number) {
  if (number.size() < 12 || number.size() > 19) return false;
  int sum = 0;
  for (std::size_t i = 0; i < number.size(); ++i) {
    const char c = number[number.size() - 1 - i];
    if (c < '0' || c > '9') return false;
    int digit = c - '0';
    if (i % 2 == 1) digit = digit * 2 > 9 ? digit * 2 - 9 : digit * 2;
    sum += digit;
  }
  return sum % 10 == 0;
}

bool ibanValid(std::string_view value) {
  const std::string iban = compacted(value);
  if (iban.size() < 15 || iban.size() > 34) return false;
  int rest = 0;
  for (char c : iban.substr(4) + iban.substr(0, 4)) {
    if (c >= '0' && c <= '9')
      rest = (rest * 10 + (c - '0')) % 97;
    else if (c >= 'A' && c <= 'Z')
      rest = (rest * 100 + (c - 'A' + 10)) % 97;
    else
      return false;
  }
  return rest == 1;
}

bool cardExpiryValid(int month, int year) {
  if (year < 100) year += 2000;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  const int current = (local.tm_year + 1900) * 12 + local.tm_mon + 1;
  return month >= 1 && month <= 12 && year * 12 + month >= current;
}

std::string masked(std::string_view value, std::size_t keepFront, std::size_t keepBack) {
  if (value.size() <= keepFront + keepBack) return std::string(value.size(), '*');
  return std::string(value.substr(0, keepFront)) + std::string(value.size() - keepFront - keepBack, '*') +
         std::string(value.substr(value.size() - keepBack));
}

std::string maskedCard(std::string_view number) {
  return masked(number, 6, 4);
}

std::string maskedIban(std::string_view iban) {
  return masked(compacted(iban), 4, 4);
}

std::string text(const json::object& object, const char* key) {
  const json::value* value = object.if_contains(key);
  if (value == nullptr || value->is_null()) return {};
  if (value->is_string()) return std::string(value->get_string());
  return json::serialize(*value);
}

std::string validUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char lead = byte(i);
    std::size_t length = lead < 0x80                    ? 1
                         : lead >= 0xC2 && lead <= 0xDF ? 2
                         : lead >= 0xE0 && lead <= 0xEF ? 3
                         : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                        : 0;
    bool valid = length > 0 && i + length <= text.size();
    for (std::size_t k = 1; valid && k < length; ++k) valid = (byte(i + k) & 0xC0) == 0x80;
    if (valid && length >= 3) {  // no overlong forms, surrogates or code points above U+10FFFF
      const unsigned char second = byte(i + 1);
      valid = !(lead == 0xE0 && second < 0xA0) && !(lead == 0xED && second > 0x9F) &&
              !(lead == 0xF0 && second < 0x90) && !(lead == 0xF4 && second > 0x8F);
    }
    if (valid) {
      result.append(text.substr(i, length));
      i += length;
    } else {
      result += "\xEF\xBF\xBD";
      ++i;
    }
  }
  return result;
}

std::string htmlEscaped(std::string_view text) {
  std::string result;
  for (char c : validUtf8(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      case '\\':
        result += "&#92;";
        break;
      default:
        result.push_back(c);
    }
  }
  return result;
}

void makeValidUtf8(json::value& value) {
  if (value.is_string()) {
    json::string& string = value.get_string();
    if (std::string fixed = validUtf8(string); fixed.size() != string.size() || fixed != string)
      string = fixed;
  } else if (value.is_array()) {
    for (json::value& item : value.get_array()) makeValidUtf8(item);
  } else if (value.is_object()) {
    json::object& object = value.get_object();
    json::object fixed;
    for (auto& [key, item] : object) {
      makeValidUtf8(item);
      fixed[validUtf8(key)] = std::move(item);
    }
    object = std::move(fixed);
  }
}

}  // namespace brivane::sandbox
