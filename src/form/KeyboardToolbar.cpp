#include "form/KeyboardToolbar.h"

#include <gdkmm/display.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/stylecontext.h>

#include "brivane/util/QPUtils.h"

namespace brivane {
namespace {

// The bar takes the theme's colours: its tint and border are made from the text colour, so it
// reads on light and dark themes alike.
constexpr const char* kToolbarCSS = R"CSS(
.brivane-toolbar { background: alpha(currentColor, 0.06); border-top: 1px solid alpha(currentColor, 0.18);
  padding: 4px 8px; }
.brivane-toolbar button { min-height: 36px; }
.brivane-toolbar .brivane-arrow { font-size: 26px; font-weight: 500; padding: 0 10px; }
)CSS";

void installToolbarCSS() {
  static bool installed = false;
  auto display = Gdk::Display::get_default();
  if (installed || !display) return;
  installed = true;
  auto provider = Gtk::CssProvider::create();
  provider->load_from_data(kToolbarCSS);
  Gtk::StyleContext::add_provider_for_display(display, provider, GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

}  // namespace

KeyboardToolbar::KeyboardToolbar(Kind kind, Actions actions)
    : kind_(kind), bar_(Gtk::Orientation::HORIZONTAL, 6) {
  installToolbarCSS();
  bar_.add_css_class("brivane-toolbar");
  if (kind_ == Kind::Standard) {
    setUp(previous_, " < ", QPUtils::LStr("toolbar_previous_field"), std::move(actions.previous));
    setUp(next_, " > ", QPUtils::LStr("toolbar_next_field"), std::move(actions.next));
    previous_.add_css_class("brivane-arrow");
    next_.add_css_class("brivane-arrow");
  }
  space_.set_hexpand(true);
  bar_.append(space_);
  setUp(done_, doneTitle(), QPUtils::LStr("toolbar_done"), std::move(actions.done));
  done_.add_css_class("suggested-action");
}

KeyboardToolbar::~KeyboardToolbar() {
  // The buttons are members: out of the bar before they go.
  for (Gtk::Widget* child : {static_cast<Gtk::Widget*>(&previous_), static_cast<Gtk::Widget*>(&next_),
                             static_cast<Gtk::Widget*>(&space_), static_cast<Gtk::Widget*>(&done_)}) {
    if (child->get_parent() == &bar_) bar_.remove(*child);
  }
}

void KeyboardToolbar::setUp(Gtk::Button& button, const std::string& title, const std::string& label,
                            std::function<void()> action) {
  button.set_label(title);
  // Keyboard users reach the buttons with Tab; a click leaves the focus in the page.
  button.set_focus_on_click(false);
  button.set_can_focus(true);
  button.set_tooltip_text(label);
  gtk_accessible_update_property(GTK_ACCESSIBLE(button.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, label.c_str(),
                                 -1);
  button.signal_clicked().connect([action = std::move(action)] {
    if (action) {
      auto run = action;  // the action may destroy this toolbar
      run();
    }
  });
  bar_.append(button);
}

std::vector<std::string> KeyboardToolbar::titles() const {
  std::vector<std::string> titles;
  if (kind_ == Kind::Standard) {
    titles.push_back(previous_.get_label());
    titles.push_back(next_.get_label());
  }
  titles.emplace_back();
  titles.push_back(done_.get_label());
  return titles;
}

void KeyboardToolbar::setPreviousEnabled(bool enabled) {
  if (kind_ == Kind::Standard) previous_.set_sensitive(enabled);
}
void KeyboardToolbar::setNextEnabled(bool enabled) {
  if (kind_ == Kind::Standard) next_.set_sensitive(enabled);
}
bool KeyboardToolbar::isPreviousEnabled() const {
  return kind_ == Kind::Standard && previous_.get_sensitive();
}
bool KeyboardToolbar::isNextEnabled() const {
  return kind_ == Kind::Standard && next_.get_sensitive();
}

std::vector<Gtk::Button*> KeyboardToolbar::buttons() {
  if (kind_ == Kind::Standard) return {&previous_, &next_, &done_};
  return {&done_};
}

std::string KeyboardToolbar::doneTitle() {
  const std::vector<std::string> languages = QPUtils::preferredLanguages();
  if (!languages.empty() && (languages.front().starts_with("de") || languages.front().starts_with("DE"))) {
    return "Fertig";
  }
  return "Done";
}

}  // namespace brivane
