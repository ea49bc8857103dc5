// Opening the windows behind the main window's buttons, each at most once. UI thread only.
#pragma once

#include <atomic>
#include <memory>

#include "ui/win32/window.h"

namespace quillgate {

// One kind of secondary window.
struct SecondaryWindow {
  std::atomic<HWND>& slot;  // where the window's handle is kept
  const wchar_t* className;
  const wchar_t* title;
  Size outerSize;
  std::shared_ptr<Window> (*make)();
};

template <typename Kind>
[[nodiscard]] std::shared_ptr<Window> makeWindow() {
  return std::make_shared<Kind>();
}

// Restores the window and brings it to the front if it exists; otherwise creates it, owned by the
// main window, and shows it.
void openSecondaryWindow(const SecondaryWindow& kind);

}  // namespace quillgate
