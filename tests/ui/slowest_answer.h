// How long a user waits, at worst, while something keeps the program's windows busy.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "tests/ui/ui_test.h"

namespace quillgate::test {

class SlowestAnswer {
 public:
  explicit SlowestAnswer(HWND mainWindow) : mainWindow_(mainWindow) {}

  // Presses "Status" by way of the message queue and waits until the panel folds in or out.
  void ask() {
    using Clock = std::chrono::steady_clock;
    const int former = outerSize(mainWindow_).height;
    const auto asked = Clock::now();
    PostMessageW(mainWindow_, WM_COMMAND, IDC_STATUS, 0);
    EXPECT_TRUE(eventually([&] { return outerSize(mainWindow_).height != former; }));
    slowest_ = std::max<Clock::duration>(slowest_, Clock::now() - asked);
    ++asked_;
  }

  // Puts the time into the test's report, in milliseconds, and returns it.
  [[nodiscard]] std::chrono::steady_clock::duration report() const {
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(slowest_);
    testing::Test::RecordProperty("slowestAnswerMilliseconds",
                                  std::to_string(milliseconds.count()));
    testing::Test::RecordProperty("answers", std::to_string(asked_));
    return slowest_;
  }

 private:
  HWND mainWindow_;
  std::chrono::steady_clock::duration slowest_{};
  int asked_ = 0;
};

}  // namespace quillgate::test
