#include "util/QPBundle.h"

#include <dlfcn.h>

#include <fstream>
#include <map>
#include <mutex>
#include <sstream>

#include <boost/json.hpp>

#include "brivane/util/QPUtils.h"

namespace brivane {
namespace bundle {
namespace {

using Catalogue = std::map<std::string, std::string, std::less<>>;

// Any address inside this library: dladdr on it names the file the library was loaded from.
const char kAnchor = 0;

std::optional<Catalogue> readCatalogue(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::stringstream content;
  content << in.rdbuf();
  boost::system::error_code error;
  boost::json::value parsed = boost::json::parse(content.str(), error);
  if (error || !parsed.is_object()) return std::nullopt;
  Catalogue catalogue;
  for (const auto& [key, value] : parsed.get_object()) {
    if (value.is_string()) catalogue.emplace(std::string(key), std::string(value.get_string()));
  }
  return catalogue;
}

}  // namespace

std::optional<std::filesystem::path> libraryDirectoryOf(const void* address) {
  Dl_info info{};
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr || *info.dli_fname == '\0')
    return std::nullopt;
  std::error_code error;
  std::filesystem::path file = std::filesystem::canonical(info.dli_fname, error);
  if (error) file = std::filesystem::absolute(info.dli_fname, error);
  if (error) return std::nullopt;
  return file.parent_path();
}

std::optional<std::filesystem::path> bundleInside(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::path candidate = directory / kBundleName;
  if (std::filesystem::is_directory(candidate, error)) return candidate;
  return std::nullopt;
}

std::filesystem::path coreBundleDirectory() {
  static const std::filesystem::path directory = [] {
    std::optional<std::filesystem::path> library = libraryDirectoryOf(&kAnchor);
    if (!library) return std::filesystem::path(kBundleName);
    return bundleInside(*library).value_or(*library);
  }();
  return directory;
}

std::optional<std::string> catalogueText(const std::filesystem::path& bundleDirectory,
                                         const std::string& language, std::string_view key) {
  // Catalogues are read once per bundle and language; a missing one is remembered as missing.
  static std::mutex mutex;
  static std::map<std::string, std::optional<Catalogue>> cache;
  const std::filesystem::path file = bundleDirectory / "strings" / (language + ".json");
  std::lock_guard lock(mutex);
  auto found = cache.find(file.string());
  if (found == cache.end()) found = cache.emplace(file.string(), readCatalogue(file)).first;
  if (!found->second) return std::nullopt;
  auto text = found->second->find(key);
  if (text == found->second->end()) return std::nullopt;
  return text->second;
}

}  // namespace bundle

std::string QPUtils::LStr(std::string_view key) {
  std::optional<std::string> text = bundle::catalogueText(bundle::coreBundleDirectory(), getCurLocale(), key);
  return text.value_or(std::string(key));
}

}  // namespace brivane
