#include "api/core/QPErrorMapping.h"

#include <cctype>
#include <charconv>
#include <cstdint>
#include <utility>

#include <boost/json.hpp>

#include "api/core/QPFields.h"
#include "api/core/QPJSONParse.h"

namespace brivane::errors {
namespace {

// The leading integer of a text, as the platform's integer reading does: blanks, a sign, digits;
// 0 when there are none.
std::int64_t leadingInteger(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  std::int64_t value = 0;
  auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec == std::errc::result_out_of_range) return negative ? INT64_MIN : INT64_MAX;
  if (ec != std::errc()) return 0;
  return negative ? -value : value;
}

std::int64_t integerOf(const boost::json::value& value) {
  switch (value.kind()) {
    case boost::json::kind::string:
      return leadingInteger(value.get_string());
    case boost::json::kind::int64:
      return value.get_int64();
    case boost::json::kind::uint64:
      return value.get_uint64() > static_cast<std::uint64_t>(INT64_MAX)
                 ? INT64_MAX
                 : static_cast<std::int64_t>(value.get_uint64());
    case boost::json::kind::double_:
      return QPNumber::saturatedInteger(value.get_double());
    case boost::json::kind::bool_:
      return value.get_bool() ? 1 : 0;
    default:
      return 0;
  }
}

std::optional<std::string> optionalTextOf(const boost::json::object& body, std::string_view key) {
  const boost::json::value* value = body.if_contains(key);
  if (value == nullptr || value->is_null()) return std::nullopt;
  return textOf(*value);
}

}  // namespace

QPError client(QPClientErrorCode code, std::string text) {
  return QPError(std::string(QPErrorDomainClient), code, std::move(text));
}

QPError unsendableHeader(std::string_view what) {
  return client(QPClientErrorUnsendableHeaderValue,
                "The " + std::string(what) +
                    " holds a line break or NUL, which a header cannot carry; nothing was sent.");
}

std::string withoutUserinfo(std::string_view url) {
  std::size_t scheme = url.find("://");
  std::size_t start = scheme == std::string_view::npos ? 0 : scheme + 3;
  std::size_t end = url.find_first_of("/?#", start);
  std::size_t at = url.substr(0, end).rfind('@');
  if (at == std::string_view::npos || at < start) return std::string(url);
  return std::string(url.substr(0, start)) + std::string(url.substr(at + 1));
}

std::string textOf(const boost::json::value& value) {
  if (value.is_string()) return std::string(value.get_string());
  return fields::jsonText(value);
}

QPError cancelled() {
  return client(QPClientErrorCancelled, "The call was cancelled; nothing more was sent.");
}

std::optional<QPHTTPResponse> responseOf(QPHttpResult& result) {
  if (!result.answered()) return std::nullopt;
  QPHTTPResponse response;
  response.url = std::move(result.url);
  response.statusCode = result.status;
  response.headerFields = std::move(result.headers);
  return response;
}

std::optional<QPError> fromNetwork(const QPHttpResult& result) {
  using Stop = QPHttpResult::Stop;
  switch (result.stop) {
    case Stop::RedirectToOtherOrigin:
      return client(QPClientErrorRedirectRefused, "The server redirected the call to another origin (" +
                                                      result.detail + "); it was not followed.");
    case Stop::TooManyRedirects:
      return QPError(std::string(QPErrorDomainNetwork), result.code,
                     "The server redirected the call more than " + result.detail + " times.");
    case Stop::BodyTooLarge:
      return client(QPClientErrorBodyTooLarge,
                    "The answer's body is larger than " + result.detail + " bytes.");
    case Stop::None:
      break;
  }
  if (result.answered()) return std::nullopt;
  return QPError(std::string(QPErrorDomainNetwork), result.code, result.errorText);
}

std::string defaultMessage(const QPHTTPResponse& response) {
  return "An API returned status code " + std::to_string(response.statusCode) + " - " +
         response.description();
}

std::optional<QPError> fromResponse(const QPHTTPResponse& response, const std::string* data) {
  const long status = response.statusCode;
  if (status >= 200 && status <= 299) return std::nullopt;

  boost::json::object body;
  std::optional<std::string> contentType = response.valueForHTTPHeaderField("Content-Type");
  if (contentType && contentType->find("application/json") != std::string::npos && data != nullptr) {
    if (auto parsed = parseJSON(*data, nullptr); parsed && parsed->is_object()) body = parsed->get_object();
  }

  const std::string domain = withoutUserinfo(response.url);
  auto fromResponseCode = [&]() {
    return QPError(domain, integerOf(body.at("responseCode")), optionalTextOf(body, "responseDescription"));
  };

  if (status == 400 || status == 401 || status == 403) {
    if (const boost::json::value* errorValue = body.if_contains("error")) {
      if (errorValue->is_string() && errorValue->get_string() == "invalid_grant") {
        std::string code = "proxy_0270";
        std::string message = "Invalid token.";
        const boost::json::value* described = body.if_contains("error_description");
        if (described != nullptr && described->is_string()) {
          std::string_view text = described->get_string();
          std::size_t blank = text.find(' ');
          // "RC<code> <message>"; a text without a blank keeps the generic pair.
          if (text.starts_with("RC") && blank != std::string_view::npos) {
            code = std::string(text.substr(2, blank - 2));
            message = std::string(text.substr(blank + 1));
          }
        }
        return QPError(domain, leadingInteger(code), message);
      }
      return QPError(domain, status, textOf(*errorValue));
    }
    if (body.contains("responseCode")) return fromResponseCode();
    return std::nullopt;
  }
  if (status == 503) return QPError(domain, 503, defaultMessage(response));
  if (body.contains("responseCode")) return fromResponseCode();
  return std::nullopt;
}

}  // namespace brivane::errors
