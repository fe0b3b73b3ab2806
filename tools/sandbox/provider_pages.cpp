// Stand-ins for the payment providers' pages and scripts: the card gateway's widget, the
// PayPal button with its approval page, the platform's form service and PayU's page. They run
// offline against the sandbox, check what the shopper types, lead documented test cards
// through a 3-D Secure challenge or a decline, and mark the authorization token a page was
// rendered with in the sandbox's ledger once the shopper has finished. All paths live under
// "/providers/" and "/callbacks/".
//
// Test data (also in docs/form.md):
//   cards 4200 0000 0000 0000 (Visa), 5454 5454 5454 5454 (Mastercard), 3782 822463 10005 (Amex): approved
//   card 4000 0000 0000 3220: 3-D Secure challenge, code 1234
//   card 4000 0000 0000 0002: declined
//   IBAN DE89 3704 0044 0532 0130 00: approved; IBAN DE02 1203 0000 0000 2020 51: declined
//   PayPal: any e-mail approves, one containing "decline" is declined
#include <httplib.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "sandbox/SandboxState.h"
#include "sandbox/domain.h"
#include "sandbox/provider_pages.h"

namespace brivane::sandbox {
namespace {

// Where a page ends: the shop's return page and the platform's callbacks, in the stand-ins' look
// and in the language the link names ("lang") or else the one the browser asks for.
constexpr const char* kResultPage = R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title></title><style>@CSS@</style><script>@TEXTS@</script></head>
<body><main class="qp-page qp-result"><div class="qp-result-mark @KIND@" aria-hidden="true">@MARK@</div>
<h1 class="qp-title"></h1><p class="qp-text"></p></main>
<script>
(function () {
  var lang = new URLSearchParams(location.search).get("lang") || navigator.language || "en", T = qpTexts(lang);
  document.documentElement.lang = qpLanguage(lang);
  document.title = document.querySelector(".qp-title").textContent = T["@TITLE@"];
  document.querySelector(".qp-text").textContent = T["@TEXT@"];
})();
</script></body></html>
)HTML";

std::string replaced(std::string text, const std::string& marker, const std::string& value) {
  for (std::size_t at = text.find(marker); at != std::string::npos;
       at = text.find(marker, at + value.size())) {
    text.replace(at, marker.size(), value);
  }
  return text;
}

// `title` and `text` name the page's texts (see pages::labelsScript()).
void servePage(httplib::Server& server, const std::string& path, const std::string& title,
               const std::string& text, bool cancelled = false) {
  std::string page = replaced(kResultPage, "@CSS@", pages::standInCSS());
  page = replaced(page, "@TEXTS@", pages::labelsScript());
  page = replaced(page, "@KIND@", cancelled ? "qp-result-cancelled" : "");
  page = replaced(page, "@MARK@", cancelled ? "&#x2715;" : "&#x2713;");
  page = replaced(replaced(page, "@TITLE@", title), "@TEXT@", text);
  server.Get(path, [page](const httplib::Request&, httplib::Response& response) {
    response.set_content(page, "text/html; charset=utf-8");
  });
}

bool expiryValid(const std::string& value) {
  int month = 0, year = 0;
  char slash = 0;
  std::string compact = compacted(value);
  // Shoppers may leave out the slash: "1239" and "122039" are December 2039.
  if ((compact.size() == 4 || compact.size() == 6) &&
      compact.find_first_not_of("0123456789") == std::string::npos)
    compact.insert(2, "/");
  if (std::sscanf(compact.c_str(), "%2d%c%4d", &month, &slash, &year) != 3 || slash != '/') return false;
  return cardExpiryValid(month, year);
}

// The first fault of a card or account the shopper entered, or "".
std::string problemOf(const json::object& body) {
  const std::string method = text(body, "method");
  if (method == "card") {
    const std::string number = compacted(text(body, "cardNumber"));
    if (!luhnValid(number)) return "cardNumber";
    if (!expiryValid(text(body, "expiry"))) return "expiry";
    const std::string cvv = text(body, "cvv");
    const std::size_t cvvLength = number.starts_with("34") || number.starts_with("37") ? 4 : 3;
    if (cvv.size() != cvvLength || cvv.find_first_not_of("0123456789") != std::string::npos) return "cvv";
  } else if (method == "sepa") {
    if (!ibanValid(text(body, "iban"))) return "iban";
  } else if (method != "paypal") {
    return "method";
  }
  if (method != "paypal" && text(body, "holder").size() < 2) return "holder";
  return "";
}

json::object shopperDataOf(const json::object& body) {
  json::object data{{"method", text(body, "method")}};
  if (!text(body, "cardNumber").empty()) {
    data["maskedNumber"] = maskedCard(compacted(text(body, "cardNumber")));
    data["expiry"] = text(body, "expiry");
  }
  if (!text(body, "iban").empty()) data["maskedIban"] = maskedIban(text(body, "iban"));
  if (!text(body, "holder").empty()) data["holder"] = text(body, "holder");
  if (!text(body, "payer").empty()) data["payer"] = text(body, "payer");
  return data;
}

// A challenge waiting for its code, with what the shopper is shown: who asks for how much. At
// most kMaxChallenges wait, none longer than kChallengeLifetime: the oldest are forgotten.
struct Challenge {
  std::string token;
  json::object shopperData;
  std::string continueUrl;
  std::string data;
  std::string merchant;
  std::string amount;  // minor units, "" without a payment
  std::string currency;
  std::chrono::steady_clock::time_point at = std::chrono::steady_clock::now();
};
constexpr std::size_t kMaxChallenges = 32;
constexpr std::chrono::minutes kChallengeLifetime{15};

struct Pages {
  std::string baseUrl;
  Sandbox::State* state = nullptr;
  std::mutex mutex;
  std::map<std::string, Challenge> challenges;
  unsigned long nextChallenge = 1;

