// What the windows share: their handles, the font and the brush, and the engine's state.
//
// Only the UI thread writes the UiState; worker threads read logWindow and monitorWindow and post
// to them. Neither it nor the SharedState is ever destroyed: detached sessions use them until the
// process is gone.
#pragma once

#include <windows.h>

#include <atomic>

#include "engine/shared_state.h"
#include "ui/notice_budget.h"
#include "ui/rule_actions.h"
#include "ui/win32/accessible_names.h"

namespace quillgate {

struct UiState {
  HINSTANCE appInstance = nullptr;

  HWND mainWindow = nullptr;  // set when its creation has returned
  HWND indicator = nullptr;
  HWND statusPanel = nullptr;  // created on first use and then kept, hidden or shown
  AccessibleNames* mainWindowNames = nullptr;  // valid as long as mainWindow is a window
  std::atomic<bool> statusPanelVisible{false};

  // The secondary windows. Each clears its own handle when it closes itself; a handle may also name
  // a window that was destroyed with its owner.
  std::atomic<HWND> configWindow{nullptr};
  std::atomic<HWND> monitorWindow{nullptr};
  std::atomic<HWND> logWindow{nullptr};

  NoticeBudget lineNotices;  // of WM_LOG_NEW_LINE

  HWND logListBox = nullptr;
  HWND monitorFilterList = nullptr;
  HWND monitorFormatList = nullptr;
  HWND monitorView = nullptr;
  MonitorControls* monitorControls = nullptr;  // valid as long as monitorWindow is a window

  HFONT uiFont = nullptr;
  HBRUSH whiteBrush = nullptr;
};

[[nodiscard]] UiState& uiState();

// The engine's objects; they notify the windows of news by posting the private messages. Created
// by the first call.
[[nodiscard]] SharedState& sharedState();

}  // namespace quillgate
