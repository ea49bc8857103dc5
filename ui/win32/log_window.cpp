#include "ui/win32/log_window.h"

#include <span>
#include <string>
#include <vector>

#include "ui/log_view.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/ui_state.h"

namespace quillgate {

namespace {

void createControlsOf(HWND window) {
  const ControlRow rows[] = {
      {IDC_LOG_CLEAR, L"BUTTON", kClearLogsButton.text, BS_PUSHBUTTON, 0, kClearLogsButton.place},
      {IDC_LOG_LIST, L"LISTBOX", L"",
       WS_VSCROLL | LBS_USETABSTOPS | LBS_NOINTEGRALHEIGHT | LBS_DISABLENOSCROLL, WS_EX_CLIENTEDGE,
       logListPlace(clientSize(window))},
  };
  createControls(window, rows);
}

int countOf(HWND list) { return static_cast<int>(SendMessageW(list, LB_GETCOUNT, 0, 0)); }

void addLine(HWND list, const std::wstring& line) {
  SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(line.c_str()));
}

void scrollToEnd(HWND list) {
  const int count = countOf(list);
  if (count > 0) SendMessageW(list, LB_SETTOPINDEX, static_cast<WPARAM>(count - 1), 0);
}

ListPosition positionOf(HWND list) {
  return {countOf(list), static_cast<int>(SendMessageW(list, LB_GETTOPINDEX, 0, 0)),
          clientSize(list).height, static_cast<int>(SendMessageW(list, LB_GETITEMHEIGHT, 0, 0))};
}

void appendLines(HWND list, std::span<const std::wstring> lines) {
  const RedrawPause pause(list);
  for (const std::wstring& line : newestOf(lines)) addLine(list, line);
  for (int surplus = surplusLines(countOf(list)); surplus > 0; --surplus) {
    SendMessageW(list, LB_DELETESTRING, 0, 0);
  }
}

}  // namespace

LRESULT LogWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
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
      onClose();
      return 0;
    case WM_DESTROY:
      names_.clear();
      return 0;
    case WM_LOG_NEW_LINE:
      if (pace_.refreshesNow()) onRefresh();
      return 0;
    case WM_TIMER:
      if (wParam != RefreshPace::kTimer) break;
      onRefresh();
      return 0;
    default:
      break;
  }
  return defaultResult(message, wParam, lParam);
}

void LogWindow::onCreate() {
  createControlsOf(handle());
  const HWND list = GetDlgItem(handle(), IDC_LOG_LIST);
  uiState().logListBox = list;
  names_.set(list, kLogListName);
  uiState().lineNotices.renew();  // notices to an earlier window are gone
  EventLog& log = sharedState().log;
  {
    const RedrawPause pause(list);
    SendMessageW(list, LB_RESETCONTENT, 0, 0);
    log.openView(kLogViewMaxLines, [list](const std::wstring& line) { addLine(list, line); });
  }
  scrollToEnd(list);
  log.write(L"Log window opened.");
}

void LogWindow::onSize() {
  const Placement placements[] = {{IDC_LOG_CLEAR, kClearLogsButton.place},
                                  {IDC_LOG_LIST, logListPlace(clientSize(handle()))}};
  placeControls(handle(), placements);
}

void LogWindow::onCommand(int id) {
  if (id != IDC_LOG_CLEAR) return;
  sharedState().log.clear();
  if (IsWindow(uiState().logListBox)) SendMessageW(uiState().logListBox, LB_RESETCONTENT, 0, 0);
}

void LogWindow::onClose() {
  uiState().logWindow = nullptr;
  uiState().logListBox = nullptr;
  DestroyWindow(handle());
}

void LogWindow::onRefresh() {
  const HWND list = uiState().logListBox;
  if (!IsWindow(list)) return;
  const bool follow = followsEnd(positionOf(list));
  uiState().lineNotices.renew();
  const std::vector<std::wstring> lines = sharedState().log.takeNewLines();
  pace_.refreshed(handle(), !lines.empty());
  if (lines.empty()) return;
  appendLines(list, lines);
  if (follow) scrollToEnd(list);
}

}  // namespace quillgate
