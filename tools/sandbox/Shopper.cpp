#include "sandbox/Shopper.h"

#include <httplib.h>

#include <cstdio>
#include <ctime>
#include <utility>

#include <boost/json.hpp>

#include "sandbox/domain.h"

namespace brivane::sandbox {
namespace {

namespace json = boost::json;

constexpr const char* kHolder = "Erika Mustermann";

constexpr const char* kStep = R"JS((function (mode) {
  var card = mode === "decline" ? "4000 0000 0000 0002" : mode === "3ds" ? "4000 0000 0000 3220" : "4200 0000 0000 0000";
  var iban = mode === "decline" ? "DE02 1203 0000 0000 2020 51" : "DE89 3704 0044 0532 0130 00";
  function documents(d, list) {
    list.push(d);
    Array.prototype.forEach.call(d.querySelectorAll("iframe"), function (frame) {
      try { if (frame.contentDocument && frame.contentDocument.body) documents(frame.contentDocument, list); } catch (e) { /* another origin */ }
    });
    return list;
  }
  function type(input, value) {
    if (!input) return;
    input.focus();
    input.value = value;
    input.dispatchEvent(new Event("input", { bubbles: true }));
    input.dispatchEvent(new Event("change", { bubbles: true }));
    input.blur();
  }
  function once(d, step) {
    if (!d.body || d.body.getAttribute("data-shopper-" + step)) return false;
    d.body.setAttribute("data-shopper-" + step, "done");
    return true;
  }
  var all = documents(document, []);
  for (var i = all.length - 1; i >= 0; i--) {
    var d = all[i];
    var q = function (selector) { return d.querySelector(selector); };
    if (q("#challenge-code") && once(d, "challenge")) {
      type(q("#challenge-code"), "1234");
      q("#challenge-submit").click();
      return "typed the 3-D Secure code";
    }
    if (q("#paypal-approve") && once(d, "paypal")) {
      if (mode === "cancel") { q("#paypal-cancel").click(); return "cancelled on PayPal"; }
      if (mode === "decline") type(q("#email"), "decline@paypal.test");
      q("#paypal-approve").click();
      return "approved on PayPal";
    }
    if (q(".paypal-button") && !q(".paypal-lightbox") && once(d, "button")) {
      if (mode === "cancel") { q(".paypal-cancel").click(); return "cancelled at the PayPal button"; }
      q(".paypal-button").click();
      return "pressed the PayPal button";
    }
    var number = q("input[name='card.number'], #qp-form input[name=cardNumber], #payu-form input[name=cardNumber]");
    if (number && d.querySelector("button[type=submit]") && once(d, "card")) {
      type(number, card);
      type(q("input[name='card.expiry'], input[name=expiry]"), "12 / 39");
      type(q("input[name='card.cvv'], input[name=cvv]"), "123");
      type(q("input[name='card.holder'], input[name=cardHolder]"), "Erika Mustermann");
      d.querySelector("button[type=submit]").click();
      return "submitted card " + card;
    }
    var account = q("input[name='bankAccount.iban'], #qp-form input[name=iban]");
    if (account && d.querySelector("button[type=submit]") && once(d, "sepa")) {
      type(q("input[name='bankAccount.holder'], input[name=accountHolder]"), "Erika Mustermann");
      type(account, iban);
      d.querySelector("button[type=submit]").click();
      return "submitted IBAN " + iban;
    }
    if (q(".wpwl-form-virtualAccount") && once(d, "virtualAccount")) {
      q(".wpwl-form-virtualAccount button[type=submit]").click();
      return "chose PayPal";
    }
  }
  return "";
})(@MODE@))JS";

bool refused(std::string* why, std::string reason) {
  if (why != nullptr) *why = std::move(reason);
  return false;
}

// Posts `body` as the page's script does; the answer's JSON object, or nil with `why` filled.
std::optional<json::object> post(httplib::Client& client, const std::string& path, const json::object& body,
                                 std::string* why) {
  httplib::Result result = client.Post(path, json::serialize(body), "application/json");
  if (!result) {
    refused(why, "no answer from " + path + " (" + httplib::to_string(result.error()) + ")");
    return std::nullopt;
  }
  boost::system::error_code error;
  json::value answer = json::parse(result->body, error);
  if (error || !answer.is_object()) {
    refused(why, path + " answered HTTP " + std::to_string(result->status) + " without a JSON object");
    return std::nullopt;
  }
  return std::move(answer.get_object());
}

