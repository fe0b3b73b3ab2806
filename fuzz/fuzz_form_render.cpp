// The form's checks and rendering with an arbitrary token, options, configuration, locale and
// style. Oracle: no value may add or end a script or style element, whatever it holds.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include <boost/json.hpp>

#include "brivane/form/QPFormRenderer.h"
#include "brivane/form/style/QPFormStyleJSON.h"

namespace {

std::size_t count(const std::string& text, std::string_view needle) {
  std::size_t found = 0;
  for (std::size_t at = brivane::QPFormRenderer::findIgnoringCase(text, needle); at != std::string::npos;
       at = brivane::QPFormRenderer::findIgnoringCase(text, needle, at + 1))
    ++found;
  return found;
}

std::size_t elementEnds(const std::string& html) {
  return count(html, "</script") * 1000 + count(html, "</style") * 100 + count(html, "<script") * 10 +
         count(html, "<style");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  brivane::QPFormConfiguration configuration;
  configuration.paymentProvider = input.ConsumeIntegralInRange<std::uint64_t>(0, 8);
  configuration.mode = input.ConsumeIntegralInRange<std::int64_t>(-1, 2);
  configuration.providerMode = input.ConsumeIntegralInRange<std::int64_t>(-1, 2);
  configuration.showStorePaymentMethod = input.ConsumeBool();
  configuration.redirectURL = input.ConsumeRandomLengthString(64);
  configuration.apiURL = brivane::QPFormRenderer::normalizedApiURL(input.ConsumeRandomLengthString(64));
  std::vector<std::string> options;
  const int optionCount = input.ConsumeIntegralInRange(1, 3);
  for (int i = 0; i < optionCount; ++i)
    options.push_back(input.ConsumeBool() ? brivane::QPFormRenderer::paymentOptionCodeForNumber(
                                                input.ConsumeIntegralInRange<std::int64_t>(0, 7))
                                          : input.ConsumeRandomLengthString(12));
  brivane::QPRenderEnvironment environment;
  environment.templateDirectory = BRIVANE_TEMPLATE_DIRECTORY;
  environment.viewHeight = input.ConsumeFloatingPoint<double>();
  environment.screenHeight = input.ConsumeFloatingPoint<double>();
  const std::string locale = input.ConsumeRandomLengthString(8);
  const std::string localeFull = input.ConsumeRandomLengthString(12);
  const std::string title = input.ConsumeRandomLengthString(32);
  std::shared_ptr<brivane::QPFormStyle> style;
  if (input.ConsumeBool()) style = brivane::formStyleFromJSON(input.ConsumeRandomLengthString(512)).style;
  const std::string token = input.ConsumeRemainingBytesAsString();

  if (brivane::QPFormRenderer::checkConfiguration(configuration, options, token)) return 0;
  const auto deployment = brivane::QPFormDeployment::forBaseURL("https://forms.example");
  brivane::QPRenderedForm benign =
      brivane::QPFormRenderer::render(configuration, options, "T", nullptr, deployment, environment);
  environment.locale = locale;
  environment.localeFull = localeFull;
  environment.text = [&title](std::string_view) { return title; };
  brivane::QPRenderedForm page =
      brivane::QPFormRenderer::render(configuration, options, token, style, deployment, environment);
  if (page.isPayU != benign.isPayU) std::abort();
  if (!page.isPayU && elementEnds(page.html) != elementEnds(benign.html)) std::abort();
  return 0;
}
