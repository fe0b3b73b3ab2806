#pragma once

#include <functional>

typedef struct _WebKitWebView WebKitWebView;

namespace brivane {

/// The web engine kept warm for the payment forms: one hidden web view on an empty page keeps a
/// web process and the network process running, and forms created meanwhile open their pages in
/// that web process (as views related to it) instead of starting their own.
///
/// Thread rules: GTK main thread only; callbacks arrive there, later on the main loop.
class FormEngineWarmUp {
 public:
  /// (true: the engine is ready; false: the warm-up ended before it was).
  using ReadyCallback = std::function<void(bool ready)>;

  /// Starts the warm-up unless one exists. `ready` (may be null) is called once, later: at once
  /// when the engine is ready already, else when it becomes ready or the warm-up ends. False (and
  /// `ready` gets false) when there is no display to warm up for.
  static bool start(ReadyCallback ready);
  /// Whether the hidden view has loaded its page: its web process is running.
  static bool isReady();
  /// Drops the hidden view; a waiting `ready` gets false. Forms sharing its web process keep it.
  static void release();
  /// The view whose web process new forms share, or null without a warm-up.
  static WebKitWebView* relatedView();
};

}  // namespace brivane
