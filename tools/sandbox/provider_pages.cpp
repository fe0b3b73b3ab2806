#include <httplib.h>

#include "sandbox/Sandbox.h"

namespace brivane::sandbox {

void registerProviderPages(httplib::Server& /*server*/, const std::string& /*baseUrl*/) {}

}  // namespace brivane::sandbox
