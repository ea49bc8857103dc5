// How many notices of news may be on their way to a window. Any thread; never blocks.
//
// Systems hand out posted messages before input, also in the loops that dialogs, menus and the
// moving of windows run: news that is posted as fast as it is taken keeps the user waiting there.
// So whoever brings news takes from the budget, and posts no notice when it is used up. Nothing is
// missed: one of the notices before it has not been answered yet, and whoever answers renews the
// budget first and looks for all news then.
#pragma once

#include <atomic>

namespace quillgate {

class NoticeBudget {
 public:
  static constexpr int kMaxNotices = 100;

  // Whether a notice may be posted. Called after the news is where it will be looked for.
  [[nodiscard]] bool take() noexcept {
    if (taken_ >= kMaxNotices) return false;
    ++taken_;
    return true;
  }

  // The notice could not be posted.
  void giveBack() noexcept { --taken_; }

  // Called before news is looked for.
  void renew() noexcept { taken_ = 0; }

 private:
  // More than the maximum when threads take at the same moment, less than 0 when one gives back
  // what was renewed meanwhile: both are put right by the next renewal.
  std::atomic<int> taken_{0};
};

}  // namespace quillgate
