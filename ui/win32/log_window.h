// The log window: the event log's lines, live, newest at the bottom, and a button that clears them.
// UI thread only; other threads post WM_LOG_NEW_LINE.
#pragma once

#include "ui/win32/accessible_names.h"
#include "ui/win32/refresh_pace.h"
#include "ui/win32/window.h"

namespace quillgate {

class LogWindow final : public Window {
 public:
  static constexpr const wchar_t* kClassName = L"QuillgateLogWnd";

 protected:
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void onCreate();
  void onSize();
  void onCommand(int id);
  void onClose();
  void onRefresh();

  RefreshPace pace_;
  AccessibleNames names_;
};

}  // namespace quillgate
