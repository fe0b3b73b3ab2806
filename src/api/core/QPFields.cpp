#include "api/core/QPFields.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <mutex>

#include <glib.h>

namespace brivane::fields {
namespace {

bool fail(std::string* why, std::string text) {
  if (why != nullptr) *why = std::move(text);
  return false;
}

std::optional<QPNumber> numberOf(const boost::json::value& value) {
  switch (value.kind()) {
    case boost::json::kind::int64:
      return QPNumber(value.get_int64());
    case boost::json::kind::uint64:
      return value.get_uint64() <= static_cast<std::uint64_t>(INT64_MAX)
                 ? QPNumber(static_cast<std::int64_t>(value.get_uint64()))
                 : QPNumber(static_cast<double>(value.get_uint64()));
    case boost::json::kind::double_:
      // The parser reads numbers beyond the double range as infinities; no field takes them.
      if (!std::isfinite(value.get_double())) return std::nullopt;
      return QPNumber(value.get_double());
    case boost::json::kind::bool_:
      return QPNumber::boolean(value.get_bool());
    default:
      return std::nullopt;
  }
}

// `count` decimal digits of `text` from `at`, or -1.
int digits(std::string_view text, std::size_t at, std::size_t count) {
  if (at + count > text.size()) return -1;
  int value = 0;
  for (char c : text.substr(at, count)) {
    if (c < '0' || c > '9') return -1;
    value = value * 10 + (c - '0');
  }
  return value;
}

// The calendar fields of `date`: year, month, day, hour, minute, second.
struct Fields {
  int year;
  unsigned month, day;
  long long hour, minute, second;
};
Fields fieldsOf(const QPDate& date) {
  const std::chrono::year_month_day ymd = date.date();
  const long long seconds = date.timeOfDay().count();
  return {static_cast<int>(ymd.year()),
          static_cast<unsigned>(ymd.month()),
          static_cast<unsigned>(ymd.day()),
          seconds / 3600,
          seconds / 60 % 60,
          seconds % 60};
}

// Writes `value` (0 to 10^width - 1) as `width` decimal digits with leading zeros.
char* putDigits(char* out, unsigned value, int width) {
  for (int i = width - 1; i >= 0; --i, value /= 10) out[i] = static_cast<char>('0' + value % 10);
  return out + width;
}

std::mutex logMutex;
std::function<void(const std::string&)> logSink;

// The model failures of the answer being filled on this thread (see `LogSummary`).
struct PendingLog {
  int depth = 0;
  std::size_t count = 0;
  std::string first;
};
thread_local PendingLog pendingLog;

void write(const std::string& line) {
  std::function<void(const std::string&)> sink;
  {
    std::lock_guard lock(logMutex);
    sink = logSink;
  }
  if (sink) {
    sink(line);
    return;
  }
  g_log("BrivaneSDK", G_LOG_LEVEL_MESSAGE, "%s", line.c_str());
}

}  // namespace

bool serialisable(const boost::json::value& value) {
  switch (value.kind()) {
    case boost::json::kind::double_:
      return std::isfinite(value.get_double());
    case boost::json::kind::array:
      for (const auto& element : value.get_array())
        if (!serialisable(element)) return false;
      return true;
    case boost::json::kind::object:
      for (const auto& member : value.get_object())
        if (!serialisable(member.value())) return false;
      return true;
    default:
      return true;
  }
}

boost::json::value finiteOrNull(boost::json::value value) {
  switch (value.kind()) {
    case boost::json::kind::double_:
      if (!std::isfinite(value.get_double())) value = nullptr;
      break;
    case boost::json::kind::array:
      for (auto& element : value.get_array()) element = finiteOrNull(std::move(element));
      break;
    case boost::json::kind::object:
      for (auto& member : value.get_object()) member.value() = finiteOrNull(std::move(member.value()));
      break;
    default:
      break;
  }
  return value;
}

std::string jsonText(const boost::json::value& value) {
  // Boost.JSON prints reals as "1.25E1"; the text kept is the shortest that reads back as the
  // same number ("12.5", "1000000001").
  if (value.is_double() && std::isfinite(value.get_double()))
    return QPNumber(value.get_double()).description();
  return boost::json::serialize(value);
}

void eraseKey(boost::json::object& object, std::string_view key) {
  if (!object.contains(key)) return;
  boost::json::object kept(object.storage());
  kept.reserve(object.size() - 1);
  for (auto& [k, v] : object)
    if (k != key) kept.emplace(k, std::move(v));
  object = std::move(kept);
}

std::string convertNumber(const QPNumber& number) {
  return number.description();
}

std::string convertLocalDate(const QPDate& date) {
  const Fields f = fieldsOf(date);
  if (f.year >= 0 && f.year <= 9999 && f.month <= 99 && f.day <= 99) {  // every sendable date
    char text[10];
    char* end = putDigits(text, static_cast<unsigned>(f.year), 4);
    *end++ = '-';
    end = putDigits(end, f.month, 2);
    *end++ = '-';
    putDigits(end, f.day, 2);
    return std::string(text, sizeof text);
  }
  char buffer[48];
  int size = std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02u", f.year, f.month, f.day);
  return std::string(buffer, static_cast<std::size_t>(size));
}

std::string convertLocalTime(const QPDate& date) {
  const Fields f = fieldsOf(date);
  if (f.hour >= 0 && f.hour <= 99 && f.minute >= 0 && f.second >= 0) {  // every sendable time
    char text[6];
    putDigits(
        putDigits(putDigits(text, static_cast<unsigned>(f.hour), 2), static_cast<unsigned>(f.minute), 2),
        static_cast<unsigned>(f.second), 2);
    return std::string(text, sizeof text);
  }
  char buffer[80];
  int size = std::snprintf(buffer, sizeof buffer, "%02lld%02lld%02lld", f.hour, f.minute, f.second);
  return std::string(buffer, static_cast<std::size_t>(size));
}

std::optional<QPDate> parseLocalDateTime(std::string_view text) {
  if (text.size() != 10 && text.size() != 19) return std::nullopt;
  if (text[4] != '-' || text[7] != '-') return std::nullopt;
  const int year = digits(text, 0, 4), month = digits(text, 5, 2), day = digits(text, 8, 2);
  int hour = 0, minute = 0, second = 0;
  if (text.size() == 19) {
    if (text[10] != 'T' || text[13] != ':' || text[16] != ':') return std::nullopt;
    hour = digits(text, 11, 2);
    minute = digits(text, 14, 2);
    second = digits(text, 17, 2);
  }
  if (year < 0 || month < 0 || day < 0 || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 ||
      second > 59)
    return std::nullopt;
  QPDate date(
      std::chrono::year_month_day{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                  std::chrono::day{static_cast<unsigned>(day)}},
      std::chrono::hours{hour} + std::chrono::minutes{minute} + std::chrono::seconds{second});
  if (!date.isSendable()) return std::nullopt;
  return date;
}

std::string printLocalDateTime(const QPDate& date) {
  const Fields f = fieldsOf(date);
  char buffer[128];
  int size = std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02lld:%02lld:%02lld", f.year, f.month,
                           f.day, f.hour, f.minute, f.second);
  return std::string(buffer, static_cast<std::size_t>(size));
}

