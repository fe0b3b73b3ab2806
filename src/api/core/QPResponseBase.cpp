#include "brivane/api/core/QPResponseBase.h"

#include "api/core/QPFields.h"

namespace brivane {

const QPFieldList<QPResponseBase>& QPResponseBase::baseFieldList() {
  using L = QPFieldList<QPResponseBase>;
  static const L list{
      L::field("partnerReference", &QPResponseBase::partnerReference),
      L::field("localDate", &QPResponseBase::localDate),
      L::field("localTime", &QPResponseBase::localTime),
      L::field("sysDate", &QPResponseBase::sysDate),
      L::field("sysTime", &QPResponseBase::sysTime),
      L::field("responseCode", &QPResponseBase::responseCode),
      L::field("responseDescription", &QPResponseBase::responseDescription),
  };
  return list;
}

const QPFieldList<QPResponseBase>& QPResponseBase::fieldList() const {
  return baseFieldList();
}

void QPResponseBase::initWithJSONObject(const boost::json::value& json) {
  fields::fill<QPResponseBase>(*this, fieldList(), json, QPFillRule::SkipFailures, "QPResponseBase");
}

boost::json::object QPResponseBase::toJSONObject() const {
  return fieldList().print(*this);
}

void QPModel::initWithDictionary(const boost::json::value& json) {
  fields::fill<QPModel>(*this, fieldList(), json, QPFillRule::StopAtFailure, className());
}

boost::json::object QPModel::toJSONObject() const {
  return fieldList().print(*this);
}

}  // namespace brivane
