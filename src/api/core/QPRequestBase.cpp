#include "brivane/api/core/QPRequestBase.h"

#include "api/core/QPFields.h"

namespace brivane {

QPRequestParams QPRequestBase::baseParams(const QPDate& now) {
  QPRequestParams params;
  params.reserve(8);  // room for a request's usual fields
  params.emplace("localDate", fields::convertLocalDate(now));
  params.emplace("localTime", fields::convertLocalTime(now));
  return params;
}

QPRequestParams QPRequestBase::getRequestParams() const {
  QPRequestParams params = baseParams(QPDate::now());
  for (const auto& entry : fieldList().entries()) {
    std::optional<boost::json::value> value;
    try {
      value = entry.param(*this);
    } catch (const fields::UnsendableDate& e) {
      throw fields::UnsendableDate("The field '" + entry.name + "' " + e.what() + "; nothing was sent.");
    }
    if (value) {
      params[entry.key] = std::move(*value);
    } else {
      fields::eraseKey(params, entry.key);  // a nil value leaves the key out
    }
  }
  return params;
}

const QPFieldList<QPRequestBase>& QPRequestBase::fieldList() const {
  static const QPFieldList<QPRequestBase> empty;
  return empty;
}

bool QPRequestBase::setField(std::string_view name, std::string_view text, std::string* why) {
  const auto* entry = fieldList().findName(name);
  if (entry == nullptr) {
    if (why != nullptr) *why = "unknown field '" + std::string(name) + "'";
    return false;
  }
  return entry->parse(*this, text, why);
}

boost::json::object QPRequestBase::toJSONObject() const {
  return fieldList().print(*this);
}

std::optional<std::string> QPRequestBase::convertNumber(const std::optional<QPNumber>& number) {
  if (!number) return std::nullopt;
  return fields::convertNumber(*number);
}

std::string QPRequestBase::convertInteger(std::int64_t value) {
  return std::to_string(value);
}

std::optional<std::string> QPRequestBase::convertDouble(double) {
  return std::nullopt;
}

std::string QPRequestBase::convertBoolean(bool value) {
  return value ? "true" : "false";
}

std::optional<std::string> QPRequestBase::convertLocalDate(const std::optional<QPDate>& date) {
  if (!date || !date->isSendable()) return std::nullopt;
  return fields::convertLocalDate(*date);
}

std::optional<std::string> QPRequestBase::convertLocalTime(const std::optional<QPDate>& date) {
  if (!date || !date->isSendable()) return std::nullopt;
  return fields::convertLocalTime(*date);
}

}  // namespace brivane
