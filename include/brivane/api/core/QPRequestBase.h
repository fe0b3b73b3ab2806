#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <boost/json/fwd.hpp>

#include "brivane/QPExport.h"
#include "brivane/api/core/QPNumber.h"

namespace brivane {

class QPDate;

/// The key-to-field table of a class family (kept inside the SDK).
template <class Owner>
class QPFieldList;

/// Parameters of one request: string keys in insertion order; values are texts (or nested
/// objects and lists where an operation says so).
using QPRequestParams = boost::json::object;

/// What every request offers to the API families.
class BRIVANE_API QPRequestBaseInterface {
 public:
  virtual ~QPRequestBaseInterface() = default;
  /// A new dictionary of the request's parameters.
  virtual QPRequestParams getRequestParams() const = 0;
};

/// Base of every request.
///
/// `getRequestParams` yields "localDate" and "localTime" of one moment, then the fields of the
/// class's table in table order; a field that is unset is left out (never sent as null). A date
/// field that cannot be sent (see `QPDate::isSendable`) makes it throw `std::out_of_range`
/// naming the field; an operation reports that as `QPClientErrorUnsendableDate` and sends nothing.
/// Thread rules: a request is used by one thread at a time; the API call reads it on the
/// caller's thread before returning.
class BRIVANE_API QPRequestBase : public QPRequestBaseInterface {
 public:
  QPRequestBase() = default;
  QPRequestBase(const QPRequestBase&) = default;
  QPRequestBase& operator=(const QPRequestBase&) = default;
  ~QPRequestBase() override = default;

  QPRequestParams getRequestParams() const override;

  /// The key-to-field table of this request class (empty for the base).
  virtual const QPFieldList<QPRequestBase>& fieldList() const;

  /// Sets a field by name from text (true/false, decimal numbers, yyyy-MM-ddTHH:mm:ss or
  /// yyyy-MM-dd dates from 0001-01-01 to 9999-12-31,
  /// JSON for dictionaries). False with the reason in `why` for an unknown name or bad text.
  bool setField(std::string_view name, std::string_view text, std::string* why);
  /// Every field by name, null where unset.
  boost::json::object toJSONObject() const;

  /// Nil for nil; otherwise the number's printed form ("10", "10.5", "1").
  static std::optional<std::string> convertNumber(const std::optional<QPNumber>& number);
  /// Decimal text of a signed 64-bit integer.
  static std::string convertInteger(std::int64_t value);
  /// Always nil: a key converted with it is never sent.
  static std::optional<std::string> convertDouble(double value);
  /// "true" or "false".
  static std::string convertBoolean(bool value);
  /// "yyyy-MM-dd" of the date; nil for nil and for a date that cannot be sent.
  static std::optional<std::string> convertLocalDate(const std::optional<QPDate>& date);
  /// "HHmmss" of the time of day; nil for nil and for a date that cannot be sent.
  static std::optional<std::string> convertLocalTime(const std::optional<QPDate>& date);

 protected:
  /// The base parameters for the moment `now`.
  static QPRequestParams baseParams(const QPDate& now);
};

}  // namespace brivane
