#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "brivane/QPExport.h"
#include "brivane/util/QPColor.h"

namespace brivane {

/// Stateless helpers shared by the API client and the payment form.
///
/// All operations are thread-safe. The locale operations read the user's preferred
/// languages from GLib (`g_get_language_names`, i.e. LANGUAGE, LC_ALL, LC_MESSAGES, LANG)
/// and never change the process locale.
class BRIVANE_API QPUtils {
 public:
  /// The languages the SDK has texts for, in the order they are tested.
  static const std::vector<std::string>& supportedLanguages();

  /// `n` characters drawn uniformly from [0-9A-Za-z] with a cryptographically strong
  /// source (`getrandom`); nil when `n` is below 1 or above 499.
  static std::optional<std::string> genRandomIdWithLength(std::int64_t n);

  /// The first supported language code among the user's preferred languages, or "en".
  static std::string getCurLocale();

  /// "ll_RR": the first preferred language's first two characters and the region of the
  /// current locale ("US" when the locale names none); "en_US" when the first preferred
  /// language is not supported.
  static std::string getCurLocaleFull();

  /// The localised text for `key` from the resource bundle's catalogue of the language
  /// that `getCurLocale` chooses; the key itself when no text exists.
  static std::string LStr(std::string_view key);

  /// Where the resource bundle ("BrivaneSDK.bundle": templates and texts) is taken from. The
  /// bundle is looked for, in this order: the directory set here, the directory named by the
  /// environment variable BRIVANE_BUNDLE_DIR, then beside the form library and beside the core
  /// library (where `cmake --install` puts it). A directory may be the bundle itself or hold it.
  /// Nil returns to the default search. Call before the first form is rendered or text is read.
  static void setBundleDirectory(std::optional<std::string> directory);

  /// The directories the bundle was looked for in, in search order (for error messages).
  static std::vector<std::string> bundleSearchDirectories();

  /// Eight upper-case hexadecimal digits RRGGBBAA of a colour, without clamping.
  static std::string hexStringForColor(const QPColor& color);

  /// `getCurLocale` over an explicit list of language tags (first is most preferred).
  static std::string localeFromLanguages(const std::vector<std::string>& languages);
  /// `getCurLocaleFull` over an explicit list of language tags and a region code
  /// (nil or empty: no region).
  static std::string fullLocaleFromLanguages(const std::vector<std::string>& languages,
                                             const std::optional<std::string>& region);
  /// The user's preferred language tags, most preferred first ("C" and "POSIX" left out).
  static std::vector<std::string> preferredLanguages();
  /// The region code of the current locale environment (LC_ALL, LC_MESSAGES, LANG), if any.
  static std::optional<std::string> currentRegion();
};

}  // namespace brivane
