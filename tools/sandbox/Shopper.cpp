#include "sandbox/Shopper.h"

namespace brivane::sandbox {
namespace {

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

}  // namespace

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
