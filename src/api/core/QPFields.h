#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/json.hpp>

#include "brivane/api/core/QPDate.h"
#include "brivane/api/core/QPFlag.h"
#include "brivane/api/core/QPNumber.h"

namespace brivane {

/// How a request field is written into its parameters.
enum class QPParamEncoding {
  Default,    ///< strings as they are, numbers through `convertNumber`, flags "true"/"false"
  LocalDate,  ///< "yyyy-MM-dd" of a `QPDate`
  LocalTime,  ///< "HHmmss" of a `QPDate`
  Double,     ///< through `convertDouble`: never sent
  Criteria,   ///< a dictionary as the criteria list, see `fields::criteriaParam`
  OmitZero,   ///< integers as decimal text, left out when 0 (0 means "not given")
  AsIs,       ///< numbers as the JSON numbers they are, not as text
  NotSent,    ///< held by the request (and settable by name) but never written to its parameters
};

/// Field conversions shared by every request, response and model class.
///
/// Filling from JSON follows one rule for all classes: a value of the field's own type is stored;
/// scalars are converted where the conversion is exact (a number or truth value arriving for a
/// text field is stored as its JSON text; a text arriving for a number field is stored when it is
/// a complete decimal number; a flag takes true/false, a number, or the texts "true"/"false");
/// anything else is a failed assignment. JSON null is skipped before any of this.
namespace fields {

/// `value` as JSON text; a real number in the shortest form that reads back as the same number
/// ("12.5", "1000000001", "1e+300"), not Boost.JSON's "1.25E1".
std::string jsonText(const boost::json::value& value);
/// The JSON type of `value` for messages ("a text", "a number", "a list", ...): messages about
/// answers name the type, never the value, which may be a secret.
std::string jsonTypeName(const boost::json::value& value);
/// An answer's key as log lines show it: control characters replaced, at most 64 characters.
std::string keyForLog(std::string_view key);

/// Gathers the model log lines written on this thread while it lives (the filling of one
/// answer) into one line: the first failure and how many followed. Nested summaries join the
/// outermost one, which writes the line when it ends. Not copyable.
class LogSummary {
 public:
  LogSummary();
  ~LogSummary();
  LogSummary(const LogSummary&) = delete;
  LogSummary& operator=(const LogSummary&) = delete;
  /// Forgets the lines gathered so far (an answer read again from the start).
  void discard();
};
/// True when every number in `value` is finite: JSON has no text for the others (the parser
/// reads 1e400 as an infinity, which would print as `Infinity`).
bool serialisable(const boost::json::value& value);
/// `value` with every non-finite number replaced by null, so that it prints as valid JSON.
boost::json::value finiteOrNull(boost::json::value value);
/// Removes `key` keeping the order of the other keys (Boost.JSON's own erase moves the last key).
void eraseKey(boost::json::object& object, std::string_view key);
std::string convertNumber(const QPNumber& number);
/// A request field that cannot be sent (a date outside 0001-01-01 to 9999-12-31): thrown while
/// the parameters are built, reported by the operation as a `brivane.client` error.
class UnsendableDate : public std::out_of_range {
 public:
  using std::out_of_range::out_of_range;
};
/// "yyyy-MM-dd" and "HHmmss" of `date` as it holds them (check `isSendable` first).
std::string convertLocalDate(const QPDate& date);
std::string convertLocalTime(const QPDate& date);
/// Reads "yyyy-MM-ddTHH:mm:ss" or "yyyy-MM-dd" (midnight) of a real date from 0001-01-01 to
/// 9999-12-31, digits exactly as shown; nil otherwise.
std::optional<QPDate> parseLocalDateTime(std::string_view text);
std::string printLocalDateTime(const QPDate& date);
/// The criteria rule of the requests that carry "criteria": nil for nil; otherwise one
/// {"name": key, "value": value} object per entry, in the dictionary's order, serialised and
/// parsed back. Nil when that round trip fails (a value JSON cannot carry, such as a non-finite
/// number): the key is then left out and the rest of the request is still sent. An empty
/// dictionary gives an empty list.
std::optional<boost::json::value> criteriaParam(const std::optional<boost::json::object>& criteria);

/// Receives a list field's elements one at a time while an answer is read, so that the whole
/// list never exists as JSON (see `readResponse`); `finish` stores the list in its field.
class ListFill {
 public:
  virtual ~ListFill() = default;
  virtual void element(const boost::json::value& value) = 0;
  virtual void finish() = 0;
};

template <class M>
struct Codec;

template <>
struct Codec<std::optional<std::string>> {
  static bool assign(std::optional<std::string>& field, const boost::json::value& value, std::string* why);
  static boost::json::value print(const std::optional<std::string>& field);
  static std::optional<boost::json::value> param(const std::optional<std::string>& field, QPParamEncoding);
  static bool parse(std::optional<std::string>& field, std::string_view text, std::string* why);
};

template <>
struct Codec<std::optional<QPNumber>> {
  static bool assign(std::optional<QPNumber>& field, const boost::json::value& value, std::string* why);
  static boost::json::value print(const std::optional<QPNumber>& field);
  static std::optional<boost::json::value> param(const std::optional<QPNumber>& field, QPParamEncoding);
  static bool parse(std::optional<QPNumber>& field, std::string_view text, std::string* why);
};

/// A flag holds an optional number and travels like one.
template <>
struct Codec<QPFlag> {
  using Number = Codec<std::optional<QPNumber>>;
  static bool assign(QPFlag& field, const boost::json::value& value, std::string* why) {
    std::optional<QPNumber> number;
    if (!Number::assign(number, value, why)) return false;
    field = std::move(number);
    return true;
  }
  static boost::json::value print(const QPFlag& field) { return Number::print(field.value()); }
  static std::optional<boost::json::value> param(const QPFlag& field, QPParamEncoding encoding) {
    return Number::param(field.value(), encoding);
  }
  static bool parse(QPFlag& field, std::string_view text, std::string* why) {
    std::optional<QPNumber> number;
    if (!Number::parse(number, text, why)) return false;
    field = std::move(number);
    return true;
  }
};

template <>
struct Codec<bool> {
  static bool assign(bool& field, const boost::json::value& value, std::string* why);
  static boost::json::value print(const bool& field);
  static std::optional<boost::json::value> param(const bool& field, QPParamEncoding);
  static bool parse(bool& field, std::string_view text, std::string* why);
};

template <>
struct Codec<std::int64_t> {
  static bool assign(std::int64_t& field, const boost::json::value& value, std::string* why);
  static boost::json::value print(const std::int64_t& field);
  static std::optional<boost::json::value> param(const std::int64_t& field, QPParamEncoding);
  static bool parse(std::int64_t& field, std::string_view text, std::string* why);
};

template <>
struct Codec<int> {
  static bool assign(int& field, const boost::json::value& value, std::string* why);
  static boost::json::value print(const int& field);
  static std::optional<boost::json::value> param(const int& field, QPParamEncoding encoding);
  static bool parse(int& field, std::string_view text, std::string* why);
};

template <>
struct Codec<double> {
  static bool assign(double& field, const boost::json::value& value, std::string* why);
  static boost::json::value print(const double& field);
  static std::optional<boost::json::value> param(const double& field, QPParamEncoding);
  static bool parse(double& field, std::string_view text, std::string* why);
};

template <>
struct Codec<std::optional<QPDate>> {
  static bool assign(std::optional<QPDate>& field, const boost::json::value& value, std::string* why);
  static boost::json::value print(const std::optional<QPDate>& field);
  static std::optional<boost::json::value> param(const std::optional<QPDate>& field,
                                                 QPParamEncoding encoding);
  static bool parse(std::optional<QPDate>& field, std::string_view text, std::string* why);
};

template <>
struct Codec<std::optional<boost::json::object>> {
  static bool assign(std::optional<boost::json::object>& field, const boost::json::value& value,
                     std::string* why);
  static boost::json::value print(const std::optional<boost::json::object>& field);
  static std::optional<boost::json::value> param(const std::optional<boost::json::object>& field,
                                                 QPParamEncoding);
  static bool parse(std::optional<boost::json::object>& field, std::string_view text, std::string* why);
};

/// Any JSON value, kept as received (answer fields typed as dates hold the server's text as it is).
template <>
struct Codec<std::optional<boost::json::value>> {
  static bool assign(std::optional<boost::json::value>& field, const boost::json::value& value,
                     std::string* why);
  static boost::json::value print(const std::optional<boost::json::value>& field);
  static std::optional<boost::json::value> param(const std::optional<boost::json::value>& field,
                                                 QPParamEncoding);
  static bool parse(std::optional<boost::json::value>& field, std::string_view text, std::string* why);
};

/// A list of models: each element is filled with the model's `initWithDictionary`.
template <class Model>
struct Codec<std::optional<std::vector<std::shared_ptr<Model>>>> {
  using Field = std::optional<std::vector<std::shared_ptr<Model>>>;
  static bool assign(Field& field, const boost::json::value& value, std::string* why) {
    if (!value.is_array()) {
      if (why != nullptr) *why = "expected a list, got " + jsonTypeName(value);
      return false;
    }
    std::vector<std::shared_ptr<Model>> models;
    models.reserve(value.get_array().size());
    LogSummary summary;  // one line for all the elements' failures
    for (const boost::json::value& element : value.get_array()) models.push_back(modelOf(element));
    field = std::move(models);
    return true;
  }
  static std::shared_ptr<Model> modelOf(const boost::json::value& value) {
    auto model = std::make_shared<Model>();
    model->initWithDictionary(value);
    return model;
  }
  /// The elements one by one, as they are read: each is filled into its model and may go at
  /// once. The models are kept in blocks until the count is known, so that the list ends with
  /// the capacity it needs and never holds two growing copies.
  struct Elements final : ListFill {
    static constexpr std::size_t kBlock = 1024;
    explicit Elements(Field& into) : field(into) {}
    void element(const boost::json::value& value) override {
      if (blocks.empty() || blocks.back().size() == kBlock) blocks.emplace_back().reserve(kBlock);
      blocks.back().push_back(modelOf(value));
    }
    void finish() override {
      std::vector<std::shared_ptr<Model>> models;
      models.reserve(blocks.empty() ? 0 : (blocks.size() - 1) * kBlock + blocks.back().size());
      for (auto& block : blocks) {
        for (auto& model : block) models.push_back(std::move(model));
        std::vector<std::shared_ptr<Model>>().swap(block);
      }
      field = std::move(models);
    }

