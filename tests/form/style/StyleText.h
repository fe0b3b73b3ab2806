#pragma once

#include <string>

namespace brivane::styletext {

// The text of an input group whose fonts and borders are unset: label, control, wrapper and hint
// class names, and the placeholder's opacity.
inline std::string plainGroup(const std::string& label, const std::string& control,
                              const std::string& wrapper, const std::string& hint,
                              const char* opacity = "0.5") {
  return "." + label + "{ margin-top: 16px;}\n." + label + ":not(:first-child){ margin-top: 16px;}\n." +
         control + ", ." + wrapper + " {background: transparent; margin-top: 4px;}\n." + control +
         "::-webkit-input-placeholder {opacity: " + opacity + "}\n[class*=\"" + hint +
         "\"]{margin-top: 4px;}";
}

// The same for a group named "<prefix>-group<suffix>".
inline std::string plainGroupOf(const std::string& prefix, const std::string& suffix,
                                const char* opacity = "0.5") {
  return plainGroup(prefix + "-label" + suffix, prefix + "-control" + suffix, prefix + "-wrapper" + suffix,
                    prefix + "-hint" + suffix, opacity);
}

}  // namespace brivane::styletext
