// "/account/(accno)/...": devices bound to an account, mTANs and the payment access code.
#include <algorithm>

#include "sandbox/domain.h"
#include "sandbox/routes_account.h"

namespace brivane::sandbox {
namespace {

void registerDevice(Sandbox::State& state, const httplib::Request& req, httplib::Response& res, bool add) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const std::string type = text(call->params, "deviceType");
  const std::string clientId = text(call->params, "clientId");
  if (type.empty() || clientId.empty()) {
    sendPlatformError(res, 400, "4190", "'deviceType' and 'clientId' are required.");
    return;
  }
  auto& devices = call->account->devices;
  auto it = std::find_if(devices.begin(), devices.end(), [&](const Device& device) {
    return device.deviceType == type && device.clientId == clientId;
  });
  if (add && it != devices.end()) {
    sendPlatformError(res, 409, "4191",
                      "Device '" + clientId + "' of type " + type + " is already registered.");
    return;
  }
  if (!add && it == devices.end()) {
    sendPlatformError(res, 404, "4192", "Device '" + clientId + "' of type " + type + " is not registered.");
    return;
  }
  if (add)
    devices.push_back(Device{type, clientId});
  else
    devices.erase(it);
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void requestMtan(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  Account& account = *call->account;
  std::string phone = text(account.information, "mobilePhone");
  if (phone.empty()) phone = account.userId;
  account.pendingMtan = sixDigits(state.random);
  state.store.outbox.push_back(
      OutboxMessage{phone, "mtan", account.pendingMtan, "Your Brivane mTAN is " + account.pendingMtan + "."});
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void verifyMobilePhone(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  Account& account = *call->account;
  if (account.pendingMtan.empty()) {
    sendPlatformError(res, 409, "4162", "No mTAN has been requested for this account.");
    return;
  }
  if (text(call->params, "mtanCode") != account.pendingMtan) {
    sendPlatformError(res, 400, "4161", "The mTAN is wrong.");
    return;
  }
  account.pendingMtan.clear();
  account.mobilePhoneVerified = true;
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void checkPaymentAccessCode(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  if (text(call->params, "paymentAccessCode") != call->account->paymentAccessCode) {
    sendPlatformError(res, 400, "4160", "The payment access code is wrong.");
    return;
  }
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void addDevice(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  registerDevice(state, req, res, true);
}

void removeDevice(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  registerDevice(state, req, res, false);
}

}  // namespace

void registerDeviceRoutes(Sandbox::State& state) {
  auto& server = state.server;
  server.Post(accountPath("/requestMtan"), accountRoute(state, requestMtan));
  server.Post(accountPath("/verifyMobilePhone"), accountRoute(state, verifyMobilePhone));
  server.Post(accountPath("/checkPaymentAccessCode"), accountRoute(state, checkPaymentAccessCode));
  server.Post(accountPath("/registerDevice"), accountRoute(state, addDevice));
  server.Post(accountPath("/unregisterDevice"), accountRoute(state, removeDevice));
}

}  // namespace brivane::sandbox
