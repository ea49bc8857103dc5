#include "ui/win32/monitor_window.h"

#include <algorithm>

#include "ui/dialogs.h"
#include "ui/filter_list.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/dialogs_win32.h"

namespace quillgate {

namespace {

constexpr int kMinFilterWidth = 120;

Rectangle filterPlace(const Rectangle& client) { return {10, 10, client.width - 380, 200}; }
Rectangle formatPlace(const Rectangle& client) { return {client.width - 360, 10, 110, 200}; }
Rectangle savePlace(const Rectangle& client) { return {client.width - 240, 10, 110, 28}; }
Rectangle clearPlace(const Rectangle& client) { return {client.width - 120, 10, 110, 28}; }
Rectangle viewPlace(const Rectangle& client) {
  return {10, 48, client.width - 20, client.height - 58};
}

void createControlsOf(HWND window) {
  const Rectangle client = clientRectangle(window);
  const ControlRow rows[] = {
      {IDC_MON_FILTER, L"COMBOBOX", L"", CBS_DROPDOWNLIST, 0, filterPlace(client)},
      {IDC_MON_FORMAT, L"COMBOBOX", L"", CBS_DROPDOWNLIST, 0, formatPlace(client)},
      {IDC_MON_SAVE, L"BUTTON", L"Save TXT", BS_PUSHBUTTON, 0, savePlace(client)},
      {IDC_MON_CLEAR, L"BUTTON", L"Clear", BS_PUSHBUTTON, 0, clearPlace(client)},
      {IDC_MON_VIEW, L"EDIT", L"", WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY,
       WS_EX_CLIENTEDGE, viewPlace(client)},
  };
  createControls(window, rows);
}

int addEntry(HWND list, const std::wstring& text) {
  return static_cast<int>(
      SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str())));
}

int selectedIndex(HWND list) { return static_cast<int>(SendMessageW(list, CB_GETCURSEL, 0, 0)); }

void select(HWND list, int index) {
  SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

}  // namespace

LRESULT MonitorWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      onCreate();
      return 0;
    case WM_SIZE:
      onSize();
      return 0;
    case WM_COMMAND:
      onCommand(LOWORD(wParam), HIWORD(wParam));
      return 0;
    case WM_CLOSE:
      onClose();
      return 0;
    case WM_MONITOR_REFRESH:
      if (pace_.refreshesNow()) onRefresh();
      return 0;
    case WM_TIMER:
      if (wParam == RefreshPace::kTimer) {
        onRefresh();
        return 0;
      }
      if (tail_.onTimer(wParam)) return 0;
      break;
    default:
      break;
  }
  return defaultResult(message, wParam, lParam);
}

void MonitorWindow::onCreate() {
  createControlsOf(handle());
  UiState& ui = uiState();
  ui.monitorFilterList = GetDlgItem(handle(), IDC_MON_FILTER);
  ui.monitorFormatList = GetDlgItem(handle(), IDC_MON_FORMAT);
  ui.monitorView = GetDlgItem(handle(), IDC_MON_VIEW);
  tail_.attach(ui.monitorView);
  for (const wchar_t* name : kFormatNames) addEntry(ui.monitorFormatList, name);
  select(ui.monitorFormatList, static_cast<int>(sharedState().monitor.format()));
  fillFilterList(filterEntries(sharedState().rules.snapshot()), 0);
  ui.monitorControls = this;
  tail_.show(openMonitor(sharedState(), view_));
}

void MonitorWindow::onSize() {
  const Rectangle client = clientRectangle(handle());
  Rectangle filter = filterPlace(client);
  filter.width = std::max(filter.width, kMinFilterWidth);
  const Placement placements[] = {{IDC_MON_FILTER, filter},
                                  {IDC_MON_FORMAT, formatPlace(client)},
                                  {IDC_MON_SAVE, savePlace(client)},
                                  {IDC_MON_CLEAR, clearPlace(client)}};
  placeControls(handle(), placements);
  // A minimised window has no place for it, but will have the same again.
  if (!IsIconic(handle())) tail_.place(viewPlace(client));
}

void MonitorWindow::onCommand(int id, int notification) {
  switch (id) {
    case IDC_MON_FILTER:
      if (notification != CBN_SELCHANGE) break;
      tail_.show(chooseFilter(sharedState(), view_, selectedFilter()));
      break;
    case IDC_MON_FORMAT:
      if (notification != CBN_SELCHANGE) break;
      tail_.show(
          chooseFormat(sharedState(), view_, formatAt(selectedIndex(uiState().monitorFormatList))));
      break;
    case IDC_MON_CLEAR:
      tail_.show(clearMonitor(sharedState(), view_));
      break;
    case IDC_MON_SAVE:
      onSave();
      break;
    default:
      break;
  }
}

void MonitorWindow::onSave() {
  const std::int32_t filter = selectedFilter();
  const auto path = askForSavePath(handle(), kSaveMonitorDialog);
  if (path && !saveMonitor(sharedState(), filter, *path)) showError(handle(), kSaveMonitorError);
}

void MonitorWindow::onRefresh() {
  const std::wstring* text = view_.refresh();
  if (text != nullptr) tail_.show(*text);
  pace_.refreshed(handle(), text != nullptr);
}

void MonitorWindow::onClose() {
  UiState& ui = uiState();
  ui.monitorWindow = nullptr;
  ui.monitorFilterList = nullptr;
  ui.monitorFormatList = nullptr;
  ui.monitorView = nullptr;
  ui.monitorControls = nullptr;
  DestroyWindow(handle());
}

void MonitorWindow::fillFilterList(const std::vector<FilterEntry>& entries, std::size_t selected) {
  const HWND list = uiState().monitorFilterList;
  SendMessageW(list, CB_RESETCONTENT, 0, 0);
  for (const FilterEntry& entry : entries) {
    const int index = addEntry(list, entry.text);
    SendMessageW(list, CB_SETITEMDATA, static_cast<WPARAM>(index), entry.value);
  }
  select(list, static_cast<int>(selected));
}

std::int32_t MonitorWindow::selectedFilter() const {
  const HWND list = uiState().monitorFilterList;
  const int index = selectedIndex(list);
  if (index < 0) return kFilterOff;
  return static_cast<std::int32_t>(
      SendMessageW(list, CB_GETITEMDATA, static_cast<WPARAM>(index), 0));
}

void MonitorWindow::rebuildView() { tail_.show(view_.rebuild()); }

}  // namespace quillgate
