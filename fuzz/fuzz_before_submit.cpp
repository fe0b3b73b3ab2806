// The before-submit arguments from arbitrary page text.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <boost/json.hpp>

#include "brivane/form/QPFormRenderer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  boost::system::error_code ec;
  boost::json::value parsed =
      boost::json::parse(std::string_view(reinterpret_cast<const char*>(data), size), ec);
  std::optional<boost::json::object> args;
  if (!ec && parsed.is_object()) args = parsed.get_object();
  auto arguments = brivane::QPFormRenderer::beforeSubmitArguments(args, std::string("VISA"));
  if (!arguments || arguments->paymentOptionCode() != "VISA") std::abort();
  if (args && !arguments->originArgs()) std::abort();
  if (arguments->iban() && arguments->iban()->find(' ') != std::string::npos) std::abort();
  if (args && args->contains("bankAccount.holder") && arguments->originArgs()->contains("bankAccount.holder"))
    std::abort();
  return 0;
}
