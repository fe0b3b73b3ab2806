#pragma once

#include <string>
#include <string_view>

// Host-chosen names in the CSS the styles print (font families, class names) are escaped for the
// place they stand in, so that a quote or brace in a name cannot end that place and start a rule
// of its own. Ordinary names come out unchanged.
namespace brivane::csstext {

/// `text` for the inside of a double-quoted CSS string: backslash, double quote and control
/// characters escaped.
std::string stringContent(std::string_view text);

/// `text` as (part of) a CSS identifier, e.g. a class name after "." or inside an attribute
/// selector's string: every character but letters, digits, "-", "_" and non-ASCII escaped.
std::string identifier(std::string_view text);

}  // namespace brivane::csstext
