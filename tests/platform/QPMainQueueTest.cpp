#include <gtest/gtest.h>

#include <glib.h>

#include <atomic>
#include <thread>

#include "brivane/platform/QPMainQueue.h"

namespace brivane {
namespace {

TEST(QPMainQueue, PostedTasksRunLaterInOrderFromAnyThread) {
  std::vector<int> order;
  QPMainQueue::post([&] { order.push_back(1); });
  std::thread([&] { QPMainQueue::post([&] { order.push_back(2); }); }).join();
  EXPECT_TRUE(order.empty()) << "never before returning";
  EXPECT_TRUE(QPMainQueue::runUntil([&] { return order.size() == 2; }, std::chrono::seconds(2)));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(QPMainQueue, RunUntilStopsAtTheDeadline) {
  auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(QPMainQueue::runUntil([] { return false; }, std::chrono::milliseconds(50)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST(QPMainQueue, AThrowingTaskDoesNotStopTheQueue) {
  bool after = false;
  QPMainQueue::post([] { throw std::runtime_error("host bug"); });
  QPMainQueue::post([&] { after = true; });
  EXPECT_TRUE(QPMainQueue::runUntil([&] { return after; }, std::chrono::seconds(2)));
}

// Tasks posted in a burst run in order even when one of them waits in a nested loop for a task
// posted after it.
TEST(QPMainQueue, ATaskMayWaitForALaterTaskInANestedLoop) {
  std::vector<int> order;
  bool laterSeenInside = false;
  QPMainQueue::post([&] {
    order.push_back(1);
    QPMainQueue::post([&] { order.push_back(3); });
    laterSeenInside = QPMainQueue::runUntil([&] { return order.size() == 3; }, std::chrono::seconds(2));
  });
  QPMainQueue::post([&] { order.push_back(2); });
  EXPECT_TRUE(QPMainQueue::runUntil([&] { return order.size() == 3; }, std::chrono::seconds(4)));
  EXPECT_TRUE(laterSeenInside);
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

// A task posted from another thread while the main thread waits in its poll wakes it.
TEST(QPMainQueue, APostFromAnotherThreadWakesAWaitingContext) {
  bool ran = false;
  std::thread poster([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    QPMainQueue::post([&] { ran = true; });
  });
  // No tick of runUntil's own here: a bare blocking iteration returns only once woken. A guard
  // ends the wait after 5 s, so that a missing wake-up fails instead of hanging.
  bool guardFired = false;
  GSource* guard = g_timeout_source_new_seconds(5);
  g_source_set_callback(
      guard, [](gpointer fired) -> gboolean { return *static_cast<bool*>(fired) = true, G_SOURCE_REMOVE; },
      &guardFired, nullptr);
  GMainContext* context = g_main_context_default();
  g_source_attach(guard, context);
  g_main_context_acquire(context);
  while (!ran && !guardFired) g_main_context_iteration(context, TRUE);
  g_main_context_release(context);
  g_source_destroy(guard);
  g_source_unref(guard);
  poster.join();
  EXPECT_TRUE(ran);
  EXPECT_FALSE(guardFired) << "the post did not wake the waiting context";
}

}  // namespace
}  // namespace brivane
