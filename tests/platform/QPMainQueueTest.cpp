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

}  // namespace
}  // namespace brivane
