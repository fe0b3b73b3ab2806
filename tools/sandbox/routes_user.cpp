// "/user/...": credentials and e-mail addresses.
#include "sandbox/SandboxState.h"

namespace brivane::sandbox {

void registerUserRoutes(Sandbox::State&) {}

}  // namespace brivane::sandbox
