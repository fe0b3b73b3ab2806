#include "util/QPBundle.h"

#include <dlfcn.h>

#include <cstdlib>

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
  // The program itself may be named without a directory (started through PATH): the kernel knows
  // where it is.
  std::filesystem::path named = info.dli_fname;
  if (!named.has_parent_path()) {
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) return program.parent_path();
  }
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

namespace {

std::mutex& settingMutex() {
  static std::mutex mutex;
  return mutex;
}

std::optional<std::string>& setDirectory() {
  static std::optional<std::string> directory;
  return directory;
}

// A directory named by the host: the bundle itself (it holds the catalogues) or one that holds it.
std::optional<std::filesystem::path> namedBundle(const std::filesystem::path& directory) {
  std::error_code error;
  if (directory.filename() == kBundleName || std::filesystem::is_directory(directory / "strings", error))
    return std::filesystem::is_directory(directory, error) ? std::optional(directory) : std::nullopt;
  return bundleInside(directory);
}

}  // namespace

Location locate(std::initializer_list<const void*> libraries) {
  Location location;
  auto look = [&](const std::filesystem::path& directory, bool named) {
    if (location.found) return;
    location.searched.push_back(directory);
    location.found = named ? namedBundle(directory) : bundleInside(directory);
  };
  std::optional<std::string> set;
  {
    std::lock_guard lock(settingMutex());
    set = setDirectory();
  }
  if (set && !set->empty()) look(*set, true);
  if (const char* environment = std::getenv(kBundleEnvironmentVariable); environment && *environment)
    look(environment, true);
  for (const void* address : libraries)
    if (auto directory = libraryDirectoryOf(address)) look(*directory, false);
  if (auto directory = libraryDirectoryOf(&kAnchor)) {
    look(*directory, false);
    // A program that carries the core itself (tests, benchmarks) lives in bin/ and finds the
    // bundle in the libraries' directory beside it, when it is there.
    std::filesystem::path libraries = (*directory / ".." / BRIVANE_LIBDIR).lexically_normal();
    if (!location.found && bundleInside(libraries)) look(libraries, false);
  }
  return location;
}

std::filesystem::path coreBundleDirectory() {
  Location location = locate();
  if (location.found) return *location.found;
  std::optional<std::filesystem::path> library = libraryDirectoryOf(&kAnchor);
  return library ? *library : std::filesystem::path(kBundleName);
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

void QPUtils::setBundleDirectory(std::optional<std::string> directory) {
  std::lock_guard lock(bundle::settingMutex());
  bundle::setDirectory() = std::move(directory);
}

std::vector<std::string> QPUtils::bundleSearchDirectories() {
  std::vector<std::string> directories;
  for (const auto& directory : bundle::locate().searched) directories.push_back(directory.string());
  return directories;
}

std::string QPUtils::LStr(std::string_view key) {
  std::optional<std::string> text = bundle::catalogueText(bundle::coreBundleDirectory(), getCurLocale(), key);
  return text.value_or(std::string(key));
}

}  // namespace brivane
