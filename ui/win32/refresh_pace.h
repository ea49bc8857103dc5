// Keeps a window from refreshing for every single notice when news come fast: what the first notice
// finds is shown at once, and what comes within 100 ms when these are over. UI thread only.
#pragma once

#include <windows.h>

namespace quillgate {

class RefreshPace {
 public:
  // Whose WM_TIMER is to refresh the window. TailView has another one on the monitor window.
  static constexpr UINT_PTR kTimer = 2;

  // Whether the notice that is being handled is to refresh the window. Whoever sends one, instead
  // of posting it, has it handled when the call returns.
  [[nodiscard]] bool refreshesNow() const {
    return GetTickCount64() >= nextRefresh_ || InSendMessage() != 0;
  }

  // To be called after each refresh of the window.
  void refreshed(HWND window, bool foundNews);

 private:
  ULONGLONG nextRefresh_ = 0;  // in the time of GetTickCount64
};

}  // namespace quillgate
