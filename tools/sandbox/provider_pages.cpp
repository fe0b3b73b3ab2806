// Stand-ins for the payment providers' pages and scripts: enough of the card gateway's
// widget, the PayPal button, the platform's form service and a PayU page for the form's
// templates to run offline against the sandbox. All paths live under "/providers/" and
// "/callbacks/".
#include <httplib.h>

#include <string>

#include "sandbox/SandboxState.h"

namespace brivane::sandbox {
namespace {

// The card gateway's widget: reads `wpwlOptions`, turns `form.paymentWidgets` into a card or
// direct-debit form and calls the page's hooks. A checkout id starting with "invalid" makes it
// report an error instead.
constexpr const char* kWidgetScript = R"JS((function () {
  var options = window.wpwlOptions || {};
  var script = document.currentScript;
  var checkoutId = (/[?&]checkoutId=([^&]*)/.exec(script ? script.src : "") || [])[1] || "";
  checkoutId = decodeURIComponent(checkoutId);
  function el(tag, attrs, children) {
    var node = document.createElement(tag);
    Object.keys(attrs || {}).forEach(function (key) { node.setAttribute(key, attrs[key]); });
    (children || []).forEach(function (child) { node.appendChild(typeof child === "string" ? document.createTextNode(child) : child); });
    return node;
  }
  function group(name, label, input) {
    return el("div", { "class": "wpwl-group wpwl-group-" + name }, [
      el("div", { "class": "wpwl-label wpwl-label-" + name }, [label]),
      el("div", { "class": "wpwl-wrapper wpwl-wrapper-" + name }, [input])
    ]);
  }
  function input(name, cls, placeholder) {
    return el("input", { name: name, "class": "wpwl-control wpwl-control-" + cls, placeholder: placeholder || "", autocomplete: "off" });
  }
  function detect(number) {
    number = number.replace(/\s/g, "");
    if (/^4/.test(number)) return "VISA";
    if (/^(5[1-5]|2[2-7])/.test(number)) return "MASTER";
    return "";
  }
  function build(container) {
    var brands = (container.getAttribute("data-brands") || "").split(/\s+/).filter(Boolean);
    var action = container.getAttribute("action") || "";
    var form = el("form", { "class": "wpwl-form", action: action, method: "get", novalidate: "novalidate" });
    var submitLabel = (options.labels && options.labels.submit) || "Pay now";
    var kind = "card";
    if (brands.length === 1 && brands[0] === "DIRECTDEBIT_SEPA") {
      kind = "directDebit";
      form.className += " wpwl-form-directDebit";
      form.appendChild(el("input", { type: "hidden", name: "paymentBrand", value: "DIRECTDEBIT_SEPA" }));
      form.appendChild(group("bankAccountHolder", "Account holder", input("bankAccount.holder", "bankAccountHolder")));
      form.appendChild(group("accountIban", "IBAN", input("bankAccount.iban", "iban", "DE00 0000 0000 0000 0000 00")));
    } else if (brands.length === 1 && brands[0] === "PAYPAL") {
      kind = "virtualAccount";
      form.className += " wpwl-form-virtualAccount";
      form.appendChild(el("input", { type: "hidden", name: "paymentBrand", value: "PAYPAL" }));
      submitLabel = "PayPal";
    } else {
      form.className += " wpwl-form-card";
      var brand = el("select", { name: "paymentBrand", "class": "wpwl-control wpwl-control-brand" },
        brands.map(function (b) { return el("option", { value: b }, [b]); }));
      form.appendChild(el("div", { "class": "wpwl-group wpwl-group-brand" }, [brand]));
      var number = input("card.number", "cardNumber", "Card number");
      if (options.brandDetection) {
        number.addEventListener("input", function () {
          var detected = detect(number.value);
          if (detected && brands.indexOf(detected) >= 0) brand.value = detected;
        });
      }
      form.appendChild(group("cardNumber", "Card number", number));
      form.appendChild(group("expiry", "Expiry date", input("card.expiry", "expiry", "MM / YY")));
      form.appendChild(group("cardHolder", "Card holder", input("card.holder", "cardHolder", "Name")));
      var cvv = group("cvv", "CVV", input("card.cvv", "cvv", "CVV"));
      if (options.showCVVHint) cvv.appendChild(el("div", { "class": "wpwl-hint wpwl-hint-cvv" }, ["3 digits on the back of the card"]));
      form.appendChild(cvv);
    }
    form.appendChild(el("div", { "class": "wpwl-group wpwl-group-submit" }, [
      el("button", { type: "submit", "class": "wpwl-button wpwl-button-pay" }, [submitLabel])
    ]));
    form.addEventListener("submit", function (event) {
      event.preventDefault();
      var invalid = Array.prototype.filter.call(form.querySelectorAll("input.wpwl-control"), function (control) {
        var empty = String(control.value).trim().length === 0;
        control.parentNode.parentNode.classList.toggle("wpwl-has-error", empty);
        return empty;
      });
      if (invalid.length > 0) return;
      var hook = kind === "card" ? options.onBeforeSubmitCard
        : kind === "directDebit" ? options.onBeforeSubmitDirectDebit : options.onBeforeSubmitVirtualAccount;
      if (typeof hook === "function" && hook.call(form) === false) return;
      var target = action + (action.indexOf("?") >= 0 ? "&" : "?") + "id=" + encodeURIComponent(checkoutId) +
        "&resourcePath=" + encodeURIComponent("/v1/checkouts/" + checkoutId + "/payment");
      window.location.href = target;
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

// The PayPal button: `paypal.Button.render(options, selector)` draws a button; clicking it
// approves at once with a sandbox payer, "Cancel" cancels.
constexpr const char* kPayPalScript = R"JS((function () {
  function render(options, selector) {
    return new Promise(function (resolve, reject) {
      var host = document.querySelector(selector);
      if (!host) { reject(new Error("no container " + selector)); return; }
      var style = options.style || {};
      var button = document.createElement("button");
      button.type = "button";
      button.className = "paypal-button paypal-size-" + style.size + " paypal-color-" + style.color +
        " paypal-shape-" + style.shape + " paypal-label-" + style.label;
      button.setAttribute("role", "button");
      button.setAttribute("data-locale", options.locale || "");
      button.textContent = style.label === "paypal" ? "PayPal" : "PayPal " + style.label;
      var cancel = document.createElement("a");
      cancel.href = "#";
      cancel.className = "paypal-cancel";
      cancel.textContent = "Cancel";
      host.appendChild(button);
      if (style.tagline) {
        var tagline = document.createElement("div");
        tagline.className = "paypal-tagline";
        tagline.textContent = "The safer, easier way to pay";
        host.appendChild(tagline);
      }
      host.appendChild(cancel);
      button.addEventListener("click", function () {
        Promise.resolve(typeof options.payment === "function" ? options.payment() : null).then(function (token) {
          if (!token) return;
          options.onAuthorize({ paymentToken: token, paymentID: "PAYID-" + token, payerID: "SANDBOXPAYER1" }, {});
        }, function (error) { if (options.onError) options.onError(error); });
      });
      cancel.addEventListener("click", function (event) {
        event.preventDefault();
        if (options.onCancel) options.onCancel({ paymentToken: null });
      });
      resolve();
    });
  }
  window.paypal = { version: "sandbox", Button: { render: render } };
  if (typeof window.qpRenderButton === "function" && document.readyState !== "loading") window.qpRenderButton();
})();
)JS";

// The platform's form service, as the frame of the form-service page: waits for its settings
// by postMessage, shows the inputs and reports state, focus, before-submit and completion.
constexpr const char* kFormServicePage = R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>Form service</title>
<style>body{margin:0;padding:8px;font-family:sans-serif}.qp-group{margin:6px 0}.qp-has-error .qp-control{border-color:#b00020}.qp-hint-error{color:#b00020}</style>
<style id="qp-css"></style></head>
<body><form id="qp-form" novalidate></form>
<script>
(function () {
  var RETURN_URL = "@RETURN_URL@";
  var settings = null, form = document.getElementById("qp-form"), fields = [], maxHolder = 201;
  function send(message) { window.parent.postMessage(message, "*"); }
  function state() {
    var result = {};
    fields.forEach(function (f) {
      result[f.name] = { empty: f.input.value.trim() === "", valid: valid(f), visible: f.group.style.display !== "none" };
    });
    return result;
  }
  function luhn(d) { var s = 0; for (var i = 0; i < d.length; i++) { var n = +d[d.length - 1 - i]; if (i % 2) { n *= 2; if (n > 9) n -= 9; } s += n; } return d.length >= 12 && s % 10 === 0; }
  function valid(f) {
    var v = f.input.value.trim();
    switch (f.name) {
      case "cardNumber": return /^[\d\s]+$/.test(v) && luhn(v.replace(/\s/g, ""));
      case "expiry": return /^(0[1-9]|1[0-2])\s*\/\s*(\d{2}|\d{4})$/.test(v);
      case "cvv": return /^\d{3,4}$/.test(v);
      case "cardHolder": return v.length >= 2 && v.length <= maxHolder;
      case "iban": return /^[A-Z]{2}\d{2}[A-Z0-9]{10,30}$/.test(v.replace(/\s/g, "").toUpperCase());
      default: return v.length > 0;
    }
  }
  function showError(f, on) {
    f.group.classList.toggle("qp-has-error", on);
    var hint = f.group.querySelector(".qp-hint-error");
    if (on && !hint) { hint = document.createElement("div"); hint.className = "qp-hint qp-hint-error"; hint.textContent = f.error; f.group.appendChild(hint); }
    if (!on && hint) hint.parentNode.removeChild(hint);
  }
  function add(name, label, error) {
    var group = document.createElement("div"); group.className = "qp-group qp-group-" + name;
    var l = document.createElement("div"); l.className = "qp-label qp-label-" + name; l.textContent = label;
    var w = document.createElement("div"); w.className = "qp-wrapper qp-wrapper-" + name;
    var input = document.createElement("input"); input.className = "qp-control qp-control-" + name; input.name = name;
    w.appendChild(input); group.appendChild(l); group.appendChild(w); form.appendChild(group);
    var f = { name: name, group: group, input: input, error: error || ("Invalid " + label) };
    input.addEventListener("input", function () { send({ type: "qp-state", fields: state() }); });
    input.addEventListener("focus", focus);
    fields.push(f);
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
  function byName(name) { return fields.filter(function (f) { return f.name === name; })[0]; }
  function init(message) {
    settings = message;
    document.getElementById("qp-css").textContent = message.css || "";
    var texts = message.texts || {};
    var codes = message.paymentOptionCodes || [];
    if (codes.indexOf("BNKACCT") >= 0) {
      add("accountHolder", "Account holder", texts.accountHolderError);
      add("iban", "IBAN", texts.ibanCountryError);
    } else {
      var brand = document.createElement("div"); brand.className = "qp-group qp-group-brand";
      brand.innerHTML = '<span class="qp-label qp-label-brand">Brand</span><span class="qp-brand">' + codes.join(" ") + "</span>";
      form.appendChild(brand);
      add("cardNumber", "Card number"); add("expiry", "Expiry date"); add("cardHolder", "Card holder", texts.cardHolderError); add("cvv", "CVV");
    }
    if (message.showStorePaymentMethod) {
      var store = document.createElement("label"); store.className = "qp-store";
      store.innerHTML = '<input type="checkbox" name="storePaymentOption"> ';
      store.appendChild(document.createTextNode(texts.storePaymentMethod || ""));
      form.appendChild(store);
    }
    var button = document.createElement("button"); button.type = "submit"; button.className = "qp-button"; button.textContent = texts.submit || "Submit";
    form.appendChild(button);
    send({ type: "qp-log", text: "form service ready for " + message.provider });
    send({ type: "qp-ready", fields: state() });
  }
  function submitArgs() {
    var args = { paymentBrand: (settings.paymentOptionCodes || [])[0] || "" };
    fields.forEach(function (f) {
      if (f.name === "accountHolder") args["bankAccount.holder"] = f.input.value;
      else if (f.name === "iban") args["bankAccount.iban"] = f.input.value;
      else if (f.name === "cardHolder" || f.name === "expiry") args[f.name] = f.input.value;
    });
    return args;
  }
  function trySubmit() {
    var bad = visibleFields().filter(function (f) { var ok = valid(f); showError(f, !ok); return !ok; });
    send({ type: "qp-state", fields: state() });
    if (bad.length === 0) send({ type: "qp-beforeSubmit", args: submitArgs() });
  }
  form.addEventListener("submit", function (e) { e.preventDefault(); trySubmit(); });
  window.addEventListener("message", function (event) {
    var m = event.data || {}, f;
    switch (m.type) {
      case "qp-init": if (!settings) init(m); break;
      case "qp-setVisibility": if ((f = byName(m.name))) f.group.style.display = m.visible ? "" : "none"; send({ type: "qp-state", fields: state() }); break;
      case "qp-validate": fields.forEach(function (x) { if (x.name === m.name) showError(x, !valid(x)); }); send({ type: "qp-state", fields: state() }); break;
      case "qp-clearError": if ((f = byName(m.name))) showError(f, false); break;
      case "qp-maxLength": maxHolder = m.length || maxHolder; if ((f = byName("cardHolder"))) f.input.maxLength = maxHolder; break;
      case "qp-submit": trySubmit(); break;
      case "qp-proceed":
        send({ type: "qp-completed", redirect: RETURN_URL, data: btoa(JSON.stringify({ token: settings.token, args: submitArgs() })) });
        break;
      case "qp-abort": break;
      case "qp-next": move(1); break;
      case "qp-prev": move(-1); break;
      case "qp-focus": focus(); break;
    }
  });
})();
</script></body></html>
)HTML";

constexpr const char* kPayUPage = R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>PayU</title></head>
<body><h1>PayU sandbox</h1><p id="lang">@LANG@</p><p>Order @ORDER@</p>
<a id="pay" href="@CONTINUE@">Pay</a></body></html>
)HTML";

constexpr const char* kResultPage = R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>@TITLE@</title></head>
<body><h1>@TITLE@</h1></body></html>
)HTML";

std::string replaced(std::string text, const std::string& marker, const std::string& value) {
  for (std::size_t at = text.find(marker); at != std::string::npos;
       at = text.find(marker, at + value.size())) {
    text.replace(at, marker.size(), value);
  }
  return text;
}

std::string htmlEscaped(const std::string& text) {
  std::string result;
  for (char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result.push_back(c);
    }
  }
  return result;
}

