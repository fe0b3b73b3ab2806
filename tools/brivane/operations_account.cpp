#include "brivane/operation_builders.h"

namespace brivane::cli {

void addAccountOperations(std::vector<Operation>&) {}

}  // namespace brivane::cli
