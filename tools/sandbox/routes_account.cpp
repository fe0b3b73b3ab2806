// "/account...": accounts, statements, stored payment options, transfers, devices and codes.
//
// Amounts on the wire are decimal numbers in major units; the ledger keeps minor units. The fee
// and limit tables below are the sandbox's published terms (README, "Sandbox test data").
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "sandbox/SandboxState.h"

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

constexpr const char* kCardCodes[] = {"VISA", "MSTRCRD", "AMEX", "MSTRO", "DISCOVER"};

// --- small helpers -------------------------------------------------------------------------

std::string text(const json::object& params, const char* key) {
  const json::value* value = params.if_contains(key);
  if (value == nullptr || value->is_null()) return {};
  if (value->is_string()) return std::string(value->get_string());
  return json::serialize(*value);
}

/// A decimal amount in major units (text or number) as minor units; nil when it is none.
std::optional<std::int64_t> centsOf(const json::object& params, const char* key) {
  std::string amount = text(params, key);
  if (amount.empty()) return std::nullopt;
  char* end = nullptr;
  double value = std::strtod(amount.c_str(), &end);
  if (end == amount.c_str() || *end != '\0' || !std::isfinite(value) || std::fabs(value) > 1e12)
    return std::nullopt;
  return std::llround(value * 100.0);
}

/// Minor units as the JSON number of major units (whole amounts without a fraction).
json::value money(std::int64_t cents) {
  if (cents % 100 == 0) return cents / 100;
  return static_cast<double>(cents) / 100.0;
}

std::string moneyText(std::int64_t cents) {
  std::string sign = cents < 0 ? "-" : "";
  std::int64_t magnitude = std::llabs(cents);
  std::string fraction = std::to_string(magnitude % 100);
  if (fraction.size() < 2) fraction.insert(0, "0");
  return sign + std::to_string(magnitude / 100) + "." + fraction;
}

/// "top" and "skip" when given: whole numbers of at least 0. False after refusing others.
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

std::string digitsOnly(const std::string& value) {
  std::string digits;
  for (char c : value)
    if (std::isdigit(static_cast<unsigned char>(c))) digits.push_back(c);
  return digits;
}

bool luhnValid(const std::string& number) {
  if (number.size() < 12 || number.size() > 19 || digitsOnly(number) != number) return false;
  int sum = 0;
  bool twice = false;
  for (auto it = number.rbegin(); it != number.rend(); ++it) {
    int digit = *it - '0';
    if (twice) digit = digit * 2 > 9 ? digit * 2 - 9 : digit * 2;
    sum += digit;
    twice = !twice;
  }
  return sum % 10 == 0;
}

bool ibanValid(std::string iban) {
  iban.erase(std::remove(iban.begin(), iban.end(), ' '), iban.end());
  if (iban.size() < 15 || iban.size() > 34) return false;
  std::string rearranged = iban.substr(4) + iban.substr(0, 4);
  int remainder = 0;
  for (char c : rearranged) {
    unsigned char u = static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(c)));
    if (std::isdigit(u)) {
      remainder = (remainder * 10 + (u - '0')) % 97;
    } else if (u >= 'A' && u <= 'Z') {
      remainder = (remainder * 100 + (u - 'A' + 10)) % 97;
    } else {
      return false;
    }
  }
  return remainder == 1;
}

std::string masked(const std::string& number) {
  if (number.size() <= 10) return number;
  return number.substr(0, 6) + std::string(number.size() - 10, '*') + number.substr(number.size() - 4);
}

bool isCard(const std::string& code) {
  return std::any_of(std::begin(kCardCodes), std::end(kCardCodes), [&](const char* c) { return code == c; });
}

std::string base64(const std::string& data) {
  static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::size_t i = 0;
  for (; i + 2 < data.size(); i += 3) {
    unsigned n = (static_cast<unsigned char>(data[i]) << 16) |
                 (static_cast<unsigned char>(data[i + 1]) << 8) | static_cast<unsigned char>(data[i + 2]);
    out += {alphabet[(n >> 18) & 63], alphabet[(n >> 12) & 63], alphabet[(n >> 6) & 63], alphabet[n & 63]};
  }
  if (i + 1 == data.size()) {
    unsigned n = static_cast<unsigned char>(data[i]) << 16;
    out += {alphabet[(n >> 18) & 63], alphabet[(n >> 12) & 63], '=', '='};
  } else if (i + 2 == data.size()) {
    unsigned n = (static_cast<unsigned char>(data[i]) << 16) | (static_cast<unsigned char>(data[i + 1]) << 8);
    out += {alphabet[(n >> 18) & 63], alphabet[(n >> 12) & 63], alphabet[(n >> 6) & 63], '='};
  }
  return out;
}

