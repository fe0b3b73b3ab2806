// "/user/...": credentials and e-mail addresses.
//
// Refusals (platform error form): 2101 unknown user, 2102 wrong old password or reset code,
// 2103 password outside the policy, 2104 missing parameter, 2105 another user's addresses,
// 2106 not an e-mail address, 2107 address already in use, 2108 not one of the user's addresses.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "sandbox/SandboxState.h"

namespace brivane::sandbox {
namespace {

constexpr const char* kPasswordPolicy =
    "A password needs 8 to 64 characters, no blanks, at least one upper-case letter, one lower-case "
    "letter and one digit.";

bool meetsPolicy(const std::string& password) {
  auto any = [&](int (*test)(int)) {
    return std::any_of(password.begin(), password.end(), [test](unsigned char c) { return test(c) != 0; });
  };
  return password.size() >= 8 && password.size() <= 64 && !any(std::isspace) && any(std::isupper) &&
         any(std::islower) && any(std::isdigit);
}

bool looksLikeEmail(const std::string& address) {
  const std::size_t at = address.find('@');
  return at != std::string::npos && at > 0 && address.find('@', at + 1) == std::string::npos &&
         address.find('.', at) != std::string::npos && address.back() != '.' &&
         std::none_of(address.begin(), address.end(), [](unsigned char c) { return std::isspace(c) != 0; });
}

std::string mainEmailOf(const Store& store, const std::string& userId) {
  auto it = store.mainEmails.find(userId);
  return it == store.mainEmails.end() ? userId : it->second;
}

// The required text parameter `key`, or nil after answering the refusal.
std::optional<std::string> required(const json::object& params, const char* key, httplib::Response& res) {
  std::optional<std::string> value = textParam(params, key);
  if (!value || value->empty()) {
    sendPlatformError(res, 400, "2104", "The '" + std::string(key) + "' parameter is missing.");
    return std::nullopt;
  }
  return value;
}

User* knownUser(Sandbox::State& state, const std::string& userId, httplib::Response& res) {
  auto it = state.store.users.find(userId);
  if (it == state.store.users.end()) {
    sendPlatformError(res, 404, "2101", "Unknown user '" + userId + "'.");
    return nullptr;
  }
  return &it->second;
}

// The caller's own user: the addresses of another user are not the caller's to read or change.
User* ownUser(Sandbox::State& state, const json::object& params, const std::string& userId,
              httplib::Response& res) {
  User* user = knownUser(state, userId, res);
  if (user == nullptr) return nullptr;
  if (textParam(params, "__userId") != userId) {
    sendPlatformError(res, 403, "2105", "The access token belongs to another user.");
    return nullptr;
  }
  return user;
}

bool acceptableNewAddress(const Store& store, const std::string& address, httplib::Response& res) {
  if (!looksLikeEmail(address)) {
    sendPlatformError(res, 400, "2106", "'" + address + "' is not an e-mail address.");
    return false;
  }
  if (addressInUse(store, address)) {
    sendPlatformError(res, 409, "2107", "The address '" + address + "' is already in use.");
    return false;
  }
  return true;
}

std::vector<SecondaryEmail>::iterator findSecondary(User& user, const std::string& address) {
  return std::find_if(user.secondaryEmails.begin(), user.secondaryEmails.end(),
                      [&](const SecondaryEmail& email) { return email.emailAddress == address; });
}

void refuseUnknownAddress(httplib::Response& res, const std::string& address) {
  sendPlatformError(res, 404, "2108", "'" + address + "' is not a secondary address of this user.");
}

void sendPasswordResetCode(Sandbox::State& state, const json::object& params, const std::string& userId,
                           const httplib::Request&, httplib::Response& res) {
  if (knownUser(state, userId, res) == nullptr) return;
  std::uniform_int_distribution<int> digits(0, 999999);
  char code[8];
  std::snprintf(code, sizeof code, "%06d", digits(state.random));
  state.store.passwordResetCodes[userId] = code;
  state.store.outbox.push_back(
      OutboxMessage{mainEmailOf(state.store, userId), "passwordReset", code,
                    std::string("Your Brivane password-reset code is ") + code + "."});
  sendJSON(res, 200, state.successEnvelope(params));
}

void changePassword(Sandbox::State& state, const json::object& params, const std::string& userId,
                    const httplib::Request&, httplib::Response& res) {
  User* user = ownUser(state, params, userId, res);
  if (user == nullptr) return;
  auto oldPassword = required(params, "oldPassword", res);
  if (!oldPassword) return;
  auto newPassword = required(params, "newPassword", res);
  if (!newPassword) return;
  auto code = state.store.passwordResetCodes.find(userId);
  const bool byCode = code != state.store.passwordResetCodes.end() && code->second == *oldPassword;
  if (*oldPassword != user->password && !byCode) {
    sendPlatformError(res, 400, "2102", "The old password or password-reset code is wrong.");
    return;
  }
  if (!meetsPolicy(*newPassword)) {
    sendPlatformError(res, 400, "2103", kPasswordPolicy);
    return;
  }
  user->password = *newPassword;
  if (code != state.store.passwordResetCodes.end()) state.store.passwordResetCodes.erase(code);
  sendJSON(res, 200, state.successEnvelope(params));
}

void checkUniqueness(Sandbox::State& state, const json::object& params, const std::string& userId,
                     const httplib::Request&, httplib::Response& res) {
  json::object answer = state.successEnvelope(params);
  answer["found"] = addressInUse(state.store, userId);
  sendJSON(res, 200, answer);
}

void validatePassword(Sandbox::State& state, const json::object& params, const std::string&,
                      const httplib::Request&, httplib::Response& res) {
  auto password = required(params, "password", res);
  if (!password) return;
  if (!meetsPolicy(*password)) {
    sendPlatformError(res, 400, "2103", kPasswordPolicy);
    return;
  }
  sendJSON(res, 200, state.successEnvelope(params));
}

void getSecondaryEmails(Sandbox::State& state, const json::object& params, const std::string& userId,
                        const httplib::Request&, httplib::Response& res) {
  User* user = ownUser(state, params, userId, res);
  if (user == nullptr) return;
  json::array list;
  for (const SecondaryEmail& email : user->secondaryEmails)
    list.push_back(
        json::object{{"emailAddress", email.emailAddress}, {"isEmailVerified", email.isEmailVerified}});
  json::object answer = state.successEnvelope(params);
  answer["secondaryEmails"] = std::move(list);
  sendJSON(res, 200, answer);
}

void createSecondaryEmail(Sandbox::State& state, const json::object& params, const std::string& userId,
                          const httplib::Request&, httplib::Response& res) {
  User* user = ownUser(state, params, userId, res);
  if (user == nullptr) return;
  auto address = required(params, "emailAddress", res);
  if (!address || !acceptableNewAddress(state.store, *address, res)) return;
  user->secondaryEmails.push_back(SecondaryEmail{*address, false});
  sendJSON(res, 200, state.successEnvelope(params));
}

void editSecondaryEmail(Sandbox::State& state, const json::object& params, const std::string& userId,
                        const httplib::Request&, httplib::Response& res) {
  User* user = ownUser(state, params, userId, res);
  if (user == nullptr) return;
  auto oldAddress = required(params, "oldEmailAddress", res);
  if (!oldAddress) return;
  auto newAddress = required(params, "newEmailAddress", res);
  if (!newAddress) return;
  auto it = findSecondary(*user, *oldAddress);
  if (it == user->secondaryEmails.end()) return refuseUnknownAddress(res, *oldAddress);
  if (!acceptableNewAddress(state.store, *newAddress, res)) return;
  *it = SecondaryEmail{*newAddress, false};  // a changed address must be verified again
  sendJSON(res, 200, state.successEnvelope(params));
}

void deleteSecondaryEmail(Sandbox::State& state, const json::object& params, const std::string& userId,
                          const httplib::Request&, httplib::Response& res) {
  User* user = ownUser(state, params, userId, res);
  if (user == nullptr) return;
  auto address = required(params, "emailAddress", res);
  if (!address) return;
  auto it = findSecondary(*user, *address);
  if (it == user->secondaryEmails.end()) return refuseUnknownAddress(res, *address);
  user->secondaryEmails.erase(it);
  sendJSON(res, 200, state.successEnvelope(params));
}

// The chosen secondary address becomes the main one and the former main address a (verified)
// secondary one. The user id, the login name at "/token", stays as it was.
void setMainEmail(Sandbox::State& state, const json::object& params, const std::string& userId,
                  const httplib::Request&, httplib::Response& res) {
  User* user = ownUser(state, params, userId, res);
  if (user == nullptr) return;
  auto address = required(params, "emailAddress", res);
  if (!address) return;
  const std::string main = mainEmailOf(state.store, userId);
  if (*address != main) {
    auto it = findSecondary(*user, *address);
    if (it == user->secondaryEmails.end()) return refuseUnknownAddress(res, *address);
    *it = SecondaryEmail{main, true};
    state.store.mainEmails[userId] = *address;
  }
  sendJSON(res, 200, state.successEnvelope(params));
}

}  // namespace

bool addressInUse(const Store& store, const std::string& address) {
  for (const auto& [userId, user] : store.users) {
    if (userId == address || mainEmailOf(store, userId) == address) return true;
    for (const SecondaryEmail& email : user.secondaryEmails)
      if (email.emailAddress == address) return true;
  }
  return false;
}

void registerUserRoutes(Sandbox::State& state) {
  httplib::Server& server = state.server;
  server.Post(R"(/user/([^/]*)/sendPasswordResetCode)", admitted(state, &sendPasswordResetCode));
  server.Post(R"(/user/([^/]*)/changePassword)", admitted(state, &changePassword));
  server.Get(R"(/user/([^/]*)/checkUniqueness)", admitted(state, &checkUniqueness));
  server.Post("/user/validatePassword", admitted(state, &validatePassword));
  server.Get(R"(/user/([^/]*)/secondaryEmail)", admitted(state, &getSecondaryEmails));
  server.Put(R"(/user/([^/]*)/secondaryEmail)", admitted(state, &createSecondaryEmail));
  server.Post(R"(/user/([^/]*)/secondaryEmail)", admitted(state, &editSecondaryEmail));
  server.Delete(R"(/user/([^/]*)/secondaryEmail)", admitted(state, &deleteSecondaryEmail));
  server.Post(R"(/user/([^/]*)/setMainEmail)", admitted(state, &setMainEmail));
}

}  // namespace brivane::sandbox
