// PayPal: the button script (`paypal.Button.render(options, selector)`) and the approval page
// it opens in a lightbox over the page, as PayPal's in-context checkout does. The approval
// page also serves full-page redirects (the card gateway's PayPal option) with "return".
#include "sandbox/provider_pages.h"

namespace brivane::sandbox::pages {

const std::string& payPalScript() {
  static const std::string script = R"JS((function () {
  var script = document.currentScript;
  var base = (/^(https?:\/\/[^\/]+)/.exec(script ? script.src : "") || [])[1] || location.origin;
  var look = document.createElement("style");
  look.textContent =
    ".paypal-button { display: flex; align-items: center; justify-content: center; gap: 0; width: 100%; max-width: 480px; height: 48px;" +
    "  margin: 8px auto; border: 0; border-radius: 6px; background: #ffc439; color: #003087; font: italic 800 18px/1 Arial, sans-serif; cursor: pointer; }" +
    ".paypal-button .pp-pal { color: #009cde; }" +
    ".paypal-shape-pill { border-radius: 24px; } .paypal-size-small { max-width: 240px; height: 36px; font-size: 15px; }" +
    ".paypal-color-blue { background: #0070ba; color: #ffffff; } .paypal-color-blue .pp-pal { color: #bde3ff; }" +
    ".paypal-color-silver { background: #eeeeee; } .paypal-color-black { background: #2c2e2f; color: #ffffff; }" +
    ".paypal-tagline { text-align: center; font: 12px Arial, sans-serif; color: #6b7280; }" +
    ".paypal-cancel { display: block; text-align: center; margin: 10px 0; font: 14px Arial, sans-serif; color: #2f6fed; }" +
    ".paypal-lightbox { position: fixed; inset: 0; background: rgba(0, 0, 0, 0.55); display: flex; align-items: center; justify-content: center; z-index: 10; }" +
    ".paypal-lightbox iframe { width: min(440px, 94vw); height: min(540px, 92vh); border: 0; border-radius: 10px; background: #ffffff; }";
  document.head.appendChild(look);
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
      var word = { checkout: "Checkout", pay: "Pay with", buynow: "Buy Now" }[style.label];
      button.innerHTML = (word && style.label === "pay" ? "<span style='font-style:normal;font-weight:600;margin-right:6px'>" + word + "</span>" : "") +
        "<span>Pay</span><span class='pp-pal'>Pal</span>" +
        (word && style.label !== "pay" ? "<span style='font-style:normal;font-weight:600;margin-left:6px'>" + word + "</span>" : "");
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
      var box = null;
      function close() { if (box) { box.parentNode.removeChild(box); box = null; } }
      window.addEventListener("message", function (event) {
        var m = event.data || {};
        if (!box || event.source !== box.firstChild.contentWindow) return;
        close();
        if (m.type === "paypal-approved") options.onAuthorize({ paymentToken: m.token, paymentID: "PAYID-" + m.token, payerID: m.payerID }, {});
        else if (m.type === "paypal-cancelled") { if (options.onCancel) options.onCancel({ paymentToken: m.token }); }
        else if (m.type === "paypal-error" && options.onError) options.onError(new Error(m.message || "PayPal declined the payment"));
      });
      button.addEventListener("click", function () {
        if (box) return;
        Promise.resolve(typeof options.payment === "function" ? options.payment() : null).then(function (token) {
          if (!token) return;
          box = document.createElement("div");
          box.className = "paypal-lightbox";
          var frame = document.createElement("iframe");
          frame.title = "PayPal";
          frame.src = base + "/providers/paypal/approve?token=" + encodeURIComponent(token) + "&lang=" + encodeURIComponent(options.locale || "en");
          box.appendChild(frame);
          document.body.appendChild(box);
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
  return script;
}

const std::string& payPalApprovalPage() {
  static const std::string page = [] {
    return std::string(R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>PayPal</title><style>)HTML") +
           standInCSS() +
           R"HTML(
.pp-head { display: flex; align-items: center; justify-content: space-between; margin: 0 0 16px; }
.pp-logo { font: italic 800 22px/1 Arial, sans-serif; color: #003087; } .pp-logo span { color: #009cde; }
</style><script>)HTML" +
           labelsScript() + checksScript() + R"HTML(</script></head>
<body><div class="qp-page">
<div class="pp-head"><div class="pp-logo">Pay<span>Pal</span></div><div class="qp-mark qp-mark-PAYPAL">Sandbox</div></div>
<div class="qp-error-box" id="error"></div>
<form id="paypal-form" novalidate>
<div class="qp-group"><label class="qp-label" for="email" id="email-label">E-mail</label>
<input class="qp-control" id="email" name="email" value="shopper@paypal.test" autocomplete="off"></div>
<button class="qp-button" id="paypal-approve" type="submit">Agree and continue</button>
<button class="qp-button qp-button-secondary" id="paypal-cancel" type="button">Cancel</button>
<div class="qp-secure" id="secure">Secure payment</div>
</form>
</div>
<script>
(function () {
  var params = new URLSearchParams(location.search);
  var token = params.get("token") || "", back = params.get("return"), T = qpTexts(params.get("lang"));
  document.getElementById("email-label").textContent = T.email;
  document.getElementById("paypal-approve").textContent = T.approve;
  document.getElementById("paypal-cancel").textContent = T.cancel;
  document.getElementById("secure").textContent = T.secure;
  var framed = window.parent !== window;
  function finish(message) {
    if (framed) window.parent.postMessage(message, "*");
    else if (message.type === "paypal-error") qpReportToForm({ name: "PaymentDeclined", message: message.message });
    else if (back) location.href = back;
  }
  // Enter in the e-mail field agrees, as the button does.
  document.getElementById("paypal-form").addEventListener("submit", function (event) {
    event.preventDefault();
    var email = document.getElementById("email").value.trim();
    if (!/^[^@\s]+@[^@\s]+$/.test(email)) { var e = document.getElementById("error"); e.textContent = T.required; e.style.display = "block"; return; }
    var approve = document.getElementById("paypal-approve");
    if (approve.disabled) return;
    approve.disabled = true;
    qpAuthorize(location.origin, { token: token, method: "paypal", payer: email }, function (answer) {
      if (answer.outcome === "approved") finish({ type: "paypal-approved", token: token, payerID: answer.payerID });
      else {
        var e = document.getElementById("error"); e.textContent = T.payPalDeclined; e.style.display = "block";
        document.getElementById("paypal-approve").disabled = false;
        finish({ type: "paypal-error", token: token, message: T.payPalDeclined });
      }
    });
  });
  document.getElementById("paypal-cancel").addEventListener("click", function () {
    qpAuthorize(location.origin, { token: token, method: "paypal", cancelled: true }, function () {
      finish({ type: "paypal-cancelled", token: token });
    });
  });
})();
</script></body></html>
)HTML";
  }();
  return page;
}

}  // namespace brivane::sandbox::pages
