// What of the main window only Windows has: styles, numbers of controls, messages.
#include <gmock/gmock.h>

#include <utility>

#include "tests/ui/ui_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class MainWindowOnWindows : public UiTest {
 protected:
  [[nodiscard]] HWND handle() const { return handleOf(mainWindow); }
  [[nodiscard]] HWND child(int id) const { return GetDlgItem(handle(), id); }
  [[nodiscard]] HWND statusPanel() const { return child(IDC_STATUS_TEXT); }
};

TEST_F(MainWindowOnWindows, IsAFixedStripWithACaptionAndAMinimizeBox) {
  start();
  EXPECT_EQ(classOf(handle()), L"QuillgateMainWnd");
  EXPECT_EQ(styleOf(handle()), 0x00CA0000u | WS_VISIBLE | WS_CLIPSIBLINGS);
  EXPECT_EQ(exStyleOf(handle()), static_cast<DWORD>(WS_EX_WINDOWEDGE));
  EXPECT_EQ(outerSize(handle()), (Box{0, 0, 696, 90}));
  EXPECT_EQ(GetMenu(handle()), nullptr);
}

TEST_F(MainWindowOnWindows, HasClassesWithoutAnythingSpecial) {
  start();
  for (const HWND window : {handle(), handleOf(indicator())}) {
    EXPECT_EQ(GetClassLongW(window, GCL_STYLE), 0u);
    EXPECT_EQ(GetClassLongW(window, GCL_CBCLSEXTRA), 0u);
    EXPECT_EQ(GetClassLongW(window, GCL_CBWNDEXTRA), 0u);
  }
}

TEST_F(MainWindowOnWindows, HasTheIndicatorAndFiveButtons) {
  start();
  std::vector<std::pair<std::wstring, std::wstring>> controls;
  std::vector<int> ids;
  for (const HWND control : childrenOf(handle())) {
    ids.push_back(GetDlgCtrlID(control));
    controls.emplace_back(classOf(control), textOf(control));
    EXPECT_EQ(givenStyleOf(control), WS_CHILD | WS_VISIBLE);
    EXPECT_EQ(exStyleOf(control), 0u);
  }
  EXPECT_THAT(ids, ElementsAre(0, 1001, 1002, 1005, 1003, 1004));
  EXPECT_THAT(
      controls,
      ElementsAre(std::pair(L"QuillgateIndicator", L""), std::pair(L"Button", L"Stop server"),
                  std::pair(L"Button", L"Config"), std::pair(L"Button", L"Monitor"),
                  std::pair(L"Button", L"Log"), std::pair(L"Button", L"Status")));
}

TEST_F(MainWindowOnWindows, ShowsItsCaptionsInTheProgramsFont) {
  start();
  if (isShownScaled(handle())) GTEST_SKIP() << kScaled;
  for (const int id : {1001, 1002, 1003, 1004, 1005}) {
    EXPECT_TRUE(showsItsTextInTheProgramsFont(child(id))) << textOf(child(id));
  }
}

TEST_F(MainWindowOnWindows, IsPaintedInTheSystemsWindowColor) {
  start();
  EXPECT_TRUE(eventually([&] { return screenPixel(handle(), 5, 5) == GetSysColor(COLOR_WINDOW); }));
  EXPECT_TRUE(eventually(
      [&] { return screenPixel(handleOf(indicator()), 0, 0) == GetSysColor(COLOR_WINDOW); }));
}

TEST_F(MainWindowOnWindows, TakesAnyNotificationOfAButtonForAClick) {
  start();
  EXPECT_EQ(sendCommand(handle(), IDC_START_STOP, BN_SETFOCUS), 0);
  EXPECT_EQ(startStop().text(), L"Start server");
  EXPECT_EQ(sendCommand(handle(), IDC_START_STOP, 0x7777), 0);
  EXPECT_EQ(startStop().text(), L"Stop server");
}

TEST_F(MainWindowOnWindows, IgnoresCommandsItDoesNotKnow) {
  start();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::size_t lines = files.logMessages().size();
  for (const int id : {0, 1000, 1006, IDC_STATUS_TEXT, 2002, 0xFFFF}) {
    EXPECT_EQ(sendCommand(handle(), id), 0);
  }
  EXPECT_EQ(outerSize(handle()), (Box{0, 0, 696, 90}));
  EXPECT_EQ(files.logMessages().size(), lines);
}

