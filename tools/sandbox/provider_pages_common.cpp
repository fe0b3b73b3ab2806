// What every stand-in page shares: the checks of what the shopper types, the call that
// authorizes with the sandbox, and the look.
#include "sandbox/provider_pages.h"

namespace brivane::sandbox::pages {

const std::string& checksScript() {
  static const std::string script = R"JS(
function qpDigits(value) { return String(value || "").replace(/[\s-]/g, ""); }
function qpLuhnCheck(digits) {
  var sum = 0;
  for (var i = 0; i < digits.length; i++) {
    var d = digits.charCodeAt(digits.length - 1 - i) - 48;
    if (i % 2 === 1) d = d * 2 > 9 ? d * 2 - 9 : d * 2;
    sum += d;
  }
  return sum % 10 === 0;
}
function qpCardBrand(number) {
  var n = qpDigits(number);
  if (/^4/.test(n)) return "VISA";
  if (/^(5[1-5]|2[2-7])/.test(n)) return "MSTRCRD";
  if (/^3[47]/.test(n)) return "AMEX";
  if (/^(6011|65|64[4-9])/.test(n)) return "DISCOVER";
  if (/^(50|5[6-9]|6)/.test(n)) return "MSTRO";
  return "";
}
// Month and year with or without the slash: "12 / 39", "12/2039", "1239".
function qpExpiryValid(value) {
  var text = String(value || "").trim();
  var m = /^(\d{1,2})\s*\/\s*(\d{2}|\d{4})$/.exec(text) || /^(\d{2})(\d{2}|\d{4})$/.exec(text);
  if (!m) return false;
  var month = +m[1], year = m[2].length === 2 ? 2000 + +m[2] : +m[2];
  if (month < 1 || month > 12) return false;
  var now = new Date();
  return year > now.getFullYear() || (year === now.getFullYear() && month >= now.getMonth() + 1);
}
function qpIbanValid(value) {
  var iban = String(value || "").replace(/\s/g, "").toUpperCase();
  if (!/^[A-Z]{2}\d{2}[A-Z0-9]{10,30}$/.test(iban)) return false;
  var moved = iban.slice(4) + iban.slice(0, 4), rest = 0;
  for (var i = 0; i < moved.length; i++) {
    var c = moved.charCodeAt(i), part = c >= 65 ? String(c - 55) : moved[i];
    for (var j = 0; j < part.length; j++) rest = (rest * 10 + (part.charCodeAt(j) - 48)) % 97;
  }
  return rest === 1;
}
// The key of the text explaining what is wrong with `value`, or "" when it is fine.
function qpCheckField(field, value, cardNumber) {
  var text = String(value || "").trim();
  if (text === "") return "required";
  switch (field) {
    case "cardNumber": var d = qpDigits(text); return /^\d{12,19}$/.test(d) && qpLuhnCheck(d) ? "" : "badNumber";
    case "expiry": return qpExpiryValid(text) ? "" : "badExpiry";
    case "cvv": return new RegExp("^\\d{" + (qpCardBrand(cardNumber) === "AMEX" ? 4 : 3) + "}$").test(text) ? "" : "badCvv";
    case "cardHolder": case "accountHolder": return text.length >= 2 && text.length <= 201 && /[^\d\s]/.test(text) ? "" : "badHolder";
    case "iban": return qpIbanValid(text) ? "" : "badIban";
  }
  return "";
}
// A brand mark drawn with CSS (see the stand-ins' look); no artwork of the brands is used.
function qpMark(code) {
  var names = { VISA: "VISA", MSTRCRD: "MC", MASTER: "MC", MSTRO: "MC", AMEX: "AMEX", DISCOVER: "DISCOVER",
    BNKACCT: "SEPA", DIRECTDEBIT_SEPA: "SEPA", PAYPAL: "PayPal", PAYU: "PayU" };
  var mark = document.createElement("span");
  mark.className = "qp-mark qp-mark-" + code;
  mark.setAttribute("data-brand", code);
  mark.title = code;
  mark.textContent = names[code] || code;
  return mark;
}
// Shows or clears the inline error of a group (`hintClass` names the error line, one or more
// classes). A group has one error line at most; it is tied to the group's input for screen
// readers (aria-describedby, aria-invalid) and announced as it appears or changes.
var qpHintCount = 0;
function qpShowError(group, on, text, errorClass, hintClass) {
  group.classList.toggle(errorClass, !!on);
  var hint = group.querySelector("." + hintClass.trim().split(/\s+/).join("."));
  var control = group.querySelector("input:not([type=hidden]), select, textarea");
  var described = control ? (control.getAttribute("aria-describedby") || "").split(/\s+/).filter(Boolean) : [];
  if (on) {
    if (!hint) {
      hint = document.createElement("div");
      hint.className = hintClass;
      hint.id = "qp-error-" + ++qpHintCount;
      hint.setAttribute("role", "alert");
      hint.setAttribute("aria-live", "assertive");
      group.appendChild(hint);
    }
    hint.textContent = text;
    if (control && described.indexOf(hint.id) < 0) described.push(hint.id);
  } else if (hint) {
    described = described.filter(function (id) { return id !== hint.id; });
    hint.parentNode.removeChild(hint);
  }
  if (!control) return;
  if (described.length) control.setAttribute("aria-describedby", described.join(" "));
  else control.removeAttribute("aria-describedby");
  if (on) control.setAttribute("aria-invalid", "true");
  else control.removeAttribute("aria-invalid");
}
// What shoppers type, formatted as they type: card digits in the brand's groups (4-6-5 for
// American Express, fours otherwise) and the expiry with " / " after the month. The caret
// stays after the same digit.
function qpGroupCard(value) {
  var digits = String(value || "").replace(/\D/g, "").slice(0, 19);
  var sizes = qpCardBrand(digits) === "AMEX" ? [4, 6, 5] : [4, 4, 4, 4, 3], parts = [];
  for (var i = 0, at = 0; at < digits.length; i++) {
    var size = i < sizes.length ? sizes[i] : 19;
    parts.push(digits.slice(at, at + size));
    at += size;
  }
  return parts.join(" ");
}
function qpFormatExpiry(value, deleting) {
  var text = String(value || ""), digits = text.replace(/\D/g, "").slice(0, 6);
  if (digits.length === 1 && +digits > 1 && !deleting) digits = "0" + digits;
  if (digits.length > 2 || (digits.length === 2 && !deleting)) return digits.slice(0, 2) + " / " + digits.slice(2);
  return digits;
}
function qpFormatAsTyped(input, format) {
  input.addEventListener("input", function (event) {
    var old = input.value, deleting = /^delete/.test(event.inputType || "");
    var focused = document.activeElement === input, caret = focused ? input.selectionStart : old.length;
    var before = old.slice(0, caret).replace(/\D/g, "").length, next = format(old, deleting);
    if (next === old) return;
    input.value = next;
    if (!focused) return;
    var at = 0;
    for (var seen = 0; at < next.length && seen < before; at++) if (/\d/.test(next[at])) seen++;
    if (!deleting) while (at < next.length && /\D/.test(next[at])) at++;
    input.setSelectionRange(at, at);
  });
}
// Placeholders for the card number and security code fitting the brands a form takes: an
// American Express only form asks for 15 digits and a 4-digit code.
function qpPlaceholders(brands) {
  var amex = brands.length > 0 && brands.every(function (b) { return b === "AMEX"; });
  return amex ? { cardNumber: "1234 123456 12345", cvv: "1234" } : { cardNumber: "1234 1234 1234 1234", cvv: "123" };
}
// The brand's name as a screen reader reads it out when the shopper's number reveals it.
function qpBrandName(code) {
  return { VISA: "Visa", MASTER: "Mastercard", MSTRCRD: "Mastercard", MSTRO: "Maestro", AMEX: "American Express",
    DISCOVER: "Discover" }[code] || "";
}
// A polite live region, visually hidden, that tells screen readers the detected brand.
function qpBrandAnnouncer(T) {
  var region = document.createElement("div");
  region.className = "qp-sr-only";
  region.setAttribute("role", "status");
  region.setAttribute("aria-live", "polite");
  var last = "";
  return { node: region, update: function (code) {
    var name = qpBrandName(code);
    if (name === last) return;
    last = name;
    region.textContent = name ? T.cardBrand + ": " + name : "";
  } };
}
// A provider page shown full-size in the payment form tells the form of a declined payment
// the way the form's own pages do (its "ObjC_onError" message); elsewhere it does nothing.
function qpReportToForm(error) {
  try { window.webkit.messageHandlers.ObjC_onError.postMessage(error); } catch (e) { /* not inside the form */ }
}
// Drops the absurd border widths a host style prints for sides it never set (the largest
// unsigned number in pixels), which would cover the whole form.
function qpSaneStyles(doc) {
  Array.prototype.forEach.call(doc.styleSheets, function (sheet) {
    Array.prototype.forEach.call(sheet.cssRules || [], function (rule) {
      if (!rule.style) return;
      ["left", "right", "top", "bottom"].forEach(function (side) {
        var name = "border-" + side + "-width";
        if (parseFloat(rule.style.getPropertyValue(name)) > 10000) rule.style.removeProperty(name);
      });
    });
  });
}
// Authorizes with the sandbox at `base`; `done` receives its answer ({outcome: "approved",
// "challenge" with challengeUrl, "declined" with message, or "invalid"}).
function qpAuthorize(base, body, done) {
  fetch(base + "/providers/authorize", { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(body) })
    .then(function (r) { return r.json(); })
    .then(done, function (e) { done({ outcome: "error", message: String(e && e.message || e) }); });
}
)JS";
  return script;
}

