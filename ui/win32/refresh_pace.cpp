#include "ui/win32/refresh_pace.h"

namespace quillgate {

namespace {

constexpr UINT kMilliseconds = 100;

}  // namespace

void RefreshPace::refreshed(HWND window, bool foundNews) {
  // The timer is for the last news: it comes only when no notice waits.
  if (foundNews && SetTimer(window, kTimer, kMilliseconds, nullptr) != 0) {
    nextRefresh_ = GetTickCount64() + kMilliseconds;
  } else {
    nextRefresh_ = 0;
    KillTimer(window, kTimer);
  }
}

}  // namespace quillgate
