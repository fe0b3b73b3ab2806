#pragma once

// Internal to the "/account..." routes: the guard every account route passes and what the files
// of its resources share (accounts, statements, stored payment options, transfers and fees,
// devices and codes). `registerAccountRoutes` registers every resource's routes.

#include <optional>
#include <random>
#include <string>

#include "sandbox/SandboxState.h"

namespace brivane::sandbox {

/// One admitted call on an account the caller holds: the lock is held for its lifetime.
struct AccountCall {
  std::unique_lock<std::mutex> lock;
  json::object params;
  Account* account = nullptr;
};

/// Admits the call, then finds the account named by the path's first group and checks that the
/// caller holds it. On refusal the answer is written and nil returned.
std::optional<AccountCall> openAccount(Sandbox::State& state, const httplib::Request& req,
                                       httplib::Response& res);

/// "top" and "skip" when given: whole numbers of at least 0. False after refusing others.
bool readPaging(const json::object& params, std::optional<std::int64_t>* top,
                std::optional<std::int64_t>* skip, httplib::Response& res);

/// A code of six random digits, as texted or mailed.
std::string sixDigits(std::mt19937_64& random);

/// A route of an account resource: the handler with the sandbox's state bound.
using AccountHandler = void (*)(Sandbox::State& state, const httplib::Request& req, httplib::Response& res);
httplib::Server::Handler accountRoute(Sandbox::State& state, AccountHandler handler);
/// The pattern of an account's path, "/account/(accno)", followed by `tail`.
std::string accountPath(const std::string& tail = "");

void registerStatementRoutes(Sandbox::State& state);
void registerStoredOptionRoutes(Sandbox::State& state);
void registerTransferRoutes(Sandbox::State& state);
void registerDeviceRoutes(Sandbox::State& state);

}  // namespace brivane::sandbox
