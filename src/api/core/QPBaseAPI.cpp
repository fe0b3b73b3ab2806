#include "brivane/api/core/QPBaseAPI.h"

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "brivane/api/core/QPTransportLayer.h"

#include "api/core/QPErrorMapping.h"
#include "api/core/QPFields.h"

namespace brivane {
namespace {

// Appends `identifier` as exactly one path segment: "/", "?", "#" and "%" are escaped, and so
// is every byte a URL cannot carry, so that nothing in it can end the segment or the path;
// "." and ".." become "%2E" and "%2E%2E" so that they cannot climb out of their place.
void appendSegment(std::string& path, std::string_view identifier) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  auto escape = [&path](unsigned char c) {
    const char escaped[3] = {'%', kHex[c >> 4], kHex[c & 0xF]};
    path.append(escaped, 3);
  };
  if (identifier == "." || identifier == "..") {
    for (char c : identifier) escape(static_cast<unsigned char>(c));
    return;
  }
  for (char c : identifier) {
    auto byte = static_cast<unsigned char>(c);
    bool kept = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                (byte >= 'A' && byte <= 'Z') ||
                std::string_view("-._~:@!$&'()*+,;=").find(c) != std::string_view::npos;
    if (kept) {
      path.push_back(c);
    } else {
      escape(byte);
    }
  }
}

// The path format of the operation being started on this thread, with its identifiers as names
// ("/account/{accno}/balance"): made with the path, taken by the send that follows at once.
thread_local std::optional<std::string> composedTemplate;

}  // namespace

QPBaseAPI::QPBaseAPI(std::shared_ptr<QPTransportLayer> transportLayer)
    : transportLayer_(std::move(transportLayer)) {}

QPBaseAPI::~QPBaseAPI() = default;

std::optional<QPError> QPBaseAPI::composePath(std::string_view pathFormat,
                                              std::initializer_list<QPPathArgument> arguments,
                                              bool haveRequest, std::string* path) {
  auto missing = [](std::string_view name) {
    return errors::client(QPClientErrorMissingArgument,
                          "The '" + std::string(name) + "' argument must be set.");
  };
  if (!haveRequest) return missing("request");
  for (const QPPathArgument& argument : arguments)
    if (!argument.value) return missing(argument.name);
  path->clear();
  path->reserve(pathFormat.size() + 32);
  std::string pathTemplate;
  auto next = arguments.begin();
  for (std::size_t i = 0; i < pathFormat.size(); ++i) {
    if (pathFormat.compare(i, 2, "%@") == 0 && next != arguments.end()) {
      appendSegment(*path, *next->value);
      pathTemplate += "{" + std::string(next->name) + "}";
      ++next;
      ++i;
    } else {
      path->push_back(pathFormat[i]);
      pathTemplate.push_back(pathFormat[i]);
    }
  }
  composedTemplate = std::move(pathTemplate);
  return std::nullopt;
}

void QPBaseAPI::send(std::string path, std::string_view method, const QPRequestBaseInterface& request,
                     QPTransportLayer::Completion completion) const {
  std::optional<std::string> pathTemplate = std::exchange(composedTemplate, std::nullopt);
  QPRequestParams params;
  try {
    params = request.getRequestParams();
  } catch (const fields::UnsendableDate& e) {
    completion(std::nullopt, errors::client(QPClientErrorUnsendableDate, e.what()));
    return;
  } catch (const std::exception& e) {
    completion(std::nullopt, errors::client(QPClientErrorMissingArgument,
                                            std::string("The request could not be built: ") + e.what()));
    return;
  }
  QPURLComponents components;
  components.path = std::move(path);
  components.pathTemplate = std::move(pathTemplate);
  if (method == "GET") {
    std::vector<QPURLQueryItem> items;
    items.reserve(params.size() + 2);  // and the identifying items
    for (const auto& [key, value] : params)
      items.push_back({std::string(key),
                       value.is_string() ? std::string(value.get_string()) : boost::json::serialize(value)});
    components.queryItems = std::move(items);
    transportLayer_->loadRequestWithURLComponents(std::move(components), "GET", std::nullopt,
                                                  std::move(completion));
  } else {
    transportLayer_->loadRequestWithURLComponents(std::move(components), std::string(method),
                                                  std::move(params), std::move(completion));
  }
}

void QPBaseAPI::sendForm(std::string path, QPFormParams fields,
                         QPTransportLayer::Completion completion) const {
  QPURLComponents components;
  components.path = std::move(path);
  transportLayer_->loadRequestWithFormURLComponents(std::move(components), std::move(fields),
                                                    std::move(completion));
}

}  // namespace brivane
