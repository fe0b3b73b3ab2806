// "/account/(accno)/enquiry" and "/balance": an account's statement and balance.
#include <algorithm>
#include <cstdlib>

#include "sandbox/domain.h"
#include "sandbox/routes_account.h"

namespace brivane::sandbox {
namespace {

void accountEnquiry(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const json::object& params = call->params;
  const std::string from = text(params, "startDate") + text(params, "startTime");
  std::string until = text(params, "endDate");
  if (!until.empty()) until += params.contains("endTime") ? text(params, "endTime") : "235959";
  const std::string direction = text(params, "sortDirection");
  if (!direction.empty() && direction != "ASC" && direction != "DESC") {
    sendPlatformError(res, 400, "4120", "'sortDirection' must be ASC or DESC.");
    return;
  }
  std::optional<std::int64_t> top, skip;
  if (!readPaging(params, &top, &skip, res)) return;
  // The running balance covers every entry; the period only chooses which are shown.
  json::array entries;
  std::int64_t balance = 0;
  for (const LedgerEntry& entry : state.store.ledger) {
    if (entry.accno != call->account->accno) continue;
    balance += entry.amount;
    const std::string when = entry.date + entry.time;
    if ((!from.empty() && when < from) || (!until.empty() && when > until)) continue;
    entries.push_back(json::object{
        {"entryType", entry.type},
        {"bookingDate", entry.date},
        {"bookingTime", entry.time},
        {"valueDate", entry.date},
        {"valueTime", entry.time},
        {"amount", majorUnits(std::llabs(entry.amount))},
        {"currCode", entry.currency},
        {"balance", majorUnits(balance)},
        {"entryIndicator", entry.amount < 0 ? "D" : "C"},
        {"entryDescription", entry.description},
        {"name", entry.counterparty},
        {"reference", entry.entryReference},
    });
  }
  if (direction == "DESC") std::reverse(entries.begin(), entries.end());
  const std::size_t count = entries.size();
  json::array page;
  for (std::size_t i = static_cast<std::size_t>(std::min<std::int64_t>(skip.value_or(0), count)); i < count;
       ++i) {
    if (top.value_or(0) > 0 && page.size() >= static_cast<std::size_t>(*top)) break;
    page.push_back(entries[i]);
  }
  json::object answer = state.successEnvelope(params);
  answer["entries"] = std::move(page);
  answer["count"] = count;
  sendJSON(res, 200, answer);
}

void balanceEnquiry(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const std::int64_t balance = balanceOf(state.store, call->account->accno);
  json::object answer = state.successEnvelope(call->params);
  answer["psBal"] = majorUnits(balance);
  answer["avlBal"] = majorUnits(balance);
  answer["bkBal"] = majorUnits(balance);
  answer["blkAmt"] = 0;
  answer["currCode"] = call->account->currency;
  sendJSON(res, 200, answer);
}

}  // namespace

void registerStatementRoutes(Sandbox::State& state) {
  state.server.Get(accountPath("/enquiry"), accountRoute(state, accountEnquiry));
  state.server.Get(accountPath("/balance"), accountRoute(state, balanceEnquiry));
}

}  // namespace brivane::sandbox
