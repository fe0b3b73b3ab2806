#include "form/style/QPCSSText.h"

namespace brivane::csstext {
namespace {

// A control character as CSS writes it: backslash, hexadecimal code, one blank to end it.
void appendHexEscape(std::string& out, unsigned char c) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '\\';
  if (c >= 16) out += kHex[c >> 4];
  out += kHex[c & 0xF];
  out += ' ';
}

bool isControl(unsigned char c) {
  return c < 0x20 || c == 0x7F;
}

}  // namespace

std::string stringContent(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (unsigned char c : text) {
    if (isControl(c)) {
      appendHexEscape(out, c);
    } else {
      if (c == '"' || c == '\\') out += '\\';
      out += static_cast<char>(c);
    }
  }
  return out;
}

std::string identifier(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (unsigned char c : text) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || c >= 0x80;
    if (plain) {
      out += static_cast<char>(c);
    } else if (isControl(c)) {
      appendHexEscape(out, c);
    } else {
      out += '\\';
      out += static_cast<char>(c);
    }
  }
  return out;
}

}  // namespace brivane::csstext