    Field& field;
    LogSummary summary;  // one line for all the elements' failures
    std::vector<std::vector<std::shared_ptr<Model>>> blocks;
  };
  static std::unique_ptr<ListFill> openList(Field& field) { return std::make_unique<Elements>(field); }
  static boost::json::value print(const Field& field) {
    if (!field) return nullptr;
    boost::json::array list;
    list.reserve(field->size());
    for (const auto& model : *field)
      list.push_back(model ? boost::json::value(model->toJSONObject()) : nullptr);
    return list;
  }
  static std::optional<boost::json::value> param(const Field& field, QPParamEncoding) {
    if (!field) return std::nullopt;
    return print(field);
  }
  static bool parse(Field& field, std::string_view text, std::string* why) {
    boost::system::error_code ec;
    boost::json::value value = boost::json::parse(text, ec);
    if (ec) {
      if (why != nullptr) *why = "expected a JSON list";
      return false;
    }
    return assign(field, value, why);
  }
};

/// One nested model: the value is handed to the model's `initWithDictionary` whatever it is, JSON
/// null included (a null or a non-dictionary yields an empty model and one log line).
template <class Model>
struct Codec<std::shared_ptr<Model>> {
  using Field = std::shared_ptr<Model>;
  static constexpr bool takesNull = true;
  static bool assign(Field& field, const boost::json::value& value, std::string*) {
    auto model = std::make_shared<Model>();
    model->initWithDictionary(value);
    field = std::move(model);
    return true;
  }
  static boost::json::value print(const Field& field) {
    return field ? boost::json::value(field->toJSONObject()) : boost::json::value(nullptr);
  }
  static std::optional<boost::json::value> param(const Field& field, QPParamEncoding) {
    if (!field) return std::nullopt;
    return print(field);
  }
  static bool parse(Field& field, std::string_view text, std::string* why) {
    boost::system::error_code ec;
    boost::json::value value = boost::json::parse(text, ec);
    if (ec || !value.is_object()) {
      if (why != nullptr) *why = "expected a JSON dictionary";
      return false;
    }
    return assign(field, value, why);
  }
};

/// Whether a field of codec `C` is handed JSON null instead of skipping it.
template <class C>
constexpr bool takesNull() {
  if constexpr (requires { C::takesNull; })
    return C::takesNull;
  else
    return false;
}

}  // namespace fields

/// The key-to-field table of one class: the single description from which the class fills
/// itself from JSON, writes its request parameters, prints itself and takes textual values.
///
/// `Owner` is the root of the class family (`QPRequestBase`, `QPResponseBase`, `QPModel`, ...);
/// entries of derived classes cast to their own type. Tables are built once and are immutable.
template <class Owner>
class QPFieldList {
 public:
  struct Entry {
    std::string name;  ///< the field's name (used by tools)
    std::string key;   ///< the JSON key or parameter key
    std::function<bool(Owner&, const boost::json::value&, std::string*)> assign;
    std::function<boost::json::value(const Owner&)> print;
    std::function<std::optional<boost::json::value>(const Owner&)> param;
    std::function<bool(Owner&, std::string_view, std::string*)> parse;
    bool takesNull = false;  ///< JSON null is assigned too (nested models), not skipped
    /// For lists of models: takes the elements one at a time instead of `assign`; else empty.
    std::function<std::unique_ptr<fields::ListFill>(Owner&)> openList;
  };