void log(const std::string& line) {
  if (pendingLog.depth > 0) {
    if (pendingLog.count++ == 0) pendingLog.first = line;
    return;
  }
  write(line);
}

LogSummary::LogSummary() {
  ++pendingLog.depth;
}

void LogSummary::discard() {
  pendingLog.count = 0;
  pendingLog.first.clear();
}

LogSummary::~LogSummary() {
  if (--pendingLog.depth > 0 || pendingLog.count == 0) return;
  std::string line = std::move(pendingLog.first);
  if (pendingLog.count > 1)
    line += " (and " + std::to_string(pendingLog.count - 1) + " more model failures in this answer)";
  pendingLog = PendingLog{};
  write(line);
}

std::string jsonTypeName(const boost::json::value& value) {
  switch (value.kind()) {
    case boost::json::kind::object:
      return "a dictionary";
    case boost::json::kind::array:
      return "a list";
    case boost::json::kind::string:
      return "a text";
    case boost::json::kind::int64:
    case boost::json::kind::uint64:
    case boost::json::kind::double_:
      return "a number";
    case boost::json::kind::bool_:
      return "a truth value";
    case boost::json::kind::null:
      break;
  }
  return "null";
}

std::string keyForLog(std::string_view key) {
  constexpr std::size_t kLongest = 64;
  std::string text;
  for (unsigned char c : key.substr(0, kLongest))
    text.push_back(c < 0x20 || c == 0x7F ? '?' : static_cast<char>(c));
  if (key.size() > kLongest) text += "...";
  return text;
}