void servePage(httplib::Server& server, const std::string& path, const std::string& title) {
  server.Get(path, [title](const httplib::Request&, httplib::Response& response) {
    response.set_content(replaced(kResultPage, "@TITLE@", title), "text/html; charset=utf-8");
  });
}

}  // namespace

void registerProviderPages(httplib::Server& server, const std::string& baseUrl, Sandbox::State*) {
  server.Get(R"(/providers/payon/(test|live)/v1/paymentWidgets\.js)",
             [](const httplib::Request&, httplib::Response& response) {
               response.set_content(kWidgetScript, "application/javascript; charset=utf-8");
             });
  server.Get("/providers/paypal/checkout.js", [](const httplib::Request&, httplib::Response& response) {
    response.set_content(kPayPalScript, "application/javascript; charset=utf-8");
  });
  const std::string formService = replaced(kFormServicePage, "@RETURN_URL@", baseUrl + "/providers/return");
  for (const char* path : {"/providers/formservice/", "/providers/formservice/cybersource/paymentform"}) {
    server.Get(path, [formService](const httplib::Request&, httplib::Response& response) {
      response.set_content(formService, "text/html; charset=utf-8");
    });
  }
  server.Get("/providers/payu/pay", [baseUrl](const httplib::Request& request, httplib::Response& response) {
    std::string continueUrl = request.has_param("continueUrl") ? request.get_param_value("continueUrl")
                                                               : baseUrl + "/providers/return";
    std::string page = replaced(kPayUPage, "@LANG@", htmlEscaped(request.get_param_value("lang")));
    page = replaced(page, "@ORDER@", htmlEscaped(request.get_param_value("orderId")));
    response.set_content(replaced(page, "@CONTINUE@", htmlEscaped(continueUrl)), "text/html; charset=utf-8");
  });
  servePage(server, "/providers/return", "Returned to the shop");
  servePage(server, "/callbacks/payon", "Payment processed");
  servePage(server, "/callbacks/paypal/success/", "PayPal payment approved");
  servePage(server, "/callbacks/paypal/cancel/", "PayPal payment cancelled");
}

}  // namespace brivane::sandbox
