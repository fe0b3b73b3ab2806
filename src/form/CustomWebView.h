#pragma once

#include <functional>
#include <optional>
#include <string>

#include <gtkmm/widget.h>

#include <boost/json/value.hpp>

typedef struct _WebKitWebView WebKitWebView;
typedef struct _WebKitUserContentManager WebKitUserContentManager;
typedef struct _JSCValue JSCValue;

namespace brivane {

/// A script value as JSON; values JSON cannot express (undefined, functions) are null.
boost::json::value jsonFromScriptValue(JSCValue* value);

/// The engine's web view as the payment form uses it: a WebKitGTK view with a given user
/// content manager, TLS verification left on, and plain helpers for loading and scripts.
/// GTK main thread only.
class CustomWebView {
 public:
  /// Answer of an evaluated script: the result as JSON, or the script's error text.
  using ScriptResult = std::function<void(const std::optional<boost::json::value>& result,
                                          const std::optional<std::string>& error)>;

  /// A view with `manager` as its user content manager. With a `related` view (may be null) it
  /// opens its pages in the related view's web process instead of starting one of its own.
  explicit CustomWebView(WebKitUserContentManager* manager, WebKitWebView* related = nullptr);
  ~CustomWebView();
  CustomWebView(const CustomWebView&) = delete;
  CustomWebView& operator=(const CustomWebView&) = delete;

  WebKitWebView* view() const { return view_; }
  WebKitUserContentManager* userContentManager() const;
  /// The view as a gtkmm widget, to place in a container.
  Gtk::Widget& widget() { return *widget_; }

  void loadHTML(const std::string& html, const std::string& baseURL);
  void loadURL(const std::string& url);
  void stopLoading();
  /// Evaluates `script` in the main frame; `done` (may be null) receives the answer later on
  /// the main loop, also when the view is gone by then (with an error).
  void evaluate(const std::string& script, ScriptResult done = nullptr);
  /// The allocated height in pixels (0 before the first layout).
  double height() const;

 private:
  WebKitWebView* view_ = nullptr;
  Gtk::Widget* widget_ = nullptr;
};

}  // namespace brivane