std::function<void(const std::string&)> setLogSink(std::function<void(const std::string&)> sink) {
  std::lock_guard lock(logMutex);
  std::swap(logSink, sink);
  return sink;
}

// Text fields.
bool Codec<std::optional<std::string>>::assign(std::optional<std::string>& field,
                                               const boost::json::value& value, std::string* why) {
  if (value.is_string()) {
    field = std::string(value.get_string());
    return true;
  }
  if (numberOf(value)) {
    field = jsonText(value);
    return true;
  }
  return fail(why, "expected a text, got " + jsonTypeName(value));
}
boost::json::value Codec<std::optional<std::string>>::print(const std::optional<std::string>& field) {
  return field ? boost::json::value(*field) : boost::json::value(nullptr);
}
std::optional<boost::json::value> Codec<std::optional<std::string>>::param(
    const std::optional<std::string>& field, QPParamEncoding) {
  if (!field) return std::nullopt;
  return boost::json::value(*field);
}
bool Codec<std::optional<std::string>>::parse(std::optional<std::string>& field, std::string_view text,
                                              std::string*) {
  field = std::string(text);
  return true;
}

// Boxed numbers.
bool Codec<std::optional<QPNumber>>::assign(std::optional<QPNumber>& field, const boost::json::value& value,
                                            std::string* why) {
  if (auto number = numberOf(value)) {
    field = *number;
    return true;
  }
  if (value.is_string()) {
    std::string_view text = value.get_string();
    if (auto number = QPNumber::parse(text)) {
      field = *number;
      return true;
    }
    if (text == "true" || text == "false") {
      field = QPNumber::boolean(text == "true");
      return true;
    }
  }
  return fail(why, "expected a number, got " + jsonTypeName(value));
}
boost::json::value Codec<std::optional<QPNumber>>::print(const std::optional<QPNumber>& field) {
  if (!field) return nullptr;
  switch (field->kind()) {
    case QPNumber::Kind::Boolean:
      return field->boolValue();
    case QPNumber::Kind::Integer:
      return field->int64Value();
    case QPNumber::Kind::Real:
      return field->doubleValue();
  }
  return nullptr;
}
std::optional<boost::json::value> Codec<std::optional<QPNumber>>::param(const std::optional<QPNumber>& field,
                                                                        QPParamEncoding encoding) {
  if (!field || encoding == QPParamEncoding::Double) return std::nullopt;
  if (encoding == QPParamEncoding::AsIs) return print(field);
  return boost::json::value(convertNumber(*field));
}
bool Codec<std::optional<QPNumber>>::parse(std::optional<QPNumber>& field, std::string_view text,
                                           std::string* why) {
  if (assign(field, boost::json::value(text), nullptr)) return true;
  return fail(why, "expected a number, got '" + std::string(text) + "'");
}