  QPFieldList() = default;
  QPFieldList(std::initializer_list<Entry> entries) : entries_(entries), uniqueKeys_(keysUnique(entries_)) {}
  /// The entries of `base` followed by `entries`.
  QPFieldList(const QPFieldList& base, std::initializer_list<Entry> entries) : entries_(base.entries_) {
    entries_.insert(entries_.end(), entries);
    uniqueKeys_ = keysUnique(entries_);
  }

  /// An entry for `member` of `Derived` under `key` (and the same field name).
  template <class Derived, class M>
  static Entry field(std::string key, M Derived::*member,
                     QPParamEncoding encoding = QPParamEncoding::Default) {
    std::string name = key;
    return named<Derived, M>(std::move(name), std::move(key), member, encoding);
  }

  /// An entry whose field name differs from its key.
  template <class Derived, class M>
  static Entry named(std::string name, std::string key, M Derived::*member,
                     QPParamEncoding encoding = QPParamEncoding::Default) {
    using C = fields::Codec<M>;
    return Entry{
        std::move(name),
        std::move(key),
        [member](Owner& owner, const boost::json::value& value, std::string* why) {
          return C::assign(static_cast<Derived&>(owner).*member, value, why);
        },
        [member](const Owner& owner) { return C::print(static_cast<const Derived&>(owner).*member); },
        [member, encoding](const Owner& owner) -> std::optional<boost::json::value> {
          if (encoding == QPParamEncoding::NotSent) return std::nullopt;
          return C::param(static_cast<const Derived&>(owner).*member, encoding);
        },
        [member](Owner& owner, std::string_view text, std::string* why) {
          return C::parse(static_cast<Derived&>(owner).*member, text, why);
        },
        fields::takesNull<C>(),
        openListOf<Derived, M>(member),
    };
  }

