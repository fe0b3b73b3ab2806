#include "brivane/api/core/QPTransportLayer.h"

#include <array>
#include <cctype>
#include <charconv>
#include <exception>
#include <sstream>

#include "api/core/QPErrorMapping.h"
#include "api/core/QPFields.h"
#include "api/core/QPJSONParse.h"
#include "brivane/util/QPUtils.h"
#include "platform/linux/QPNetworkEngine.h"

namespace brivane {
namespace {

constexpr const char* kJSONContentType = "application/json";
constexpr const char* kFormContentType = "application/x-www-form-urlencoded";
// From this size on, an answer is parsed away from the main context (about a frame's time).
constexpr std::size_t kLargeAnswerBytes = 256u << 10;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

// Headers whose values are credentials or session state: descriptions show only their names.
bool isSecretHeader(std::string_view name) {
  for (std::string_view secret : {"Set-Cookie", "Set-Cookie2", "Cookie", "Authorization",
                                  "Proxy-Authorization", "WWW-Authenticate", "Proxy-Authenticate"})
    if (equalsIgnoringCase(name, secret)) return true;
  return false;
}

// Characters a URL may carry as they are; every other byte is percent-escaped so that the text
// parses as a URL (blanks, quotes, braces, non-ASCII). Existing escapes are left alone.
constexpr std::array<bool, 256> kAllowedInURL = [] {
  std::array<bool, 256> allowed{};
  for (int c = '0'; c <= '9'; ++c) allowed[c] = true;
  for (int c = 'a'; c <= 'z'; ++c) allowed[c] = true;
  for (int c = 'A'; c <= 'Z'; ++c) allowed[c] = true;
  for (unsigned char c : std::string_view("-._~:/?#[]@!$&'()*+,;=%")) allowed[c] = true;
  return allowed;
}();

// Appends `text` to `url`, escaping what a URL cannot carry; with `inPath`, also "?" and "#"
// (an identifier holding one stays part of the path).
void appendEscaped(std::string& url, std::string_view text, bool inPath) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  auto carried = [inPath](unsigned char c) {
    return kAllowedInURL[c] && !(inPath && (c == '?' || c == '#'));
  };
  std::size_t i = 0;
  while (i < text.size()) {
    std::size_t run = i;
    while (run < text.size() && carried(static_cast<unsigned char>(text[run]))) ++run;
    url.append(text.data() + i, run - i);
    if (run == text.size()) break;
    auto c = static_cast<unsigned char>(text[run]);
    const char escaped[3] = {'%', kHex[c >> 4], kHex[c & 0xF]};
    url.append(escaped, 3);
    i = run + 1;
  }
}

// ASCII with lossy conversion: every non-ASCII character becomes one '?'.
std::string lossyASCII(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      result.push_back(static_cast<char>(c));
      continue;
    }
    result.push_back('?');
    while (i + 1 < text.size() && (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) ++i;
  }
  return result;
}

// The first field of a raw form body whose key or value holds a separator ("&" or "="); the
// key as messages may show it ("(a key)" when the key itself holds one).
std::optional<std::string> unsendableFormKey(const std::optional<QPFormParams>& params) {
  if (!params) return std::nullopt;
  auto separated = [](std::string_view text) { return text.find_first_of("&=") != std::string_view::npos; };
  for (const auto& [key, value] : *params) {
    if (separated(key)) return std::string("(a key)");
    if (separated(value)) return key;
  }
  return std::nullopt;
}

// A CR or LF would end the header and start another of the sender's choosing; a NUL cuts it.
bool fitsInHeader(std::string_view value) {
  return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::string identifyingReference(const QPApiClientSettingsInterface& setting) {
  // An unset prefix prints as the platform prints a missing object.
  return setting.partnerReferencePrefix().value_or("(null)") + *QPUtils::genRandomIdWithLength(10);
}

}  // namespace

struct QPTransportLayer::Outgoing {
  platform::NetworkRequest request;
  std::optional<QPError> early;  // a fault found before sending: reported instead
};

