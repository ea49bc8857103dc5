#include "ui/win32/refresh_pace.h"

#include "ui/refresh_pause.h"

namespace quillgate {

void RefreshPace::refreshed(HWND window, bool foundNews) {
  constexpr UINT kPauseMilliseconds{kRefreshPause.count()};
  // The timer is for the last news: it comes only when no notice waits.
  if (foundNews && SetTimer(window, kTimer, kPauseMilliseconds, nullptr) != 0) {
    nextRefresh_ = GetTickCount64() + kPauseMilliseconds;
  } else {
    nextRefresh_ = 0;
    KillTimer(window, kTimer);
  }
}

}  // namespace quillgate