  // The host's return URL the token's authorization was opened with, or "".
  std::string redirectOf(const std::string& token) {
    if (state == nullptr) return "";
    std::lock_guard<std::mutex> lock(state->mutex);
    auto it = state->store.authorizations.find(token);
    return it == state->store.authorizations.end() ? "" : it->second.redirectURL;
  }

  // The merchant and the amount of the token's payment, as a challenge shows them.
  void describePayment(const std::string& token, Challenge& challenge) {
    challenge.merchant = kProgramCompanyName;
    if (state == nullptr) return;
    std::lock_guard<std::mutex> lock(state->mutex);
    const Store& store = state->store;
    auto authorization = store.authorizations.find(token);
    if (authorization == store.authorizations.end()) return;
    auto payment = store.payments.find(authorization->second.reference);
    if (authorization->second.kind != Authorization::Kind::Payment || payment == store.payments.end()) return;
    challenge.amount = std::to_string(payment->second.amount);
    challenge.currency = payment->second.currency;
    const std::string programAccno = text(payment->second.details, "programAccno");
    auto program = store.accounts.find(programAccno.empty() ? kProgramAccno : programAccno);
    if (program == store.accounts.end()) return;
    if (std::string name = text(program->second.information, "companyName"); !name.empty())
      challenge.merchant = name;
  }

  // Marks the token's authorization (when the sandbox has one) as finished by the shopper.
  void mark(const std::string& token, bool approved, const json::object& shopperData) {
    if (state == nullptr) return;
    std::lock_guard<std::mutex> lock(state->mutex);
    auto it = state->store.authorizations.find(token);
    if (it == state->store.authorizations.end()) return;
    it->second.completedByShopper = approved;
    it->second.declined = !approved;
    it->second.shopperData = shopperData;
  }

