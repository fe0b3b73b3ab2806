// "/account" and "/account/(accno)": opening, updating, finding and reading accounts, and the
// guard every account route passes.
#include "sandbox/routes_account.h"

#include <charconv>

#include "sandbox/domain.h"

namespace brivane::sandbox {

std::optional<AccountCall> openAccount(Sandbox::State& state, const httplib::Request& req,
                                       httplib::Response& res) {
  auto params = state.admit(req, res);
  if (!params) return std::nullopt;
  AccountCall call{std::unique_lock(state.mutex), std::move(*params), nullptr};
  const std::string accno = req.matches[1];
  auto it = state.store.accounts.find(accno);
  if (it == state.store.accounts.end()) {
    sendPlatformError(res, 404, "4101", "Account '" + accno + "' does not exist.");
    return std::nullopt;
  }
  if (it->second.userId != text(call.params, "__userId")) {
    sendPlatformError(res, 403, "4102", "Account '" + accno + "' is not held by the caller.");
    return std::nullopt;
  }
  call.account = &it->second;
  return call;
}

bool readPaging(const json::object& params, std::optional<std::int64_t>* top,
                std::optional<std::int64_t>* skip, httplib::Response& res) {
  for (auto [key, target] : {std::pair{"top", top}, {"skip", skip}}) {
    if (!params.contains(key)) continue;
    const std::string value = text(params, key);
    std::int64_t number = -1;
    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc() || end != value.data() + value.size() || number < 0) {
      sendPlatformError(res, 400, "4121", "'top' and 'skip' must be whole numbers of at least 0.");
      return false;
    }
    *target = number;
  }
  return true;
}

std::string sixDigits(std::mt19937_64& random) {
  std::uniform_int_distribution<int> pick(0, 999999);
  std::string code = std::to_string(pick(random));
  return std::string(6 - code.size(), '0') + code;
}

httplib::Server::Handler accountRoute(Sandbox::State& state, AccountHandler handler) {
  return [&state, handler](const httplib::Request& req, httplib::Response& res) { handler(state, req, res); };
}

std::string accountPath(const std::string& tail) {
  return R"(/account/([^/]+))" + tail;
}

