// "/payment/...": authorizations, capture, cancel, pay-to-account and payment information.
//
// States of a payment and the calls that move it:
//   initAuthorize ──▶ INITIATED ──completeAuthorize / lmCompleteAuthorize──▶ AUTHORIZED ──capture──▶ CAPTURED
//   authorize (approved card) ──▶ AUTHORIZED;   authorize (declined card) ──▶ DECLINED
//   a completion after the shopper declined the page ──▶ DECLINED
//   cancel: INITIATED or AUTHORIZED ──▶ CANCELLED
//   payToAccount (approved card) ──▶ PAID, the named account credited at once
// Capture credits the program's account with the captured amount. Refusals (platform error form):
// 6101 unknown payment, 6102 missing parameter, 6103 bad amount, 6104 unknown account, 6105 card
// declined, 6106 not a test card, 6107 unknown stored payment option, 6108 token of another
// payment, 6109 page not completed by the shopper, 6110 shopper declined, 6111 not INITIATED,
// 6112 not AUTHORIZED, 6113 capture above the authorized amount, 6114 other currency, 6115
// cancel after capture, 6116 cancel of a finished payment, 6117 not a currency code of the list,
// 6118 payment of another user, 6119 payer account of another user, 6120 balance bound exceeded.
// A payment is only seen and changed by the user who opened it; the payer account and a stored
// payment option must be the caller's (payToAccount may credit any account).
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "sandbox/SandboxState.h"
#include "sandbox/domain.h"

