#pragma once

#include <httplib.h>

#include <functional>
#include <string>

#include <boost/json.hpp>

#include "sandbox/Sandbox.h"

namespace brivane::test {

/// A member of a JSON answer as text ("" when absent or not a text).
inline std::string jsonText(const boost::json::value& answer, const char* key) {
  const boost::json::value* value = answer.is_object() ? answer.as_object().if_contains(key) : nullptr;
  return value != nullptr && value->is_string() ? std::string(value->as_string()) : "";
}

/// One user's calls over plain HTTP, as any client of the REST API would make them, to a sandbox
/// in this process or to one at a base URL.
class RestCaller {
 public:
  RestCaller(const sandbox::Sandbox& sandbox, std::string token)
      : baseUrl_([&sandbox] { return sandbox.baseUrl(); }), token_(std::move(token)) {}
  RestCaller(std::string baseUrl, std::string token)
      : baseUrl_([baseUrl] { return baseUrl; }), token_(std::move(token)) {}

  /// `fields`: JSON members added to the identifying ones (for a GET, a query string).
  boost::json::value call(const std::string& method, const std::string& path,
                          const std::string& fields = "") const {
    httplib::Client http(baseUrl_());
    http.set_bearer_token_auth(token_);
    const std::string body = R"({"partnerReference": "T1", "programCode": "BRIVANE")" +
                             (fields.empty() ? "" : ", " + fields) + "}";
    httplib::Result answer = method == "GET"    ? http.Get(path + "?partnerReference=T1&programCode=BRIVANE" +
                                                           (fields.empty() ? "" : "&" + fields))
                             : method == "PUT"  ? http.Put(path, body, "application/json")
                             : method == "POST" ? http.Post(path, body, "application/json")
                                                : http.Delete(path, body, "application/json");
    if (!answer) return boost::json::object{{"responseCode", "no answer"}};
    boost::system::error_code error;
    boost::json::value parsed = boost::json::parse(answer->body, error);  // refuses invalid UTF-8 as well
    if (error) return boost::json::object{{"responseCode", "not JSON: " + answer->body.substr(0, 60)}};
    return parsed;
  }

  std::string code(const std::string& method, const std::string& path, const std::string& fields = "") const {
    return jsonText(call(method, path, fields), "responseCode");
  }

 private:
  std::function<std::string()> baseUrl_;
  std::string token_;
};

/// The answer of the password grant at `baseUrl` (access_token, refresh_token, ...).
inline boost::json::value signIn(const std::string& baseUrl, const char* user, const char* password) {
  httplib::Client http(baseUrl);
  auto answer =
      http.Post("/token", std::string("grant_type=password&username=") + user + "&password=" + password,
                "application/x-www-form-urlencoded");
  return answer ? boost::json::parse(answer->body) : boost::json::value();
}

}  // namespace brivane::test
