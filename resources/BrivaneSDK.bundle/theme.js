      // A host style that sets colours of its own (text, border or background) keeps the page
      // light: its colours were chosen for a light page. Without them the page follows the
      // desktop's light or dark preference.
      function qpHostSetsColours(css) {
        return /(^|[\s;{])(color|background-color|border(-(left|right|top|bottom))?-color)\s*:|(^|[\s;{])background\s*:\s*(?!transparent\s*[;}!])/i.test(
          String(css || "")
        );
      }
      function qpFollowHostColours(css) {
        document.documentElement.classList.toggle("qp-host-colours", qpHostSetsColours(css));
      }
      // Where the keyboard is stays visible: a ring around the focused control, light or dark as
      // the page. Its rules weigh nothing (:where) and come first, so that any rule of the host's
      // style or of the provider's own page wins over them.
      var qpFocusRingCSS =
        ":where(input, select, textarea, button, a[href], [tabindex]):focus-visible" +
        " { outline: 3px solid #2f6fed; outline-offset: 2px; }" +
        " @media (prefers-color-scheme: dark) { :where(:root:not(.qp-host-colours))" +
        " :where(input, select, textarea, button, a[href], [tabindex]):focus-visible { outline-color: #8ab4ff; } }\n";
      function qpAddFocusRing(doc) {
        var style = doc.createElement("style");
        style.id = "qp-focus-ring";
        style.textContent = qpFocusRingCSS;
        doc.head.insertBefore(style, doc.head.firstChild);
      }
