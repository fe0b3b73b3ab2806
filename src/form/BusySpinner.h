#pragma once

#include <string>

#include <gtkmm/widget.h>

namespace brivane {

/// The form's busy spinner: a turning arc on a rounded card with a soft shadow, in the theme's
/// text and background colours, drawn by the form itself. It looks like the theme's spinner on a
/// card, but needs neither the icon theme's SVG image (whose loader library alone is several MiB
/// of the process) nor GL shaders the page does not use already, so the first form of a process
/// shows it without delaying its page. A progress bar named `accessibleName` for screen readers;
/// it turns while mapped. GTK main thread only; the parent owns the widget.
Gtk::Widget* makeBusySpinner(int spinnerSize, const std::string& accessibleName);

}  // namespace brivane