std::optional<std::string> QPURLComponents::query() const {
  if (!queryItems) return std::nullopt;
  std::string text;
  for (std::size_t i = 0; i < queryItems->size(); ++i) {
    const QPURLQueryItem& item = (*queryItems)[i];
    if (i > 0) text.push_back('&');
    text += item.name;
    if (item.value) text += "=" + *item.value;
  }
  return text;
}

std::optional<std::string> QPHTTPResponse::valueForHTTPHeaderField(std::string_view name) const {
  for (const auto& [field, value] : headerFields)
    if (equalsIgnoringCase(field, name)) return value;
  return std::nullopt;
}

std::string QPHTTPResponse::description() const {
  std::ostringstream out;
  out << "<QPHTTPResponse> { URL: " << errors::withoutUserinfo(url) << " } { Status Code: " << statusCode
      << ", Headers {";
  for (std::size_t i = 0; i < headerFields.size(); ++i) {
    const auto& [field, value] = headerFields[i];
    out << (i == 0 ? " " : ", ") << field << ": " << (isSecretHeader(field) ? "(hidden)" : value);
  }
  out << " } }";
  return out.str();
}

QPTransportLayer::QPTransportLayer(std::shared_ptr<QPAccessTokenProvider> accessTokenProvider,
                                   std::shared_ptr<QPApiClientSettingsInterface> settings) {
  setAccessTokenProvider(std::move(accessTokenProvider));
  setSetting(std::move(settings));
}

QPTransportLayer::~QPTransportLayer() = default;

std::string QPTransportLayer::composeURL(const QPURLComponents& components) const {
  std::string_view base =
      setting_ && setting_->urlStr() ? std::string_view(*setting_->urlStr()) : std::string_view();
  std::string_view path = components.path ? std::string_view(*components.path) : std::string_view();
  if (base.ends_with('/') && path.starts_with('/')) base.remove_suffix(1);
  std::optional<std::string> query = components.query();
  std::string url;
  url.reserve(base.size() + path.size() + (query ? query->size() + 1 : 0));
  appendEscaped(url, base, false);
  appendEscaped(url, path, true);
  if (query) {
    url.push_back('?');
    appendEscaped(url, *query, false);
  }
  return url;
}

void QPTransportLayer::loadRequestWithURLComponents(QPURLComponents components, std::string method,
                                                    std::optional<boost::json::object> params,
                                                    Completion completion) {
  Outgoing outgoing;
  try {
    if (!setting_ || !setting_->urlStr()) {
      outgoing.early = errors::client(QPClientErrorMissingSetting, "The base URL ('url') is not set.");
    } else if (!setting_->programCode()) {
      outgoing.early = errors::client(QPClientErrorMissingSetting, "The 'programCode' setting must be set.");
    } else {
      boost::json::object identifying;
      identifying["partnerReference"] = identifyingReference(*setting_);
      identifying["programCode"] = *setting_->programCode();
      if (components.queryItems) {
        for (const auto& [key, value] : identifying)
          components.queryItems->push_back({std::string(key), std::string(value.get_string())});
      }
      platform::NetworkRequest& request = outgoing.request;
      request.url = composeURL(components);
      request.method = std::move(method);
      if (accessTokenProvider_) {
        if (std::optional<std::string> token = accessTokenProvider_->getAccessToken()) {
          if (!fitsInHeader(*token)) outgoing.early = errors::unsendableHeader("access token");
          request.headers.push_back("Authorization: Bearer " + *token);
        }
      }
      request.headers.push_back(std::string("Accept: ") + kJSONContentType);
      request.headers.push_back(std::string("Content-Type: ") + kJSONContentType);
      if (params) {
        if (const boost::json::value* ip = params->if_contains("X-Ip-Address")) {
          std::string address = errors::textOf(*ip);
          if (!fitsInHeader(address)) outgoing.early = errors::unsendableHeader("'X-Ip-Address' value");
          request.headers.push_back("X-Ip-Address: " + address);
        }
      }
      if (params && !params->empty()) {
        boost::json::object body = *params;
        fields::eraseKey(body, "X-Ip-Address");
        for (const auto& [key, value] : identifying) body[key] = value;
        request.body = boost::json::serialize(body);
      }
    }
  } catch (const std::exception& e) {
    outgoing.early = errors::client(QPClientErrorMissingArgument,
                                    std::string("The request could not be built: ") + e.what());
  }
  start(std::move(outgoing), std::move(completion));
}

