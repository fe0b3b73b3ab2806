// Bridge to the native form: script messages, the before-submit prompt and a minimal "$"
// for the few calls the form makes when no jQuery is on the page.
(function () {
  var ready = false;
  function post(name, body) {
    if (name === "ios_formLoaded") ready = true;
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
    // Only a form that never became ready says it is unavailable; the provider shows its own errors.
    var notice = document.getElementById("qp-load-error");
    if (notice && !ready) notice.style.display = "block";
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
  // A frame whose page is replaced (the provider's 3-D Secure challenge) has lost its focused
  // input with it: the toolbar goes until an input of the new page takes the focus.
  document.addEventListener(
    "load",
    function (event) {
      if (!event.target || event.target.tagName !== "IFRAME") return;
      window.qpFrameKeyboard = false;
      checkKeyboard();
    },
    true
  );
  // Tab order wraps: Tab past the last control returns to the first, Shift+Tab before the first
  // goes to the last, so that the focus never leaves the form.
  function tabbable(node) {
    return node.tabIndex >= 0 && !node.disabled && node.type !== "hidden" && node.offsetParent !== null;
  }
  window.qpTabbables = function () {
    return Array.prototype.slice
      .call(document.querySelectorAll("input, select, textarea, button, a[href], iframe, [tabindex]"))
      .filter(tabbable);
  };
  document.addEventListener(
    "keydown",
    function (event) {
      if (event.key !== "Tab" || event.altKey || event.ctrlKey || event.metaKey) return;
      var controls = window.qpTabbables();
      if (controls.length === 0) return;
      var first = controls[0];
      var last = controls[controls.length - 1];
      var active = document.activeElement;
      var outside = controls.indexOf(active) < 0;
      // Into a frame (the form service's) the engine's own Tab leads, to the frame's first or last
      // control; focusing the frame element would leave the focus on no control at all.
      if (outside && (event.shiftKey ? last : first).tagName === "IFRAME") return;
      if (!event.shiftKey && (active === last || outside)) {
        event.preventDefault();
        first.focus();
      } else if (event.shiftKey && (active === first || outside)) {
        event.preventDefault();
        last.focus();
      }
    },
    true
  );
  // The shopper's first Tab into the form gives the keyboard to the web view: the page then has
  // the focus with no control holding it, and nothing would show where the keyboard is. The first
  // control takes it then (in the form service's frame, its first field); a pointer press chooses
  // its own place.
  var pointerAt = 0;
  var entering = null; // the engine may tell the page twice that it has the focus
  document.addEventListener(
    "pointerdown",
    function () {
      pointerAt = Date.now();
    },
    true
  );
  window.addEventListener("focus", function () {
    if (entering) return;
    entering = setTimeout(function () {
      entering = null;
      var active = document.activeElement;
      if (Date.now() - pointerAt < 400 || (active && active !== document.body)) return;
      var first = window.qpTabbables()[0];
      if (first && first.tagName === "IFRAME") {
        if (typeof nextInput === "function") nextInput();
      } else if (first) {
        first.focus();
      }
    }, 150);
  });
  // A host style whose border side has no width set prints an absurd width (the largest
  // unsigned number in pixels); such a border would cover the whole form. The page drops those
  // widths so that the side keeps the form's own look; every other rule stays as the host made it.
  window.qpSaneStyles = function (doc) {
    Array.prototype.forEach.call((doc || document).styleSheets, function (sheet) {
      var rules;
      try {
        rules = sheet.cssRules;
      } catch (e) {
        return; /* another origin */
      }
      Array.prototype.forEach.call(rules || [], function (rule) {
        if (!rule.style) return;
        ["left", "right", "top", "bottom"].forEach(function (side) {
          var name = "border-" + side + "-width";
          if (parseFloat(rule.style.getPropertyValue(name)) > 10000) rule.style.removeProperty(name);
        });
      });
    });
  };
  window.qpSaneStyles(document);
  document.addEventListener("DOMContentLoaded", function () {
    window.qpSaneStyles(document);
  });
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
