// Small pieces shared by the main queue and the networking, both of which live on the default
// main context.
#pragma once

#include <exception>
#include <functional>

#include <glib.h>

namespace brivane::platform {

/// Wakes `context` if a thread is waiting in its poll. A context that can be acquired here is
/// not waiting (a thread holds it from before it polls until after it dispatches): its next
/// pass looks at the new work anyway, and the wake-up (a write and a read of its eventfd, and
/// one more pass) is saved.
inline void wakeIfWaiting(GMainContext* context) {
  if (g_main_context_acquire(context)) {
    g_main_context_release(context);
  } else {
    g_main_context_wakeup(context);
  }
}

/// Runs `task`; an exception is logged as `what` threw it, so that it never unwinds through
/// GLib's C frames or ends the main loop.
template <class Task>
void runGuarded(Task&& task, const char* what) {
  try {
    task();
  } catch (const std::exception& e) {
    g_log("BrivaneSDK", G_LOG_LEVEL_WARNING, "%s threw: %s", what, e.what());
  } catch (...) {
    g_log("BrivaneSDK", G_LOG_LEVEL_WARNING, "%s threw a non-standard exception", what);
  }
}

/// Marks, for as long as it lives, whether the current thread is handing over finished requests
/// on the main context (`QPMainQueue::complete` then runs completions at once), and restores
/// the previous mark when it ends.
class CompletionScope {
 public:
  explicit CompletionScope(bool handingOver = true);
  ~CompletionScope();
  CompletionScope(const CompletionScope&) = delete;
  CompletionScope& operator=(const CompletionScope&) = delete;

  /// Whether the current thread is inside such a scope.
  static bool active();

 private:
  bool outer_;
};

/// Runs `task`, a host's completion, at once when the current thread is handing over finished
/// requests (what the host's code starts meanwhile is posted as usual) and returns true; returns
/// false, without running it, otherwise.
template <class Task>
bool completeInScope(Task& task) {
  if (!CompletionScope::active()) return false;
  CompletionScope hostCode(false);
  runGuarded(task, "a completion");
  return true;
}

}  // namespace brivane::platform