std::string outcomeOf(const json::object& answer) {
  const json::value* outcome = answer.if_contains("outcome");
  return outcome != nullptr && outcome->is_string() ? std::string(outcome->get_string()) : std::string();
}

// The page's own words for a refusal: "invalid: The cvv is not valid.", "declined", ...
std::string described(const json::object& answer) {
  const json::value* message = answer.if_contains("message");
  std::string text = outcomeOf(answer).empty() ? "no outcome" : outcomeOf(answer);
  if (message != nullptr && message->is_string()) text += ": " + std::string(message->get_string());
  return text;
}

// The value of `name` in a URL's query ("" when absent).
std::string queryValue(const std::string& url, const std::string& name) {
  std::size_t at = url.find('?');
  while (at != std::string::npos) {
    if (url.compare(at + 1, name.size() + 1, name + "=") == 0) {
      const std::size_t start = at + name.size() + 2;
      return url.substr(start, url.find('&', start) - start);
    }
    at = url.find('&', at + 1);
  }
  return "";
}

}  // namespace

ShopperCard shopperCard(ShopperMode mode) {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  ShopperCard card;
  card.number = mode == ShopperMode::Decline     ? kDeclinedTestCard
                : mode == ShopperMode::Challenge ? kChallengeTestCard
                                                 : "4200000000000000";
  card.expiryYear = local.tm_year + 1900 + 5;
  return card;
}

bool completePageAsShopper(const std::string& baseUrl, const std::string& token, ShopperMode mode,
                           std::string* why) {
  if (mode == ShopperMode::Cancel) return refused(why, "a card page offers the shopper no cancel");
  // The client throws for a scheme it does not speak; the sandbox speaks plain HTTP.
  if (!baseUrl.starts_with("http://"))
    return refused(why, "'" + baseUrl + "' is not a sandbox's http:// URL");
  httplib::Client client(baseUrl);
  if (!client.is_valid()) return refused(why, "'" + baseUrl + "' is not a sandbox's http:// URL");
  client.set_connection_timeout(5);
  client.set_read_timeout(30);
  const ShopperCard card = shopperCard(mode);
  char expiry[8];
  std::snprintf(expiry, sizeof expiry, "%02d/%02d", card.expiryMonth, card.expiryYear % 100);
  std::optional<json::object> answer = post(client, "/providers/authorize",
                                            {{"token", token},
                                             {"method", "card"},
                                             {"cardNumber", card.number},
                                             {"expiry", expiry},
                                             {"cvv", "123"},
                                             {"holder", kHolder}},
                                            why);
  if (!answer) return false;
  if (outcomeOf(*answer) == "challenge") {
    const json::value* url = answer->if_contains("challengeUrl");
    const std::string session =
        url != nullptr && url->is_string() ? queryValue(std::string(url->get_string()), "session") : "";
    if (session.empty()) return refused(why, "the challenge came without a session");
    answer = post(client, "/providers/3ds/verify", {{"session", session}, {"code", kChallengeCode}}, why);
    if (!answer) return false;
  }
  const std::string wanted = mode == ShopperMode::Decline ? "declined" : "approved";
  if (outcomeOf(*answer) != wanted) return refused(why, "the page answered " + described(*answer));
  return true;
}

std::optional<ShopperMode> parseShopperMode(const std::string& name) {
  if (name == "approve") return ShopperMode::Approve;
  if (name == "decline") return ShopperMode::Decline;
  if (name == "3ds") return ShopperMode::Challenge;
  if (name == "cancel") return ShopperMode::Cancel;
  return std::nullopt;
}

std::string shopperStepScript(ShopperMode mode) {
  const char* name = mode == ShopperMode::Decline     ? "\"decline\""
                     : mode == ShopperMode::Challenge ? "\"3ds\""
                     : mode == ShopperMode::Cancel    ? "\"cancel\""
                                                      : "\"approve\"";
  std::string script = kStep;
  script.replace(script.find("@MODE@"), 6, name);
  return script;
}

}  // namespace brivane::sandbox
