#include "ui/win32/refresh_pace.h"

#include "ui/refresh_pause.h"

namespace quillgate {

void RefreshPace::refreshed(HWND window, bool foundNews) {
  constexpr UINT kPauseMilliseconds{kRefreshPause.count()};
  timerRuns_ = foundNews && SetTimer(window, kTimer, kPauseMilliseconds, nullptr) != 0;
  if (!timerRuns_) KillTimer(window, kTimer);
}

}  // namespace quillgate