  json::object authorize(const json::object& body) {
    const std::string token = text(body, "token");
    const std::string method = text(body, "method");
    json::object shopperData = shopperDataOf(body);
    if (method == "paypal" && body.contains("cancelled")) {
      mark(token, false, shopperData);
      return {{"outcome", "cancelled"}};
    }
    if (std::string problem = problemOf(body); !problem.empty()) {
      return {{"outcome", "invalid"}, {"field", problem}, {"message", "The " + problem + " is not valid."}};
    }
    const std::string number = compacted(text(body, "cardNumber"));
    const bool declined = (method == "card" && number == kDeclinedTestCard) ||
                          (method == "sepa" && compacted(text(body, "iban")) == kDeclinedTestIban) ||
                          (method == "paypal" && text(body, "payer").find("decline") != std::string::npos);
    if (declined) {
      mark(token, false, shopperData);
      return {{"outcome", "declined"}};
    }
    const std::string returnUrl = redirectOf(token);
    if (method == "card" && number == kChallengeTestCard) {
      // The form service returns to the host's URL when the authorization names one.
      const bool toHost = !returnUrl.empty() && body.contains("data");
      Challenge challenge;
      challenge.token = token;
      challenge.shopperData = shopperData;
      challenge.continueUrl = toHost ? returnUrl : text(body, "continueUrl");
      challenge.data = text(body, "data");
      describePayment(token, challenge);
      std::lock_guard<std::mutex> lock(mutex);
      const auto now = std::chrono::steady_clock::now();
      std::erase_if(challenges,
                    [&](const auto& entry) { return now - entry.second.at > kChallengeLifetime; });
      if (challenges.size() >= kMaxChallenges)
        challenges.erase(
            std::min_element(challenges.begin(), challenges.end(),
                             [](const auto& a, const auto& b) { return a.second.at < b.second.at; }));
      const std::string session = "3ds" + std::to_string(nextChallenge++);
      challenge.at = now;
      challenges[session] = std::move(challenge);
      std::string lang = text(body, "locale");
      return {{"outcome", "challenge"},
              {"challengeUrl", baseUrl + "/providers/3ds/challenge?session=" + session + "&lang=" +
                                   httplib::detail::encode_query_param(lang.empty() ? "en" : lang)}};
    }
    mark(token, true, shopperData);
    json::object answer{{"outcome", "approved"}};
    if (method == "paypal") answer["payerID"] = "SANDBOXPAYER1";
    if (!returnUrl.empty()) answer["returnUrl"] = returnUrl;
    return answer;
  }

  json::object verify(const json::object& body) {
    Challenge challenge;
    {
      std::lock_guard<std::mutex> lock(mutex);
      auto it = challenges.find(text(body, "session"));
      if (it == challenges.end()) return {{"outcome", "invalid"}, {"message", "Unknown session."}};
      if (text(body, "code") != kChallengeCode) return {{"outcome", "invalid"}, {"message", "Wrong code."}};
      challenge = it->second;
      challenges.erase(it);
    }
    mark(challenge.token, true, challenge.shopperData);
    return {{"outcome", "approved"}, {"continueUrl", challenge.continueUrl}, {"data", challenge.data}};
  }

  // The shopper gave up at the challenge: the payment is declined and the session ends.
  json::object cancel(const json::object& body) {
    Challenge challenge;
    {
      std::lock_guard<std::mutex> lock(mutex);
      auto it = challenges.find(text(body, "session"));
      if (it == challenges.end()) return {{"outcome", "invalid"}, {"message", "Unknown session."}};
      challenge = std::move(it->second);
      challenges.erase(it);
    }
    mark(challenge.token, false, challenge.shopperData);
    return {{"outcome", "cancelled"}};
  }