TEST_F(MainWindowOnWindows, CreatesTheStatusPanelOnceAndFoldsItByItsOuterHeight) {
  start();
  EXPECT_EQ(statusPanel(), nullptr);
  sendCommand(handle(), IDC_STATUS);
  EXPECT_EQ(outerSize(handle()), (Box{0, 0, 696, 90 + 430}));
  const HWND panel = statusPanel();
  ASSERT_NE(panel, nullptr);
  sendCommand(handle(), IDC_STATUS);
  EXPECT_EQ(outerSize(handle()), (Box{0, 0, 696, 90}));
  EXPECT_EQ(statusPanel(), panel);
  EXPECT_FALSE(IsWindowVisible(panel));
  sendCommand(handle(), IDC_STATUS);
  EXPECT_EQ(statusPanel(), panel);
}

TEST_F(MainWindowOnWindows, GrowsAndShrinksByTheSameAmountWhateverItsHeight) {
  start();
  RECT before{};
  GetWindowRect(handle(), &before);
  SetWindowPos(handle(), nullptr, before.left, before.top, 720, 300, SWP_NOZORDER);
  sendCommand(handle(), IDC_STATUS);
  EXPECT_EQ(outerSize(handle()), (Box{0, 0, 720, 730}));
  const Box client = clientSize(handle());
  EXPECT_EQ(placeOf(statusPanel()), (Box{10, 60, client.width - 20, client.height - 70}));
  sendCommand(handle(), IDC_STATUS);
  EXPECT_EQ(outerSize(handle()), (Box{0, 0, 720, 300}));
  RECT after{};
  GetWindowRect(handle(), &after);
  EXPECT_EQ(after.left, before.left);
  EXPECT_EQ(after.top, before.top);
}

TEST_F(MainWindowOnWindows, FitsAShownStatusPanelIntoAnotherSize) {
  start();
  sendCommand(handle(), IDC_STATUS);
  setClientSize(handle(), 500, 400);
  EXPECT_EQ(placeOf(statusPanel()), (Box{10, 60, 480, 330}));
  EXPECT_EQ(placeOf(child(IDC_STATUS)), (Box{586, 6, 82, 32}));

  sendCommand(handle(), IDC_STATUS);
  setClientSize(handle(), 600, 100);
  EXPECT_EQ(placeOf(statusPanel()), (Box{10, 60, 480, 330})) << "a hidden panel stays as it is";
}

TEST_F(MainWindowOnWindows, ShowsTheReportInAReadOnlyMultiLineEdit) {
  start();
  sendCommand(handle(), IDC_STATUS);
  EXPECT_EQ(classOf(statusPanel()), L"Edit");
  EXPECT_EQ(givenStyleOf(statusPanel()),
            WS_CHILD | WS_VISIBLE | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY);
  EXPECT_EQ(exStyleOf(statusPanel()), static_cast<DWORD>(WS_EX_CLIENTEDGE));
  EXPECT_THAT(textOf(statusPanel()),
              testing::StartsWith(L"Server:                       RUNNING\r\n\r\nRules:\r\n"));
}

TEST_F(MainWindowOnWindows, LeavesAHiddenReportUntilItIsShownAgain) {
  start();
  sendCommand(handle(), IDC_STATUS);
  sendCommand(handle(), IDC_STATUS);
  startStop().press();
  EXPECT_THAT(textOf(statusPanel()), testing::HasSubstr(L"RUNNING"));
  sendCommand(handle(), IDC_STATUS);
  EXPECT_THAT(textOf(statusPanel()), testing::HasSubstr(L"STOPPED"));
}

TEST_F(MainWindowOnWindows, HandlesAPostedMessageAmongManyClicks) {
  start();
  for (int i = 0; i < 40; ++i) clickWithMouse(child(IDC_STATUS));
  PostMessageW(handle(), WM_COMMAND, IDC_START_STOP, 0);
  ASSERT_TRUE(files.waitForLog(L"Stopping server..."));
  const int height = outerSize(handle()).height;
  EXPECT_TRUE(eventually([&] { return outerSize(handle()).height != height; }))
      << "it came after the last click";
}

TEST_F(MainWindowOnWindows, ClosesFromTheSystemMenuAndByAMessage) {
  start();
  PostMessageW(handle(), WM_SYSCOMMAND, SC_CLOSE, 0);
  EXPECT_EQ(program->waitForExit(), 0);
  start();
  PostMessageW(handle(), WM_CLOSE, 0, 0);
  EXPECT_EQ(program->waitForExit(), 0);
}

}  // namespace
}  // namespace quillgate::test