// Plain flags.
bool Codec<bool>::assign(bool& field, const boost::json::value& value, std::string* why) {
  std::optional<QPNumber> number;
  if (!Codec<std::optional<QPNumber>>::assign(number, value, nullptr))
    return fail(why, "expected true or false, got " + jsonTypeName(value));
  field = number->boolValue();
  return true;
}
boost::json::value Codec<bool>::print(const bool& field) {
  return field;
}
std::optional<boost::json::value> Codec<bool>::param(const bool& field, QPParamEncoding) {
  return boost::json::value(field ? "true" : "false");
}
bool Codec<bool>::parse(bool& field, std::string_view text, std::string* why) {
  if (text == "true" || text == "false") {
    field = text == "true";
    return true;
  }
  return fail(why, "expected true or false, got '" + std::string(text) + "'");
}

// Plain integers.
bool Codec<std::int64_t>::assign(std::int64_t& field, const boost::json::value& value, std::string* why) {
  std::optional<QPNumber> number;
  if (!Codec<std::optional<QPNumber>>::assign(number, value, nullptr) ||
      number->kind() == QPNumber::Kind::Real)
    return fail(why, "expected a whole number, got " + jsonTypeName(value));
  field = number->int64Value();
  return true;
}
boost::json::value Codec<std::int64_t>::print(const std::int64_t& field) {
  return field;
}
std::optional<boost::json::value> Codec<std::int64_t>::param(const std::int64_t& field,
                                                             QPParamEncoding encoding) {
  if (encoding == QPParamEncoding::OmitZero && field == 0) return std::nullopt;
  return boost::json::value(std::to_string(field));
}
bool Codec<std::int64_t>::parse(std::int64_t& field, std::string_view text, std::string* why) {
  if (assign(field, boost::json::value(text), nullptr)) return true;
  return fail(why, "expected a whole number, got '" + std::string(text) + "'");
}

// 32-bit integers: as the 64-bit ones, refusing values outside the range.
bool Codec<int>::assign(int& field, const boost::json::value& value, std::string* why) {
  std::int64_t wide = 0;
  if (!Codec<std::int64_t>::assign(wide, value, why)) return false;
  if (wide < INT32_MIN || wide > INT32_MAX) return fail(why, "out of range: " + jsonText(value));
  field = static_cast<int>(wide);
  return true;
}
boost::json::value Codec<int>::print(const int& field) {
  return field;
}
std::optional<boost::json::value> Codec<int>::param(const int& field, QPParamEncoding encoding) {
  return Codec<std::int64_t>::param(field, encoding);
}
bool Codec<int>::parse(int& field, std::string_view text, std::string* why) {
  return assign(field, boost::json::value(text), why);
}

// Plain reals (written with the deliberately empty conversion).
bool Codec<double>::assign(double& field, const boost::json::value& value, std::string* why) {
  std::optional<QPNumber> number;
  if (!Codec<std::optional<QPNumber>>::assign(number, value, nullptr))
    return fail(why, "expected a number, got " + jsonTypeName(value));
  field = number->doubleValue();
  return true;
}
boost::json::value Codec<double>::print(const double& field) {
  return field;
}
std::optional<boost::json::value> Codec<double>::param(const double&, QPParamEncoding) {
  return std::nullopt;
}
bool Codec<double>::parse(double& field, std::string_view text, std::string* why) {
  if (assign(field, boost::json::value(text), nullptr)) return true;
  return fail(why, "expected a number, got '" + std::string(text) + "'");
}

