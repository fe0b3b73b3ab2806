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
