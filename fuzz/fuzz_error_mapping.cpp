// The error mapping of the transport: an arbitrary status, content type and body.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>

#include "brivane/api/core/QPApiClientSetting.h"
#include "brivane/api/core/QPTransportLayer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto transport = [] {
    auto setting = std::make_shared<brivane::QPApiClientSetting>();
    setting->setUrlStr("http://127.0.0.1");
    setting->setProgramCode("P");
    return std::make_shared<brivane::QPTransportLayer>(nullptr, setting);
  }();
  FuzzedDataProvider input(data, size);
  brivane::QPHTTPResponse response;
  response.url = "http://127.0.0.1/x";
  response.statusCode = input.ConsumeIntegralInRange<long>(100, 599);
  const bool json = input.ConsumeBool();
  response.headerFields.emplace_back("Content-Type",
                                     json ? "application/json" : input.ConsumeRandomLengthString(40));
  response.headerFields.emplace_back("Set-Cookie", "session=fuzz-secret");
  std::optional<brivane::QPError> network;
  if (input.ConsumeBool()) network = brivane::QPError("brivane.network", 7, "down");
  std::string body = input.ConsumeRemainingBytesAsString();
  std::optional<brivane::QPError> error = transport->errorFromResponse(&response, network, &body);
  // The cookie's value must not reach the description, unless the input itself put the same
  // text into a place that is shown (the content type or the body's description).
  const bool echoed = response.headerFields.front().second.find("fuzz-secret") != std::string::npos ||
                      body.find("fuzz-secret") != std::string::npos;
  if (!echoed && error && error->description() &&
      error->description()->find("fuzz-secret") != std::string::npos)
    std::abort();
  return 0;
}
