// "/account/(accno)/storedPaymentOptions...": cards and bank accounts stored on an account.
#include <algorithm>
#include <vector>

#include "sandbox/domain.h"
#include "sandbox/routes_account.h"

namespace brivane::sandbox {
namespace {

constexpr const char* kCardCodes[] = {"VISA", "MSTRCRD", "AMEX", "MSTRO", "DISCOVER"};

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
    // A masked number is the one the shopper's page reported, checked by the provider; any other
    // number is checked here.
    const bool fromPage = number == text(posted, "maskedNumber");
    if (!fromPage && !luhnValid(number)) {
      sendPlatformError(res, 400, "4175", "The card number fails the Luhn check.");
      return;
    }
    std::string monthText = firstOf(params, posted, {"expiryMonth", "card.expiryMonth"});
    std::string yearText = firstOf(params, posted, {"expiryYear", "card.expiryYear"});
    if (!monthText.empty() || !yearText.empty()) {
      const int month = std::atoi(monthText.c_str());
      int year = std::atoi(yearText.c_str());
      if (year < 100) year += 2000;
      if (!cardExpiryValid(month, year)) {
        sendPlatformError(res, 400, "4176",
                          "The card's expiry " + monthText + "/" + yearText + " is not in the future.");
        return;
      }
      option.details["expiryMonth"] = month;
      option.details["expiryYear"] = year;
    }
    option.details["carrierNumber"] = fromPage ? number : maskedCard(number);
  } else {
    const std::string iban = firstOf(params, posted, {"carrierNumber", "iban", "bankAccount.iban"});
    if (!ibanValid(iban)) {
      sendPlatformError(res, 400, "4177", "The IBAN '" + iban + "' has a wrong checksum or form.");
      return;
    }
    option.details["carrierNumber"] = maskedIban(iban);
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

}  // namespace

void registerStoredOptionRoutes(Sandbox::State& state) {
  auto& server = state.server;
  const std::string option = accountPath("/storedPaymentOptions/([^/]+)");
  server.Get(accountPath("/storedPaymentOptions"), accountRoute(state, listOptions));
  server.Post(accountPath("/storedPaymentOptions/initAdd"), accountRoute(state, initAddOption));
  server.Put(accountPath("/storedPaymentOptions/completeAdd"), accountRoute(state, completeAddOption));
  server.Delete(option, accountRoute(state, deleteOption));
  server.Post(option + "/initVerify", accountRoute(state, initVerifyOption));
  server.Post(option + "/completeVerify", accountRoute(state, completeVerifyOption));
  server.Post(option + "/setDefault", accountRoute(state, setDefaultOption));
  server.Get(option + "/mandate", accountRoute(state, sepaMandate));
}

}  // namespace brivane::sandbox
