#include "brivane/util/QPUtils.h"

#include <pthread.h>
#include <sys/random.h>

#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include <glib.h>

namespace brivane {
namespace {

constexpr std::string_view kAlphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Fills `out` from the kernel's strong source, retrying interrupted and short reads.
void strongRandomBytes(unsigned char* out, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    ssize_t got = getrandom(out + filled, size - filled, 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      std::abort();  // no strong randomness: refuse to hand out guessable identifiers
    }
    filled += static_cast<std::size_t>(got);
  }
}

// The kernel's bytes, drawn in blocks: one read serves many identifiers. Each thread has its own
// block; a forked child starts with a fresh one, so that parent and child never hand out the
// same bytes (the generation changes in every child).
std::atomic<unsigned> forkGeneration{0};

class RandomPool {
 public:
  unsigned char next() {
    static const bool watching = [] {
      pthread_atfork(nullptr, nullptr, [] { forkGeneration.fetch_add(1, std::memory_order_relaxed); });
      return true;
    }();
    (void)watching;
    const unsigned generation = forkGeneration.load(std::memory_order_relaxed);
    if (used_ == bytes_.size() || generation != generation_) {
      strongRandomBytes(bytes_.data(), bytes_.size());
      used_ = 0;
      generation_ = generation;
    }
    unsigned char byte = bytes_[used_];
    bytes_[used_++] = 0;  // a byte handed out is not kept
    return byte;
  }

 private:
  std::array<unsigned char, 256> bytes_{};
  std::size_t used_ = bytes_.size();
  unsigned generation_ = 0;
};

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

bool startsWithSupported(std::string_view tag, std::string* code) {
  const std::string lowered = lower(tag);
  for (const std::string& supported : QPUtils::supportedLanguages()) {
    if (lowered.starts_with(supported)) {
      if (code != nullptr) *code = supported;
      return true;
    }
  }
  return false;
}

// "ll_RR.charset@modifier" → "RR" (nil when there is no region part).
std::optional<std::string> regionOfLocaleName(std::string_view name) {
  std::size_t end = name.find_first_of(".@");
  if (end != std::string_view::npos) name = name.substr(0, end);
  std::size_t sep = name.find_first_of("_-");
  if (sep == std::string_view::npos || sep + 1 >= name.size()) return std::nullopt;
  return std::string(name.substr(sep + 1));
}

}  // namespace

const std::vector<std::string>& QPUtils::supportedLanguages() {
  static const std::vector<std::string> languages = {"en", "de", "el", "es", "et", "lv", "lt",
                                                     "fi", "fr", "it", "nl", "pt", "sl", "sk"};
  return languages;
}

std::optional<std::string> QPUtils::genRandomIdWithLength(std::int64_t n) {
  if (n < 1 || n > 499) return std::nullopt;
  // Rejection sampling: bytes of 248 and above would favour the first characters.
  constexpr unsigned kLimit = 256 - 256 % kAlphabet.size();
  thread_local RandomPool pool;
  std::string result;
  result.reserve(static_cast<std::size_t>(n));
  while (result.size() < static_cast<std::size_t>(n)) {
    unsigned byte = pool.next();
    if (byte < kLimit) result.push_back(kAlphabet[byte % kAlphabet.size()]);
  }
  return result;
}

std::vector<std::string> QPUtils::preferredLanguages() {
  std::vector<std::string> result;
  for (const gchar* const* name = g_get_language_names(); name != nullptr && *name != nullptr; ++name) {
    std::string_view tag(*name);
    if (tag == "C" || tag == "POSIX" || tag.starts_with("C.")) continue;
    result.emplace_back(tag);
  }
  return result;
}

std::optional<std::string> QPUtils::currentRegion() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value == nullptr || *value == '\0') continue;
    return regionOfLocaleName(value);
  }
  return std::nullopt;
}

std::string QPUtils::localeFromLanguages(const std::vector<std::string>& languages) {
  std::string code;
  for (const std::string& language : languages) {
    if (startsWithSupported(language, &code)) return code;
  }
  return "en";
}

std::string QPUtils::fullLocaleFromLanguages(const std::vector<std::string>& languages,
                                             const std::optional<std::string>& region) {
  if (languages.empty() || !startsWithSupported(languages.front(), nullptr)) return "en_US";
  std::string regionCode = region.has_value() && !region->empty() ? *region : "US";
  return languages.front().substr(0, 2) + "_" + regionCode;
}

std::string QPUtils::getCurLocale() {
  return localeFromLanguages(preferredLanguages());
}

std::string QPUtils::getCurLocaleFull() {
  return fullLocaleFromLanguages(preferredLanguages(), currentRegion());
}

std::string QPUtils::hexStringForColor(const QPColor& color) {
  const std::vector<double>& c = color.components();
  auto component = [&c](std::size_t index) { return index < c.size() ? c[index] : 0.0; };
  double red, green, blue, alpha;
  if (color.model() == QPColor::Model::Monochrome) {
    red = green = blue = component(0);
    alpha = component(1);
  } else {
    red = component(0);
    green = component(1);
    blue = component(2);
    alpha = component(3);
  }
  // Scaled in double, narrowed to float, rounded half away from zero.
  auto scale = [](double value) -> long { return std::lround(static_cast<float>(value * 255.0)); };
  char buffer[4 * (std::numeric_limits<unsigned long>::digits / 4 + 1) + 1];
  std::snprintf(buffer, sizeof buffer, "%02lX%02lX%02lX%02lX", static_cast<unsigned long>(scale(red)),
                static_cast<unsigned long>(scale(green)), static_cast<unsigned long>(scale(blue)),
                static_cast<unsigned long>(scale(alpha)));
  return buffer;
}

}  // namespace brivane
