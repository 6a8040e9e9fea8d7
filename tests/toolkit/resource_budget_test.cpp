#include "toolkit/core/resource_budget.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace toolkit {
namespace {

TEST(ResourceBudgetTest, SkippableWorkGetsOnlyWhatFits) {
  ResourceBudget budget(100, 1);
  Reservation a = budget.tryReserve(60);
  ASSERT_TRUE(a);
  EXPECT_FALSE(budget.tryReserve(41));
  Reservation b = budget.tryReserve(40);
  ASSERT_TRUE(b);
  EXPECT_EQ(budget.reservedBytes(), 100);
  a.shrinkTo(10);
  EXPECT_EQ(budget.reservedBytes(), 50);
  Reservation moved = std::move(b);
  EXPECT_EQ(budget.reservedBytes(), 50) << "a move gives nothing back";
  moved.reset();
  a.reset();
  EXPECT_EQ(budget.reservedBytes(), 0);
  EXPECT_EQ(budget.peakBytes(), 100);
}

// The frame a search cannot go on without is never refused: one holder at a time may go over,
// and while it is over, work that may be skipped gets nothing.
TEST(ResourceBudgetTest, OneHolderGoesOverWithoutWaiting) {
  ResourceBudget budget(100, 1);
  const int search = 0, other = 0;
  Reservation first = budget.reserve(80, &search);
  Reservation second = budget.reserve(80, &search);
  EXPECT_EQ(budget.reservedBytes(), 160);
  EXPECT_FALSE(budget.tryReserve(1));
  second.reset();
  first.reset();
  // With nothing held, any holder may go over again.
  Reservation big = budget.reserve(500, &other);
  EXPECT_EQ(budget.peakBytes(), 500);
}

TEST(ResourceBudgetTest, AnotherHolderWaitsUntilTheOneOverGivesBack) {
  ResourceBudget budget(100, 2);
  const int search = 0, other = 0;
  Reservation over = budget.reserve(150, &search);
  Reservation got;
  std::thread waiter([&] { got = budget.reserve(30, &other); });
  over.reset();
  waiter.join();
  EXPECT_EQ(got.bytes(), 30);
  EXPECT_EQ(budget.peakBytes(), 150) << "the second holder never went over beside the first";
}

TEST(ResourceBudgetTest, AReservationMayOutliveItsBudget) {
  auto budget = std::make_unique<ResourceBudget>(100, 1);
  Reservation held = budget->tryReserve(10);
  budget.reset();
  held.shrinkTo(5);
  held.reset();
  EXPECT_FALSE(held);
}

TEST(ResourceBudgetTest, ThreadsAreSharedNeverAddedUp) {
  ResourceBudget budget(1, 4);
  {
    const ThreadLease jobs(budget, 3);
    EXPECT_EQ(jobs.count(), 3);
    const ThreadLease ahead(budget, 5);
    EXPECT_EQ(ahead.count(), 1);
    EXPECT_EQ(ThreadLease(budget, 1).count(), 0);
    EXPECT_EQ(budget.threadsTaken(), 4);
  }
  EXPECT_EQ(budget.threadsTaken(), 0);
  EXPECT_EQ(ResourceBudget(0, 0).threads(), 1);
}

}  // namespace
}  // namespace toolkit