  template <class Derived, class M>
  static std::function<std::unique_ptr<fields::ListFill>(Owner&)> openListOf(M Derived::*member) {
    using C = fields::Codec<M>;
    if constexpr (requires(M & field) { C::openList(field); }) {
      return [member](Owner& owner) { return C::openList(static_cast<Derived&>(owner).*member); };
    } else {
      return {};
    }
  }

  const std::vector<Entry>& entries() const { return entries_; }

  const Entry* findKey(std::string_view key) const {
    for (const Entry& entry : entries_)
      if (entry.key == key) return &entry;
    return nullptr;
  }
  /// As `findKey`, but the search starts at `*next` and wraps around, and `*next` is left after
  /// the entry found: keys that arrive in table order (the usual case) are found at once. Start
  /// with 0.
  const Entry* findKey(std::string_view key, std::size_t* next) const {
    if (!uniqueKeys_) return findKey(key);  // the first entry of a key must win
    const std::size_t count = entries_.size();
    std::size_t i = *next < count ? *next : 0;
    for (std::size_t step = 0; step < count; ++step) {
      if (entries_[i].key == key) {
        *next = i + 1;
        return &entries_[i];
      }
      if (++i == count) i = 0;
    }
    return nullptr;
  }
  const Entry* findName(std::string_view name) const {
    for (const Entry& entry : entries_)
      if (entry.name == name) return &entry;
    return nullptr;
  }