/// A one-page PDF showing `lines`, with a correct cross-reference table.
std::string mandatePdf(const std::vector<std::string>& lines) {
  std::string content = "BT /F1 12 Tf 72 760 Td 16 TL\n";
  for (const std::string& line : lines) {
    std::string escaped;
    for (char c : line) {
      if (c == '(' || c == ')' || c == '\\') escaped.push_back('\\');
      escaped.push_back(static_cast<unsigned char>(c) < 128 ? c : '?');
    }
    content += "(" + escaped + ") Tj T*\n";
  }
  content += "ET\n";
  std::vector<std::string> objects = {
      "<< /Type /Catalog /Pages 2 0 R >>",
      "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
      "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R "
      "/Resources << /Font << /F1 5 0 R >> >> >>",
      "<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "endstream",
      "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
  };
  std::string pdf = "%PDF-1.4\n";
  std::vector<std::size_t> offsets;
  for (std::size_t i = 0; i < objects.size(); ++i) {
    offsets.push_back(pdf.size());
    pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  std::size_t xref = pdf.size();
  pdf += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
  for (std::size_t offset : offsets) {
    std::string number = std::to_string(offset);
    pdf += std::string(10 - number.size(), '0') + number + " 00000 n \n";
  }
  pdf += "trailer\n<< /Size " + std::to_string(objects.size() + 1) + " /Root 1 0 R >>\nstartxref\n" +
         std::to_string(xref) + "\n%%EOF\n";
  return pdf;
}

std::string sixDigits(std::mt19937_64& random) {
  std::uniform_int_distribution<int> pick(0, 999999);
  std::string code = std::to_string(pick(random));
  return std::string(6 - code.size(), '0') + code;
}

// --- the ledger ----------------------------------------------------------------------------

std::int64_t balanceOf(const Store& store, const std::string& accno) {
  std::int64_t sum = 0;
  for (const LedgerEntry& entry : store.ledger)
    if (entry.accno == accno) sum += entry.amount;
  return sum;
}

void book(Store& store, const std::string& reference, const std::string& accno, std::int64_t amount,
          const std::string& currency, const std::string& type, const std::string& description,
          const std::string& counterparty) {
  store.ledger.push_back(LedgerEntry{reference, accno, amount, currency, type, description, counterparty,
                                     nowFormatted("%Y-%m-%d"), nowFormatted("%H%M%S"), store.nextSequence++});
}

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

// --- the guard of every account route ------------------------------------------------------

/// One admitted call on an account the caller holds: the lock is held for its lifetime.
struct AccountCall {
  std::unique_lock<std::mutex> lock;
  json::object params;
  Account* account = nullptr;
};

/// Admits the call, then finds the account named by the path's first group and checks that the
/// caller holds it. On refusal the answer is written and nil returned.
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
  if (store.users.contains(userId)) {
    sendPlatformError(res, 409, "4112", "A user '" + userId + "' already exists.");
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
  if (std::string currency = text(*params, "currCode"); !currency.empty()) account.currency = currency;
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

// --- statement and balance -----------------------------------------------------------------

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
        {"amount", money(std::llabs(entry.amount))},
        {"currCode", entry.currency},
        {"balance", money(balance)},
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
  answer["psBal"] = money(balance);
  answer["avlBal"] = money(balance);
  answer["bkBal"] = money(balance);
  answer["blkAmt"] = 0;
  answer["currCode"] = call->account->currency;
  sendJSON(res, 200, answer);
}

// --- transfers, fees, limits, recipients ---------------------------------------------------

void transferAmount(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  Store& store = state.store;
  Account& sender = *call->account;
  const json::object& params = call->params;
  const std::string carrierNumber = text(params, "carrierNumber");
  std::optional<std::int64_t> amount = centsOf(params, "transferAmount");
  if (!amount || *amount <= 0) {
    sendPlatformError(res, 400, "4130", "'transferAmount' must be a positive amount.");
    return;
  }
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
  for (const LimitRule& limit : kLimits) {
    if (std::string_view(limit.transactionTypeCode) != "TRANSFER") continue;
    std::int64_t used = limit.periodCode == 2 ? transferredToday(store, sender.accno) : 0;
    if (used + *amount > limit.valueCents) {
      sendPlatformError(res, 400, "4135",
                        std::string("The transfer exceeds the limit '") + limit.name + "' of " +
                            moneyText(limit.valueCents) + " " + sender.currency + ".");
      return;
    }
  }
  const std::int64_t fee = feeFor(*feeRule("TRANSFER", ""), *amount);
  const std::int64_t balance = balanceOf(store, sender.accno);
  if (*amount + fee > balance) {
    sendPlatformError(res, 400, "4136",
                      "Insufficient funds: the transfer and its fee need " + moneyText(*amount + fee) + " " +
                          currency + ", the balance is " + moneyText(balance) + " " + currency + ".");
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
  answer["tansferAmount"] = money(*amount);
  answer["transferCurrCode"] = currency;
  answer["bookedAmount"] = money(*amount);
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
  std::optional<std::int64_t> amount = centsOf(params, "amount");
  if (!amount || *amount < 0) {
    sendPlatformError(res, 400, "4151", "'amount' must be an amount of at least 0.");
    return;
  }
  const std::string currency = call->account->currency;
  const std::int64_t fee = feeFor(*rule, *amount);
  json::object answer = state.successEnvelope(params);
  answer["fees"] = json::array{json::object{
      {"name", rule->name},
      {"feeAmount", money(fee)},
      {"feeCurrCode", currency},
      {"totalFeeValue", money(fee)},
      {"totalMaximumFee", money(rule->maximumCents)},
      {"totalMinimumFee", money(rule->minimumCents)},
      {"feeId", rule->feeId},
      {"isWaived", false},
      {"feeUnitCode", rule->percentage > 0 ? 2 : 1},
  }};
  const std::string requested = text(params, "currCode");
  if (!requested.empty() && requested != currency) {
    answer["currencyConversionFee"] = json::object{
        {"fromCurrencyCode", requested},
        {"toCurrencyCode", currency},
        {"flatValue", 0},
        {"percentageValue", kConversionPercentage},
        {"percentageAmount",
         money(std::llround(static_cast<double>(*amount) * kConversionPercentage / 100.0))},
    };
  }
  sendJSON(res, 200, answer);
}

void checkLimits(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const json::object& params = call->params;
  const std::string type = text(params, "transactionTypeCode");
  std::optional<std::int64_t> amount = centsOf(params, "amount");
  if (!amount || *amount < 0) {
    sendPlatformError(res, 400, "4151", "'amount' must be an amount of at least 0.");
    return;
  }
  json::array limits;
  for (const LimitRule& limit : kLimits) {
    if (type != limit.transactionTypeCode) continue;
    std::int64_t used = limit.periodCode == 2 ? transferredToday(state.store, call->account->accno) : 0;
    const bool exceeded = used + *amount > limit.valueCents;
    limits.push_back(json::object{
        {"name", limit.name},
        {"limitValue", money(limit.valueCents)},
        {"limitCurrCode", call->account->currency},
        {"limitMessage", exceeded ? std::string("The amount exceeds the limit '") + limit.name + "'."
                                  : std::string("Within the limit.")},
        {"totalMaximumValue", money(limit.valueCents)},
        {"totalMinimumValue", 0.01},
        {"totalWarningValue", money(limit.valueCents * 8 / 10)},
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

// --- stored payment options ----------------------------------------------------------------

/// The option named by the path's second group, held by the call's account; nil after a refusal.
StoredPaymentOption* openOption(Sandbox::State& state, AccountCall& call, const httplib::Request& req,
                                httplib::Response& res) {
  const std::string reference = req.matches[2];
  auto it = state.store.paymentOptions.find(reference);
  if (it == state.store.paymentOptions.end() || it->second.accno != call.account->accno ||
      it->second.state == "PENDING") {
    sendPlatformError(
        res, 404, "4180",
        "Stored payment option '" + reference + "' does not exist on account '" + call.account->accno + "'.");
    return nullptr;
  }
  return &it->second;
}

json::object optionModel(const StoredPaymentOption& option) {
  const json::object& details = option.details;
  const bool card = isCard(option.paymentOptionCode);
  json::object model{
      {"name", card ? option.paymentOptionCode + " card" : std::string("SEPA bank account")},
      {"code", option.paymentOptionCode},
      {"carrierNumber", text(details, "carrierNumber")},
      {"reference", option.reference},
      {"paymentGroup", card ? "Card" : "Bank account"},
      {"paymentGroupCode", card ? "CARD" : "BANK"},
      {"statusCode", option.state},
  };
  if (const json::value* address = details.if_contains("billingAddress")) model["billingAddress"] = *address;
  if (const json::value* mandate = details.if_contains("mandate")) model["mandate"] = *mandate;
  if (const json::value* month = details.if_contains("expiryMonth")) model["expiryMonth"] = *month;
  if (const json::value* year = details.if_contains("expiryYear")) model["expiryYear"] = *year;
  model["isVerifiable"] = card && option.state != "VERIFIED";
  model["isDefault"] = option.isDefault;
  return model;
}

void initAddOption(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  const json::object& params = call->params;
  const std::string code = text(params, "paymentOptionCode");
  if (!isCard(code) && code != "BNKACCT") {
    sendPlatformError(res, 400, "4170",
                      "Payment option code '" + code +
                          "' cannot be stored; use VISA, MSTRCRD, AMEX, MSTRO, DISCOVER or BNKACCT.");
    return;
  }
  StoredPaymentOption option;
  option.reference = "SPO-" + randomToken(state.random, 12);
  option.accno = call->account->accno;
  option.paymentOptionCode = code;
  option.state = "PENDING";
  option.authorizationToken = randomToken(state.random, 32);
  for (const char* key : {"mandateReference", "mandateSignedDate", "mandateSignedTime", "customerFullName",
                          "addr1", "addr2", "city", "state", "countryCode", "postCode", "emailAddress"})
    if (const json::value* value = params.if_contains(key)) option.details[key] = *value;
  Authorization authorization;
  authorization.token = option.authorizationToken;
  authorization.kind = Authorization::Kind::StoredPaymentOption;
  authorization.reference = option.reference;
  authorization.accno = option.accno;
  state.store.authorizations[authorization.token] = authorization;
  json::object answer = state.successEnvelope(params);
  answer["authorizationToken"] = option.authorizationToken;
  answer["paymentOptionCode"] = code;
  state.store.paymentOptions[option.reference] = std::move(option);
  sendJSON(res, 200, answer);
}

/// The first of `keys` present (and not empty) in the request or else in what the page posted.
std::string firstOf(const json::object& params, const json::object& posted,
                    std::initializer_list<const char*> keys) {
  for (const json::object* source : {&params, &posted})
    for (const char* key : keys)
      if (std::string value = text(*source, key); !value.empty()) return value;
  return {};
}

void completeAddOption(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  Store& store = state.store;
  const json::object& params = call->params;
  const std::string token = text(params, "authorizationToken");
  auto authorization = store.authorizations.find(token);
  if (authorization == store.authorizations.end() ||
      authorization->second.kind != Authorization::Kind::StoredPaymentOption ||
      authorization->second.accno != call->account->accno) {
    sendPlatformError(res, 404, "4171", "Authorization token '" + token + "' is unknown for this account.");
    return;
  }
  auto found = store.paymentOptions.find(authorization->second.reference);
  if (found == store.paymentOptions.end() || found->second.state != "PENDING") {
    sendPlatformError(res, 409, "4174", "The payment option of this token has already been stored.");
    return;
  }
  if (authorization->second.declined) {
    sendPlatformError(res, 400, "4172", "The shopper declined the payment page of this token.");
    return;
  }
  if (!authorization->second.completedByShopper) {
    sendPlatformError(res, 409, "4173", "The shopper has not completed the payment page of this token yet.");
    return;
  }
  StoredPaymentOption& option = found->second;
  const json::object& posted = authorization->second.shopperData;
  if (isCard(option.paymentOptionCode)) {
    const std::string number = firstOf(params, posted, {"carrierNumber", "cardNumber", "card.number"});
    if (number.empty()) {
      sendPlatformError(res, 400, "4178", "No card number came with the page or the request.");
      return;
    }
    // A masked number from the page was checked by the provider; a full one is checked here.
    const bool maskedNumber = number.find_first_of("*Xx") != std::string::npos;
    if (!maskedNumber && !luhnValid(number)) {
      sendPlatformError(res, 400, "4175", "The card number fails the Luhn check.");
      return;
    }
    std::string monthText = firstOf(params, posted, {"expiryMonth", "card.expiryMonth"});
    std::string yearText = firstOf(params, posted, {"expiryYear", "card.expiryYear"});
    if (!monthText.empty() || !yearText.empty()) {
      const int month = std::atoi(monthText.c_str());
      int year = std::atoi(yearText.c_str());
      if (year < 100) year += 2000;
      const int thisYear = std::atoi(nowFormatted("%Y").c_str());
      const int thisMonth = std::atoi(nowFormatted("%m").c_str());
      if (month < 1 || month > 12 || year < thisYear || (year == thisYear && month < thisMonth)) {
        sendPlatformError(res, 400, "4176",
                          "The card's expiry " + monthText + "/" + yearText + " is not in the future.");
        return;
      }
      option.details["expiryMonth"] = month;
      option.details["expiryYear"] = year;
    }
    option.details["carrierNumber"] = maskedNumber ? number : masked(number);
  } else {
    const std::string iban = firstOf(params, posted, {"carrierNumber", "iban", "bankAccount.iban"});
    if (!ibanValid(iban)) {
      sendPlatformError(res, 400, "4177", "The IBAN '" + iban + "' has a wrong checksum or form.");
      return;
    }
    option.details["carrierNumber"] =
        iban.substr(0, 4) + std::string(iban.size() - 8, '*') + iban.substr(iban.size() - 4);
    std::string reference = firstOf(params, option.details, {"mandateReference"});
    if (reference.empty()) reference = "MNDT-" + randomToken(state.random, 10);
    std::string signedDate = firstOf(params, option.details, {"mandateSignedDate"});
    if (signedDate.empty()) signedDate = nowFormatted("%Y-%m-%d");
    option.details["mandate"] = json::object{
        {"mandateReference", reference},
        {"mandateSignedDate", signedDate},
        {"financialInstitutionName", "Brivane Sandbox Bank AG"},
        {"financialInstitutionCity", "Wien"},
        {"financialInstitutionCountryCode", "AT"},
        {"financialInstitutionCreditorIdentifier", "AT61ZZZ00000012345"},
    };
  }
  for (const char* key : {"customerFullName", "addr1", "addr2", "city", "state", "countryCode", "postCode"})
    if (const json::value* value = params.if_contains(key)) option.details[key] = *value;
  json::object address;
  for (auto [from, to] : {std::pair{"customerFullName", "fullName"},
                          {"addr1", "addr1"},
                          {"addr2", "addr2"},
                          {"city", "city"},
                          {"state", "state"},
                          {"countryCode", "countryCode"},
                          {"postCode", "postCode"}})
    if (const json::value* value = option.details.if_contains(from)) address[to] = *value;
  if (!address.empty()) option.details["billingAddress"] = std::move(address);
  option.state = "ACTIVE";
  option.isDefault = std::none_of(
      store.paymentOptions.begin(), store.paymentOptions.end(),
      [&](const auto& other) { return other.second.accno == option.accno && other.second.isDefault; });
  json::object answer = state.successEnvelope(params);
  answer["paymentOptionCode"] = option.paymentOptionCode;
  answer["storedPaymentOptionReference"] = option.reference;
  sendJSON(res, 200, answer);
}

void listOptions(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  json::array options;
  for (const auto& [reference, option] : state.store.paymentOptions)
    if (option.accno == call->account->accno && option.state != "PENDING")
      options.push_back(optionModel(option));
  json::object answer = state.successEnvelope(call->params);
  answer["paymentOptions"] = std::move(options);
  sendJSON(res, 200, answer);
}

void deleteOption(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  StoredPaymentOption* option = openOption(state, *call, req, res);
  if (option == nullptr) return;
  state.store.paymentOptions.erase(option->reference);
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void setDefaultOption(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  StoredPaymentOption* option = openOption(state, *call, req, res);
  if (option == nullptr) return;
  for (auto& [reference, other] : state.store.paymentOptions)
    if (other.accno == option->accno) other.isDefault = false;
  option->isDefault = true;
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void initVerifyOption(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  StoredPaymentOption* option = openOption(state, *call, req, res);
  if (option == nullptr) return;
  if (!isCard(option->paymentOptionCode) || option->state == "VERIFIED") {
    sendPlatformError(res, 400, "4183",
                      "Stored payment option '" + option->reference + "' needs no verification.");
    return;
  }
  option->verificationCode = sixDigits(state.random);
  state.store.outbox.push_back(
      OutboxMessage{call->account->userId, "verifyPaymentOption", option->verificationCode,
                    "Your code to verify the card " + text(option->details, "carrierNumber") + " is " +
                        option->verificationCode + "."});
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void completeVerifyOption(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  StoredPaymentOption* option = openOption(state, *call, req, res);
  if (option == nullptr) return;
  if (option->verificationCode.empty()) {
    sendPlatformError(res, 409, "4181", "No verification of '" + option->reference + "' is in progress.");
    return;
  }
  if (text(call->params, "verificationCode") != option->verificationCode) {
    sendPlatformError(res, 400, "4182", "The verification code is wrong.");
    return;
  }
  option->verificationCode.clear();
  option->state = "VERIFIED";
  sendJSON(res, 200, state.successEnvelope(call->params));
}

void sepaMandate(Sandbox::State& state, const httplib::Request& req, httplib::Response& res) {
  auto call = openAccount(state, req, res);
  if (!call) return;
  StoredPaymentOption* option = openOption(state, *call, req, res);
  if (option == nullptr) return;
  const json::value* mandate = option->details.if_contains("mandate");
  if (mandate == nullptr || !mandate->is_object()) {
    sendPlatformError(res, 400, "4185",
                      "Stored payment option '" + option->reference + "' has no SEPA mandate.");
    return;
  }
  const json::object& m = mandate->get_object();
  json::object answer = state.successEnvelope(call->params);
  answer["fileData"] = base64(mandatePdf({
      "SEPA Direct Debit Mandate",
      "Mandate reference: " + text(m, "mandateReference"),
      "Signed on: " + text(m, "mandateSignedDate"),
      "Creditor: Brivane Sandbox Bank AG, creditor identifier " +
          text(m, "financialInstitutionCreditorIdentifier"),
      "Debtor account: " + text(option->details, "carrierNumber"),
      "Debtor: " + text(option->details, "customerFullName"),
  }));
  sendJSON(res, 200, answer);
}

// --- devices and codes ---------------------------------------------------------------------

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

}  // namespace

void registerAccountRoutes(Sandbox::State& state) {
  auto& server = state.server;
  auto bind = [&state](void (*handler)(Sandbox::State&, const httplib::Request&, httplib::Response&)) {
    return
        [&state, handler](const httplib::Request& req, httplib::Response& res) { handler(state, req, res); };
  };
  constexpr const char* kAccount = R"(/account/([^/]+))";
  auto at = [&](const char* tail) { return std::string(kAccount) + tail; };
  const std::string option = at("/storedPaymentOptions/([^/]+)");

  // Fixed paths first: they would otherwise read as account numbers.
  server.Put("/account", bind(createAccount));
  server.Get("/account/find", bind(findAccount));
  server.Get("/account/programAccounts", bind(programAccounts));
  server.Get("/account/verifyTransferRecipient", bind(verifyTransferRecipient));

  server.Post(at("/updateInfo"), bind(updateAccount));
  server.Get(at("/enquiry"), bind(accountEnquiry));
  server.Get(at("/balance"), bind(balanceEnquiry));
  server.Post(at("/transfer"), bind(transferAmount));
  server.Get(at("/calculateFees"), bind(calculateFees));
  server.Get(at("/checkLimits"), bind(checkLimits));
  server.Get(at("/transferRecipients"), bind(transferRecipients));
  server.Get(at("/state"), bind(accountState));
  server.Post(at("/requestMtan"), bind(requestMtan));
  server.Post(at("/verifyMobilePhone"), bind(verifyMobilePhone));
  server.Post(at("/checkPaymentAccessCode"), bind(checkPaymentAccessCode));
  server.Post(at("/registerDevice"), [&state](const httplib::Request& req, httplib::Response& res) {
    registerDevice(state, req, res, true);
  });
  server.Post(at("/unregisterDevice"), [&state](const httplib::Request& req, httplib::Response& res) {
    registerDevice(state, req, res, false);
  });

  server.Get(at("/storedPaymentOptions"), bind(listOptions));
  server.Post(at("/storedPaymentOptions/initAdd"), bind(initAddOption));
  server.Put(at("/storedPaymentOptions/completeAdd"), bind(completeAddOption));
  server.Delete(option, bind(deleteOption));
  server.Post(option + "/initVerify", bind(initVerifyOption));
  server.Post(option + "/completeVerify", bind(completeVerifyOption));
  server.Post(option + "/setDefault", bind(setDefaultOption));
  server.Get(option + "/mandate", bind(sepaMandate));

  server.Get(kAccount, bind(accountInformation));
}

}  // namespace brivane::sandbox
