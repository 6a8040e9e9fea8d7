#include "search/core/side_thread.h"

#include <gtest/gtest.h>

#include <thread>

namespace search {
namespace {

// Whether the side thread begins a task or the waiting caller takes it back, it runs once and its
// effects are visible after wait().
TEST(SideThreadTest, EveryTaskRunsOnceAndIsDoneWhenWaitReturns) {
  SideThread side;
  int count = 0;
  for (int i = 0; i < 2000; ++i) {
    side.start([&] { ++count; });
    if (i % 2) std::this_thread::yield();
    side.wait();
    ASSERT_EQ(count, i + 1);
  }
  side.wait();  // nothing given: returns at once
  EXPECT_EQ(count, 2000);
}

}  // namespace
}  // namespace search
