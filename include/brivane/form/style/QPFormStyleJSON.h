#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "brivane/QPExport.h"
#include "brivane/form/style/QPFormStyle.h"

namespace brivane {

/// The outcome of loading a form style description: the style, or a message.
struct BRIVANE_API QPFormStyleLoadResult {
  /// The loaded style; null on failure.
  std::shared_ptr<QPFormStyle> style;
  /// Empty on success; otherwise where and what was wrong, e.g.
  /// "paymentFormInputStyle.editTextBorderStyle.leftBorderStyle.size: expected a number".
  std::string error;

  /// True when a style was loaded.
  bool ok() const { return style != nullptr; }
};

/// Builds a `QPFormStyle` from a JSON description: an object tree whose members are the
/// style objects' field names, applied in document order through the same setters and
/// getters a host would call.
///
/// - Form style: "paymentFormShowCVVHint" (bool), "isPlaceholderVisible" (bool; applied
///   through `QPFormStyle::setIsPlaceholderVisible`, so any value hides the general
///   placeholder), "paymentFormInputStyle", "paymentFormCardNumberInputStyle",
///   "paymentFormExpiryDateInputStyle", "paymentFormCardHolderInputStyle",
///   "paymentFormCvvInputStyle", "paymentFormAccountHolderInputStyle",
///   "paymentFormIbanInputStyle" (input styles), "labelFontStyle", "editTextFontStyle",
///   "validationHintFontStyle" (fonts), "editTextBorderStyle" (border) (as objects these
///   four fill the general input style's, which their getters return; as null they go to
///   the form-level setters, which store values nothing reads), "paypalButtonStyle"
///   (missing button values are 0, as with the plain initialiser).
/// - Input style: "className" (string or null), "isPlaceholderVisible" (bool),
///   "labelFontStyle", "editTextFontStyle", "validationHintFontStyle" (fonts),
///   "editTextBorderStyle" (border).
/// - Font: "fontName" (string or null), "textSize" (number), "textColor" (colour or null),
///   "textStyle" (integer bit set: 2 bold, 4 italic).
/// - Border: "leftBorderStyle", "rightBorderStyle", "topBorderStyle", "bottomBorderStyle"
///   (sides). Side: "size" (number, truncated), "color" (colour or null; null still marks
///   the side as set).
/// - PayPal button: "buttonSize", "buttonColor", "buttonShape", "buttonLabel",
///   "buttonTagline" (non-negative integers; missing ones are 0).
/// - Colour: {"red": r, "green": g, "blue": b, "alpha": a} or {"grey": w, "alpha": a},
///   components as numbers (1.0 is full), "alpha" optional (default 1).
///
/// An object member fills the object that the getter returns (so a per-field input style
/// keeps its class name unless "className" is given); null for an object member stores
/// null through the setter. Unknown fields, wrong types and malformed JSON give an error
/// naming the field path. Never throws. Thread-safe (no shared state).
BRIVANE_API QPFormStyleLoadResult formStyleFromJSON(std::string_view text);

/// `formStyleFromJSON` over the contents of a file; an unreadable file gives an error
/// naming it. Never throws.
BRIVANE_API QPFormStyleLoadResult formStyleFromJSONFile(const std::string& path);

}  // namespace brivane