  /// Every field by name, null where unset, in table order.
  boost::json::object print(const Owner& owner) const {
    boost::json::object object;
    for (const Entry& entry : entries_) object[entry.name] = entry.print(owner);
    return object;
  }

 private:
  static bool keysUnique(const std::vector<Entry>& entries) {
    for (std::size_t i = 0; i < entries.size(); ++i)
      for (std::size_t j = i + 1; j < entries.size(); ++j)
        if (entries[i].key == entries[j].key) return false;
    return true;
  }

  std::vector<Entry> entries_;
  bool uniqueKeys_ = true;
};

/// How a class reacts to a key it cannot take.
enum class QPFillRule {
  SkipFailures,   ///< responses: skip the key and go on
  StopAtFailure,  ///< models: stop at the key and write one log line
};

namespace fields {

/// Writes one line to the SDK's log (GLib, domain "BrivaneSDK"); replaceable for tests. While a
/// `LogSummary` is alive on the calling thread the line is held back and counted instead.
void log(const std::string& line);
/// Replaces the log's sink; an empty function restores the default. Returns the previous sink.
std::function<void(const std::string&)> setLogSink(std::function<void(const std::string&)> sink);

/// One key of `fill`: `value` given to `entry` (the table's entry for `key`, null when there is
/// none). False when the rule stops the fill here.
template <class Owner>
bool fillKey(Owner& owner, const typename QPFieldList<Owner>::Entry* entry, std::string_view key,
             const boost::json::value& value, QPFillRule rule, const char* className) {
  if (value.is_null() && (entry == nullptr || !entry->takesNull)) return true;
  std::string why;
  if (entry == nullptr) {
    why = "no field for key \"" + keyForLog(key) + "\" (" + jsonTypeName(value) + ")";
  } else {
    if (entry->assign(owner, value, &why)) return true;
    why = "key \"" + keyForLog(key) + "\": " + why;
  }
  if (rule == QPFillRule::StopAtFailure) {
    log(std::string(className) + ": " + why);
    return false;
  }
  return true;
}

/// Fills `owner` from `json` by its table: every key in order, JSON null skipped (except for
/// fields that take it, see `Entry::takesNull`). A value that is
/// not an object fills nothing.
template <class Owner>
void fill(Owner& owner, const QPFieldList<Owner>& table, const boost::json::value& json, QPFillRule rule,
          const char* className) {
  LogSummary summary;
  const boost::json::object* object = json.if_object();
  if (object == nullptr) {
    if (rule == QPFillRule::StopAtFailure)
      log(std::string(className) + ": expected a dictionary, got " + jsonTypeName(json));
    return;
  }
  std::size_t next = 0;
  for (const auto& [key, value] : *object)
    if (!fillKey(owner, table.findKey(key, &next), key, value, rule, className)) return;
}

}  // namespace fields

}  // namespace brivane
