// PayU's hosted payment page and the 3-D Secure challenge page that card payments of every
// stand-in may lead through.
#include "sandbox/provider_pages.h"

namespace brivane::sandbox::pages {
namespace {

std::string head(const std::string& title, const std::string& extraCSS = "") {
  return R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1"><title>)HTML" +
         title + "</title><style>" + standInCSS() + extraCSS + "</style><script>" + labelsScript() +
         checksScript() + "</script></head>\n";
}

}  // namespace

const std::string& payUPage() {
  static const std::string page = head("PayU", R"CSS(
.payu-head { display: flex; align-items: center; justify-content: space-between; margin: 0 0 16px; }
.payu-logo { font: 800 24px/1 Arial, sans-serif; color: #a6c307; letter-spacing: -0.5px; }
.payu-order { color: #6b7280; font-size: 13px; }
)CSS") + R"HTML(<body><div class="qp-page">
<div class="payu-head"><div class="payu-logo">PayU</div><div class="payu-order">Order <span id="order">@ORDER@</span> · <span id="lang" data-lang="@LANG@"></span></div></div>
<div class="qp-brands"><span class="qp-mark qp-mark-VISA">VISA</span><span class="qp-mark qp-mark-MSTRCRD">MC</span><span class="qp-mark qp-mark-MSTRO">MC</span></div>
<div class="qp-error-box" id="error" role="alert"></div>
<form id="payu-form" novalidate data-token="@TOKEN@" data-continue="@CONTINUE@">
<div class="qp-group" data-field="cardNumber"><label class="qp-label" for="cardNumber" data-text="cardNumber"></label>
<input class="qp-control" id="cardNumber" name="cardNumber" inputmode="numeric" autocomplete="off" placeholder="1234 1234 1234 1234"></div>
<div class="qp-row">
<div class="qp-group" data-field="expiry"><label class="qp-label" for="expiry" data-text="expiry"></label>
<input class="qp-control" id="expiry" name="expiry" inputmode="numeric" autocomplete="off" placeholder="MM / YY"></div>
<div class="qp-group" data-field="cvv"><label class="qp-label" for="cvv" data-text="cvv"></label>
<input class="qp-control" id="cvv" name="cvv" inputmode="numeric" autocomplete="off" placeholder="123"></div>
</div>
<div class="qp-group" data-field="cardHolder"><label class="qp-label" for="cardHolder" data-text="cardHolder"></label>
<input class="qp-control" id="cardHolder" name="cardHolder" autocomplete="off" placeholder="Erika Mustermann"></div>
<button class="qp-button" id="pay" type="submit" data-text="pay"></button>
<div class="qp-secure" data-text="secure"></div>
</form></div>
<script>
(function () {
  // The header names the language the page speaks, in that language.
  var lang = document.getElementById("lang").getAttribute("data-lang") || "en", T = qpTexts(lang);
  document.getElementById("lang").textContent = T.language;
  var form = document.getElementById("payu-form"), token = form.getAttribute("data-token"), back = form.getAttribute("data-continue");
  Array.prototype.forEach.call(document.querySelectorAll("[data-text]"), function (node) { node.textContent = T[node.getAttribute("data-text")]; });
  var number = document.getElementById("cardNumber"), announcer = qpBrandAnnouncer(T);
  number.parentNode.appendChild(announcer.node);
  qpFormatAsTyped(number, qpGroupCard);
  qpFormatAsTyped(document.getElementById("expiry"), qpFormatExpiry);
  number.addEventListener("input", function () {
    var detected = qpCardBrand(number.value);
    document.getElementById("cvv").placeholder = qpPlaceholders(detected ? [detected] : []).cvv;
    announcer.update(detected);
  });
  var groups = form.querySelectorAll("[data-field]");
  function check(group) {
    var name = group.getAttribute("data-field"), key = qpCheckField(name, group.querySelector("input").value, document.getElementById("cardNumber").value);
    qpShowError(group, key !== "", T[key], "qp-has-error", "qp-hint qp-hint-error");
    return key === "";
  }
  Array.prototype.forEach.call(groups, function (group) {
    var input = group.querySelector("input");
    input.addEventListener("blur", function () { if (this.value.trim() !== "") check(group); });
    input.addEventListener("input", function () { if (group.classList.contains("qp-has-error")) check(group); });
  });
  form.addEventListener("submit", function (event) {
    event.preventDefault();
    if (!Array.prototype.map.call(groups, check).every(Boolean)) return;
    var button = document.getElementById("pay"), error = document.getElementById("error");
    button.disabled = true;
    error.style.display = "none";
    var v = function (id) { return document.getElementById(id).value; };
    qpAuthorize(location.origin, { token: token, method: "card", cardNumber: v("cardNumber"), expiry: v("expiry"), cvv: v("cvv"),
      holder: v("cardHolder"), locale: lang, continueUrl: back }, function (answer) {
      if (answer.outcome === "approved") { location.href = back; return; }
      if (answer.outcome === "challenge") { location.href = answer.challengeUrl; return; }
      button.disabled = false;
      if (answer.outcome === "declined") {
        // Nothing of the declined card stays on screen but its expiry and holder; the shopper
        // starts again at the card number.
        ["cardNumber", "cvv"].forEach(function (id) { document.getElementById(id).value = ""; });
        announcer.update("");
        number.focus();
      }
      error.textContent = T.declined;
      error.style.display = "block";
      qpReportToForm({ name: "PaymentDeclined", message: T.declined });
    });
  });
})();
</script></body></html>
)HTML";
  return page;
}

const std::string& challengePage() {
  static const std::string page = head("3-D Secure", R"CSS(
.tds-head { display: flex; align-items: center; gap: 10px; margin: 0 0 12px; }
.tds-badge { width: 34px; height: 34px; border-radius: 50%; background: #1a7f4b; color: #ffffff;
  display: flex; align-items: center; justify-content: center; font: 700 13px/1 Arial, sans-serif; }
.tds-details { margin: 0 0 14px; padding: 10px 12px; border-radius: 8px; background: #f4f6fb; }
.tds-details div { display: flex; justify-content: space-between; gap: 12px; }
.tds-details dt { color: #4a5160; } .tds-details dd { margin: 0; font-weight: 600; text-align: right; }
.qp-control.tds-code { letter-spacing: 6px; font-size: 20px; text-align: center; }
#challenge-cancel { margin-top: 10px; }
@media (prefers-color-scheme: dark) {
  .tds-details { background: #1e2128; } .tds-details dt { color: #c3c9d4; }
}
)CSS") + R"HTML(<body data-session="@SESSION@" data-lang="@LANG@"><div class="qp-page">
<div class="tds-head"><div class="tds-badge">3DS</div><div class="qp-title" data-text="challengeTitle"></div></div>
<dl class="tds-details">
<div><dt data-text="merchant"></dt><dd id="merchant">@MERCHANT@</dd></div>
<div id="amount-row"><dt data-text="amount"></dt><dd id="amount" data-amount="@AMOUNT@" data-currency="@CURRENCY@"></dd></div>
</dl>
<p class="qp-text" data-text="challengeText"></p>
<div class="qp-error-box" id="error" role="alert"></div>
<form id="challenge-form" novalidate>
<div class="qp-group" id="code-group"><label class="qp-label" for="challenge-code" data-text="code"></label>
<input class="qp-control tds-code" id="challenge-code" name="code" inputmode="numeric" autocomplete="one-time-code" maxlength="8" placeholder="••••" autofocus></div>
<button class="qp-button" id="challenge-submit" type="submit" data-text="confirm"></button>
<button class="qp-button qp-button-secondary" id="challenge-cancel" type="button" data-text="cancel"></button>
<div class="qp-secure">Sandbox: the code is 1234</div>
</form></div>
<script>
(function () {
  var lang = document.body.getAttribute("data-lang"), T = qpTexts(lang), session = document.body.getAttribute("data-session");
  var framed = window.parent !== window;
  Array.prototype.forEach.call(document.querySelectorAll("[data-text]"), function (node) { node.textContent = T[node.getAttribute("data-text")]; });
  // The amount in the shopper's language; a challenge without a payment (storing a card) shows none.
  var amount = document.getElementById("amount"), minor = amount.getAttribute("data-amount");
  if (minor === "") document.getElementById("amount-row").style.display = "none";
  else {
    try {
      amount.textContent = new Intl.NumberFormat(lang || "en", { style: "currency", currency: amount.getAttribute("data-currency") }).format(minor / 100);
    } catch (e) {
      amount.textContent = (minor / 100).toFixed(2) + " " + amount.getAttribute("data-currency");
    }
  }
  // Inside the form service's frame the page under it relays that the challenge is showing.
  if (framed) window.parent.postMessage({ type: "qp-challenge" }, "*");
  var code = document.getElementById("challenge-code"), form = document.getElementById("challenge-form");
  code.focus();
  function post(path, body) {
    return fetch(location.origin + path, { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(body) })
      .then(function (r) { return r.json(); });
  }
  form.addEventListener("submit", function (event) {
    event.preventDefault();
    var button = document.getElementById("challenge-submit");
    button.disabled = true;
    post("/providers/3ds/verify", { session: session, code: code.value.trim() }).then(function (answer) {
      button.disabled = false;
      if (answer.outcome === "approved") {
        if (framed) window.parent.postMessage({ type: "qp-completed", redirect: answer.continueUrl, data: answer.data || "" }, "*");
        else location.href = answer.continueUrl;
        return;
      }
      qpShowError(document.getElementById("code-group"), true, T.badCode, "qp-has-error", "qp-hint qp-hint-error");
      code.focus();
    });
  });
  code.addEventListener("input", function () { qpShowError(document.getElementById("code-group"), false, "", "qp-has-error", "qp-hint qp-hint-error"); });
  // Cancelling ends the payment: the page says so and tells the form (or the page it is framed in).
  document.getElementById("challenge-cancel").addEventListener("click", function () {
    this.disabled = true;
    function cancelled() {
      var error = { name: "PaymentCancelled", message: T.cancelled };
      form.style.display = "none";
      var box = document.getElementById("error");
      box.textContent = T.cancelled;
      box.style.display = "block";
      if (framed) window.parent.postMessage({ type: "qp-error", error: error }, "*");
      else qpReportToForm(error);
    }
    post("/providers/3ds/cancel", { session: session }).then(cancelled, cancelled);
  });
})();
</script></body></html>
)HTML";
  return page;
}

}  // namespace brivane::sandbox::pages
