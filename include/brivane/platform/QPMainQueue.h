#pragma once

#include <chrono>
#include <functional>

#include "brivane/QPExport.h"

namespace brivane {

/// The host's main queue: the GLib default main context.
///
/// Every completion of an API operation runs here. Hosts with a GTK or GLib main loop need to
/// do nothing; command-line hosts and tests drive it with `runUntil`.
class BRIVANE_API QPMainQueue {
 public:
  /// Runs `task` on the main context later, never before returning. Callable from any thread.
  static void post(std::function<void()> task);

  /// Runs `task` on the main queue as an operation's completion: at once when the calling thread
  /// is handing over finished requests on the main context (the SDK's networking, where no
  /// caller's frame is on the stack, so the completion is still asynchronous to the operation),
  /// otherwise like `post`. Callable from any thread.
  static void complete(std::function<void()> task);

  /// Iterates the default main context on the calling thread (which must own it, normally the
  /// main thread) until `done` returns true or `timeout` has passed; `done` is checked after
  /// every dispatch and at least every 5 ms. Returns `done()`.
  static bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

  /// Runs pending main-context work for `duration`, then returns.
  static void runFor(std::chrono::milliseconds duration);
};

}  // namespace brivane
