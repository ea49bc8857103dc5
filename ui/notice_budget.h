// A limit for the notices that may wait in a window's message queue. Any thread; never blocks.
//
// Windows hands out posted messages before input, also in the message loops of dialogs, menus and
// moving windows. Notices that are posted as fast as they are taken would keep the user waiting
// there. So a thread takes from the budget before it posts a notice, and posts none when nothing is
// left. No news is missed: an earlier notice is still waiting then, and the window renews the
// budget before it looks for news.
#pragma once

#include <atomic>

namespace quillgate {

class NoticeBudget {
 public:
  static constexpr int kMaxNotices = 100;

  // Whether a notice may be posted. Called after the news is in its store.
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
  // May pass the maximum when threads take at the same moment, and fall below 0 when one gives back
  // after a renewal. The next renewal corrects both.
  std::atomic<int> taken_{0};
};

}  // namespace quillgate
