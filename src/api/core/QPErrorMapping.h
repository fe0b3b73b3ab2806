#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/json/fwd.hpp>

#include "brivane/api/core/QPError.h"
#include "brivane/api/core/QPTransportLayer.h"
#include "brivane/platform/QPHttpClient.h"

/// Every error the API client reports is made here: the server's error forms (by HTTP status),
/// networking failures and the SDK's own `brivane.client` codes.
namespace brivane::errors {

/// An error of the `brivane.client` domain.
QPError client(QPClientErrorCode code, std::string text);
/// `brivane.client` 6: the header value named by `what` holds a CR, LF or NUL.
QPError unsendableHeader(std::string_view what);

/// The URL without the user name and password written into it ("https://user:pw@host/x" gives
/// "https://host/x"): the only form errors show.
std::string withoutUserinfo(std::string_view url);

/// A JSON value as a message or header shows it: a text as it is, anything else as JSON.
std::string textOf(const boost::json::value& value);

/// `brivane.client` 7: the call was stopped through its options' stop token.
QPError cancelled();

/// The answer of one exchange as the HTTP client reports it; nil for a failure (`fromNetwork`).
std::optional<QPHTTPResponse> responseOf(QPHttpResult& result);
/// The error of an exchange that brought no answer: the client's own stops (another origin,
/// too many redirects, a body over the limit) and the transport's failures. Nil when an answer
/// came.
std::optional<QPError> fromNetwork(const QPHttpResult& result);
/// The error an HTTP answer stands for, by the failure table; nil when the answer is no failure.
std::optional<QPError> fromResponse(const QPHTTPResponse& response, const std::string* body);
/// "An API returned status code N - <response>".
std::string defaultMessage(const QPHTTPResponse& response);

}  // namespace brivane::errors
