// The platform's form service, as the frame of the form-service page (providers 3 to 7):
// waits for its settings by postMessage, shows the card or SEPA inputs in the shopper's
// language, checks them, and reports state, focus, before-submit and completion to the page.
#include "sandbox/provider_pages.h"

namespace brivane::sandbox::pages {
namespace {

constexpr const char* kFormService = R"HTML(
<form id="qp-form" class="qp-page" novalidate></form>
<script>
(function () {
  var RETURN_URL = "@RETURN_URL@";
  var settings = null, form = document.getElementById("qp-form"), fields = [], maxHolder = 201, T = qpTexts("en"), busy = false;
  var banner = document.createElement("div"); banner.className = "qp-error-box"; banner.setAttribute("role", "alert");
  function send(message) { window.parent.postMessage(message, "*"); }
  function cardNumber() { var f = byName("cardNumber"); return f ? f.input.value : ""; }
  function errorKey(f) { return qpCheckField(f.name, f.input.value, cardNumber()); }
  function state() {
    var result = {};
    fields.forEach(function (f) {
      result[f.name] = { empty: f.input.value.trim() === "", valid: errorKey(f) === "", visible: f.group.style.display !== "none" };
    });
    return result;
  }
  function errorText(f, key) {
    var texts = settings.texts || {};
    if (key === "badHolder") return (f.name === "cardHolder" ? texts.cardHolderError : texts.accountHolderError) || T.badHolder;
    if (key === "badIban" && f.input.value.trim().length > 2 && !/^(DE|AT|FR|ES|IT|NL|BE|LU|FI|EE|LV|LT|PT|SK|SI|GR|IE)/i.test(f.input.value.trim())) {
      return texts.ibanCountryError || T.badIban;
    }
    return T[key];
  }
  function check(f) {
    var key = f.group.style.display === "none" ? "" : errorKey(f);
    qpShowError(f.group, key !== "", key ? errorText(f, key) : "", "qp-has-error", "qp-hint qp-hint-error");
    return key === "";
  }
  function showError(f, on) { if (on) check(f); else qpShowError(f.group, false, "", "qp-has-error", "qp-hint qp-hint-error"); }
  function add(parent, name, label, placeholder, mode) {
    var group = document.createElement("div"); group.className = "qp-group qp-group-" + name;
    var l = document.createElement("label"); l.className = "qp-label qp-label-" + name; l.textContent = label;
    var w = document.createElement("div"); w.className = "qp-wrapper qp-wrapper-" + name;
    var input = document.createElement("input"); input.className = "qp-control qp-control-" + name; input.name = name;
    input.placeholder = placeholder || ""; input.autocomplete = "off"; input.setAttribute("inputmode", mode || "text");
    input.id = "qp-input-" + name; l.htmlFor = input.id;
    w.appendChild(input); group.appendChild(l); group.appendChild(w); parent.appendChild(group);
    var f = { name: name, group: group, input: input };
    input.addEventListener("input", function () { if (group.classList.contains("qp-has-error")) check(f); send({ type: "qp-state", fields: state() }); });
    input.addEventListener("blur", function () { if (input.value.trim() !== "") check(f); });
    input.addEventListener("focus", focus);
    fields.push(f);
    return group;
  }
  function visibleFields() { return fields.filter(function (f) { return f.group.style.display !== "none"; }); }
  function focus() {
    var list = visibleFields(), index = -1;
    list.forEach(function (f, i) { if (f.input === document.activeElement) index = i; });
    send({ type: "qp-focus", index: index, count: list.length });
  }
  function move(step) {
    var list = visibleFields(), index = -1;
    list.forEach(function (f, i) { if (f.input === document.activeElement) index = i; });
    var next = list[index + step]; if (next) next.input.focus(); focus();
  }
  // The page shows the form's toolbar while one of these inputs has the focus.
  function keyboard() { setTimeout(function () { send({ type: "qp-keyboard", shown: document.activeElement && document.activeElement.tagName === "INPUT" && document.activeElement.type !== "checkbox" }); }, 0); }
  document.addEventListener("focusin", keyboard);
  document.addEventListener("focusout", keyboard);
  function byName(name) { return fields.filter(function (f) { return f.name === name; })[0]; }
  function init(message) {
    settings = message;
    T = qpTexts(message.locale);
    document.documentElement.classList.toggle("qp-host-colours", !!message.hostColours);
    document.getElementById("qp-css").textContent = message.css || "";
    qpSaneStyles(document);
    var texts = message.texts || {};
    var codes = message.paymentOptionCodes || [];
    var marks = document.createElement("div"); marks.className = "qp-brands qp-group-brand";
    codes.forEach(function (code) { marks.appendChild(qpMark(code)); });
    form.appendChild(marks);
    form.appendChild(banner);
    if (codes.indexOf("BNKACCT") >= 0) {
      add(form, "accountHolder", T.accountHolder, "Erika Mustermann");
      add(form, "iban", T.iban, "DE00 0000 0000 0000 0000 00");
    } else {
      var placeholders = qpPlaceholders(codes), announcer = qpBrandAnnouncer(T);
      add(form, "cardNumber", T.cardNumber, placeholders.cardNumber, "numeric");
      form.appendChild(announcer.node);
      var row = document.createElement("div"); row.className = "qp-row"; form.appendChild(row);
      add(row, "expiry", T.expiry, "MM / YY", "numeric");
      add(row, "cvv", T.cvv, placeholders.cvv, "numeric");
      add(form, "cardHolder", T.cardHolder, "Erika Mustermann");
      var number = byName("cardNumber").input, cvv = byName("cvv").input, hint = null;
      // The security code's hint says where the code is: on the front of an American Express.
      var hintFor = function (brand) { return (brand || (placeholders.cvv.length === 4 ? "AMEX" : "")) === "AMEX" ? T.cvvHintAmex : T.cvvHint; };
      if (message.showCVVHint) {
        hint = document.createElement("div"); hint.className = "qp-hint qp-hint-cvv"; hint.id = cvv.id + "-hint";
        hint.textContent = hintFor(""); byName("cvv").group.appendChild(hint); cvv.setAttribute("aria-describedby", hint.id);
      }
      qpFormatAsTyped(number, qpGroupCard);
      qpFormatAsTyped(byName("expiry").input, qpFormatExpiry);
      number.addEventListener("input", function () {
        var detected = qpCardBrand(number.value);
        if (hint) hint.textContent = hintFor(detected);
        cvv.placeholder = detected ? qpPlaceholders([detected]).cvv : placeholders.cvv;
        announcer.update(detected);
      });
    }
    if (message.showStorePaymentMethod) {
      var store = document.createElement("label"); store.className = "qp-store";
      store.innerHTML = '<input type="checkbox" name="storePaymentOption"> ';
      store.appendChild(document.createTextNode(texts.storePaymentMethod || ""));
      form.appendChild(store);
    }
    var button = document.createElement("button"); button.type = "submit"; button.className = "qp-button"; button.textContent = texts.submit || T.pay;
    form.appendChild(button);
    var secure = document.createElement("div"); secure.className = "qp-secure"; secure.textContent = T.secure; form.appendChild(secure);
    send({ type: "qp-log", text: "form service ready for " + message.provider });
    send({ type: "qp-ready", fields: state() });
  }
  function submitArgs() {
    var args = { paymentBrand: (settings.paymentOptionCodes || [])[0] || "" };
    if (byName("cardNumber")) args.paymentBrand = qpCardBrand(cardNumber()) || args.paymentBrand;
    fields.forEach(function (f) {
      if (f.name === "accountHolder") args["bankAccount.holder"] = f.input.value;
      else if (f.name === "iban") args["bankAccount.iban"] = f.input.value;
      else if (f.name === "cardHolder" || f.name === "expiry") args[f.name] = f.input.value;
    });
    var store = form.querySelector("input[name=storePaymentOption]");
    if (store) args.storePaymentOption = store.checked ? "true" : "false";
    return args;
  }
  function trySubmit() {
    if (busy) return;
    var bad = visibleFields().filter(function (f) { return !check(f); });
    send({ type: "qp-state", fields: state() });
    if (bad.length === 0) send({ type: "qp-beforeSubmit", args: submitArgs() });
  }
  function value(name) { var f = byName(name); return f ? f.input.value : ""; }
  function authorize() {
    busy = true;
    banner.style.display = "none";
    var data = btoa(unescape(encodeURIComponent(JSON.stringify({ token: settings.token, args: submitArgs() }))));
    qpAuthorize(location.origin, {
      token: settings.token, method: byName("iban") ? "sepa" : "card", locale: settings.locale,
      cardNumber: value("cardNumber"), expiry: value("expiry"), cvv: value("cvv"), holder: value("cardHolder") || value("accountHolder"),
      iban: value("iban"), continueUrl: RETURN_URL, data: data
    }, function (answer) {
      busy = false;
      if (answer.outcome === "approved") send({ type: "qp-completed", redirect: answer.returnUrl || RETURN_URL, data: data });
      else if (answer.outcome === "challenge") location.href = answer.challengeUrl;
      else {
        if (answer.outcome === "declined") {
          // Nothing of the declined card stays on screen but its expiry and holder; the shopper
          // starts again at the card number.
          ["cardNumber", "cvv"].forEach(function (name) {
            var f = byName(name);
            if (f) { f.input.value = ""; f.input.dispatchEvent(new Event("input", { bubbles: true })); }
          });
          if (byName("cardNumber")) byName("cardNumber").input.focus();
        }
        banner.textContent = answer.outcome === "declined" ? T.declined : (answer.message || T.declined);
        banner.style.display = "block";
        send({ type: "qp-error", error: { name: "PaymentDeclined", message: banner.textContent } });
      }
    });
  }
  form.addEventListener("submit", function (e) { e.preventDefault(); trySubmit(); });
  window.addEventListener("message", function (event) {
    var m = event.data || {}, f;
    switch (m.type) {
      case "qp-init": if (!settings) init(m); break;
      case "qp-setVisibility": if ((f = byName(m.name))) f.group.style.display = m.visible ? "" : "none"; send({ type: "qp-state", fields: state() }); break;
      case "qp-validate": if ((f = byName(m.name))) check(f); send({ type: "qp-state", fields: state() }); break;
      case "qp-clearError": if ((f = byName(m.name))) showError(f, false); break;
      case "qp-maxLength": maxHolder = m.length || maxHolder; if ((f = byName("cardHolder"))) f.input.maxLength = maxHolder; break;
      case "qp-submit": trySubmit(); break;
      case "qp-proceed": authorize(); break;
      case "qp-abort": break;
      case "qp-next": move(1); break;
      case "qp-prev": move(-1); break;
      case "qp-focus": focus(); break;
      case "qp-blur": if (document.activeElement && document.activeElement.blur) document.activeElement.blur(); break;
    }
  });
})();
</script></body></html>
)HTML";

}  // namespace

const std::string& formServicePage() {
  static const std::string page =
      std::string(R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1"><title>Form service</title>
<style>)HTML") +
      standInCSS() + "\n.qp-page { padding: 12px 16px; }</style>\n<style id=\"qp-css\"></style><script>" +
      labelsScript() + checksScript() + "</script></head>\n<body>" + kFormService;
  return page;
}

}  // namespace brivane::sandbox::pages
