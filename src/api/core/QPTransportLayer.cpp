#include "brivane/api/core/QPTransportLayer.h"

#include <array>
#include <cctype>
#include <charconv>
#include <exception>
#include <sstream>

#include "api/core/QPErrorMapping.h"
#include "api/core/QPPipeline.h"
#include "platform/linux/QPNetworkEngine.h"

namespace brivane {
namespace {

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
// parses as a URL (blanks, quotes, braces, non-ASCII). Existing escapes are left alone. In a path,
// "?" and "#" are escaped too (an identifier holding one stays part of the path).
constexpr std::array<bool, 256> allowedInURL(bool inPath) {
  std::array<bool, 256> allowed{};
  for (int c = '0'; c <= '9'; ++c) allowed[c] = true;
  for (int c = 'a'; c <= 'z'; ++c) allowed[c] = true;
  for (int c = 'A'; c <= 'Z'; ++c) allowed[c] = true;
  for (unsigned char c : std::string_view("-._~:/?#[]@!$&'()*+,;=%")) allowed[c] = true;
  if (inPath) allowed['?'] = allowed['#'] = false;
  return allowed;
}
constexpr std::array<bool, 256> kAllowedInURL = allowedInURL(false);
constexpr std::array<bool, 256> kAllowedInPath = allowedInURL(true);

// Appends `text` to `url`, escaping what a URL cannot carry (with `inPath`, also "?" and "#").
// Runs of characters carried as they are are copied at once.
void appendEscaped(std::string& url, std::string_view text, bool inPath) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  const std::array<bool, 256>& carried = inPath ? kAllowedInPath : kAllowedInURL;
  auto kept = [&carried](const char* at) -> int { return carried[static_cast<unsigned char>(*at)]; };
  const char* run = text.data();
  const char* const end = run + text.size();
  const char* at = run;
  while (true) {
    // Four characters a step while all four are carried (most of a URL), then one by one up to
    // the next that is not.
    while (end - at >= 4 && kept(at) + kept(at + 1) + kept(at + 2) + kept(at + 3) == 4) at += 4;
    while (at != end && kept(at) != 0) ++at;
    if (at == end) break;
    const auto c = static_cast<unsigned char>(*at);
    const char escaped[3] = {'%', kHex[c >> 4], kHex[c & 0xF]};
    url.append(run, static_cast<std::size_t>(at - run)).append(escaped, 3);
    run = ++at;
  }
  url.append(run, static_cast<std::size_t>(end - run));
}

// Sends `exchange` through the transport's steps with the transport's settings of the moment.
void runPipeline(const QPTransportLayer& transport, std::shared_ptr<pipeline::Exchange> exchange,
                 QPTransportLayer::Completion completion) {
  exchange->transport = &transport;
  exchange->owner = transport.weak_from_this();
  exchange->client = transport.httpClient() ? transport.httpClient() : platform::NetworkEngine::shared();
  if (const auto* reading = completion.target<detail::ReadingCompletion>())
    exchange->reader = reading->reader;
  exchange->options = transport.callOptions();
  if (const QPCallOptions* scoped = QPCallOptionsScope::current())
    exchange->options = exchange->options.overriddenBy(*scoped);
  exchange->request.timeout = exchange->options.timeout.value_or(transport.timeoutInterval());
  exchange->request.maximumResponseSize = transport.maximumResponseSize();
  exchange->request.headers.reserve(4);  // authorisation, accept, content type and one more
  pipeline::Pipeline::standard()->run(exchange,
                                      [completion = std::move(completion)](pipeline::Outcome&& outcome) {
                                        if (completion)
                                          completion(std::move(outcome.json), std::move(outcome.error));
                                      });
}

}  // namespace

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
  std::size_t size = base.size() + path.size();
  if (components.queryItems) {
    for (const QPURLQueryItem& item : *components.queryItems)
      size += item.name.size() + (item.value ? item.value->size() + 1 : 0) + 1;
  }
  std::string url;
  url.reserve(size + 8);
  appendEscaped(url, base, false);
  appendEscaped(url, path, true);
  if (components.queryItems) {
    // The query text of `components.query()`, escaped item by item ("&" and "=" pass as they are).
    url.push_back('?');
    for (std::size_t i = 0; i < components.queryItems->size(); ++i) {
      const QPURLQueryItem& item = (*components.queryItems)[i];
      if (i > 0) url.push_back('&');
      appendEscaped(url, item.name, false);
      if (item.value) {
        url.push_back('=');
        appendEscaped(url, *item.value, false);
      }
    }
  }
  return url;
}

void QPTransportLayer::loadRequestWithURLComponents(QPURLComponents components, std::string method,
                                                    std::optional<boost::json::object> params,
                                                    Completion completion) {
  auto exchange = std::make_shared<pipeline::Exchange>();
  exchange->entry = pipeline::Exchange::Entry::JSON;
  exchange->components = std::move(components);
  exchange->request.method = std::move(method);
  exchange->params = std::move(params);
  runPipeline(*this, std::move(exchange), std::move(completion));
}

void QPTransportLayer::loadRequestWithFormURLComponents(QPURLComponents components,
                                                        std::optional<QPFormParams> params,
                                                        Completion completion) {
  auto exchange = std::make_shared<pipeline::Exchange>();
  exchange->entry = pipeline::Exchange::Entry::Form;
  exchange->components = std::move(components);
  exchange->request.method = "POST";
  exchange->form = std::move(params);
  runPipeline(*this, std::move(exchange), std::move(completion));
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
