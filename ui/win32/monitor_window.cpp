#include "ui/win32/monitor_window.h"

#include "ui/dialogs.h"
#include "ui/filter_list.h"
#include "ui/monitor_layout.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/dialogs_win32.h"

namespace quillgate {

namespace {

// The system takes the height of a list for that of the opened one.
MonitorControlPlaces placesIn(HWND window) {
  constexpr int kOpenListHeight = 200;
  MonitorControlPlaces places = monitorPlaces(clientSize(window));
  places.filter.height = kOpenListHeight;
  places.format.height = kOpenListHeight;
  return places;
}

void createControlsOf(HWND window) {
  const MonitorControlPlaces places = placesIn(window);
  const ControlRow rows[] = {
      {IDC_MON_FILTER, L"COMBOBOX", L"", CBS_DROPDOWNLIST, 0, places.filter},
      {IDC_MON_FORMAT, L"COMBOBOX", L"", CBS_DROPDOWNLIST, 0, places.format},
      {IDC_MON_SAVE, L"BUTTON", places.save.text, BS_PUSHBUTTON, 0, places.save.place},
      {IDC_MON_CLEAR, L"BUTTON", places.clear.text, BS_PUSHBUTTON, 0, places.clear.place},
      {IDC_MON_VIEW, L"EDIT", L"", WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY,
       WS_EX_CLIENTEDGE, places.view},
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
    case WM_DESTROY:
      names_.clear();
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
  names_.set(ui.monitorFilterList, kFilterListName);
  names_.set(ui.monitorFormatList, kFormatListName);
  names_.set(ui.monitorView, kMonitorViewName);
  tail_.attach(ui.monitorView);
  for (const wchar_t* name : kFormatNames) addEntry(ui.monitorFormatList, name);
  select(ui.monitorFormatList, static_cast<int>(sharedState().monitor.format()));
  fillFilterList(filterEntries(sharedState().rules.snapshot()), 0);
  ui.monitorControls = this;
  tail_.show(openMonitor(sharedState(), view_));
}

void MonitorWindow::onSize() {
  const MonitorControlPlaces places = placesIn(handle());
  const Placement placements[] = {{IDC_MON_FILTER, places.filter},
                                  {IDC_MON_FORMAT, places.format},
                                  {IDC_MON_SAVE, places.save.place},
                                  {IDC_MON_CLEAR, places.clear.place}};
  placeControls(handle(), placements);
  // A minimised window has no place for it, but will have the same again.
  if (!IsIconic(handle())) tail_.place(places.view);
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