// Dates.
bool Codec<std::optional<QPDate>>::assign(std::optional<QPDate>& field, const boost::json::value& value,
                                          std::string* why) {
  if (value.is_string()) {
    if (auto date = parseLocalDateTime(value.get_string())) {
      field = *date;
      return true;
    }
  }
  return fail(
      why, "expected a date yyyy-MM-ddTHH:mm:ss from 0001-01-01 to 9999-12-31, got " + jsonTypeName(value));
}
boost::json::value Codec<std::optional<QPDate>>::print(const std::optional<QPDate>& field) {
  return field ? boost::json::value(printLocalDateTime(*field)) : boost::json::value(nullptr);
}
std::optional<boost::json::value> Codec<std::optional<QPDate>>::param(const std::optional<QPDate>& field,
                                                                      QPParamEncoding encoding) {
  if (!field) return std::nullopt;
  if (!field->isSendable())
    throw UnsendableDate("holds a date outside 0001-01-01 to 9999-12-31, or no real date or time of day");
  if (encoding == QPParamEncoding::LocalTime) return boost::json::value(convertLocalTime(*field));
  return boost::json::value(convertLocalDate(*field));
}
bool Codec<std::optional<QPDate>>::parse(std::optional<QPDate>& field, std::string_view text,
                                         std::string* why) {
  if (assign(field, boost::json::value(text), nullptr)) return true;
  return fail(why, "expected a date yyyy-MM-ddTHH:mm:ss or yyyy-MM-dd from 0001-01-01 to 9999-12-31, got '" +
                       std::string(text) + "'");
}

// Values kept as received.
bool Codec<std::optional<boost::json::value>>::assign(std::optional<boost::json::value>& field,
                                                      const boost::json::value& value, std::string* why) {
  if (!serialisable(value)) return fail(why, "a number beyond the range of JSON's numbers");
  // A copy in the default heap: the answer's document (and its arena) goes after the fill.
  field.emplace(value, boost::json::storage_ptr());
  return true;
}
boost::json::value Codec<std::optional<boost::json::value>>::print(
    const std::optional<boost::json::value>& field) {
  return field ? *field : boost::json::value(nullptr);
}
std::optional<boost::json::value> Codec<std::optional<boost::json::value>>::param(
    const std::optional<boost::json::value>& field, QPParamEncoding) {
  return field;
}
// JSON text is taken as JSON; any other text as a string.
bool Codec<std::optional<boost::json::value>>::parse(std::optional<boost::json::value>& field,
                                                     std::string_view text, std::string*) {
  boost::system::error_code ec;
  boost::json::value value = boost::json::parse(text, ec);
  field = ec ? boost::json::value(boost::json::string(text)) : std::move(value);
  return true;
}

std::optional<boost::json::value> criteriaParam(const std::optional<boost::json::object>& criteria) {
  if (!criteria) return std::nullopt;
  boost::json::array list;
  list.reserve(criteria->size());
  for (const auto& [key, value] : *criteria)
    list.push_back(boost::json::object{{"name", key}, {"value", value}});
  if (!serialisable(list)) return std::nullopt;
  boost::system::error_code ec;
  boost::json::value parsed = boost::json::parse(boost::json::serialize(list), ec);
  if (ec || !parsed.is_array()) return std::nullopt;
  return parsed;
}

// Dictionaries.
bool Codec<std::optional<boost::json::object>>::assign(std::optional<boost::json::object>& field,
                                                       const boost::json::value& value, std::string* why) {
  if (!value.is_object()) return fail(why, "expected a dictionary, got " + jsonTypeName(value));
  if (!serialisable(value)) return fail(why, "a number beyond the range of JSON's numbers");
  field.emplace(value.get_object(), boost::json::storage_ptr());
  return true;
}
boost::json::value Codec<std::optional<boost::json::object>>::print(
    const std::optional<boost::json::object>& field) {
  return field ? boost::json::value(*field) : boost::json::value(nullptr);
}
std::optional<boost::json::value> Codec<std::optional<boost::json::object>>::param(
    const std::optional<boost::json::object>& field, QPParamEncoding encoding) {
  if (encoding == QPParamEncoding::Criteria) return criteriaParam(field);
  if (!field) return std::nullopt;
  return boost::json::value(*field);
}
bool Codec<std::optional<boost::json::object>>::parse(std::optional<boost::json::object>& field,
                                                      std::string_view text, std::string* why) {
  boost::system::error_code ec;
  boost::json::value value = boost::json::parse(text, ec);
  if (ec) return fail(why, "expected a JSON dictionary: " + ec.message());
  return assign(field, value, why);
}

}  // namespace brivane::fields