namespace brivane::sandbox {
namespace {

constexpr const char* kApprovedCard = "4111111111111111";
constexpr const char* kDeclinedCard = "4000000000000002";

// Request keys kept as the payment's details (everything but the identifying and base keys).
bool isDetail(std::string_view key) {
  return key != "partnerReference" && key != "programCode" && key != "localDate" && key != "localTime" &&
         key != "__userId";
}

json::value detail(const Payment& payment, const char* key) {
  const json::value* value = payment.details.if_contains(key);
  return value != nullptr ? *value : json::value(nullptr);
}

std::string detailText(const Payment& payment, const char* key) {
  return textParam(payment.details, key).value_or("");
}

void refuse(httplib::Response& res, int status, const char* code, const std::string& text) {
  sendPlatformError(res, status, code, text);
}

void refuseMissing(httplib::Response& res, const char* key) {
  refuse(res, 400, "6102", "The '" + std::string(key) + "' parameter is missing.");
}

// The payment named by the path, when the caller opened it; nil after answering a refusal.
Payment* ownPayment(Sandbox::State& state, const json::object& params, const std::string& reference,
                    httplib::Response& res) {
  auto it = state.store.payments.find(reference);
  if (it == state.store.payments.end()) {
    refuse(res, 404, "6101", "Unknown payment '" + reference + "'.");
    return nullptr;
  }
  if (it->second.userId != textParam(params, "__userId")) {
    refuse(res, 403, "6118", "Payment '" + reference + "' belongs to another user.");
    return nullptr;
  }
  return &it->second;
}

// Whether the caller holds `accno`.
bool heldByCaller(const Store& store, const json::object& params, const std::string& accno) {
  auto it = store.accounts.find(accno);
  return it != store.accounts.end() && it->second.userId == textParam(params, "__userId");
}

// Copies the billing address of a completing call onto the payment when the call says so.
void takeBillingAddress(Payment& payment, const json::object& params) {
  if (textParam(params, "useDifferentBillingAddress") != "true") return;
  for (const char* key : {"customerFullName", "addr1", "addr2", "addr3", "houseNumber", "city", "state",
                          "countryCode", "postCode"})
    if (const json::value* value = params.if_contains(key)) payment.details[key] = *value;
}

// The amount, currency and accounts every opening call needs, checked and stored on a new payment.
// Nil after answering a refusal.
// `accno` names the payer, who must be the caller, unless `credited` (payToAccount credits it).
std::optional<Payment> openPayment(Sandbox::State& state, const json::object& params, httplib::Response& res,
                                   bool credited = false) {
  Payment payment;
  const json::value* amount = params.if_contains("presentationAmount");
  if (amount == nullptr) return refuseMissing(res, "presentationAmount"), std::nullopt;
  std::optional<std::int64_t> minor = amountOf(amount);
  if (!minor) {
    refuse(res, 400, "6103", amountRefusal("presentationAmount"));
    return std::nullopt;
  }
  std::optional<std::string> currency = textParam(params, "presentationCurrCode");
  if (!currency) return refuseMissing(res, "presentationCurrCode"), std::nullopt;
  if (!knownCurrency(*currency)) {
    refuse(res, 400, "6117", currencyRefusal(*currency));
    return std::nullopt;
  }
  for (const auto& [key, value] : params)
    if (isDetail(key)) payment.details[key] = value;
  // The payer's account defaults to the caller's first account, the merchant to the program.
  std::string accno = textParam(params, "accno").value_or("");
  if (accno.empty()) {
    auto user = state.store.users.find(textParam(params, "__userId").value_or(""));
    if (user != state.store.users.end() && !user->second.accnos.empty()) accno = user->second.accnos.front();
  }
  std::string programAccno = textParam(params, "programAccno").value_or(kProgramAccno);
  for (const std::string& number : {accno, programAccno}) {
    if (!state.store.accounts.contains(number)) {
      refuse(res, 404, "6104", "Unknown account '" + number + "'.");
      return std::nullopt;
    }
  }
  if (!credited && !heldByCaller(state.store, params, accno)) {
    refuse(res, 403, "6119", "Account '" + accno + "' is not held by the caller.");
    return std::nullopt;
  }
  if (auto stored = textParam(params, "storedPaymentOptionReference")) {
    auto option = state.store.paymentOptions.find(*stored);
    if (option == state.store.paymentOptions.end() || option->second.state == "PENDING" ||
        !heldByCaller(state.store, params, option->second.accno)) {
      refuse(res, 404, "6107", "Unknown or inactive stored payment option '" + *stored + "'.");
      return std::nullopt;
    }
  }
  payment.details["accno"] = accno;
  payment.details["programAccno"] = programAccno;
  payment.uniqueReference = "PAY" + randomToken(state.random, 12);
  payment.userId = textParam(params, "__userId").value_or("");
  payment.accno = accno;
  payment.amount = *minor;
  payment.currency = *currency;
  return payment;
}

// The card of a one-step call: the approved or declined test card, or a stored payment option.
// True when the card approves; false after answering a refusal (a declined card is recorded).
bool chargeCard(Sandbox::State& state, Payment& payment, const json::object& params, httplib::Response& res) {
  if (textParam(params, "storedPaymentOptionReference")) return true;
  std::optional<std::string> card = textParam(params, "carrierNumber");
  if (!card) return refuseMissing(res, "carrierNumber"), false;
  if (*card == kApprovedCard) {
    payment.details["carrierNumber"] = maskedCard(*card);
    return true;
  }
  if (*card == kDeclinedCard) {
    payment.details["carrierNumber"] = maskedCard(*card);
    payment.state = "DECLINED";
    state.store.payments[payment.uniqueReference] = payment;
    refuse(res, 402, "6105", "The card was declined.");
    return false;
  }
  refuse(res, 400, "6106",
         "Not a sandbox test card: use " + std::string(kApprovedCard) + " (approved) or " + kDeclinedCard +
             " (declined).");
  return false;
}

// Keeps the card as a stored payment option of the payer's account when the call asks for it.
void saveCardIfAsked(Sandbox::State& state, Payment& payment, const json::object& params) {
  if (textParam(params, "savePaymentDetails") != "true" || textParam(params, "storedPaymentOptionReference"))
    return;
  StoredPaymentOption option;
  option.reference = "SPO" + randomToken(state.random, 12);
  option.accno = payment.accno;
  option.paymentOptionCode = textParam(params, "paymentOptionCode").value_or("VISA");
  option.state = "ACTIVE";
  option.details = json::object{{"carrierNumber", detail(payment, "carrierNumber")},
                                {"expiryMonth", detail(payment, "expiryMonth")},
                                {"expiryYear", detail(payment, "expiryYear")}};
  payment.details["storedPaymentOptionReference"] = option.reference;
  state.store.paymentOptions[option.reference] = std::move(option);
}

// Books a payment's money on `accno`; false after refusing a booking beyond the balance bound.
bool bookPayment(Sandbox::State& state, const std::string& accno, const Payment& payment, std::int64_t amount,
                 const char* type, const std::string& description, const std::string& counterparty,
                 httplib::Response& res) {
  if (!bookable(state.store, accno, amount)) {
    refuse(res, 400, "6120",
           "The payment would take the balance of account '" + accno + "' beyond " +
               amountText(kMaxMinorUnits) + ".");
    return false;
  }
  book(state.store, std::string(type) + "-" + payment.uniqueReference, accno, amount, payment.currency, type,
       description, counterparty);
  return true;
}

// The answer fields of authorize and payToAccount (the two share their answer).
json::object oneStepAnswer(Sandbox::State& state, const json::object& params, const Payment& payment,
                           const char* reason) {
  json::object answer = state.successEnvelope(params);
  for (const char* key : {"programAccno", "accno", "paymentOptionCode", "storedPaymentOptionReference",
                          "invoiceReference", "channelProductReference", "presentationCurrCode",
                          "presentationUsage", "custom1", "custom2", "custom3"})
    if (const json::value* value = payment.details.if_contains(key)) answer[key] = *value;
  answer["uniqueReference"] = payment.uniqueReference;
  answer["presentationAmount"] = majorUnits(payment.amount);
  answer["processedAmount"] = majorUnits(payment.amount);
  answer["processedCurrCode"] = payment.currency;
  answer["statusCode"] = payment.state;
  answer["statusReason"] = reason;
  return answer;
}

void initAuthorize(Sandbox::State& state, const json::object& params, const std::string&,
                   const httplib::Request& req, httplib::Response& res) {
  std::optional<Payment> payment = openPayment(state, params, res);
  if (!payment) return;
  payment->state = "INITIATED";
  if (req.has_header("X-Ip-Address")) payment->details["ipAddr"] = req.get_header_value("X-Ip-Address");
  Authorization authorization;
  authorization.token = randomToken(state.random, 32);
  authorization.kind = Authorization::Kind::Payment;
  authorization.reference = payment->uniqueReference;
  authorization.accno = payment->accno;
  json::object answer = state.successEnvelope(params);
  for (const char* key : {"programAccno", "accno", "paymentOptionCode", "presentationCurrCode",
                          "presentationUsage", "custom1", "custom2", "custom3"})
    if (const json::value* value = payment->details.if_contains(key)) answer[key] = *value;
  answer["uniqueReference"] = payment->uniqueReference;
  answer["authorizationToken"] = authorization.token;
  answer["presentationAmount"] = majorUnits(payment->amount);
  answer["statusCode"] = payment->state;
  answer["statusReason"] = "Waiting for the shopper to complete the payment page.";
  state.store.authorizations[authorization.token] = std::move(authorization);
  state.store.payments[payment->uniqueReference] = std::move(*payment);
  sendJSON(res, 200, answer);
}

// The checks both completing calls share: the payment is INITIATED and its page was finished by
// the shopper, who approved it. A declined page declines the payment.
bool completable(Payment& payment, const Authorization* authorization, httplib::Response& res) {
  if (payment.state != "INITIATED") {
    refuse(res, 409, "6111",
           "The payment is " + payment.state + "; only an INITIATED payment can be completed.");
    return false;
  }
  if (authorization != nullptr && authorization->declined) {
    payment.state = "DECLINED";
    refuse(res, 402, "6110", "The shopper declined the payment.");
    return false;
  }
  if (authorization == nullptr || !authorization->completedByShopper) {
    refuse(res, 409, "6109", "The shopper has not completed the payment page yet.");
    return false;
  }
  payment.state = "AUTHORIZED";
  return true;
}

const Authorization* authorizationOf(const Store& store, const std::string& reference) {
  for (const auto& [token, authorization] : store.authorizations)
    if (authorization.kind == Authorization::Kind::Payment && authorization.reference == reference)
      return &authorization;
  return nullptr;
}

void completeAuthorize(Sandbox::State& state, const json::object& params, const std::string& reference,
                       const httplib::Request&, httplib::Response& res) {
  Payment* payment = ownPayment(state, params, reference, res);
  if (payment == nullptr) return;
  std::optional<std::string> token = textParam(params, "authorizationToken");
  if (payment->state == "INITIATED") {
    if (!token) return refuseMissing(res, "authorizationToken");
    auto it = state.store.authorizations.find(*token);
    if (it == state.store.authorizations.end() || it->second.reference != reference)
      return refuse(res, 400, "6108", "The authorization token does not belong to this payment.");
  }
  if (!completable(*payment, authorizationOf(state.store, reference), res)) return;
  takeBillingAddress(*payment, params);
  json::object answer = state.successEnvelope(params);
  answer["initiatorAccno"] = detail(*payment, "programAccno");
  answer["accno"] = payment->accno;
  answer["uniqueReference"] = payment->uniqueReference;
  answer["processedAmount"] = majorUnits(payment->amount);
  answer["processedCurrCode"] = payment->currency;
  answer["statusCode"] = payment->state;
  answer["statusReason"] = "The payment is authorized.";
  sendJSON(res, 200, answer);
}

void lmCompleteAuthorize(Sandbox::State& state, const json::object& params, const std::string& reference,
                         const httplib::Request&, httplib::Response& res) {
  Payment* payment = ownPayment(state, params, reference, res);
  if (payment == nullptr) return;
  if (!completable(*payment, authorizationOf(state.store, reference), res)) return;
  takeBillingAddress(*payment, params);
  json::object answer = state.successEnvelope(params);
  answer["merchantAccno"] = detail(*payment, "programAccno");
  answer["programAccno"] = detail(*payment, "programAccno");
  answer["accno"] = payment->accno;
  answer["uniqueReference"] = payment->uniqueReference;
  answer["statusCode"] = payment->state;
  answer["statusReason"] = "The payment is authorized.";
  sendJSON(res, 200, answer);
}

void authorize(Sandbox::State& state, const json::object& params, const std::string&, const httplib::Request&,
               httplib::Response& res) {
  std::optional<Payment> payment = openPayment(state, params, res);
  if (!payment || !chargeCard(state, *payment, params, res)) return;
  payment->state = "AUTHORIZED";
  saveCardIfAsked(state, *payment, params);
  json::object answer = oneStepAnswer(state, params, *payment, "The payment is authorized.");
  state.store.payments[payment->uniqueReference] = std::move(*payment);
  sendJSON(res, 200, answer);
}

void payToAccount(Sandbox::State& state, const json::object& params, const std::string&,
                  const httplib::Request&, httplib::Response& res) {
  if (!textParam(params, "accno")) return refuseMissing(res, "accno");
  std::optional<Payment> payment = openPayment(state, params, res, true);
  if (!payment || !chargeCard(state, *payment, params, res)) return;
  if (!bookPayment(state, payment->accno, *payment, payment->amount, "PAY_TO_ACCOUNT",
                   "Pay-to-account " + payment->uniqueReference, detailText(*payment, "carrierNumber"), res))
    return;
  payment->state = "PAID";
  payment->capturedAmount = payment->amount;
  saveCardIfAsked(state, *payment, params);
  json::object answer = oneStepAnswer(state, params, *payment, "The account is credited.");
  state.store.payments[payment->uniqueReference] = std::move(*payment);
  sendJSON(res, 200, answer);
}

void capture(Sandbox::State& state, const json::object& params, const std::string& reference,
             const httplib::Request&, httplib::Response& res) {
  Payment* payment = ownPayment(state, params, reference, res);
  if (payment == nullptr) return;
  if (payment->state != "AUTHORIZED")
    return refuse(res, 409, "6112",
                  "The payment is " + payment->state + "; only an AUTHORIZED payment can be captured.");
  std::int64_t amount = payment->amount;
  if (const json::value* modified = params.if_contains("modifiedAmount")) {
    std::optional<std::int64_t> minor = amountOf(modified);
    if (!minor) return refuse(res, 400, "6103", amountRefusal("modifiedAmount"));
    if (*minor > payment->amount)
      return refuse(res, 400, "6113",
                    "The capture amount " + amountText(*minor) + " exceeds the authorized amount " +
                        amountText(payment->amount) + ".");
    amount = *minor;
  }
  if (auto currency = textParam(params, "modifiedAmountCurrCode"); currency && *currency != payment->currency)
    return refuse(
        res, 400, "6114",
        "The currency " + *currency + " differs from the payment's currency " + payment->currency + ".");
  const std::string programAccno = detailText(*payment, "programAccno");
  if (!bookPayment(state, programAccno, *payment, amount, "PAYMENT", "Payment " + payment->uniqueReference,
                   payment->accno, res))
    return;
  payment->state = "CAPTURED";
  payment->capturedAmount = amount;
  if (auto usage = textParam(params, "modifiedUsage")) payment->details["presentationUsage"] = *usage;
  json::object answer = state.successEnvelope(params);
  answer["initiatorAccno"] = programAccno;
  answer["accno"] = payment->accno;
  answer["uniqueReference"] = payment->uniqueReference;
  for (const char* key : {"modifiedAmount", "modifiedAmountCurrCode", "custom1", "custom2", "custom3"})
    if (const json::value* value = params.if_contains(key)) answer[key] = *value;
  if (answer.contains("modifiedAmount")) answer["modifiedAmount"] = majorUnits(amount);
  answer["processedAmount"] = majorUnits(amount);
  answer["processedCurrCode"] = payment->currency;
  answer["statusCode"] = payment->state;
  answer["statusReason"] = "The payment is captured.";
  sendJSON(res, 200, answer);
}

void cancel(Sandbox::State& state, const json::object& params, const std::string& reference,
            const httplib::Request&, httplib::Response& res) {
  Payment* payment = ownPayment(state, params, reference, res);
  if (payment == nullptr) return;
  if (payment->state == "CAPTURED")
    return refuse(res, 409, "6115", "A captured payment cannot be cancelled.");
  if (payment->state != "INITIATED" && payment->state != "AUTHORIZED")
    return refuse(res, 409, "6116", "The payment is " + payment->state + " and cannot be cancelled.");
  payment->state = "CANCELLED";
  json::object answer = state.successEnvelope(params);
  answer["initiatorAccno"] = detail(*payment, "programAccno");
  answer["accno"] = payment->accno;
  answer["uniqueReference"] = payment->uniqueReference;
  for (const char* key : {"custom1", "custom2", "custom3"})
    if (const json::value* value = params.if_contains(key)) answer[key] = *value;
  answer["statusCode"] = payment->state;
  answer["statusReason"] = "The payment is cancelled.";
  sendJSON(res, 200, answer);
}

void information(Sandbox::State& state, const json::object& params, const std::string& reference,
                 const httplib::Request&, httplib::Response& res) {
  Payment* payment = ownPayment(state, params, reference, res);
  if (payment == nullptr) return;
  json::object answer = state.successEnvelope(params);
  answer["uniqueReference"] = payment->uniqueReference;
  answer["initiatorName"] = kProgramCompanyName;
  if (auto program = state.store.accounts.find(detailText(*payment, "programAccno"));
      program != state.store.accounts.end())
    if (auto name = textParam(program->second.information, "companyName")) answer["initiatorName"] = *name;
  answer["presentationAmount"] = majorUnits(payment->amount);
  answer["presentationCurrCode"] = payment->currency;
  for (const char* key : {"presentationUsage", "customerFullName", "addr1", "addr2", "city", "state",
                          "countryCode", "postCode"})
    if (const json::value* value = payment->details.if_contains(key)) answer[key] = *value;
  if (std::string country = countryNameOf(detailText(*payment, "countryCode")); !country.empty())
    answer["country"] = country;
  // Not part of the typed answer; shown for people reading the raw JSON.
  answer["paymentState"] = payment->state;
  sendJSON(res, 200, answer);
}

}  // namespace

void registerPaymentRoutes(Sandbox::State& state) {
  httplib::Server& server = state.server;
  server.Put("/payment/initAuthorize", admitted(state, &initAuthorize));
  server.Post(R"(/payment/([^/]*)/completeAuthorize)", admitted(state, &completeAuthorize));
  server.Put("/payment/authorize", admitted(state, &authorize));
  server.Post(R"(/payment/([^/]*)/capture)", admitted(state, &capture));
  server.Post(R"(/payment/([^/]*)/cancel)", admitted(state, &cancel));
  server.Put("/payment/payToAccount", admitted(state, &payToAccount));
  server.Post(R"(/payment/([^/]*)/lm-completeAuthorize)", admitted(state, &lmCompleteAuthorize));
  server.Get(R"(/payment/([^/]*)/information)", admitted(state, &information));
}

}  // namespace brivane::sandbox
