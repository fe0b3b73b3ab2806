// The card gateway's widget: reads `wpwlOptions`, turns `form.paymentWidgets` into a card,
// direct-debit or PayPal form, checks what the shopper types, calls the page's hooks and
// authorizes with the sandbox. A checkout id starting with "invalid" makes it report an error.
#include "sandbox/provider_pages.h"

namespace brivane::sandbox::pages {
namespace {

constexpr const char* kWidget = R"JS(
(function () {
  var options = window.wpwlOptions || {};
  var script = document.currentScript;
  var src = script ? script.src : "";
  var base = (/^(https?:\/\/[^\/]+)/.exec(src) || [])[1] || location.origin;
  var checkoutId = decodeURIComponent((/[?&]checkoutId=([^&]*)/.exec(src) || [])[1] || "");
  var T = qpTexts(options.locale);
  var css = document.createElement("style");
  css.textContent = @CSS@ + "\n.wpwl-form { max-width: 520px; margin: 0 auto; }";
  document.head.insertBefore(css, document.head.firstChild);

  function el(tag, attrs, children) {
    var node = document.createElement(tag);
    Object.keys(attrs || {}).forEach(function (key) { node.setAttribute(key, attrs[key]); });
    (children || []).forEach(function (child) { node.appendChild(typeof child === "string" ? document.createTextNode(child) : child); });
    return node;
  }
  var inputs = 0;
  function input(name, cls, placeholder, mode) {
    return el("input", { name: name, id: "wpwl-input-" + ++inputs, "class": "wpwl-control wpwl-control-" + cls,
      placeholder: placeholder || "", autocomplete: "off", inputmode: mode || "text" });
  }
  function group(name, label, control) {
    return el("div", { "class": "wpwl-group wpwl-group-" + name }, [
      el("label", { "class": "wpwl-label wpwl-label-" + name, "for": control.id }, [label]),
      el("div", { "class": "wpwl-wrapper wpwl-wrapper-" + name }, [control])
    ]);
  }
  // Navigates the way the gateway does: a form submission with the target's query as fields.
  function submitTo(url, extra) {
    var parts = url.split("?"), form = el("form", { method: "get", action: parts[0] });
    var params = new URLSearchParams(parts[1] || "");
    Object.keys(extra || {}).forEach(function (key) { params.set(key, extra[key]); });
    params.forEach(function (value, key) { form.appendChild(el("input", { type: "hidden", name: key, value: value })); });
    form.style.display = "none";
    document.body.appendChild(form);
    form.submit();
  }
  function build(container) {
    var brands = (container.getAttribute("data-brands") || "").split(/\s+/).filter(Boolean);
    var action = container.getAttribute("action") || "";
    var form = el("form", { "class": "wpwl-form", action: action, method: "get", novalidate: "novalidate" });
    var submitLabel = (options.labels && options.labels.submit) || T.pay;
    var banner = el("div", { "class": "qp-error-box wpwl-message", role: "alert" });
    var fields = [];
    var kind = "card";
    var brandInput = el("input", { type: "hidden", name: "paymentBrand", value: brands[0] || "" });
    form.appendChild(brandInput);
    form.appendChild(banner);
    function field(name, label, control) {
      var g = group(name, label, control);
      fields.push({ name: name, group: g, input: control });
      control.addEventListener("blur", function () { if (control.value.trim() !== "") check(fields.filter(function (f) { return f.input === control; })[0]); });
      control.addEventListener("input", function () { if (g.classList.contains("wpwl-has-error")) check(fields.filter(function (f) { return f.input === control; })[0]); });
      return g;
    }
    function cardNumber() { var f = fields.filter(function (x) { return x.name === "cardNumber"; })[0]; return f ? f.input.value : ""; }
    function check(f) {
      if (f.group.style.display === "none") return true;
      var key = qpCheckField(f.name === "bankAccountHolder" ? "accountHolder" : f.name === "accountIban" ? "iban" : f.name, f.input.value, cardNumber());
      var text = key === "badHolder" && f.name === "cardHolder" && options.errorMessages ? options.errorMessages.cardHolderError
        : key === "badHolder" && options.errorMessages ? options.errorMessages.bankAccountHolderError : T[key];
      qpShowError(f.group, key !== "", text || T[key], "wpwl-has-error", "wpwl-hint wpwl-hint-error");
      f.input.classList.toggle("wpwl-control-error", key !== "");
      return key === "";
    }
    if (brands.length === 1 && brands[0] === "DIRECTDEBIT_SEPA") {
      kind = "directDebit";
      form.className += " wpwl-form-directDebit";
      form.appendChild(el("div", { "class": "qp-brands" }, [qpMark("DIRECTDEBIT_SEPA")]));
      form.appendChild(field("bankAccountHolder", T.accountHolder, input("bankAccount.holder", "bankAccountHolder", "Erika Mustermann")));
      form.appendChild(field("accountIban", T.iban, input("bankAccount.iban", "iban", "DE00 0000 0000 0000 0000 00")));
    } else if (brands.length === 1 && brands[0] === "PAYPAL") {
      kind = "virtualAccount";
      form.className += " wpwl-form-virtualAccount";
      form.appendChild(el("div", { "class": "qp-brands" }, [qpMark("PAYPAL")]));
      submitLabel = "PayPal";
    } else {
      form.className += " wpwl-form-card";
      var marks = el("div", { "class": "qp-brands wpwl-group-brand" }, brands.map(qpMark));
      form.appendChild(marks);
      var placeholders = qpPlaceholders(brands), announcer = qpBrandAnnouncer(T);
      var number = input("card.number", "cardNumber", placeholders.cardNumber, "numeric");
      var cvvInput = input("card.cvv", "cvv", placeholders.cvv, "numeric");
      qpFormatAsTyped(number, qpGroupCard);
      // The security code's hint says where the code is: on the front of an American Express.
      var cvvHint = null, amexOnly = placeholders.cvv.length === 4;
      var hintFor = function (brand) { return brand === "AMEX" || (!brand && amexOnly) ? T.cvvHintAmex : T.cvvHint; };
      number.addEventListener("input", function () {
        var detected = qpCardBrand(number.value).replace("MSTRCRD", "MASTER");
        if (cvvHint) cvvHint.textContent = hintFor(detected);
        if (options.brandDetection && detected && brands.indexOf(detected) >= 0) brandInput.value = detected;
        Array.prototype.forEach.call(marks.children, function (mark) {
          mark.style.opacity = !detected || mark.getAttribute("data-brand") === detected ? "1" : "0.3";
        });
        cvvInput.placeholder = detected ? qpPlaceholders([detected]).cvv : placeholders.cvv;
        announcer.update(detected);
      });
      form.appendChild(field("cardNumber", T.cardNumber, number));
      form.appendChild(announcer.node);
      var cvv = field("cvv", T.cvv, cvvInput);
      if (options.showCVVHint) {
        cvvHint = el("div", { "class": "wpwl-hint wpwl-hint-cvv", id: cvvInput.id + "-hint" }, [hintFor("")]);
        cvv.appendChild(cvvHint);
        cvvInput.setAttribute("aria-describedby", cvvInput.id + "-hint");
      }
      var expiry = input("card.expiry", "expiry", "MM / YY", "numeric");
      qpFormatAsTyped(expiry, qpFormatExpiry);
      form.appendChild(el("div", { "class": "wpwl-row" }, [field("expiry", T.expiry, expiry), cvv]));
      form.appendChild(field("cardHolder", T.cardHolder, input("card.holder", "cardHolder", "Erika Mustermann")));
    }
    var button = el("button", { type: "submit", "class": "wpwl-button wpwl-button-pay" }, [submitLabel]);
    form.appendChild(el("div", { "class": "wpwl-group wpwl-group-submit" }, [button]));
    form.appendChild(el("div", { "class": "qp-secure" }, [T.secure]));
    var busy = false;
    function fail(error) {
      busy = false;
      button.disabled = false;
      banner.textContent = error.message;
      banner.style.display = "block";
      if (typeof options.onError === "function") options.onError(error);
    }
    form.addEventListener("submit", function (event) {
      event.preventDefault();
      if (busy) return;
      var valid = fields.map(check).every(Boolean);
      if (!valid) return;
      var hook = kind === "card" ? options.onBeforeSubmitCard
        : kind === "directDebit" ? options.onBeforeSubmitDirectDebit : options.onBeforeSubmitVirtualAccount;
      if (typeof hook === "function" && hook.call(form) === false) return;
      banner.style.display = "none";
      var back = { id: checkoutId, resourcePath: "/v1/checkouts/" + checkoutId + "/payment" };
      var target = action + (action.indexOf("?") >= 0 ? "&" : "?") + "id=" + encodeURIComponent(back.id) +
        "&resourcePath=" + encodeURIComponent(back.resourcePath);
      if (kind === "virtualAccount") {
        submitTo(base + "/providers/paypal/approve", { token: checkoutId, lang: options.locale || "en", "return": target });
        return;
      }
      busy = true;
      button.disabled = true;
      var value = function (name) { var f = fields.filter(function (x) { return x.name === name; })[0]; return f ? f.input.value : ""; };
      qpAuthorize(base, {
        token: checkoutId, method: kind === "card" ? "card" : "sepa", brand: brandInput.value, locale: options.locale,
        cardNumber: value("cardNumber"), expiry: value("expiry"), cvv: value("cvv"), holder: value("cardHolder") || value("bankAccountHolder"),
        iban: value("accountIban"), continueUrl: target
      }, function (answer) {
        if (answer.outcome === "approved") submitTo(target);
        else if (answer.outcome === "challenge") location.href = answer.challengeUrl;
        else if (answer.outcome === "declined") {
          // Nothing of the declined card stays on screen but its expiry and holder; the shopper
          // starts again at the first field (the card number).
          ["cardNumber", "cvv"].forEach(function (name) {
            var f = fields.filter(function (x) { return x.name === name; })[0];
            if (f) { f.input.value = ""; f.input.dispatchEvent(new Event("input", { bubbles: true })); }
          });
          fail({ name: "PaymentDeclined", message: T.declined });
          fields[0].input.focus();
        }
        else fail({ name: "PaymentError", message: answer.message || T.declined });
      });
    });
    container.parentNode.replaceChild(form, container);
  }
  function start() {
    if (/^invalid/i.test(checkoutId)) {
      if (typeof options.onError === "function") {
        options.onError({ name: "InvalidCheckoutIdError", message: "Invalid checkout id " + checkoutId });
      }
      return;
    }
    Array.prototype.forEach.call(document.querySelectorAll("form.paymentWidgets"), build);
    window.wpwl = { checkout: { id: checkoutId }, isReady: true };
    if (typeof options.onReady === "function") options.onReady();
  }
  if (document.readyState === "loading") document.addEventListener("DOMContentLoaded", start);
  else start();
})();
)JS";

// A JavaScript string literal holding `text`.
std::string quotedForScript(const std::string& text) {
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') quoted.push_back('\\');
    if (c == '\n') {
      quoted += "\\n";
      continue;
    }
    quoted.push_back(c);
  }
  return quoted + "\"";
}

}  // namespace

const std::string& widgetScript() {
  static const std::string script = [] {
    std::string body = kWidget;
    body.replace(body.find("@CSS@"), 5, quotedForScript(standInCSS()));
    return labelsScript() + checksScript() + body;
  }();
  return script;
}

}  // namespace brivane::sandbox::pages
