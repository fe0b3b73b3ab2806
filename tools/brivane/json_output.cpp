#include "brivane/json_output.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include <boost/json/serialize.hpp>

namespace brivane::cli {
namespace {

// The length of the well-formed UTF-8 sequence at the start of `text`, or 0 (a stray or
// overlong byte, a surrogate, a code point beyond U+10FFFF, a cut sequence).
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // overlong
    if (lead == 0xED) high = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // overlong
    if (lead == 0xF4) high = 0x8F;  // beyond U+10FFFF
  } else {
    return 0;
  }
  if (text.size() < length || byte(1) < low || byte(1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i)
    if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
  return length;
}

// `text` as a JSON string; bytes that are not UTF-8 become U+FFFD, so the output stays JSON
// whatever a server sent.
void printString(std::string_view text, std::string& out) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  std::size_t i = 0;
  while (i < text.size()) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const std::size_t length = sequenceLength(text.substr(i));
      if (length == 0) {
        out += "\\ufffd";
        ++i;
      } else {
        out.append(text.substr(i, length));
        i += length;
      }
      continue;
    }
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          out += "\\u00";
          out += kHex[c >> 4];
          out += kHex[c & 0xF];
        } else {
          out += static_cast<char>(c);
        }
    }
    ++i;
  }
  out += '"';
}

void print(const boost::json::value& value, std::string& out) {
  switch (value.kind()) {
    case boost::json::kind::double_: {
      const double number = value.get_double();
      if (!std::isfinite(number)) {
        out += "null";
        return;
      }
      char buffer[32];
      auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, number);
      out.append(buffer, error == std::errc() ? end : buffer);
      return;
    }
    case boost::json::kind::string:
      printString(value.get_string(), out);
      return;
    case boost::json::kind::array: {
      out += '[';
      bool first = true;
      for (const boost::json::value& element : value.get_array()) {
        if (!first) out += ',';
        first = false;
        print(element, out);
      }
      out += ']';
      return;
    }
    case boost::json::kind::object: {
      out += '{';
      bool first = true;
      for (const auto& member : value.get_object()) {
        if (!first) out += ',';
        first = false;
        printString(member.key(), out);
        out += ':';
        print(member.value(), out);
      }
      out += '}';
      return;
    }
    default:
      out += boost::json::serialize(value);
  }
}

}  // namespace

std::string printedJSON(const boost::json::value& value) {
  std::string out;
  print(value, out);
  return out;
}

}  // namespace brivane::cli
