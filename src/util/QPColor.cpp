#include "brivane/util/QPColor.h"

#include <utility>

namespace brivane {

QPColor::QPColor() : QPColor(Model::RGB, {0.0, 0.0, 0.0, 1.0}) {}

QPColor::QPColor(Model model, std::vector<double> components)
    : model_(model), components_(std::move(components)) {}

QPColor QPColor::grey(double white, double alpha) {
  return QPColor(Model::Monochrome, {white, alpha});
}

QPColor QPColor::rgba(double red, double green, double blue, double alpha) {
  return QPColor(Model::RGB, {red, green, blue, alpha});
}

}  // namespace brivane
