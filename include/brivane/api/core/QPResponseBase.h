#pragma once

#include <optional>
#include <string>

#include <boost/json/fwd.hpp>

#include "brivane/QPExport.h"

namespace brivane {

/// The key-to-field table of a class family (kept inside the SDK).
template <class Owner>
class QPFieldList;

/// What every typed answer offers.
class BRIVANE_API QPResponseBaseInterface {
 public:
  virtual ~QPResponseBaseInterface() = default;
  /// Fills the object from a JSON value; a value that is not a dictionary fills nothing.
  virtual void initWithJSONObject(const boost::json::value& json) = 0;
};

/// Base of every answer of the platform: the seven common fields.
///
/// Filling copies every top-level key onto the field of the same name, skips JSON null and
/// ignores keys the class has no field for (one by one). A response never fails to build:
/// success and failure are told apart by the completion's error alone.
/// Thread rules: built where the answer is read (the main context, or the networking's worker
/// thread for a large answer), then handed to the main queue; afterwards used by one thread at a
/// time.
class BRIVANE_API QPResponseBase : public QPResponseBaseInterface {
 public:
  ~QPResponseBase() override = default;

  void initWithJSONObject(const boost::json::value& json) override;

  /// The key-to-field table of this response class.
  virtual const QPFieldList<QPResponseBase>& fieldList() const;
  /// Every field by name, null where unset.
  boost::json::object toJSONObject() const;

  std::optional<std::string> partnerReference;
  std::optional<std::string> localDate;
  std::optional<std::string> localTime;
  std::optional<std::string> sysDate;
  std::optional<std::string> sysTime;
  std::optional<std::string> responseCode;
  std::optional<std::string> responseDescription;

 protected:
  /// The table of the seven common fields, for derived tables to extend.
  static const QPFieldList<QPResponseBase>& baseFieldList();
};

/// Base of the plain data holders filled from one JSON dictionary.
///
/// Unlike a response, a model stops at the first key it cannot take, writes that failure to the
/// log once and keeps what it had filled so far. Nothing is reported to the caller.
class BRIVANE_API QPModel {
 public:
  virtual ~QPModel() = default;

  /// Fills the model from a dictionary by the model rule.
  void initWithDictionary(const boost::json::value& json);

  /// The key-to-field table of this model class.
  virtual const QPFieldList<QPModel>& fieldList() const = 0;
  /// The class name used in log lines.
  virtual const char* className() const = 0;
  /// Every field by name, null where unset.
  boost::json::object toJSONObject() const;
};

}  // namespace brivane
