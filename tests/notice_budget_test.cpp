#include "ui/notice_budget.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace quillgate {
namespace {

int takeAll(NoticeBudget& budget) {
  int taken = 0;
  while (budget.take()) ++taken;
  return taken;
}

TEST(NoticeBudgetTest, AllowsAHundredNotices) {
  NoticeBudget budget;
  EXPECT_EQ(takeAll(budget), 100);
  EXPECT_FALSE(budget.take());
}

TEST(NoticeBudgetTest, AllowsAHundredMoreAfterItWasRenewed) {
  NoticeBudget budget;
  for (int i = 0; i < 3; ++i) {
    budget.renew();
    EXPECT_EQ(takeAll(budget), 100);
  }
}

TEST(NoticeBudgetTest, AllowsAnotherNoticeInThePlaceOfOneThatWasNotPosted) {
  NoticeBudget budget;
  EXPECT_EQ(takeAll(budget), 100);
  budget.giveBack();
  EXPECT_EQ(takeAll(budget), 1);
}

// Threads bring news; one looks for it whenever there is a notice, as a window does.
TEST(NoticeBudgetTest, LosesNoNewsOfManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kNewsOfEach = 20000;
  NoticeBudget budget;
  std::atomic<int> news{0};
  std::atomic<int> notices{0};
  std::atomic<int> atWork{kThreads};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < kNewsOfEach; ++n) {
        ++news;
        if (budget.take()) ++notices;
      }
      --atWork;
    });
  }
  int seen = 0;
  while (atWork > 0 || notices > 0) {
    if (notices.exchange(0) == 0) continue;
    budget.renew();
    seen = news;
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(seen, kThreads * kNewsOfEach);
}

}  // namespace
}  // namespace quillgate
