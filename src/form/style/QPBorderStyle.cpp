#include "brivane/form/style/QPBorderStyle.h"

namespace brivane {
namespace {

std::shared_ptr<QPBorderSideStyle> namedSide(std::shared_ptr<QPBorderSideStyle>& side, const char* name) {
  if (!side) side = std::make_shared<QPBorderSideStyle>();
  side->setName(name);
  return side;
}

bool isSet(const std::shared_ptr<QPBorderSideStyle>& side) {
  return side && side->isObjSet();
}

}  // namespace

std::shared_ptr<QPBorderSideStyle> QPBorderStyle::leftBorderStyle() {
  return namedSide(left_, "left");
}
std::shared_ptr<QPBorderSideStyle> QPBorderStyle::rightBorderStyle() {
  return namedSide(right_, "right");
}
std::shared_ptr<QPBorderSideStyle> QPBorderStyle::topBorderStyle() {
  return namedSide(top_, "top");
}
std::shared_ptr<QPBorderSideStyle> QPBorderStyle::bottomBorderStyle() {
  return namedSide(bottom_, "bottom");
}

bool QPBorderStyle::isObjSet() const {
  return isSet(left_) || isSet(right_) || isSet(top_) || isSet(bottom_);
}

std::string QPBorderStyle::css() {
  // One side at a time: a side shared by two positions prints the name of each in turn.
  std::string css = leftBorderStyle()->css();
  css += rightBorderStyle()->css();
  css += topBorderStyle()->css();
  css += bottomBorderStyle()->css();
  return css;
}

}  // namespace brivane
