#include "brivane/api/core/QPError.h"

namespace brivane {

std::string QPError::toString() const {
  return domain_ + " (" + std::to_string(code_) + "): " + description_.value_or("(no description)");
}

}  // namespace brivane
