#include "ui/win32/secondary_window.h"

#include "ui/win32/ui_state.h"

namespace quillgate {

void openSecondaryWindow(const SecondaryWindow& kind) {
  const HWND existing = kind.slot;
  if (IsWindow(existing)) {
    ShowWindow(existing, SW_SHOWNORMAL);
    SetForegroundWindow(existing);
    return;
  }

  Window::registerClass(kind.className);
  const HWND created =
      Window::create(kind.make(), kind.className, kind.title, WS_OVERLAPPEDWINDOW,
                     {CW_USEDEFAULT, CW_USEDEFAULT, kind.outerSize.width, kind.outerSize.height},
                     uiState().mainWindow);
  kind.slot = created;
  if (created != nullptr) ShowWindow(created, SW_SHOW);
}

}  // namespace quillgate
