#include "brivane/form/style/QPFormStyleJSON.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <boost/json.hpp>

namespace brivane {
namespace {

namespace json = boost::json;

// Thrown while applying a description; caught before the loader returns.
struct DescriptionError {
  std::string message;
};

[[noreturn]] void fail(const std::string& path, const std::string& what) {
  throw DescriptionError{path + ": " + what};
}

std::string member(const std::string& path, std::string_view name) {
  return path.empty() ? std::string(name) : path + "." + std::string(name);
}

template <typename Target>
using FieldHandler = std::function<void(Target&, const json::value&, const std::string&)>;

template <typename Target>
using FieldTable = std::vector<std::pair<std::string_view, FieldHandler<Target>>>;

const json::object& objectAt(const json::value& value, const std::string& path) {
  if (!value.is_object()) fail(path, "expected an object");
  return value.get_object();
}

// Applies the members of an object in document order, refusing names the table lacks.
template <typename Target>
void applyFields(Target& target, const json::value& value, const std::string& path,
                 const FieldTable<Target>& table) {
  for (const json::key_value_pair& entry : objectAt(value, path)) {
    const FieldHandler<Target>* handler = nullptr;
    for (const auto& field : table) {
      if (field.first == entry.key()) handler = &field.second;
    }
    if (handler == nullptr) {
      std::string known;
      for (const auto& field : table) known += (known.empty() ? "" : ", ") + std::string(field.first);
      fail(member(path, entry.key()), "unknown field (known fields: " + known + ")");
    }
    (*handler)(target, entry.value(), member(path, entry.key()));
  }
}

double numberAt(const json::value& value, const std::string& path) {
  if (value.is_double()) {
    if (!std::isfinite(value.get_double())) fail(path, "expected a finite number");
    return value.get_double();
  }
  if (value.is_int64()) return static_cast<double>(value.get_int64());
  if (value.is_uint64()) return static_cast<double>(value.get_uint64());
  fail(path, "expected a number");
}

bool boolAt(const json::value& value, const std::string& path) {
  if (!value.is_bool()) fail(path, "expected true or false");
  return value.get_bool();
}

std::int64_t integerAt(const json::value& value, const std::string& path) {
  if (value.is_int64()) return value.get_int64();
  if (value.is_uint64() &&
      value.get_uint64() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return static_cast<std::int64_t>(value.get_uint64());
  }
  fail(path, "expected a signed 64-bit integer");
}

std::uint64_t unsignedAt(const json::value& value, const std::string& path) {
  if (value.is_uint64()) return value.get_uint64();
  if (value.is_int64() && value.get_int64() >= 0) return static_cast<std::uint64_t>(value.get_int64());
  fail(path, "expected a non-negative integer");
}

std::optional<std::string> optionalStringAt(const json::value& value, const std::string& path) {
  if (value.is_null()) return std::nullopt;
  if (!value.is_string()) fail(path, "expected a string or null");
  return std::string(value.get_string());
}

// {"red", "green", "blue", "alpha"} or {"grey", "alpha"}; alpha defaults to 1.
QPColor colorAt(const json::value& value, const std::string& path) {
  if (!value.is_object()) fail(path, "expected a colour object or null");
  const json::object& object = value.get_object();
  const bool grey = object.contains("grey");
  const std::vector<std::string_view> names =
      grey ? std::vector<std::string_view>{"grey", "alpha"}
           : std::vector<std::string_view>{"red", "green", "blue", "alpha"};
  for (const json::key_value_pair& entry : object) {
    bool known = false;
    for (std::string_view name : names) known = known || name == entry.key();
    if (!known) {
      fail(member(path, entry.key()),
           grey ? "unknown field (a grey colour has grey and alpha)"
                : "unknown field (a colour has red, green, blue and alpha, or grey and alpha)");
    }
  }
  auto component = [&](std::string_view name) -> double {
    const json::value* found = object.if_contains(name);
    if (found == nullptr) {
      fail(member(path, name), "missing (a colour has red, green, blue and alpha, or grey and alpha)");
    }
    return numberAt(*found, member(path, name));
  };
  const double alpha = object.contains("alpha") ? component("alpha") : 1.0;
  if (grey) return QPColor::grey(component("grey"), alpha);
  return QPColor::rgba(component("red"), component("green"), component("blue"), alpha);
}

std::optional<QPColor> optionalColorAt(const json::value& value, const std::string& path) {
  if (value.is_null()) return std::nullopt;
  return colorAt(value, path);
}

// An object member fills the object the getter returns; null stores null via the setter.
template <typename Owner, typename Style>
FieldHandler<Owner> child(std::shared_ptr<Style> (Owner::*getter)(),
                          void (Owner::*setter)(std::shared_ptr<Style>),
                          void (*fill)(Style&, const json::value&, const std::string&)) {
  return [getter, setter, fill](Owner& owner, const json::value& value, const std::string& path) {
    if (value.is_null()) {
      (owner.*setter)(nullptr);
      return;
    }
    if (!value.is_object()) fail(path, "expected an object or null");
    fill(*(owner.*getter)(), value, path);
  };
}

void fillFont(QPFontStyle& font, const json::value& value, const std::string& path) {
  static const FieldTable<QPFontStyle> table = {
      {"fontName", [](QPFontStyle& f, const json::value& v,
                      const std::string& p) { f.setFontName(optionalStringAt(v, p)); }},
      {"textSize",
       [](QPFontStyle& f, const json::value& v, const std::string& p) { f.setTextSize(numberAt(v, p)); }},
      {"textColor", [](QPFontStyle& f, const json::value& v,
                       const std::string& p) { f.setTextColor(optionalColorAt(v, p)); }},
      {"textStyle",
       [](QPFontStyle& f, const json::value& v, const std::string& p) { f.setTextStyle(integerAt(v, p)); }},
  };
  applyFields(font, value, path, table);
}

void fillSide(QPBorderSideStyle& side, const json::value& value, const std::string& path) {
  static const FieldTable<QPBorderSideStyle> table = {
      {"size",
       [](QPBorderSideStyle& s, const json::value& v, const std::string& p) { s.setSize(numberAt(v, p)); }},
      {"color", [](QPBorderSideStyle& s, const json::value& v,
                   const std::string& p) { s.setColor(optionalColorAt(v, p)); }},
  };
  applyFields(side, value, path, table);
}

void fillBorder(QPBorderStyle& border, const json::value& value, const std::string& path) {
  using B = QPBorderStyle;
  static const FieldTable<B> table = {
      {"leftBorderStyle", child(&B::leftBorderStyle, &B::setLeftBorderStyle, fillSide)},
      {"rightBorderStyle", child(&B::rightBorderStyle, &B::setRightBorderStyle, fillSide)},
      {"topBorderStyle", child(&B::topBorderStyle, &B::setTopBorderStyle, fillSide)},
      {"bottomBorderStyle", child(&B::bottomBorderStyle, &B::setBottomBorderStyle, fillSide)},
  };
  applyFields(border, value, path, table);
}

void fillInput(QPInputStyle& input, const json::value& value, const std::string& path) {
  using I = QPInputStyle;
  static const FieldTable<I> table = {
      {"className",
       [](I& i, const json::value& v, const std::string& p) { i.setClassName(optionalStringAt(v, p)); }},
      {"isPlaceholderVisible",
       [](I& i, const json::value& v, const std::string& p) { i.setIsPlaceholderVisible(boolAt(v, p)); }},
      {"labelFontStyle", child(&I::labelFontStyle, &I::setLabelFontStyle, fillFont)},
      {"editTextFontStyle", child(&I::editTextFontStyle, &I::setEditTextFontStyle, fillFont)},
      {"editTextBorderStyle", child(&I::editTextBorderStyle, &I::setEditTextBorderStyle, fillBorder)},
      {"validationHintFontStyle",
       child(&I::validationHintFontStyle, &I::setValidationHintFontStyle, fillFont)},
  };
  applyFields(input, value, path, table);
}

void fillButton(QPPayPalButtonStyle& button, const json::value& value, const std::string& path) {
  using P = QPPayPalButtonStyle;
  static const FieldTable<P> table = {
      {"buttonSize",
       [](P& b, const json::value& v, const std::string& p) { b.setButtonSize(unsignedAt(v, p)); }},
      {"buttonColor",
       [](P& b, const json::value& v, const std::string& p) { b.setButtonColor(unsignedAt(v, p)); }},
      {"buttonShape",
       [](P& b, const json::value& v, const std::string& p) { b.setButtonShape(unsignedAt(v, p)); }},
      {"buttonLabel",
       [](P& b, const json::value& v, const std::string& p) { b.setButtonLabel(unsignedAt(v, p)); }},
      {"buttonTagline",
       [](P& b, const json::value& v, const std::string& p) { b.setButtonTagline(unsignedAt(v, p)); }},
  };
  applyFields(button, value, path, table);
}

void fillForm(QPFormStyle& form, const json::value& value) {
  using F = QPFormStyle;
  static const FieldTable<F> table = {
      {"paymentFormShowCVVHint",
       [](F& f, const json::value& v, const std::string& p) { f.setPaymentFormShowCVVHint(boolAt(v, p)); }},
      {"isPlaceholderVisible",
       [](F& f, const json::value& v, const std::string& p) { f.setIsPlaceholderVisible(boolAt(v, p)); }},
      {"labelFontStyle", child(&F::labelFontStyle, &F::setLabelFontStyle, fillFont)},
      {"editTextFontStyle", child(&F::editTextFontStyle, &F::setEditTextFontStyle, fillFont)},
      {"editTextBorderStyle", child(&F::editTextBorderStyle, &F::setEditTextBorderStyle, fillBorder)},
      {"validationHintFontStyle",
       child(&F::validationHintFontStyle, &F::setValidationHintFontStyle, fillFont)},
      {"paymentFormInputStyle", child(&F::paymentFormInputStyle, &F::setPaymentFormInputStyle, fillInput)},
      {"paymentFormCardNumberInputStyle",
       child(&F::paymentFormCardNumberInputStyle, &F::setPaymentFormCardNumberInputStyle, fillInput)},
      {"paymentFormExpiryDateInputStyle",
       child(&F::paymentFormExpiryDateInputStyle, &F::setPaymentFormExpiryDateInputStyle, fillInput)},
      {"paymentFormCardHolderInputStyle",
       child(&F::paymentFormCardHolderInputStyle, &F::setPaymentFormCardHolderInputStyle, fillInput)},
      {"paymentFormCvvInputStyle",
       child(&F::paymentFormCvvInputStyle, &F::setPaymentFormCvvInputStyle, fillInput)},
      {"paymentFormAccountHolderInputStyle",
       child(&F::paymentFormAccountHolderInputStyle, &F::setPaymentFormAccountHolderInputStyle, fillInput)},
      {"paymentFormIbanInputStyle",
       child(&F::paymentFormIbanInputStyle, &F::setPaymentFormIbanInputStyle, fillInput)},
      {"paypalButtonStyle",
       [](F& f, const json::value& v, const std::string& p) {
         if (v.is_null()) {
           f.setPaypalButtonStyle(nullptr);
           return;
         }
         if (!v.is_object()) fail(p, "expected an object or null");
         if (!f.paypalButtonStyle()) f.setPaypalButtonStyle(std::make_shared<QPPayPalButtonStyle>());
         fillButton(*f.paypalButtonStyle(), v, p);
       }},
  };
  if (!value.is_object()) throw DescriptionError{"style description: expected a JSON object"};
  applyFields(form, value, std::string(), table);
}

// "line L, column C" of a byte offset, both counted from 1.
std::string position(std::string_view text, std::size_t offset) {
  std::size_t line = 1, column = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

QPFormStyleLoadResult failure(std::string message) {
  return QPFormStyleLoadResult{nullptr, std::move(message)};
}

}  // namespace

QPFormStyleLoadResult formStyleFromJSON(std::string_view text) {
  try {
    json::stream_parser parser;
    boost::system::error_code ec;
    const std::size_t used = parser.write(text.data(), text.size(), ec);
    if (!ec) parser.finish(ec);
    if (ec) return failure("invalid JSON at " + position(text, used) + ": " + ec.message());
    const json::value document = parser.release();
    auto style = std::make_shared<QPFormStyle>();
    fillForm(*style, document);
    return QPFormStyleLoadResult{std::move(style), std::string()};
  } catch (const DescriptionError& error) {
    return failure(error.message);
  } catch (const std::exception& error) {
    return failure(std::string("style description could not be loaded: ") + error.what());
  }
}

QPFormStyleLoadResult formStyleFromJSONFile(const std::string& path) {
  constexpr std::size_t kMaxSize = 4 * 1024 * 1024;  // far beyond any real style description
  try {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) return failure(path + ": cannot open: " + std::strerror(errno));
    std::string text;
    char buffer[8192];
    bool tooLarge = false;
    std::size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) {
      text.append(buffer, got);
      if (text.size() > kMaxSize) {
        tooLarge = true;
        break;
      }
    }
    const int readError = std::ferror(file.get()) ? errno : 0;
    file.reset();
    if (tooLarge) return failure(path + ": too large for a style description (over 4 MiB)");
    if (readError != 0) return failure(path + ": cannot read: " + std::strerror(readError));
    QPFormStyleLoadResult result = formStyleFromJSON(text);
    if (!result.ok()) result.error = path + ": " + result.error;
    return result;
  } catch (const std::exception& error) {
    return failure(path + ": could not be loaded: " + error.what());
  }
}

}  // namespace brivane
