// The main window: a strip with the status indicator and five buttons, and the status panel that
// folds out below them. UI thread only.
#pragma once

#include "ui/win32/accessible_names.h"
#include "ui/win32/window.h"

namespace quillgate {

class MainWindow final : public Window {
 public:
  static constexpr const wchar_t* kClassName = L"QuillgateMainWnd";

  // Registers the class and creates the window, which is not shown yet; null when the system
  // refuses. Destroying it stops the server and ends the message loop.
  [[nodiscard]] static HWND open();

 protected:
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void createIndicator();
  void onCreate();
  void onSize();
  void onCommand(int id);
  void onStartStop();
  void onDestroy();

  AccessibleNames names_;
};

// Brings the start/stop button's caption and the indicator in line with the server's running flag.
void showRunningState();

}  // namespace quillgate
