// The program with its log window.
#pragma once

#include <algorithm>

#include "tests/ui/ui_test.h"

namespace quillgate::test {

inline constexpr std::size_t kMaxLines = 500;

class LogTest : public UiTest {
 protected:
  void openLog() {
    click(mainControl(IDC_OPEN_LOG));
    window = program->waitForWindow(L"QuillgateLogWnd");
    ASSERT_NE(window, nullptr);
    list = GetDlgItem(window, IDC_LOG_LIST);
    ASSERT_NE(list, nullptr);
    send(window, WM_NULL);
  }

  // Each press of the start/stop button logs two lines.
  void pressStartStop(int times) {
    for (int i = 0; i < times; ++i) sendCommand(mainWindow, IDC_START_STOP);
  }

  [[nodiscard]] LRESULT lineCount() const { return send(list, LB_GETCOUNT); }
  [[nodiscard]] LRESULT topLine() const { return send(list, LB_GETTOPINDEX); }

  // The top line of a list that shows its end.
  [[nodiscard]] LRESULT lastTopLine() const {
    return lineCount() - clientSize(list).height / send(list, LB_GETITEMHEIGHT);
  }

  [[nodiscard]] bool listShows(const std::vector<std::wstring>& lines) const {
    return eventually([&] { return linesOf(list) == lines; });
  }

  HWND window = nullptr;
  HWND list = nullptr;
};

// The last `count` of the lines, or all.
[[nodiscard]] inline std::vector<std::wstring> lastOf(const std::vector<std::wstring>& lines,
                                                      std::size_t count) {
  return {lines.end() - static_cast<std::ptrdiff_t>(std::min(count, lines.size())), lines.end()};
}

}  // namespace quillgate::test
