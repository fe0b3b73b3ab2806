#include "brivane/util/QPUtils.h"

namespace brivane {

// Localised texts arrive with the resource bundle; until then every key stands for itself.
std::string QPUtils::LStr(std::string_view key) { return std::string(key); }

}  // namespace brivane
