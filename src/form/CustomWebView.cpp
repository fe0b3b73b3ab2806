#include "form/CustomWebView.h"

#include <webkit/webkit.h>

#include <boost/json/parse.hpp>

namespace brivane {
namespace {

void onEvaluated(GObject* source, GAsyncResult* result, gpointer data) {
  std::unique_ptr<CustomWebView::ScriptResult> done(static_cast<CustomWebView::ScriptResult*>(data));
  GError* error = nullptr;
  JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error);
  if (value == nullptr) {
    std::string message = error != nullptr ? error->message : "script evaluation failed";
    g_clear_error(&error);
    if (*done) (*done)(std::nullopt, message);
    return;
  }
  boost::json::value answer = jsonFromScriptValue(value);
  g_object_unref(value);
  if (*done) (*done)(answer, std::nullopt);
}

}  // namespace

boost::json::value jsonFromScriptValue(JSCValue* value) {
  if (value == nullptr || jsc_value_is_undefined(value)) return nullptr;
  gchar* json = jsc_value_to_json(value, 0);
  if (json == nullptr) return nullptr;
  boost::system::error_code error;
  boost::json::value result = boost::json::parse(json, error);
  g_free(json);
  if (error) return nullptr;
  return result;
}

CustomWebView::CustomWebView(WebKitUserContentManager* manager, WebKitWebView* related) {
  // The related view lends its web process and network session only; settings and user content
  // stay the view's own.
  view_ = WEBKIT_WEB_VIEW(related != nullptr
                              ? g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", manager,
                                             "related-view", related, nullptr)
                              : g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", manager, nullptr));
  g_object_ref_sink(view_);
  widget_ = Glib::wrap(GTK_WIDGET(view_));
  widget_->set_hexpand(true);
  widget_->set_vexpand(true);
  GdkRGBA white = {1.0, 1.0, 1.0, 1.0};
  webkit_web_view_set_background_color(view_, &white);
  WebKitSettings* settings = webkit_web_view_get_settings(view_);
  webkit_settings_set_enable_back_forward_navigation_gestures(settings, FALSE);
  webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);
}

CustomWebView::~CustomWebView() {
  if (view_ == nullptr) return;
  // The owner has taken the view out of its container; this drops the last reference.
  webkit_web_view_stop_loading(view_);
  g_object_unref(view_);
  view_ = nullptr;
}

WebKitUserContentManager* CustomWebView::userContentManager() const {
  return webkit_web_view_get_user_content_manager(view_);
}

void CustomWebView::loadHTML(const std::string& html, const std::string& baseURL) {
  webkit_web_view_load_html(view_, html.c_str(), baseURL.empty() ? nullptr : baseURL.c_str());
}

void CustomWebView::loadURL(const std::string& url) {
  webkit_web_view_load_uri(view_, url.c_str());
}

void CustomWebView::stopLoading() {
  webkit_web_view_stop_loading(view_);
}

void CustomWebView::evaluate(const std::string& script, ScriptResult done) {
  auto* callback = new ScriptResult(std::move(done));
  webkit_web_view_evaluate_javascript(view_, script.c_str(), static_cast<gssize>(script.size()), nullptr,
                                      nullptr, nullptr, onEvaluated, callback);
}

double CustomWebView::height() const {
  return gtk_widget_get_height(GTK_WIDGET(view_));
}

}  // namespace brivane
