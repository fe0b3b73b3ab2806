// Responses and models filled from arbitrary JSON, then printed: nothing may crash, every
// printed object must be valid JSON again.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "api/core/QPFields.h"
#include "brivane/api/auth/QPAccessTokenResponse.h"
#include "brivane/api/settings/QPSettingsTypes.h"

namespace {

void checkPrintable(const boost::json::object& printed) {
  std::string text = boost::json::serialize(brivane::fields::finiteOrNull(printed));
  boost::system::error_code ec;
  boost::json::parse(text, ec);
  if (ec) std::abort();
}

template <class Response>
void fillAndPrint(const boost::json::value& json) {
  Response response;
  response.initWithJSONObject(json);
  checkPrintable(response.toJSONObject());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = [] {
    brivane::fields::setLogSink([](const std::string&) {});
    return true;
  }();
  (void)quiet;
  boost::system::error_code ec;
  boost::json::value json =
      boost::json::parse(std::string_view(reinterpret_cast<const char*>(data), size), ec);
  if (ec) return 0;
  fillAndPrint<brivane::QPGetCountriesResponse>(json);
  fillAndPrint<brivane::QPGetFinancialInstitutionDataResponse>(json);
  fillAndPrint<brivane::QPAccessTokenResponse>(json);
  brivane::QPCountryModel model;
  model.initWithDictionary(json);
  checkPrintable(model.toJSONObject());
  return 0;
}
