// The entry point: brings the process up, runs the one message loop, and takes it down again.
#include <windows.h>
// After windows.h.
#include <commctrl.h>

#include <cwchar>

#include "engine/shared_state.h"
#include "platform/system.h"
#include "ui/dialogs.h"
#include "ui/win32/dialogs_win32.h"
#include "ui/win32/main_window.h"
#include "ui/win32/ui_state.h"

namespace quillgate {
namespace {

HFONT createUiFont() {
  LOGFONTW font{};
  font.lfHeight = -14;
  font.lfWeight = FW_NORMAL;
  std::wcscpy(font.lfFaceName, L"Segoe UI");
  return CreateFontIndirectW(&font);
}

void runMessageLoop() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) != 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

// Returns the exit code. What a failed start has made so far is left to the end of the process.
int run(HINSTANCE instance, int showCommand) {
  UiState& ui = uiState();
  ui.appInstance = instance;
  if (!platform::startPlatform()) {
    showError(nullptr, kNoSocketsError);
    return 1;
  }
  const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES};
  InitCommonControlsEx(&controls);

  SharedState& state = sharedState();
  prepareDataFolder(state);
  ui.uiFont = createUiFont();
  ui.whiteBrush = CreateSolidBrush(RGB(255, 255, 255));
  loadRules(state);

  ui.mainWindow = MainWindow::open();
  if (ui.mainWindow == nullptr) return 1;
  ShowWindow(ui.mainWindow, showCommand);
  UpdateWindow(ui.mainWindow);
  state.server.start();
  showRunningState();

  runMessageLoop();
  // It still exists when it was closed while a dialog was open.
  if (IsWindow(ui.mainWindow)) DestroyWindow(ui.mainWindow);

  if (ui.uiFont != nullptr) DeleteObject(ui.uiFont);
  platform::stopPlatform();
  return 0;
}

}  // namespace
}  // namespace quillgate

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int showCommand) {
  return quillgate::run(instance, showCommand);
}