const std::string& standInCSS() {
  static const std::string css = R"CSS(
*, *::before, *::after { box-sizing: border-box; }
body { margin: 0; background: #ffffff; color: #1f2430; font: 15px/1.4 "Inter", "Segoe UI", "Cantarell", "Roboto", "Helvetica Neue", Arial, sans-serif; }
.qp-page { max-width: 520px; margin: 0 auto; padding: 16px; }
.qp-title { font-size: 18px; font-weight: 600; margin: 4px 0 14px; }
.qp-text { color: #4a5160; margin: 0 0 14px; }
.qp-group, .wpwl-group { margin: 0 0 14px; min-width: 0; }
.qp-label, .wpwl-label { display: block; font-size: 13px; font-weight: 600; color: #4a5160; margin: 0 0 6px; }
.qp-control, .wpwl-control { display: block; width: 100%; height: 44px; padding: 10px 12px; border: 1px solid #c9ced8;
  border-radius: 8px; font: inherit; font-size: 16px; background: #ffffff; color: #1f2430; }
.qp-control:focus, .wpwl-control:focus { outline: none; border-color: #2f6fed; box-shadow: 0 0 0 1px #2f6fed, 0 0 0 4px rgba(47, 111, 237, 0.35); }
.qp-button:focus-visible, .wpwl-button:focus-visible, .qp-store input:focus-visible { outline: 3px solid #2f6fed; outline-offset: 2px; }
.qp-control::placeholder, .wpwl-control::placeholder { color: #9aa1ad; }
.qp-has-error .qp-control, .wpwl-has-error .wpwl-control { border-color: #c62828; background: #fffafa; }
.qp-hint-error, .wpwl-hint-error { color: #c62828; font-size: 13px; margin-top: 6px; }
.qp-row, .wpwl-row { display: flex; gap: 12px; }
.qp-row > *, .wpwl-row > * { flex: 1 1 0; }
.qp-button, .wpwl-button { display: block; width: 100%; height: 48px; margin: 6px 0 0; border: 0; border-radius: 8px;
  background: #2f6fed; color: #ffffff; font: inherit; font-size: 16px; font-weight: 600; cursor: pointer; }
.qp-button:hover, .wpwl-button:hover { background: #2159c9; }
.qp-button:disabled, .wpwl-button:disabled { opacity: 0.6; cursor: default; }
.qp-button-secondary { background: #ffffff; color: #2f6fed; border: 1px solid #c9ced8; }
.qp-button-secondary:hover { background: #f4f6fb; }
.qp-store, .wpwl-store { display: flex; align-items: center; gap: 8px; margin: 2px 0 12px; font-size: 14px; color: #374151; }
.qp-store input { width: 18px; height: 18px; margin: 0; }
.qp-error-box { display: none; padding: 12px; margin: 0 0 14px; border-radius: 8px; background: #fdecea; color: #8e1c1c; font-size: 14px; }
.qp-secure { margin: 12px 0 0; font-size: 12px; color: #6b7280; text-align: center; }
.wpwl-hint, .qp-hint { margin-top: 6px; font-size: 13px; color: #6b7280; }
.qp-hint.qp-hint-error, .wpwl-hint.wpwl-hint-error { color: #c62828; }
.qp-brands { display: flex; flex-wrap: wrap; gap: 6px; justify-content: flex-end; margin: 0 0 12px; }
.qp-mark { display: inline-flex; align-items: center; justify-content: center; min-width: 46px; height: 30px; padding: 0 6px;
  border-radius: 5px; color: #ffffff; font: italic 800 12px/1 Arial, sans-serif; letter-spacing: 0.5px; }
.qp-mark-VISA { background: #1a1f71; }
.qp-mark-MSTRCRD, .qp-mark-MASTER, .qp-mark-MSTRO { background:
  radial-gradient(circle at 36% 50%, #eb001b 0 8.5px, transparent 9px),
  radial-gradient(circle at 64% 50%, rgba(247, 158, 27, 0.95) 0 8.5px, transparent 9px), #1f1f1f; color: transparent; }
.qp-mark-MSTRO { background:
  radial-gradient(circle at 36% 50%, #0099df 0 8.5px, transparent 9px),
  radial-gradient(circle at 64% 50%, rgba(237, 0, 6, 0.9) 0 8.5px, transparent 9px), #1f1f1f; }
.qp-mark-AMEX { background: #2e77bc; font-style: normal; }
.qp-mark-DISCOVER { background: linear-gradient(90deg, #231f20 60%, #f58220 60%); font-style: normal; font-size: 10px; }
.qp-mark-BNKACCT, .qp-mark-DIRECTDEBIT_SEPA { background: #10298e; font-style: normal; }
.qp-mark-PAYPAL { background: #ffc439; color: #003087; }
.qp-mark-PAYU { background: #a6c307; color: #ffffff; font-style: normal; }
.qp-sr-only { position: absolute; width: 1px; height: 1px; margin: -1px; padding: 0; overflow: hidden;
  clip: rect(0 0 0 0); white-space: nowrap; border: 0; }
.qp-result { text-align: center; padding-top: 40px; }
.qp-result-mark { width: 56px; height: 56px; margin: 0 auto 14px; border-radius: 50%; display: flex; align-items: center;
  justify-content: center; font: 700 26px/1 Arial, sans-serif; color: #ffffff; background: #1a7f4b; }
.qp-result-mark.qp-result-cancelled { background: #6b7280; }
/* Dark when the desktop prefers it, unless the host chose colours of its own (the page then
   carries "qp-host-colours" on its root). A host's rules have the same weight and come later. */
:root { color-scheme: light dark; }
:root.qp-host-colours { color-scheme: light; }
@media (prefers-color-scheme: dark) {
  :where(:root:not(.qp-host-colours)) body { background: #15171c; color: #e8eaf0; }
  :where(:root:not(.qp-host-colours)) .qp-text, :where(:root:not(.qp-host-colours)) .qp-label,
  :where(:root:not(.qp-host-colours)) .wpwl-label { color: #c3c9d4; }
  :where(:root:not(.qp-host-colours)) .qp-control, :where(:root:not(.qp-host-colours)) .wpwl-control {
    background: #1e2128; color: #e8eaf0; border-color: #5a6272; }
  :where(:root:not(.qp-host-colours)) .qp-control:focus, :where(:root:not(.qp-host-colours)) .wpwl-control:focus {
    border-color: #8ab4ff; box-shadow: 0 0 0 1px #8ab4ff, 0 0 0 4px rgba(138, 180, 255, 0.4); }
  :where(:root:not(.qp-host-colours)) .qp-button:focus-visible, :where(:root:not(.qp-host-colours)) .wpwl-button:focus-visible,
  :where(:root:not(.qp-host-colours)) .qp-store input:focus-visible { outline-color: #8ab4ff; }
  :where(:root:not(.qp-host-colours)) .qp-control::placeholder,
  :where(:root:not(.qp-host-colours)) .wpwl-control::placeholder { color: #8d95a3; }
  :where(:root:not(.qp-host-colours)) .qp-has-error .qp-control,
  :where(:root:not(.qp-host-colours)) .wpwl-has-error .wpwl-control { border-color: #ff8a80; background: #2a1d1f; }
  :where(:root:not(.qp-host-colours)) .qp-hint, :where(:root:not(.qp-host-colours)) .wpwl-hint,
  :where(:root:not(.qp-host-colours)) .qp-secure { color: #a9b0bc; }
  :where(:root:not(.qp-host-colours)) .qp-hint-error, :where(:root:not(.qp-host-colours)) .wpwl-hint-error,
  :where(:root:not(.qp-host-colours)) .qp-hint.qp-hint-error,
  :where(:root:not(.qp-host-colours)) .wpwl-hint.wpwl-hint-error { color: #ff8a80; }
  :where(:root:not(.qp-host-colours)) .qp-button-secondary { background: transparent; color: #9dbbff; border-color: #5a6272; }
  :where(:root:not(.qp-host-colours)) .qp-button-secondary:hover { background: #232733; }
  :where(:root:not(.qp-host-colours)) .qp-store, :where(:root:not(.qp-host-colours)) .wpwl-store { color: #d0d5de; }
  :where(:root:not(.qp-host-colours)) .qp-error-box { background: #3a1d1f; color: #ffb4ab; }
}
)CSS";
  return css;
}

}  // namespace brivane::sandbox::pages
