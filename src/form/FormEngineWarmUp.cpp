#include "form/FormEngineWarmUp.h"

#include <webkit/webkit.h>

#include <memory>
#include <utility>
#include <vector>

#include <glibmm/main.h>

#include "form/CustomWebView.h"

namespace brivane {
namespace {

// A warm-up that has not become ready by then has failed (the engine could not start).
constexpr unsigned kReadyLimitMs = 30000;

struct WarmUp {
  std::unique_ptr<CustomWebView> view;
  std::vector<gulong> handlers;
  sigc::connection limit;
  bool ready = false;
  std::vector<FormEngineWarmUp::ReadyCallback> waiting;

  ~WarmUp() {
    limit.disconnect();
    for (gulong handler : handlers) g_signal_handler_disconnect(view->view(), handler);
  }
};

// The one warm-up of the process. Never destroyed at exit: a web view must not outlive GTK.
WarmUp* current = nullptr;

// Each callback runs on its own later on the main loop (glibmm keeps a host's exception there).
void answer(std::vector<FormEngineWarmUp::ReadyCallback> callbacks, bool ready) {
  for (FormEngineWarmUp::ReadyCallback& callback : callbacks) {
    if (callback)
      Glib::signal_idle().connect_once([callback = std::move(callback), ready] { callback(ready); });
  }
}

// Ends the current warm-up; from one of the view's own signals the view goes once that is over.
void end(bool insideViewSignal) {
  WarmUp* warmUp = std::exchange(current, nullptr);
  if (warmUp == nullptr) return;
  answer(std::exchange(warmUp->waiting, {}), false);
  if (insideViewSignal) {
    for (gulong handler : std::exchange(warmUp->handlers, {})) {
      g_signal_handler_disconnect(warmUp->view->view(), handler);
    }
    Glib::signal_idle().connect_once([warmUp] { delete warmUp; });
  } else {
    delete warmUp;
  }
}

void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer) {
  if (event != WEBKIT_LOAD_FINISHED || current == nullptr || current->ready) return;
  current->ready = true;
  current->limit.disconnect();
  answer(std::exchange(current->waiting, {}), true);
}

gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, gchar*, GError*, gpointer) {
  end(true);
  return TRUE;  // no error page: nobody sees this view
}

void onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer) {
  end(true);
}

}  // namespace

bool FormEngineWarmUp::start(ReadyCallback ready) {
  if (current != nullptr) {
    if (current->ready) {
      answer({std::move(ready)}, true);
    } else {
      current->waiting.push_back(std::move(ready));
    }
    return true;
  }
  if (gdk_display_get_default() == nullptr) {
    answer({std::move(ready)}, false);
    return false;
  }
  auto warmUp = std::make_unique<WarmUp>();
  WebKitUserContentManager* manager = webkit_user_content_manager_new();
  warmUp->view = std::make_unique<CustomWebView>(manager);
  g_object_unref(manager);  // the web view holds it
  WebKitWebView* view = warmUp->view->view();
  warmUp->handlers = {
      g_signal_connect(view, "load-changed", G_CALLBACK(onLoadChanged), nullptr),
      g_signal_connect(view, "load-failed", G_CALLBACK(onLoadFailed), nullptr),
      g_signal_connect(view, "web-process-terminated", G_CALLBACK(onWebProcessTerminated), nullptr),
  };
  warmUp->limit = Glib::signal_timeout().connect(
      [] {
        if (current != nullptr) current->limit = {};
        end(false);
        return false;
      },
      kReadyLimitMs);
  warmUp->waiting.push_back(std::move(ready));
  current = warmUp.release();
  current->view->loadURL("about:blank");
  return true;
}

bool FormEngineWarmUp::isReady() {
  return current != nullptr && current->ready;
}

void FormEngineWarmUp::release() {
  end(false);
}

WebKitWebView* FormEngineWarmUp::relatedView() {
  return current != nullptr ? current->view->view() : nullptr;
}

}  // namespace brivane
