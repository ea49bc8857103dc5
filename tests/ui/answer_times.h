// How long a user waits while something keeps the program's windows busy.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/deadline.h"
#include "tests/support/load.h"
#include "tests/ui/dialogs.h"
#include "tests/ui/driver.h"

namespace quillgate::test {

// The times that the program took to answer.
class AnswerTimes {
 public:
  // Notes how long `isAnswered` takes, which asks for something and waits for it.
  void measure(const std::function<bool()>& isAnswered) {
    const auto asked = Clock::now();
    EXPECT_TRUE(isAnswered());
    times_.push_back(Clock::now() - asked);
  }

  // The same again and again, for this time.
  void measureFor(std::chrono::seconds time, const std::function<bool()>& isAnswered) {
    for (const auto end = Clock::now() + time; Clock::now() < end;) measure(isAnswered);
  }

  // Puts the times into the test's report, in milliseconds, and returns the slowest.
  [[nodiscard]] std::chrono::milliseconds report() {
    std::ranges::sort(times_);
    record("answers", times_.size());
    record("answerMillisecondsMedian", at(50).count());
    record("answerMilliseconds99thPercentile", at(99).count());
    record("answerMillisecondsSlowest", at(100).count());
    return at(100);
  }

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] std::chrono::milliseconds at(std::size_t percent) const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        times_[(times_.size() - 1) * percent / 100]);
  }

  static void record(const char* name, auto number) {
    testing::Test::RecordProperty(name, std::to_string(number));
  }

  std::vector<Clock::duration> times_;
};

// Moves a window to where it and the other one do not cover each other.
inline void moveBelow(const Window& other, const Window& window) {
  constexpr int kRoomForFrames = 40;  // pixels
  const Box place = other.screenPlace();
  window.moveTo({place.x, place.y + place.height + kRoomForFrames});
}

// Clicks on "Status" with the mouse and waits until the panel folds in or out.
class StatusClick {
 public:
  // Moves the other window away from the buttons of the main window.
  StatusClick(const Window& mainWindow, const Window& otherWindow)
      : mainWindow_(mainWindow), button_(mainWindow.control(L"Status")) {
    moveBelow(mainWindow, otherWindow);
    // A click may get lost while the window becomes the active one.
    EXPECT_TRUE(eventually([this] { return isAnsweredWithin(std::chrono::seconds(1)); }));
  }

  bool operator()() const { return isAnsweredWithin(kDeadline); }

 private:
  [[nodiscard]] bool isAnsweredWithin(std::chrono::milliseconds time) const {
    const int former = mainWindow_.clientSize().height;
    clickWithMouse(button_);
    return eventually([&] { return mainWindow_.clientSize().height != former; }, time);
  }

  Window mainWindow_;
  Control button_;
};

// Lets the rule editor import a file that holds no rules, again and again, and answers its error
// boxes with the mouse.
inline void expectErrorBoxesAnswered(const Window& editor, const std::wstring& noRules) {
  AnswerTimes answers;
  for (int i = 0; i <= load(5, 20); ++i) {
    confirmName(openDialog(editor, L"Import XML", L"Open"), noRules);
    const Window box = waitForDialog(editor, L"Error");
    ASSERT_TRUE(box.isThere());
    const auto isAnsweredWithin = [&](std::chrono::milliseconds time) {
      clickWithMouse(buttonOf(box, Answer::accept));
      return eventually([&] { return !box.isThere(); }, time);
    };
    if (i == 0) {
      // The first click may get lost, and is not measured.
      ASSERT_TRUE(eventually([&] { return isAnsweredWithin(std::chrono::seconds(1)); }));
    } else {
      answers.measure([&] { return isAnsweredWithin(kDeadline); });
    }
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
}

}  // namespace quillgate::test
