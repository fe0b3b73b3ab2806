#include "brivane/testing/QPFakeHttpClient.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include "brivane/platform/QPMainQueue.h"

namespace brivane {
namespace {

bool sameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

// The path of an absolute URL, without query or fragment.
std::string_view pathOf(std::string_view url) {
  std::size_t scheme = url.find("://");
  std::size_t start = url.find('/', scheme == std::string_view::npos ? 0 : scheme + 3);
  if (start == std::string_view::npos) return {};
  std::string_view path = url.substr(start);
  return path.substr(0, path.find_first_of("?#"));
}

}  // namespace

std::optional<std::string> QPRecordedRequest::header(std::string_view name) const {
  for (const auto& [field, value] : headers)
    if (sameName(field, name)) return value;
  return std::nullopt;
}

QPFakeHttpClient::QPFakeHttpClient() = default;
QPFakeHttpClient::~QPFakeHttpClient() = default;

void QPFakeHttpClient::respond(std::string method, std::string path, long status, std::string body) {
  respond(std::move(method), std::move(path), status, std::move(body), {});
}

void QPFakeHttpClient::respond(std::string method, std::string path, long status, std::string body,
                               QPHttpHeaders headers) {
  bool typed = std::any_of(headers.begin(), headers.end(),
                           [](const auto& header) { return sameName(header.first, "Content-Type"); });
  if (!typed) headers.emplace_back("Content-Type", "application/json");
  respond(std::move(method), std::move(path),
          [status, body = std::move(body), headers = std::move(headers)](const QPRecordedRequest&) {
            QPHttpResult result;
            result.status = status;
            result.headers = headers;
            result.body = body;
            return result;
          });
}

void QPFakeHttpClient::respond(std::string method, std::string path, Responder responder) {
  std::lock_guard lock(mutex_);
  queued_.push_back({std::move(method), std::move(path), std::move(responder)});
}

std::vector<QPRecordedRequest> QPFakeHttpClient::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

void QPFakeHttpClient::send(QPHttpRequest request, Completion completion) {
  QPRecordedRequest recorded{std::move(request.method), std::move(request.url), std::move(request.headers),
                             std::move(request.body)};
  Responder responder;
  {
    std::lock_guard lock(mutex_);
    requests_.push_back(recorded);
    std::string_view path = pathOf(recorded.url);
    auto found = std::find_if(queued_.begin(), queued_.end(), [&](const Queued& queued) {
      return queued.method == recorded.method && path.ends_with(queued.path);
    });
    if (found != queued_.end()) {
      responder = std::move(found->responder);
      queued_.erase(found);
    }
  }
  QPMainQueue::post([recorded = std::move(recorded), responder = std::move(responder),
                     completion = std::move(completion)]() {
    QPHttpResult result;
    if (responder) {
      result = responder(recorded);
    } else {
      result.status = 404;
    }
    if (result.url.empty()) result.url = recorded.url;
    completion(std::move(result));
  });
}

}  // namespace brivane
