#include "brivane/platform/QPMainQueue.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>

#include <glib.h>

#include "platform/linux/QPMainContext.h"

namespace brivane {
namespace {

// Tasks wait in one queue served by one source on the default main context, rather than one
// idle source each: posting costs a lock and a push, and a burst of completions is run in one
// pass of the context.
class TaskQueue {
 public:
  static TaskQueue& shared() {
    // Never destroyed: tasks may still be posted while the process ends.
    static TaskQueue* queue = new TaskQueue();
    return *queue;
  }

  void post(std::function<void()> task) {
    bool wasEmpty = false;
    {
      std::lock_guard lock(mutex_);
      wasEmpty = tasks_.empty();
      tasks_.push_back(std::move(task));
      count_.store(tasks_.size(), std::memory_order_release);
    }
    if (wasEmpty) platform::wakeIfWaiting(context_);  // the first task's wake-up covers the rest
  }

  // While a `runUntil` waits, the context looks up every few milliseconds even when nothing is
  // due, so that a condition changed on another thread and the deadline are seen. Counted, so
  // that nested waits (and waits on several threads) keep it until the last one ends.
  class Waiting {
   public:
    explicit Waiting(TaskQueue& queue) : queue_(queue) {
      // A thread already waiting in the context's poll looks at the new time-out.
      if (queue_.waiters_.fetch_add(1, std::memory_order_relaxed) == 0)
        platform::wakeIfWaiting(queue_.context_);
    }
    ~Waiting() { queue_.waiters_.fetch_sub(1, std::memory_order_relaxed); }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

   private:
    TaskQueue& queue_;
  };

 private:
  struct QueueSource {
    GSource base;
    TaskQueue* queue;
  };

  TaskQueue() : context_(g_main_context_ref(g_main_context_default())) {
    source_ = g_source_new(&kFuncs, sizeof(QueueSource));
    reinterpret_cast<QueueSource*>(source_)->queue = this;
    g_source_set_priority(source_, G_PRIORITY_DEFAULT);
    // A task that runs a nested main loop (a host's modal wait) still lets later tasks run.
    g_source_set_can_recurse(source_, TRUE);
    g_source_set_static_name(source_, "BrivaneSDK main queue");
    g_source_attach(source_, context_);
  }

  static TaskQueue* of(GSource* source) { return reinterpret_cast<QueueSource*>(source)->queue; }

  static constexpr gint kWaitingLookMs = 5;

  static gboolean prepare(GSource* source, gint* timeout) {
    TaskQueue* queue = of(source);
    bool ready = queue->count_.load(std::memory_order_acquire) > 0;
    *timeout = ready ? 0 : queue->waiters_.load(std::memory_order_relaxed) > 0 ? kWaitingLookMs : -1;
    return ready;
  }

  static gboolean check(GSource* source) { return of(source)->count_.load(std::memory_order_acquire) > 0; }

  // Runs the tasks that were waiting when the pass began, one at a time (tasks they post wait
  // for the next pass), each guarded so that a host's exception does not end the main loop.
  static gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
    TaskQueue* queue = of(source);
    std::size_t waiting = queue->count_.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < waiting; ++i) {
      std::function<void()> task;
      {
        std::lock_guard lock(queue->mutex_);
        if (queue->tasks_.empty()) break;  // a nested pass ran them
        task = std::move(queue->tasks_.front());
        queue->tasks_.pop_front();
        queue->count_.store(queue->tasks_.size(), std::memory_order_release);
      }
      platform::runGuarded(task, "a main-queue task");
    }
    return G_SOURCE_CONTINUE;
  }

  static inline GSourceFuncs kFuncs = {prepare, check, dispatch, nullptr, nullptr, nullptr};

  GMainContext* context_;
  GSource* source_ = nullptr;
  std::mutex mutex_;
  std::atomic<std::size_t> count_{0};
  std::atomic<int> waiters_{0};  // `runUntil` calls in progress
  std::deque<std::function<void()>> tasks_;
};

}  // namespace

void QPMainQueue::post(std::function<void()> task) {
  TaskQueue::shared().post(std::move(task));
}

void QPMainQueue::complete(std::function<void()> task) {
  if (!platform::completeInScope(task)) TaskQueue::shared().post(std::move(task));
}

namespace platform {
namespace {
thread_local bool handingOver = false;
}  // namespace

CompletionScope::CompletionScope(bool active) : outer_(handingOver) {
  handingOver = active;
}
CompletionScope::~CompletionScope() {
  handingOver = outer_;
}
bool CompletionScope::active() {
  return handingOver;
}
}  // namespace platform

bool QPMainQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  GMainContext* context = g_main_context_default();
  const gint64 deadline =
      g_get_monotonic_time() + std::chrono::duration_cast<std::chrono::microseconds>(timeout).count();
  // A condition may also change on another thread without waking the context, and the
  // deadline must be seen: the queue's source has the context look again every few
  // milliseconds while this runs.
  TaskQueue::Waiting waiting(TaskQueue::shared());
  while (!done() && g_get_monotonic_time() < deadline) g_main_context_iteration(context, TRUE);
  return done();
}

void QPMainQueue::runFor(std::chrono::milliseconds duration) {
  runUntil([] { return false; }, duration);
}

}  // namespace brivane
