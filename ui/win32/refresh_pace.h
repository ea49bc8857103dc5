// Lets a window refresh at most every 100 ms when notices come fast: the first one refreshes it at
// once, and those after it are answered together, by a timer. The system lets a timer wait for all
// messages and input that are there, so the user has a turn before each refresh, which lets new
// notices come. UI thread only.
#pragma once

#include <windows.h>

namespace quillgate {

class RefreshPace {
 public:
  // The timer whose WM_TIMER is to refresh the window. TailView uses another one on the monitor
  // window.
  static constexpr UINT_PTR kTimer = 2;

  // Whether the notice that is being handled is to refresh the window. One that was sent, and not
  // posted, always does.
  [[nodiscard]] bool refreshesNow() const { return !timerRuns_ || InSendMessage() != 0; }

  // To be called after each refresh of the window.
  void refreshed(HWND window, bool foundNews);

 private:
  bool timerRuns_ = false;
};

}  // namespace quillgate
