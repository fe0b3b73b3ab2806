#include "brivane/api/auth/QPAuthenticationAPI.h"

#include "api/core/QPBaseAPICall.h"
#include "api/core/QPErrorMapping.h"
#include "api/core/QPFields.h"

namespace brivane {
namespace {

constexpr const char* kTokenPath = "/token";

// Names the first nil argument, if any.
std::optional<QPError> missing(
    std::initializer_list<std::pair<const char*, const std::optional<std::string>*>> args) {
  for (const auto& [name, value] : args) {
    if (!value->has_value())
      return errors::client(QPClientErrorMissingArgument,
                            std::string("The '") + name + "' argument must be set.");
  }
  return std::nullopt;
}

}  // namespace

const QPFieldList<QPAccessTokenResponse>& QPAccessTokenResponse::fieldList() {
  using L = QPFieldList<QPAccessTokenResponse>;
  static const L list{
      L::field("access_token", &QPAccessTokenResponse::access_token),
      L::field("expires_in", &QPAccessTokenResponse::expires_in),
      L::field("refresh_token", &QPAccessTokenResponse::refresh_token),
      L::field("token_type", &QPAccessTokenResponse::token_type),
  };
  return list;
}

void QPAccessTokenResponse::initWithJSONObject(const boost::json::value& json) {
  fields::fill<QPAccessTokenResponse>(*this, fieldList(), json, QPFillRule::SkipFailures,
                                      "QPAccessTokenResponse");
}

boost::json::object QPAccessTokenResponse::toJSONObject() const {
  return fieldList().print(*this);
}

void QPAuthenticationAPI::getAccessTokenWithUserName(std::optional<std::string> userName,
                                                     std::optional<std::string> password,
                                                     std::optional<std::string> grantType,
                                                     QPCompletion<QPAccessTokenResponse> completion) const {
  if (auto error = missing({{"userName", &userName}, {"password", &password}, {"grantType", &grantType}}))
    return fail(std::move(completion), std::move(*error));
  callForm(kTokenPath, {{"grant_type", *grantType}, {"username", *userName}, {"password", *password}},
           std::move(completion));
}

void QPAuthenticationAPI::getRefreshTokenWithToken(std::optional<std::string> token,
                                                   std::optional<std::string> grantType,
                                                   QPCompletion<QPAccessTokenResponse> completion) const {
  if (auto error = missing({{"token", &token}, {"grantType", &grantType}}))
    return fail(std::move(completion), std::move(*error));
  callForm(kTokenPath, {{"grant_type", *grantType}, {"refresh_token", *token}}, std::move(completion));
}

}  // namespace brivane
