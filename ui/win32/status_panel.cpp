#include "ui/win32/status_panel.h"

#include "ui/main_view.h"
#include "ui/status_report.h"
#include "ui/win32/control_ids.h"
#include "ui/win32/ui_state.h"
#include "ui/win32/window.h"

namespace quillgate {

namespace {

Rectangle panelPlace() { return statusPanelPlace(clientSize(uiState().mainWindow)); }

HWND createPanel() {
  return createControl(
      uiState().mainWindow,
      {IDC_STATUS_TEXT, L"EDIT", L"", WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY,
       WS_EX_CLIENTEDGE, panelPlace()});
}

void growMainWindow(int pixels) {
  const HWND window = uiState().mainWindow;
  RECT outer{};
  GetWindowRect(window, &outer);
  SetWindowPos(window, nullptr, 0, 0, outer.right - outer.left, outer.bottom - outer.top + pixels,
               SWP_NOMOVE | SWP_NOZORDER);
}

// The flag changes first: growing sends a size change that already places an existing panel.
void foldOut() {
  UiState& ui = uiState();
  ui.statusPanelVisible = true;
  growMainWindow(kStatusPanelGrowth);
  if (ui.statusPanel == nullptr) {
    ui.statusPanel = createPanel();
    ui.mainWindowNames->set(ui.statusPanel, kStatusPanelName);
  } else {
    ShowWindow(ui.statusPanel, SW_SHOW);
  }
  refreshStatusPanel();
}

void foldIn() {
  UiState& ui = uiState();
  ui.statusPanelVisible = false;
  if (ui.statusPanel != nullptr) ShowWindow(ui.statusPanel, SW_HIDE);
  growMainWindow(-kStatusPanelGrowth);
}

}  // namespace

void toggleStatusPanel() {
  if (uiState().statusPanelVisible) {
    foldIn();
  } else {
    foldOut();
  }
}

void refreshStatusPanel() {
  const UiState& ui = uiState();
  if (!ui.statusPanelVisible || ui.statusPanel == nullptr) return;
  const RedrawPause pause(ui.statusPanel);
  SetWindowTextW(ui.statusPanel, buildStatusReport(sharedState()).c_str());
}

void layoutStatusPanel() {
  if (uiState().statusPanelVisible) placeControl(uiState().statusPanel, panelPlace());
}

}  // namespace quillgate
