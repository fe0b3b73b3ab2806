#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "brivane/QPExport.h"
#include "brivane/form/style/QPBorderStyle.h"
#include "brivane/form/style/QPEmptyCheckerProtocol.h"
#include "brivane/form/style/QPFontStyle.h"

namespace brivane {

/// The look of one input group of the payment form: label, field, border, validation
/// hint and placeholder.
///
/// The four style getters create a default object on first read; setters store what they
/// are given (null: created afresh on the next read). Copies share their sub-objects.
/// Plain value object: use from one thread at a time.
class BRIVANE_API QPInputStyle : public QPEmptyCheckerProtocol {
 public:
  /// True once `setIsPlaceholderVisible` has been called, whatever the value.
  bool isPlaceHolderVisabilitySet() const { return isPlaceHolderVisabilitySet_; }

  /// Whether the field's placeholder is shown (half opacity) or hidden; true by default.
  bool isPlaceholderVisible() const { return isPlaceholderVisible_; }
  /// Stores the flag and marks the visibility as set.
  void setIsPlaceholderVisible(bool visible);

  /// Font of the field's label.
  std::shared_ptr<QPFontStyle> labelFontStyle();
  /// Stores the font as it is.
  void setLabelFontStyle(std::shared_ptr<QPFontStyle> style) { labelFontStyle_ = std::move(style); }

  /// Font of the field's text and placeholder.
  std::shared_ptr<QPFontStyle> editTextFontStyle();
  /// Stores the font as it is.
  void setEditTextFontStyle(std::shared_ptr<QPFontStyle> style) { editTextFontStyle_ = std::move(style); }

  /// Border of the field.
  std::shared_ptr<QPBorderStyle> editTextBorderStyle();
  /// Stores the border as it is.
  void setEditTextBorderStyle(std::shared_ptr<QPBorderStyle> style) {
    editTextBorderStyle_ = std::move(style);
  }

  /// Font of the validation hint.
  std::shared_ptr<QPFontStyle> validationHintFontStyle();
  /// Stores the font as it is.
  void setValidationHintFontStyle(std::shared_ptr<QPFontStyle> style) {
    validationHintFontStyle_ = std::move(style);
  }

  /// CSS class of the input group, containing the word "group"; "" by default, nil
  /// possible (printed as "(null)" where no provider rule replaces it).
  const std::optional<std::string>& className() const { return className_; }
  /// Stores the class name as it is (nil allowed).
  void setClassName(std::optional<std::string> className) { className_ = std::move(className); }

  /// True when any stored style is set or the placeholder visibility was set. Creates
  /// nothing; a `className` alone does not count.
  bool isObjSet() const override;

  /// `cssForProvider(0)`.
  std::string css();

  /// The CSS of the input group for a payment provider (the payment form's
  /// `QPPaymentProvider` number, 0 to 7). First adjusts `className` for good: providers
  /// 3 to 7 turn an empty or nil name into "qp-group" and every "wpwl" into "qp"
  /// (provider 6 also every "accountIban" into "iban"); provider 0 turns an empty or nil
  /// name into "wpwl-group"; the others leave it. Then returns `cssStr(provider)`.
  std::string cssForProvider(std::int64_t provider);

  /// The CSS of the input group for the current `className`, without adjusting it: label,
  /// label-after-first, control and wrapper, placeholder (not for providers 4, 5 and 7)
  /// and hint rules. Creates the sub-styles it reads.
  std::string cssStr(std::int64_t provider);

 private:
  bool isPlaceHolderVisabilitySet_ = false;
  bool isPlaceholderVisible_ = true;
  std::shared_ptr<QPFontStyle> labelFontStyle_;
  std::shared_ptr<QPFontStyle> editTextFontStyle_;
  std::shared_ptr<QPBorderStyle> editTextBorderStyle_;
  std::shared_ptr<QPFontStyle> validationHintFontStyle_;
  std::optional<std::string> className_ = std::string();
};

}  // namespace brivane
