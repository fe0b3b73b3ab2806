#pragma once

// The form's internals, for its tests and the SDK's own tools; hosts use QPPaymentForm.h only.
#include "brivane/form/QPPaymentForm.h"

namespace Gtk {
class Widget;
}

namespace brivane {

class CustomWebView;
class KeyboardToolbar;

/// Reaches inside a form. GTK main thread only, like the form.
class QPPaymentFormInternals {
 public:
  /// The engine view showing the form's page.
  static CustomWebView& webView(QPPaymentForm& form);
  /// The keyboard toolbar chosen for the page, or null.
  static KeyboardToolbar* toolbar(QPPaymentForm& form);
  /// The activity overlay while it shows, else null.
  static Gtk::Widget* activityOverlay(QPPaymentForm& form);
  /// The notice of a form service that did not show its form in time, while it shows, else null.
  static Gtk::Widget* serviceNotice(QPPaymentForm& form);
};

}  // namespace brivane