  // The challenge page of `session` (an unknown one shows the sandbox's merchant and no amount).
  std::string challengePage(const std::string& session, const std::string& lang) {
    Challenge shown;
    shown.merchant = kProgramCompanyName;
    {
      std::lock_guard<std::mutex> lock(mutex);
      if (auto it = challenges.find(session); it != challenges.end()) shown = it->second;
    }
    std::string page = replaced(pages::challengePage(), "@SESSION@", htmlEscaped(session));
    page = replaced(page, "@LANG@", htmlEscaped(lang));
    page = replaced(page, "@MERCHANT@", htmlEscaped(shown.merchant));
    page = replaced(page, "@AMOUNT@", htmlEscaped(shown.amount));
    return replaced(page, "@CURRENCY@", htmlEscaped(shown.currency));
  }
};

void serveJSONCall(httplib::Server& server, const std::string& path, std::shared_ptr<Pages> pages,
                   json::object (Pages::*call)(const json::object&)) {
  server.Post(path, [pages, call](const httplib::Request& request, httplib::Response& response) {
    boost::system::error_code error;
    json::value body = json::parse(request.body, error);
    if (error || !body.is_object()) {
      sendJSON(response, 400,
               json::object{{"outcome", "error"}, {"message", "The body is not a JSON object."}});
      return;
    }
    sendJSON(response, 200, ((*pages).*call)(body.get_object()));
  });
}

void serveText(httplib::Server& server, const std::string& path, const std::string& content,
               const char* type) {
  server.Get(path, [content, type](const httplib::Request&, httplib::Response& response) {
    response.set_content(content, type);
  });
}

}  // namespace

void registerProviderPages(httplib::Server& server, const std::string& baseUrl, Sandbox::State* state) {
  auto shared = std::make_shared<Pages>();
  shared->baseUrl = baseUrl;
  shared->state = state;
  constexpr const char* kScript = "application/javascript; charset=utf-8";
  constexpr const char* kHtml = "text/html; charset=utf-8";
  server.Get(R"(/providers/payon/(test|live)/v1/paymentWidgets\.js)",
             [](const httplib::Request&, httplib::Response& response) {
               response.set_content(pages::widgetScript(), "application/javascript; charset=utf-8");
             });
  serveText(server, "/providers/paypal/checkout.js", pages::payPalScript(), kScript);
  serveText(server, "/providers/paypal/approve", pages::payPalApprovalPage(), kHtml);
  const std::string formService =
      replaced(pages::formServicePage(), "@RETURN_URL@", baseUrl + "/providers/return");
  for (const char* path : {"/providers/formservice/", "/providers/formservice/cybersource/paymentform"}) {
    serveText(server, path, formService, kHtml);
  }
  server.Get("/providers/payu/pay", [baseUrl](const httplib::Request& request, httplib::Response& response) {
    std::string continueUrl = request.has_param("continueUrl") ? request.get_param_value("continueUrl")
                                                               : baseUrl + "/providers/return";
    const std::string order = request.get_param_value("orderId");
    const std::string token = request.has_param("token") ? request.get_param_value("token") : order;
    std::string page = replaced(pages::payUPage(), "@LANG@", htmlEscaped(request.get_param_value("lang")));
    page = replaced(page, "@ORDER@", htmlEscaped(order));
    page = replaced(page, "@TOKEN@", htmlEscaped(token));
    response.set_content(replaced(page, "@CONTINUE@", htmlEscaped(continueUrl)), "text/html; charset=utf-8");
  });
  server.Get("/providers/3ds/challenge",
             [shared](const httplib::Request& request, httplib::Response& response) {
               response.set_content(
                   shared->challengePage(request.get_param_value("session"), request.get_param_value("lang")),
                   "text/html; charset=utf-8");
             });
  serveJSONCall(server, "/providers/authorize", shared, &Pages::authorize);
  serveJSONCall(server, "/providers/3ds/verify", shared, &Pages::verify);
  serveJSONCall(server, "/providers/3ds/cancel", shared, &Pages::cancel);
  servePage(server, "/providers/return", "returnedTitle", "returnedText");
  servePage(server, "/callbacks/payon", "processedTitle", "processedText");
  servePage(server, "/callbacks/paypal/success/", "payPalApprovedTitle", "payPalApprovedText");
  servePage(server, "/callbacks/paypal/cancel/", "payPalCancelledTitle", "payPalCancelledText", true);
}

}  // namespace brivane::sandbox
