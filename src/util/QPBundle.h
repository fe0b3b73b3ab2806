#pragma once

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The resource bundle: a "BrivaneSDK.bundle" directory installed beside the SDK's shared
// libraries. It holds the form's HTML templates and one text catalogue per language,
// "strings/<language>.json", a flat JSON object from key to text.
namespace brivane::bundle {

/// The name of the bundle directory.
inline constexpr std::string_view kBundleName = "BrivaneSDK.bundle";

/// The directory of the shared object (or program) that contains `address`.
std::optional<std::filesystem::path> libraryDirectoryOf(const void* address);

/// `directory`/BrivaneSDK.bundle when that is a directory, else nil.
std::optional<std::filesystem::path> bundleInside(const std::filesystem::path& directory);

/// The environment variable that names the bundle's directory.
inline constexpr const char* kBundleEnvironmentVariable = "BRIVANE_BUNDLE_DIR";

/// The outcome of a search for the bundle: where it was found, and every place looked at.
struct Location {
  std::optional<std::filesystem::path> found;
  std::vector<std::filesystem::path> searched;
};

/// Looks for the bundle: the directory set with `QPUtils::setBundleDirectory`, then
/// $BRIVANE_BUNDLE_DIR, then beside the library holding each address of `libraries` in order,
/// then beside the core library.
Location locate(std::initializer_list<const void*> libraries = {});

/// The bundle found by `locate()`, else the core library's own directory.
std::filesystem::path coreBundleDirectory();

/// The text of `key` in the catalogue "strings/<language>.json" of `bundleDirectory`;
/// nil when the catalogue or the key is missing or the catalogue is malformed.
std::optional<std::string> catalogueText(const std::filesystem::path& bundleDirectory,
                                         const std::string& language, std::string_view key);

}  // namespace brivane::bundle
