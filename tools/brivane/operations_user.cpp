#include "brivane/operation_builders.h"

namespace brivane::cli {

void addUserOperations(std::vector<Operation>&) {}

}  // namespace brivane::cli