namespace {

/// The account's data as the information answer and the creation answer carry it.
json::object creationAnswer(const Sandbox::State& state, const json::object& params, const Account& account) {
  json::object answer = state.successEnvelope(params);
  answer["productCode"] = "BRIVANE-WALLET";
  answer["accTypeCode"] = account.accnoType;
  answer["custCode"] = "C" + account.accno;
  answer["externalAccountReference"] = "EXT-" + account.accno;
  answer["accno"] = account.accno;
  answer["statusCode"] = account.state;
  answer["accFlowStatusCode"] = "COMPLETED";
  for (const char* key : {"validFrom", "validUntil"})
    if (const json::value* value = account.information.if_contains(key)) answer[key] = *value;
  return answer;
}

// Holder fields an account keeps from creation and update.
constexpr const char* kHolderKeys[] = {
    "title",
    "lastName",
    "firstName",
    "addr1",
    "addr2",
    "city",
    "state",
    "countryCode",
    "postCode",
    "dob",
    "landlinePhone",
    "mobilePhone",
    "emailAddress",
    "culture",
    "timeZone",
    "useDifferentCorrespondenceAddress",
    "correspondenceAddr1",
    "correspondenceAddr2",
    "correspondenceCity",
    "correspondenceState",
    "correspondenceCountryCode",
    "correspondencePostCode",
    "businessCompanyName",
    "businessCompanyType",
    "businessAddr1",
    "businessAddr2",
    "businessCity",
    "businessPostCode",
    "businessCountryCode",
    "businessUrl",
    "validFrom",
    "validUntil",
    "isBusinessUser",
};

void keepHolderData(Account& account, const json::object& params) {
  for (const char* key : kHolderKeys)
    if (const json::value* value = params.if_contains(key)) account.information[key] = *value;
}

// --- creation, update, find, state, program accounts ---------------------------------------

void createAccount(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto params = state.admit(req, res);
  if (!params) return;
  std::string userId = text(*params, "loginID");
  if (userId.empty()) userId = text(*params, "emailAddress");
  const std::string password = text(*params, "password");
  if (userId.empty()) {
    sendPlatformError(res, 400, "4110", "Either 'loginID' or 'emailAddress' is required to open an account.");
    return;
  }
  if (password.empty()) {
    sendPlatformError(res, 400, "4111", "A 'password' is required to open an account.");
    return;
  }
  std::lock_guard lock(state.mutex);
  Store& store = state.store;
  if (addressInUse(store, userId)) {
    sendPlatformError(res, 409, "4112", "The user or address '" + userId + "' is already in use.");
    return;
  }
  std::string accno;
  for (std::uint64_t n = 1000000001;; ++n) {  // the first free number
    accno = std::to_string(n);
    if (!store.accounts.contains(accno)) break;
  }
  Account account;
  account.accno = accno;
  account.accnoType = kDefaultAccnoType;
  account.userId = userId;
  if (std::string currency = text(*params, "currCode"); !currency.empty()) {
    if (!knownCurrency(currency)) {
      sendPlatformError(res, 400, "4113", currencyRefusal(currency));
      return;
    }
    account.currency = currency;
  }
  keepHolderData(account, *params);
  if (!account.information.contains("validFrom")) account.information["validFrom"] = nowFormatted("%Y-%m-%d");
  store.users[userId] = User{userId, password, {}, {accno}};
  auto& stored = store.accounts[accno] = std::move(account);
  sendJSON(res, 200, creationAnswer(state, *params, stored));
}

void updateAccount(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  keepHolderData(*call->account, call->params);
  sendJSON(res, 200, creationAnswer(state, call->params, *call->account));
}

void accountInformation(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const Account& account = *call->account;
  json::object answer = state.successEnvelope(call->params);
  for (const auto& [key, value] : account.information) {
    if (key == "isBusinessUser" || key == "useDifferentCorrespondenceAddress" || key == "validFrom" ||
        key == "validUntil")
      continue;
    answer[key] = value;
  }
  answer["accno"] = account.accno;
  answer["currCode"] = account.currency;
  answer["accTypeName"] = "Wallet";
  answer["accTypeCode"] = account.accnoType;
  answer["statusCode"] = account.state;
  answer["accFlowStatusCode"] = "COMPLETED";
  answer["useDifferentCorrespondenceAddress"] =
      text(account.information, "useDifferentCorrespondenceAddress") == "true";
  answer["isEmailVerified"] = true;
  answer["isMobilePhoneVerified"] = account.mobilePhoneVerified;
  answer["isMtanEnabled"] = account.mobilePhoneVerified;
  answer["isBusinessUser"] = text(account.information, "isBusinessUser") == "true";
  sendJSON(res, 200, answer);
}

void findAccount(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto params = state.admit(req, res);
  if (!params) return;
  const std::string userId = text(*params, "userId");
  std::lock_guard lock(state.mutex);
  auto user = state.store.users.find(userId);
  if (user == state.store.users.end() || user->second.accnos.empty()) {
    sendPlatformError(res, 404, "4140", "No account found for user '" + userId + "'.");
    return;
  }
  json::object answer = state.successEnvelope(*params);
  answer["accno"] = user->second.accnos.front();
  sendJSON(res, 200, answer);
}

void accountState(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  json::object answer = state.successEnvelope(call->params);
  answer["statusCode"] = call->account->state;
  answer["isUserLocked"] = call->account->state == "LOCKED";
  answer["isUserActive"] = call->account->state == "ACTIVE";
  sendJSON(res, 200, answer);
}

void programAccounts(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto params = state.admit(req, res);
  if (!params) return;
  json::object answer = state.successEnvelope(*params);
  answer["accounts"] = json::array{
      json::object{{"programAccno", kProgramAccno}, {"currencyCode", "EUR"}, {"isDefaultFeeAccount", true}}};
  sendJSON(res, 200, answer);
}

}  // namespace

void registerAccountRoutes(Sandbox::State& state) {
  auto& server = state.server;
  // Fixed paths first: they would otherwise read as account numbers.
  server.Put("/account", accountRoute(state, createAccount));
  server.Get("/account/find", accountRoute(state, findAccount));
  server.Get("/account/programAccounts", accountRoute(state, programAccounts));
  server.Post(accountPath("/updateInfo"), accountRoute(state, updateAccount));
  server.Get(accountPath("/state"), accountRoute(state, accountState));
  registerTransferRoutes(state);
  registerStatementRoutes(state);
  registerDeviceRoutes(state);
  registerStoredOptionRoutes(state);
  server.Get(accountPath(), accountRoute(state, accountInformation));
}

}  // namespace brivane::sandbox
