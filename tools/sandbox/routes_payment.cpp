// "/payment/...": authorizations, capture, cancel, pay-to-account and payment information.
#include "sandbox/SandboxState.h"

namespace brivane::sandbox {

void registerPaymentRoutes(Sandbox::State&) {}

}  // namespace brivane::sandbox
