// What of the windows behind the main window's buttons only Windows has: styles and messages.
#include "tests/ui/ui_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {
namespace {

struct SecondaryKind {
  const char* name;
  int button;
  const wchar_t* className;
  Box outer;
};

class SecondaryWindowOnWindows : public UiTest, public testing::WithParamInterface<SecondaryKind> {
 protected:
  [[nodiscard]] HWND openIt() const {
    sendCommand(handleOf(mainWindow), GetParam().button);
    return waitForClass(*program, GetParam().className);
  }
  [[nodiscard]] std::vector<HWND> all() const {
    return windowsOfClass(*program, GetParam().className);
  }
};

TEST_P(SecondaryWindowOnWindows, IsAnOrdinaryWindow) {
  start();
  const HWND window = openIt();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(styleOf(window), WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_CLIPSIBLINGS);
  EXPECT_EQ(exStyleOf(window), static_cast<DWORD>(WS_EX_WINDOWEDGE));
  EXPECT_EQ(outerSize(window), GetParam().outer);
  EXPECT_EQ(GetMenu(window), nullptr);
  EXPECT_EQ(GetClassLongW(window, GCL_STYLE), 0u);
}

TEST_P(SecondaryWindowOnWindows, ClosesFromTheSystemMenuAndByAMessage) {
  start();
  PostMessageW(openIt(), WM_SYSCOMMAND, SC_CLOSE, 0);
  EXPECT_TRUE(eventually([&] { return all().empty(); }));
  EXPECT_EQ(send(openIt(), WM_CLOSE), 0);
  EXPECT_TRUE(eventually([&] { return all().empty(); }));
  EXPECT_TRUE(mainWindow.isThere());
}

TEST_P(SecondaryWindowOnWindows, OpensOnAnyNotificationOfItsButton) {
  start();
  EXPECT_EQ(sendCommand(handleOf(mainWindow), GetParam().button, 0x1234), 0);
  EXPECT_NE(waitForClass(*program, GetParam().className), nullptr);
}

TEST_P(SecondaryWindowOnWindows, IgnoresCommandsItDoesNotKnow) {
  start();
  const HWND window = openIt();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::vector<std::wstring> messages = files.logMessages();
  for (const int id : {0, 1, 1001, 5000, 0xFFFF}) EXPECT_EQ(sendCommand(window, id), 0);
  EXPECT_EQ(files.logMessages(), messages);
  EXPECT_EQ(all().size(), 1u);
}

constexpr SecondaryKind kSecondaryKinds[] = {
    {"Config", IDC_OPEN_CONFIG, L"QuillgateCfgWnd", {0, 0, 700, 430}},
    {"Monitor", IDC_OPEN_MONITOR, L"QuillgateMonWnd", {0, 0, 980, 560}},
    {"Log", IDC_OPEN_LOG, L"QuillgateLogWnd", {0, 0, 900, 520}},
};

INSTANTIATE_TEST_SUITE_P(Ui, SecondaryWindowOnWindows, testing::ValuesIn(kSecondaryKinds),
                         [](const auto& secondary) { return secondary.param.name; });

}  // namespace
}  // namespace quillgate::test
