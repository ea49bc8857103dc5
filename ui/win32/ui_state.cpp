#include "ui/win32/ui_state.h"

#include <type_traits>

#include "ui/win32/control_ids.h"

namespace quillgate {

namespace {

// Notifies a window by posting it a message. A window that has just been closed is no error: its
// handle is checked first, and posting to one that is closed in between fails.
class WindowNotifier final : public UiNotifier {
 public:
  void notifyNewLines() noexcept override {
    UiState& ui = uiState();
    if (!IsWindow(ui.logWindow) || !ui.lineNotices.take()) return;
    if (!post(ui.logWindow, WM_LOG_NEW_LINE)) ui.lineNotices.giveBack();
  }

  bool isMonitorOpen() const noexcept override { return IsWindow(uiState().monitorWindow) != 0; }

  bool notifyNewRecords() noexcept override {
    return post(uiState().monitorWindow, WM_MONITOR_REFRESH);
  }

 private:
  static bool post(HWND window, UINT message) noexcept {
    return IsWindow(window) != 0 && PostMessageW(window, message, 0, 0) != 0;
  }
};

}  // namespace

UiState& uiState() {
  static_assert(std::is_trivially_destructible_v<UiState>, "workers read it to the very end");
  static constinit UiState state;
  return state;
}

SharedState& sharedState() {
  static SharedState& state = *new SharedState(*new WindowNotifier);
  return state;
}

}  // namespace quillgate
