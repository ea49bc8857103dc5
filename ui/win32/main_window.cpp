#include "ui/win32/main_window.h"

#include "ui/editor_view.h"
#include "ui/log_view.h"
#include "ui/main_view.h"
#include "ui/monitor_layout.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/dialogs_win32.h"
#include "ui/win32/log_window.h"
#include "ui/win32/monitor_window.h"
#include "ui/win32/rule_editor.h"
#include "ui/win32/secondary_window.h"
#include "ui/win32/status_indicator.h"
#include "ui/win32/status_panel.h"
#include "ui/win32/ui_state.h"

namespace quillgate {

namespace {

constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;

// Sizes with borders and title bar, which is what this system is asked for; how much of them the
// client area gets is up to it. The client sizes in ui/ are for toolkits that ask for those.
constexpr Size kMainOuterSize{696, 90};
constexpr Size kEditorOuterSize{700, 430};
constexpr Size kMonitorOuterSize{980, 560};
constexpr Size kLogOuterSize{900, 520};

// The places at creation only: the size change when the window is first shown applies kLayout.
constexpr Rectangle kFirstIndicatorPlace{10, 18, 18, 18};
constexpr ControlRow kButtons[] = {
    {IDC_START_STOP, L"BUTTON", kStartStopButton.text, BS_PUSHBUTTON, 0, {40, 10, 180, 34}},
    {IDC_OPEN_CONFIG, L"BUTTON", kConfigButton.text, BS_PUSHBUTTON, 0, {240, 10, 180, 34}},
    {IDC_OPEN_MONITOR, L"BUTTON", kMonitorButton.text, BS_PUSHBUTTON, 0, {440, 10, 180, 34}},
    {IDC_OPEN_LOG, L"BUTTON", kLogButton.text, BS_PUSHBUTTON, 0, {640, 10, 90, 34}},
    {IDC_STATUS, L"BUTTON", kStatusButton.text, BS_PUSHBUTTON, 0, {740, 10, 90, 34}},
};

constexpr Placement kLayout[] = {
    {IDC_START_STOP, kStartStopButton.place}, {IDC_OPEN_CONFIG, kConfigButton.place},
    {IDC_OPEN_MONITOR, kMonitorButton.place}, {IDC_OPEN_LOG, kLogButton.place},
    {IDC_STATUS, kStatusButton.place},
};

}  // namespace

HWND MainWindow::open() {
  registerClass(kClassName);
  return create(std::make_shared<MainWindow>(), kClassName, kMainTitle, kStyle,
                {CW_USEDEFAULT, CW_USEDEFAULT, kMainOuterSize.width, kMainOuterSize.height},
                nullptr);
}

LRESULT MainWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      onCreate();
      return 0;
    case WM_SIZE:
      onSize();
      return 0;
    case WM_COMMAND:
      onCommand(LOWORD(wParam));
      return 0;
    case WM_CLOSE:
      // The message loop's end destroys the window when dialogs have to end before.
      if (!endDialogs()) DestroyWindow(handle());
      return 0;
    case WM_DESTROY:
      onDestroy();
      return 0;
    default:
      return defaultResult(message, wParam, lParam);
  }
}

void MainWindow::createIndicator() {
  registerClass(StatusIndicator::kClassName);
  uiState().indicator =
      create(std::make_shared<StatusIndicator>(sharedState().server), StatusIndicator::kClassName,
             L"", WS_CHILD | WS_VISIBLE, kFirstIndicatorPlace, handle());
  SendMessageW(uiState().indicator, WM_SETFONT, reinterpret_cast<WPARAM>(uiState().uiFont), TRUE);
}

void MainWindow::onCreate() {
  uiState().mainWindowNames = &names_;
  createIndicator();
  createControls(handle(), kButtons);
  // The caption stays "Stop server" here, because the main window's handle is not known yet; the
  // start-up repeats this when it has started the server.
  showRunningState();
}

void MainWindow::onSize() {
  placeControl(uiState().indicator, kIndicatorPlace);
  placeControls(handle(), kLayout);
  layoutStatusPanel();
}

void MainWindow::onCommand(int id) {
  switch (id) {
    case IDC_START_STOP:
      onStartStop();
      break;
    case IDC_OPEN_CONFIG:
      openSecondaryWindow({uiState().configWindow, RuleEditor::kClassName, kEditorTitle,
                           kEditorOuterSize, makeWindow<RuleEditor>});
      break;
    case IDC_OPEN_LOG:
      openSecondaryWindow({uiState().logWindow, LogWindow::kClassName, kLogTitle, kLogOuterSize,
                           makeWindow<LogWindow>});
      break;
    case IDC_OPEN_MONITOR:
      openSecondaryWindow({uiState().monitorWindow, MonitorWindow::kClassName, kMonitorTitle,
                           kMonitorOuterSize, makeWindow<MonitorWindow>});
      break;
    case IDC_STATUS:
      toggleStatusPanel();
      refreshStatusPanel();
      break;
    default:
      break;
  }
}

void MainWindow::onStartStop() {
  ForwardingServer& server = sharedState().server;
  if (server.isRunning()) {
    server.stop();
  } else {
    server.start();
  }
  showRunningState();
  refreshStatusPanel();
}

void MainWindow::onDestroy() {
  names_.clear();
  uiState().mainWindowNames = nullptr;
  sharedState().server.stop();
  DeleteObject(uiState().whiteBrush);
  uiState().whiteBrush = nullptr;
  PostQuitMessage(0);
}

void showRunningState() {
  const UiState& ui = uiState();
  const bool running = sharedState().server.isRunning();
  SetDlgItemTextW(ui.mainWindow, IDC_START_STOP, startStopCaption(running));
  if (ui.indicator == nullptr) return;
  ui.mainWindowNames->set(ui.indicator, indicatorName(running));
  InvalidateRect(ui.indicator, nullptr, TRUE);
}

}  // namespace quillgate
