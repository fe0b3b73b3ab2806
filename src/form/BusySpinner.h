#pragma once

#include <string>

#include <gtkmm/box.h>

namespace brivane {

/// The form's busy spinner: a turning arc on a rounded card with a soft shadow, in the theme's
/// text and background colours, drawn by the form itself. It looks like the theme's spinner on a
/// card, but needs neither the icon theme's SVG image (whose loader library alone is several MiB
/// of the process) nor GL shaders the page does not use already, so the first form of a process
/// shows it without delaying its page. Appended to `box`, which owns it, centred in the space
/// left; a progress bar named `accessibleName` for screen readers; it turns while mapped. GTK main
/// thread only.
void appendBusySpinner(Gtk::Box& box, int spinnerSize, const std::string& accessibleName);

}  // namespace brivane
