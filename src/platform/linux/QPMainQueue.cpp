#include "brivane/platform/QPMainQueue.h"

#include <cstdio>
#include <exception>
#include <memory>

#include <glib.h>

#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#endif

namespace brivane {
namespace {

// GLib's main-context lock orders a posted task after everything its thread did before posting
// it. GLib is not instrumented, so ThreadSanitizer is told of that order here (no code otherwise).
void handedOver(void* task) {
#if defined(__SANITIZE_THREAD__)
  __tsan_release(task);
#else
  (void)task;
#endif
}
void takenOver(void* task) {
#if defined(__SANITIZE_THREAD__)
  __tsan_acquire(task);
#else
  (void)task;
#endif
}

gboolean runTask(gpointer data) {
  takenOver(data);
  auto* task = static_cast<std::function<void()>*>(data);
  try {
    (*task)();
  } catch (const std::exception& e) {
    // A host's completion threw: keep the main loop alive and say so.
    g_log("BrivaneSDK", G_LOG_LEVEL_WARNING, "a main-queue task threw: %s", e.what());
  } catch (...) {
    g_log("BrivaneSDK", G_LOG_LEVEL_WARNING, "a main-queue task threw a non-standard exception");
  }
  return G_SOURCE_REMOVE;
}

void deleteTask(gpointer data) {
  takenOver(data);
  delete static_cast<std::function<void()>*>(data);
}

gboolean markDone(gpointer data) {
  *static_cast<bool*>(data) = true;
  return G_SOURCE_REMOVE;
}

}  // namespace

void QPMainQueue::post(std::function<void()> task) {
  // An idle source is always dispatched later, even when posted from the main thread itself.
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  auto* closure = new std::function<void()>(std::move(task));
  handedOver(closure);
  g_source_set_callback(source, runTask, closure, deleteTask);
  g_source_attach(source, g_main_context_default());
  g_source_unref(source);
}

bool QPMainQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  GMainContext* context = g_main_context_default();
  bool timedOut = false;
  GSource* timer = g_timeout_source_new(static_cast<guint>(timeout.count()));
  g_source_set_callback(timer, markDone, &timedOut, nullptr);
  g_source_attach(timer, context);
  // A condition may also change on another thread without waking the context: look again
  // every few milliseconds.
  GSource* tick = g_timeout_source_new(5);
  g_source_set_callback(
      tick, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(tick, context);
  while (!done() && !timedOut) g_main_context_iteration(context, TRUE);
  g_source_destroy(tick);
  g_source_unref(tick);
  g_source_destroy(timer);
  g_source_unref(timer);
  return done();
}

void QPMainQueue::runFor(std::chrono::milliseconds duration) {
  runUntil([] { return false; }, duration);
}

}  // namespace brivane
