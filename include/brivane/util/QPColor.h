#pragma once

#include <cstddef>
#include <vector>

#include "brivane/QPExport.h"

namespace brivane {

/// A colour as the SDK sees it: a colour-space model and its components, alpha last.
///
/// Two models exist: monochrome (one grey component and alpha) and RGB (red, green,
/// blue and alpha). Components are not clamped; values outside 0..1 (extended ranges)
/// are kept as given. Plain value type, safe to copy between threads.
class BRIVANE_API QPColor {
 public:
  /// Colour-space model numbers; monochrome is model 0.
  enum class Model { Monochrome = 0, RGB = 1 };

  /// Opaque black in the RGB model.
  QPColor();

  /// A grey: `white` 0 is black, 1 is white.
  static QPColor grey(double white, double alpha = 1.0);
  /// An RGB colour with alpha.
  static QPColor rgba(double red, double green, double blue, double alpha = 1.0);

  static QPColor black() { return grey(0.0); }
  static QPColor white() { return grey(1.0); }

  Model model() const { return model_; }
  /// The components in model order, alpha last: two for monochrome, four for RGB.
  const std::vector<double>& components() const { return components_; }

  bool operator==(const QPColor& other) const = default;

 private:
  QPColor(Model model, std::vector<double> components);

  Model model_;
  std::vector<double> components_;
};

}  // namespace brivane
