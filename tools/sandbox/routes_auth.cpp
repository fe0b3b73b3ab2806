// "/token": the password and refresh-token grants, in the token endpoint's own error forms.
#include "sandbox/SandboxState.h"

namespace brivane::sandbox {
namespace {

void handleToken(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  if (req.get_header_value("Content-Type").find("application/x-www-form-urlencoded") == std::string::npos) {
    sendJSON(res, 400,
             json::object{{"error", "invalid_request"},
                          {"error_description", "The token request must be form-encoded."}});
    return;
  }
  auto form = parseRawForm(req.body);
  const std::string grant = form.contains("grant_type") ? form["grant_type"] : "";
  std::string userId;
  if (grant == "password") {
    bool known = false;
    {
      std::lock_guard lock(state.mutex);
      auto user = state.store.users.find(form["username"]);
      known = user != state.store.users.end() && user->second.password == form["password"];
    }
    if (!known) {
      sendJSON(res, 400,
               json::object{{"error", "invalid_grant"},
                            {"error_description", "RC1001 The user name or password is wrong."}});
      return;
    }
    userId = form["username"];
  } else if (grant == "refresh_token") {
    std::lock_guard lock(state.mutex);
    auto it = state.refreshTokens.find(form["refresh_token"]);
    if (it == state.refreshTokens.end()) {
      res.status = 400;
      res.set_content(json::serialize(json::object{
                          {"error", "invalid_grant"},
                          {"error_description", "RC1002 The refresh token is unknown or already used."}}),
                      "application/json");
      return;
    }
    userId = it->second;
    state.refreshTokens.erase(it);  // a refresh token is good for one renewal
  } else if (grant.empty()) {
    sendJSON(res, 400,
             json::object{{"error", "invalid_request"},
                          {"error_description", "The 'grant_type' field is missing."}});
    return;
  } else {
    sendJSON(res, 400,
             json::object{{"error", "unsupported_grant_type"},
                          {"error_description", "Grant type '" + grant + "' is not supported."}});
    return;
  }
  auto [access, refresh] = state.issueTokens(userId);
  sendJSON(res, 200,
           json::object{{"access_token", access},
                        {"token_type", "bearer"},
                        {"expires_in", 3600},
                        {"refresh_token", refresh}});
}

}  // namespace

void registerAuthRoutes(Sandbox::State& state) {
  state.server.Post("/token", [&state](const httplib::Request& req, httplib::Response& res) {
    handleToken(state, req, res);
  });
}

}  // namespace brivane::sandbox
