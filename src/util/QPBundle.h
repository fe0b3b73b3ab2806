#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

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

/// The bundle beside the core library, else the core library's own directory.
std::filesystem::path coreBundleDirectory();

/// The text of `key` in the catalogue "strings/<language>.json" of `bundleDirectory`;
/// nil when the catalogue or the key is missing or the catalogue is malformed.
std::optional<std::string> catalogueText(const std::filesystem::path& bundleDirectory,
                                         const std::string& language, std::string_view key);

}  // namespace brivane::bundle
