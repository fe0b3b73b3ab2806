// Bridge to the native form: script messages, the before-submit prompt and a minimal "$"
// for the few calls the form makes when no jQuery is on the page.
(function () {
  function post(name, body) {
    try {
      window.webkit.messageHandlers[name].postMessage(body === undefined ? null : body);
    } catch (e) {
      /* not inside the form */
    }
  }
  window.qpPost = post;
  window.qpLog = function (text) {
    post("ObjC_Log", encodeURIComponent(String(text)));
  };
  window.qpBeforeSubmit = function (args) {
    var answer = window.prompt("jsFunction: ObjC_onBeforeSubmit", JSON.stringify(args || {}));
    if (answer !== "true") return false;
    post("ios_postParam", args || {});
    post("ios_showLoading");
    return true;
  };
  window.qpFormFailed = function (error) {
    window.qpLog("form error: " + (error && error.message ? error.message : error));
    post("ObjC_onError", error || null);
    post("ios_formError");
    var notice = document.getElementById("qp-load-error");
    if (notice) notice.style.display = "block";
  };
  // The desktop has no on-screen keyboard: the form shows its toolbar while an input of the
  // page (or of the form-service frame, see qpFrameKeyboard) has the focus.
  var keyboardShown = false;
  function isTextInput(node) {
    if (!node) return false;
    if (node.tagName === "TEXTAREA" || node.tagName === "SELECT") return true;
    return node.tagName === "INPUT" && !/^(checkbox|radio|button|submit|reset|hidden|image)$/i.test(node.type);
  }
  window.qpFrameKeyboard = false;
  window.qpSetKeyboard = function (shown) {
    shown = !!shown;
    if (shown === keyboardShown) return;
    keyboardShown = shown;
    post("qp_keyboard", shown);
  };
  function checkKeyboard() {
    setTimeout(function () {
      var active = document.activeElement;
      window.qpSetKeyboard(isTextInput(active) || (!!active && active.tagName === "IFRAME" && window.qpFrameKeyboard));
    }, 0);
  }
  document.addEventListener("focusin", checkKeyboard, true);
  document.addEventListener("focusout", checkKeyboard, true);
  if (!window.$) {
    window.$ = function (target) {
      var nodes = typeof target === "string" ? Array.prototype.slice.call(document.querySelectorAll(target)) : [target];
      function each(method) {
        return function () {
          nodes.forEach(function (node) {
            if (node && typeof node[method] === "function") node[method]();
          });
          return wrapper;
        };
      }
      var wrapper = { length: nodes.length, click: each("click"), focus: each("focus"), blur: each("blur") };
      return wrapper;
    };
  }
})();