void QPTransportLayer::loadRequestWithFormURLComponents(QPURLComponents components,
                                                        std::optional<QPFormParams> params,
                                                        Completion completion) {
  Outgoing outgoing;
  if (!setting_ || !setting_->urlStr()) {
    outgoing.early = errors::client(QPClientErrorMissingSetting, "The base URL ('url') is not set.");
  } else if (std::optional<std::string> key = unsendableFormKey(params)) {
    // A value holding "&" or "=" would split into other fields on the server (a user name
    // "bob&grant_type=x" adds a grant type): refused, and the value is not repeated.
    outgoing.early =
        errors::client(QPClientErrorUnsendableFormValue,
                       "The form field '" + *key +
                           "' holds '&' or '=', which the form body cannot carry; nothing was sent.");
  } else {
    platform::NetworkRequest& request = outgoing.request;
    request.url = composeURL(components);
    request.method = "POST";
    if (accessTokenProvider_) {
      if (std::optional<std::string> token = accessTokenProvider_->getAccessToken()) {
        if (!fitsInHeader(*token)) outgoing.early = errors::unsendableHeader("access token");
        request.headers.push_back("Authorization: Bearer " + *token);
      }
    }
    request.headers.push_back(std::string("Accept: ") + kJSONContentType);
    request.headers.push_back(std::string("Content-Type: ") + kFormContentType);
    if (params && !params->empty()) {
      std::string text;
      for (const auto& [key, value] : *params) text += key + "=" + value + "&";  // the last "&" stays
      std::string bytes = lossyASCII(text);
      request.headers.push_back("Content-Length: " + std::to_string(bytes.size()));
      request.body = std::move(bytes);
    }
  }
  start(std::move(outgoing), std::move(completion));
}

void QPTransportLayer::start(Outgoing outgoing, Completion completion) {
  auto engine = platform::NetworkEngine::shared();
  if (outgoing.early) {
    engine->dispatch([completion = std::move(completion), error = std::move(*outgoing.early)]() {
      if (completion) completion(std::nullopt, error);
    });
    return;
  }
  outgoing.request.timeout = timeout_;
  outgoing.request.maximumResponseSize = maximumResponseSize_;
  std::weak_ptr<QPTransportLayer> weakSelf = weak_from_this();
  auto read = [weakSelf, completion = std::move(completion)](platform::NetworkResult result) {
    std::optional<QPError> error = errors::fromNetwork(result);
    std::optional<QPHTTPResponse> response = errors::responseOf(result);
    // Released meanwhile: the status is not judged, but a networking failure is still one.
    if (auto self = weakSelf.lock())
      error = self->errorFromResponse(response ? &*response : nullptr, error, &result.body);
    std::optional<boost::json::value> json;
    if (!error) json = parseJSON(result.body, &error);
    if (completion) completion(std::move(json), std::move(error));
  };
  engine->perform(std::move(outgoing.request), [read = std::move(read)](platform::NetworkResult result) {
    // A small answer is read where it arrived, on the main context; a large one on the engine's
    // worker, so that the main loop does not stall while it is parsed and filled.
    if (result.body.size() < kLargeAnswerBytes) return read(std::move(result));
    platform::NetworkEngine::shared()->offload(
        [read, result = std::move(result)]() mutable { read(std::move(result)); });
  });
}

std::string QPTransportLayer::defaultMessageFromResponse(const QPHTTPResponse& response) const {
  return errors::defaultMessage(response);
}

std::optional<QPError> QPTransportLayer::errorFromResponse(const QPHTTPResponse* response,
                                                           const std::optional<QPError>& error,
                                                           const std::string* data) const {
  if (response == nullptr) return error;
  if (std::optional<QPError> answered = errors::fromResponse(*response, data)) return answered;
  return error;
}

}  // namespace brivane
