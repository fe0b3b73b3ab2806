// The style JSON loader on arbitrary text; a loaded style must render its CSS and members.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "brivane/form/style/QPFormStyle.h"
#include "brivane/form/style/QPFormStyleJSON.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brivane::QPFormStyleLoadResult loaded =
      brivane::formStyleFromJSON(std::string_view(reinterpret_cast<const char*>(data), size));
  if (loaded.ok() == !loaded.error.empty()) std::abort();  // exactly one of style and error
  if (!loaded.ok()) return 0;
  for (std::int64_t provider = 0; provider <= 7; ++provider) (void)loaded.style->cssForProvider(provider);
  (void)loaded.style->placeholderCardNumCSS();
  (void)loaded.style->placeholderCVVCSS();
  return 0;
}
