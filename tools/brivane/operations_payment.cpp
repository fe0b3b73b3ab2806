#include "brivane/operation_builders.h"

namespace brivane::cli {

void addPaymentOperations(std::vector<Operation>&) {}

}  // namespace brivane::cli
