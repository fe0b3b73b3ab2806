#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/button.h>

namespace brivane {

/// One keyboard toolbar of the form: the standard bar (previous, next, done), the 3-D Secure bar
/// or the wizard bar (done only). It owns its buttons: replacing a toolbar takes its buttons
/// with it, and nothing outside keeps a reference to them. The buttons take keyboard focus and
/// carry accessible labels in the form's language. GTK main thread only.
class KeyboardToolbar {
 public:
  enum class Kind { Standard, ThreeDSecure, Wizard };
  /// The buttons' actions; each may destroy the toolbar.
  struct Actions {
    std::function<void()> previous;
    std::function<void()> next;
    std::function<void()> done;
  };

  KeyboardToolbar(Kind kind, Actions actions);
  ~KeyboardToolbar();
  KeyboardToolbar(const KeyboardToolbar&) = delete;
  KeyboardToolbar& operator=(const KeyboardToolbar&) = delete;

  Kind kind() const { return kind_; }
  Gtk::Widget& widget() { return bar_; }
  const Gtk::Widget& widget() const { return bar_; }
  /// The titles left to right ("" for the flexible space).
  std::vector<std::string> titles() const;
  /// The previous / next buttons: only the standard bar has them; elsewhere nothing happens and
  /// they read as disabled.
  void setPreviousEnabled(bool enabled);
  void setNextEnabled(bool enabled);
  bool isPreviousEnabled() const;
  bool isNextEnabled() const;
  /// The buttons, left to right (for focus and accessibility checks).
  std::vector<Gtk::Button*> buttons();

  /// The done button's title: "Fertig" when the first preferred language is German.
  static std::string doneTitle();

 private:
  void setUp(Gtk::Button& button, const std::string& title, const std::string& label,
             std::function<void()> action);

  Kind kind_;
  Gtk::Box bar_;
  Gtk::Button previous_;
  Gtk::Button next_;
  Gtk::Box space_;
  Gtk::Button done_;
};

}  // namespace brivane
