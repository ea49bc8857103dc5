// The windows behind the main window's buttons: each at most once, owned by the main window.
#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

struct Secondary {
  const char* name;
  int button;
  const wchar_t* className;
  const wchar_t* title;
  Box outer;
};

class SecondaryWindow : public UiTest, public testing::WithParamInterface<Secondary> {
 protected:
  [[nodiscard]] HWND open() const {
    click(mainControl(GetParam().button));
    return program->waitForWindow(GetParam().className);
  }
  [[nodiscard]] std::vector<HWND> all() const { return program->windows(GetParam().className); }
};

TEST_P(SecondaryWindow, IsAnOrdinaryWindowOwnedByTheMainWindow) {
  start();
  EXPECT_TRUE(all().empty());
  const HWND window = open();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(textOf(window), GetParam().title);
  EXPECT_EQ(styleOf(window), WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_CLIPSIBLINGS);
  EXPECT_EQ(exStyleOf(window), static_cast<DWORD>(WS_EX_WINDOWEDGE));
  EXPECT_EQ(outerSize(window), GetParam().outer);
  EXPECT_EQ(GetWindow(window, GW_OWNER), mainWindow);
  EXPECT_EQ(GetMenu(window), nullptr);
  EXPECT_EQ(GetClassLongW(window, GCL_STYLE), 0u);
}

TEST_P(SecondaryWindow, IsBroughtToTheFrontInsteadOfOpenedTwice) {
  start();
  const HWND window = open();
  ASSERT_TRUE(eventually([&] { return GetForegroundWindow() == window; }));
  SetForegroundWindow(mainWindow);
  ASSERT_TRUE(eventually([&] { return GetForegroundWindow() == mainWindow; }));
  EXPECT_EQ(open(), window);
  EXPECT_EQ(all().size(), 1u);
  EXPECT_TRUE(eventually([&] { return GetForegroundWindow() == window; }));
}

TEST_P(SecondaryWindow, IsRestoredWhenItIsMinimizedOrMaximized) {
  start();
  const HWND window = open();
  const Box normal = outerSize(window);
  for (const int show : {SW_MINIMIZE, SW_MAXIMIZE}) {
    ShowWindow(window, show);
    ASSERT_TRUE(eventually([&] { return IsIconic(window) || IsZoomed(window); }));
    EXPECT_EQ(open(), window);
    EXPECT_EQ(all().size(), 1u);
    EXPECT_TRUE(eventually([&] { return !IsIconic(window) && !IsZoomed(window); }));
    EXPECT_EQ(outerSize(window), normal);
  }
}

TEST_P(SecondaryWindow, OpensAfreshAfterItWasClosed) {
  start();
  for (int round = 0; round < 3; ++round) {
    const HWND window = open();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(send(window, WM_CLOSE), 0);
    EXPECT_TRUE(eventually([&] { return all().empty(); }));
  }
  EXPECT_EQ(textOf(open()), GetParam().title);
  EXPECT_EQ(all().size(), 1u);
}

TEST_P(SecondaryWindow, ClosesFromTheSystemMenu) {
  start();
  const HWND window = open();
  ASSERT_NE(window, nullptr);
  PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
  EXPECT_TRUE(eventually([&] { return all().empty(); }));
  EXPECT_TRUE(IsWindow(mainWindow));
}

TEST_P(SecondaryWindow, OpensOnAnyNotificationOfItsButton) {
  start();
  EXPECT_EQ(sendCommand(mainWindow, GetParam().button, 0x1234), 0);
  EXPECT_NE(program->waitForWindow(GetParam().className), nullptr);
}

TEST_P(SecondaryWindow, IgnoresCommandsItDoesNotKnow) {
  start();
  const HWND window = open();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::vector<std::wstring> messages = files.logMessages();
  for (const int id : {0, 1, 1001, 5000, 0xFFFF}) EXPECT_EQ(sendCommand(window, id), 0);
  EXPECT_EQ(files.logMessages(), messages);
  EXPECT_EQ(all().size(), 1u);
}

TEST_P(SecondaryWindow, GoesWithTheMainWindow) {
  start();
  ASSERT_NE(open(), nullptr);
  EXPECT_EQ(program->close(), 0u);
  EXPECT_EQ(files.logMessages().back(), L"Server stopped.");
}

constexpr Secondary kSecondaries[] = {
    {"Config", IDC_OPEN_CONFIG, L"QuillgateCfgWnd", L"Config", {0, 0, 700, 430}},
    {"Monitor", IDC_OPEN_MONITOR, L"QuillgateMonWnd", L"Monitor", {0, 0, 980, 560}},
    {"Log", IDC_OPEN_LOG, L"QuillgateLogWnd", L"Log", {0, 0, 900, 520}},
};

INSTANTIATE_TEST_SUITE_P(Ui, SecondaryWindow, testing::ValuesIn(kSecondaries),
                         [](const auto& secondary) { return secondary.param.name; });

}  // namespace
}  // namespace quillgate::test
