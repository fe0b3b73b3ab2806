// "/account...": accounts, statements, stored payment options, transfers, devices and codes.
#include "sandbox/SandboxState.h"

namespace brivane::sandbox {

void registerAccountRoutes(Sandbox::State&) {}

}  // namespace brivane::sandbox
