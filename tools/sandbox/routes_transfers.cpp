// "/account/(accno)/transfer", fees, limits and recipients.
//
// The fee and limit tables below are the sandbox's published terms (README, "Sandbox test data").
#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "sandbox/domain.h"
#include "sandbox/routes_account.h"

namespace brivane::sandbox {
namespace {

// --- fees and limits -----------------------------------------------------------------------

struct FeeRule {
  const char* transactionTypeCode;
  const char* paymentOptionCode;  ///< "" for any
  const char* feeId;
  const char* name;
  std::int64_t flatCents;
  double percentage;  ///< of the amount
  std::int64_t minimumCents;
  std::int64_t maximumCents;  ///< 0: no maximum
};

constexpr FeeRule kFees[] = {
    {"TRANSFER", "", "FEE-TRF", "Transfer fee", 50, 0.0, 50, 50},
    {"PAYMENT", "BNKACCT", "FEE-SEPA", "SEPA direct debit fee", 35, 0.0, 35, 35},
    {"PAYMENT", "", "FEE-CARD", "Card payment fee", 0, 1.5, 25, 2500},
    {"WITHDRAWAL", "", "FEE-WDR", "Withdrawal fee", 100, 0.0, 100, 100},
};

/// The conversion fee for an amount in another currency than the account's: 2 %.
constexpr double kConversionPercentage = 2.0;

struct LimitRule {
  const char* transactionTypeCode;
  const char* name;
  std::int64_t valueCents;
  int periodCode;  ///< 1 per transaction, 2 per day
};

constexpr LimitRule kLimits[] = {
    {"TRANSFER", "Transfer amount per transaction", 500000, 1},
    {"TRANSFER", "Transfers per day", 1000000, 2},
    {"PAYMENT", "Payment amount per transaction", 250000, 1},
};

/// The account a recipient names: an account number or the e-mail (user id) of its holder.
const Account* recipientAccount(const Store& store, const std::string& carrierNumber) {
  if (auto it = store.accounts.find(carrierNumber); it != store.accounts.end()) return &it->second;
  if (auto user = store.users.find(carrierNumber); user != store.users.end() && !user->second.accnos.empty())
    if (auto it = store.accounts.find(user->second.accnos.front()); it != store.accounts.end())
      return &it->second;
  return nullptr;
}

std::int64_t feeFor(const FeeRule& rule, std::int64_t amount) {
  std::int64_t fee = rule.flatCents + std::llround(static_cast<double>(amount) * rule.percentage / 100.0);
  fee = std::max(fee, rule.minimumCents);
  if (rule.maximumCents > 0) fee = std::min(fee, rule.maximumCents);
  return fee;
}

const FeeRule* feeRule(const std::string& transactionType, const std::string& paymentOptionCode) {
  for (const FeeRule& rule : kFees) {
    if (transactionType != rule.transactionTypeCode) continue;
    if (*rule.paymentOptionCode == '\0' || paymentOptionCode == rule.paymentOptionCode) return &rule;
  }
  return nullptr;
}

std::int64_t transferredToday(const Store& store, const std::string& accno) {
  const std::string today = nowFormatted("%Y-%m-%d");
  std::int64_t sum = 0;
  for (const LedgerEntry& entry : store.ledger)
    if (entry.accno == accno && entry.type == "TRANSFER_OUT" && entry.date == today) sum -= entry.amount;
  return sum;
}

// The amount parameter `key`; nil after refusing it with `code`.
std::optional<std::int64_t> amountParam(const json::object& params, const char* key, const char* code,
                                        httplib::Response& res) {
  std::optional<std::int64_t> amount = amountOf(params.if_contains(key));
  if (!amount) sendPlatformError(res, 400, code, amountRefusal(key));
  return amount;
}

void transferAmount(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  Store& store = state.store;
  Account& sender = *call->account;
  const json::object& params = call->params;
  const std::string carrierNumber = text(params, "carrierNumber");
  std::optional<std::int64_t> amount = amountParam(params, "transferAmount", "4130", res);
  if (!amount) return;
  std::string currency = text(params, "transferCurrCode");
  if (currency.empty()) currency = sender.currency;
  if (currency != sender.currency) {
    sendPlatformError(res, 400, "4131",
                      "Transfers are made in the account's currency, " + sender.currency + ".");
    return;
  }
  const Account* recipient = recipientAccount(store, carrierNumber);
  if (recipient == nullptr) {
    sendPlatformError(res, 404, "4133", "No account found for recipient '" + carrierNumber + "'.");
    return;
  }
  if (recipient->accno == sender.accno) {
    sendPlatformError(res, 400, "4134", "An account cannot transfer to itself.");
    return;
  }
  if (recipient->currency != sender.currency) {
    sendPlatformError(res, 400, "4137",
                      "Account '" + recipient->accno + "' is held in " + recipient->currency + ", not in " +
                          sender.currency + ": transfers are made between accounts of one currency.");
    return;
  }
  for (const LimitRule& limit : kLimits) {
    if (std::string_view(limit.transactionTypeCode) != "TRANSFER") continue;
    std::int64_t used = limit.periodCode == 2 ? transferredToday(store, sender.accno) : 0;
    if (used + *amount > limit.valueCents) {
      sendPlatformError(res, 400, "4135",
                        std::string("The transfer exceeds the limit '") + limit.name + "' of " +
                            amountText(limit.valueCents) + " " + sender.currency + ".");
      return;
    }
  }
  const std::int64_t fee = feeFor(*feeRule("TRANSFER", ""), *amount);
  const std::int64_t balance = balanceOf(store, sender.accno);
  if (*amount + fee > balance) {
    sendPlatformError(res, 400, "4136",
                      "Insufficient funds: the transfer and its fee need " + amountText(*amount + fee) + " " +
                          currency + ", the balance is " + amountText(balance) + " " + currency + ".");
    return;
  }
  if (!bookable(store, recipient->accno, *amount) || !bookable(store, kProgramAccno, fee)) {
    sendPlatformError(res, 400, "4138",
                      "The transfer would take a balance beyond " + amountText(kMaxMinorUnits) + ".");
    return;
  }
  const std::string reference = "TRF-" + randomToken(state.random, 12);
  const std::string usage =
      text(params, "transferUsage").empty() ? "Transfer" : text(params, "transferUsage");
  book(store, reference, sender.accno, -*amount, currency, "TRANSFER_OUT", usage, recipient->accno);
  book(store, reference, recipient->accno, *amount, currency, "TRANSFER_IN", usage, sender.accno);
  book(store, reference + "-FEE", sender.accno, -fee, currency, "FEE", "Transfer fee", kProgramAccno);
  book(store, reference + "-FEE", kProgramAccno, fee, currency, "FEE", "Transfer fee", sender.accno);
  json::object answer = state.successEnvelope(params);
  answer["programAccno"] = kProgramAccno;
  answer["accno"] = sender.accno;
  answer["recAccno"] = recipient->accno;
  answer["uniqueReference"] = reference;
  answer["tansferAmount"] = majorUnits(*amount);
  answer["transferCurrCode"] = currency;
  answer["bookedAmount"] = majorUnits(*amount);
  answer["bookedCurrCode"] = currency;
  answer["fxRate"] = 1;
  sendJSON(res, 200, answer);
}

void calculateFees(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const json::object& params = call->params;
  const std::string type = text(params, "transactionTypeCode");
  const FeeRule* rule = feeRule(type, text(params, "paymentOptionCode"));
  if (rule == nullptr) {
    sendPlatformError(res, 400, "4150", "No fees are defined for transaction type '" + type + "'.");
    return;
  }
  std::optional<std::int64_t> amount = amountParam(params, "amount", "4151", res);
  if (!amount) return;
  const std::string currency = call->account->currency;
  const std::int64_t fee = feeFor(*rule, *amount);
  json::object answer = state.successEnvelope(params);
  answer["fees"] = json::array{json::object{
      {"name", rule->name},
      {"feeAmount", majorUnits(fee)},
      {"feeCurrCode", currency},
      {"totalFeeValue", majorUnits(fee)},
      {"totalMaximumFee", majorUnits(rule->maximumCents)},
      {"totalMinimumFee", majorUnits(rule->minimumCents)},
      {"feeId", rule->feeId},
      {"isWaived", false},
      {"feeUnitCode", rule->percentage > 0 ? 2 : 1},
  }};
  const std::string requested = text(params, "currCode");
  if (!requested.empty() && !knownCurrency(requested)) {
    sendPlatformError(res, 400, "4113", currencyRefusal(requested));
    return;
  }
  if (!requested.empty() && requested != currency) {
    answer["currencyConversionFee"] = json::object{
        {"fromCurrencyCode", requested},
        {"toCurrencyCode", currency},
        {"flatValue", 0},
        {"percentageValue", kConversionPercentage},
        {"percentageAmount",
         majorUnits(std::llround(static_cast<double>(*amount) * kConversionPercentage / 100.0))},
    };
  }
  sendJSON(res, 200, answer);
}

void checkLimits(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const json::object& params = call->params;
  const std::string type = text(params, "transactionTypeCode");
  std::optional<std::int64_t> amount = amountParam(params, "amount", "4151", res);
  if (!amount) return;
  json::array limits;
  for (const LimitRule& limit : kLimits) {
    if (type != limit.transactionTypeCode) continue;
    std::int64_t used = limit.periodCode == 2 ? transferredToday(state.store, call->account->accno) : 0;
    const bool exceeded = used + *amount > limit.valueCents;
    limits.push_back(json::object{
        {"name", limit.name},
        {"limitValue", majorUnits(limit.valueCents)},
        {"limitCurrCode", call->account->currency},
        {"limitMessage", exceeded ? std::string("The amount exceeds the limit '") + limit.name + "'."
                                  : std::string("Within the limit.")},
        {"totalMaximumValue", majorUnits(limit.valueCents)},
        {"totalMinimumValue", 0.01},
        {"totalWarningValue", majorUnits(limit.valueCents * 8 / 10)},
        {"isError", exceeded},
        {"limitUnitCode", 1},
        {"limitPeriodCode", limit.periodCode},
    });
  }
  json::object answer = state.successEnvelope(params);
  answer["limits"] = std::move(limits);
  sendJSON(res, 200, answer);
}

void verifyTransferRecipient(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto params = state.admit(req, res);
  if (!params) return;
  const std::string carrierNumber = text(*params, "carrierNumber");
  std::lock_guard lock(state.mutex);
  if (recipientAccount(state.store, carrierNumber) == nullptr) {
    sendPlatformError(res, 404, "4133", "No account found for recipient '" + carrierNumber + "'.");
    return;
  }
  sendJSON(res, 200, state.successEnvelope(*params));
}

void transferRecipients(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const Store& store = state.store;
  const json::object& params = call->params;
  const std::string recipientId = text(params, "recipientId");
  // Recipients of this account's transfers, most recent first, with how often each was paid.
  std::vector<std::string> order;
  std::map<std::string, int> frequency;
  for (auto it = store.ledger.rbegin(); it != store.ledger.rend(); ++it) {
    if (it->accno != call->account->accno || it->type != "TRANSFER_OUT") continue;
    if (frequency[it->counterparty]++ == 0) order.push_back(it->counterparty);
  }
  std::optional<std::int64_t> top, skip;
  if (!readPaging(params, &top, &skip, res)) return;
  json::array recipients;
  std::int64_t skipped = 0;
  for (const std::string& accno : order) {
    auto account = store.accounts.find(accno);
    if (account == store.accounts.end()) continue;
    const json::object& holder = account->second.information;
    const std::string email = account->second.userId;
    if (!recipientId.empty() && recipientId != accno && recipientId != email) continue;
    if (skip && skipped++ < *skip) continue;
    if (top && static_cast<std::int64_t>(recipients.size()) >= *top) break;
    std::string fullName = text(holder, "firstName");
    if (std::string last = text(holder, "lastName"); !last.empty())
      fullName += (fullName.empty() ? "" : " ") + last;
    recipients.push_back(json::object{
        {"accno", accno}, {"fullName", fullName}, {"emailAddress", email}, {"frequency", frequency[accno]}});
  }
  json::object answer = state.successEnvelope(params);
  answer["recipients"] = std::move(recipients);
  sendJSON(res, 200, answer);
}

}  // namespace

void registerTransferRoutes(Sandbox::State& state) {
  auto& server = state.server;
  server.Get("/account/verifyTransferRecipient", accountRoute(state, verifyTransferRecipient));
  server.Post(accountPath("/transfer"), accountRoute(state, transferAmount));
  server.Get(accountPath("/calculateFees"), accountRoute(state, calculateFees));
  server.Get(accountPath("/checkLimits"), accountRoute(state, checkLimits));
  server.Get(accountPath("/transferRecipients"), accountRoute(state, transferRecipients));
}

}  // namespace brivane::sandbox
