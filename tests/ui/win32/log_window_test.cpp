// What of the log window only Windows has: styles, numbers of controls, messages.
#include <gtest/gtest.h>

#include "tests/ui/log_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {
namespace {

class LogWindowOnWindows : public LogTest {
 protected:
  [[nodiscard]] HWND button() const { return GetDlgItem(handleOf(window), 2002); }
  [[nodiscard]] HWND listBox() const { return handleOf(list); }

  // Whether the screen shows the list's scroll bar alike at a quarter and at three quarters of its
  // height.
  [[nodiscard]] bool scrollBarHalvesLookAlike() const {
    const Box client = clientSize(listBox());
    const int middle = client.width + GetSystemMetrics(SM_CXVSCROLL) / 2;
    return screenPixel(listBox(), middle, client.height / 4) ==
           screenPixel(listBox(), middle, client.height * 3 / 4);
  }
};

TEST_F(LogWindowOnWindows, HasAButtonAndAList) {
  start();
  openLog();
  EXPECT_EQ(childrenOf(handleOf(window)).size(), 2u);
  ASSERT_NE(button(), nullptr);
  EXPECT_EQ(childrenOf(handleOf(window)).front(), button());
  EXPECT_EQ(classOf(button()), L"Button");
  EXPECT_EQ(textOf(button()), L"Clear logs");
  EXPECT_EQ(givenStyleOf(button()), WS_CHILD | WS_VISIBLE);
  EXPECT_EQ(classOf(listBox()), L"ListBox");
  EXPECT_EQ(GetDlgCtrlID(listBox()), 2001);
  EXPECT_EQ(givenStyleOf(listBox()),
            static_cast<DWORD>(WS_CHILD | WS_VISIBLE | WS_VSCROLL | LBS_USETABSTOPS |
                               LBS_NOINTEGRALHEIGHT | LBS_DISABLENOSCROLL));
  EXPECT_EQ(exStyleOf(listBox()), static_cast<DWORD>(WS_EX_CLIENTEDGE));
}

TEST_F(LogWindowOnWindows, ShowsItsCaptionInTheProgramsFont) {
  start();
  openLog();
  if (isShownScaled(handleOf(window))) GTEST_SKIP() << kScaled;
  EXPECT_TRUE(showsItsTextInTheProgramsFont(button()));
}

TEST_F(LogWindowOnWindows, ShrinksTheThumbOfAReaderWhoHasScrolledUp) {
  startWithClients();
  logLines(40);
  openLog();
  window.moveTo({0, 0});  // so that a small screen shows the scroll bar
  list.scrollToTop();
  EXPECT_TRUE(eventually([this] { return !scrollBarHalvesLookAlike(); }));
  logLines(400);
  EXPECT_TRUE(eventually([this] { return scrollBarHalvesLookAlike(); }));
}

TEST_F(LogWindowOnWindows, FollowsTheEndWhenOneLineIsHiddenBelow) {
  startWithClients();
  logLines(200);
  openLog();
  send(listBox(), LB_SETTOPINDEX,
       static_cast<WPARAM>(static_cast<int>(list.lineCount()) - list.linesInSight() - 1));
  ASSERT_FALSE(showsItsEnd());
  logLines(2);
  ASSERT_TRUE(listShows(files.logLines()));
  EXPECT_TRUE(showsItsEnd());
}

TEST_F(LogWindowOnWindows, ClearsOnAnyNotificationAndWithoutALineOfItsOwn) {
  start();
  openLog();
  EXPECT_EQ(sendCommand(handleOf(window), IDC_LOG_CLEAR, 0x4321), 0);
  EXPECT_EQ(sendCommand(handleOf(window), IDC_LOG_CLEAR), 0);
  EXPECT_EQ(list.lineCount(), 0U);
  EXPECT_EQ(contentOf(files.logPath), std::nullopt);
}

TEST_F(LogWindowOnWindows, IgnoresNotificationsOfItsList) {
  start();
  openLog();
  const std::size_t lines = list.lineCount();
  EXPECT_EQ(sendCommand(handleOf(window), IDC_LOG_LIST, LBN_DBLCLK), 0);
  EXPECT_EQ(list.lineCount(), lines);
}

TEST_F(LogWindowOnWindows, SurvivesNoticesThatAreInItsQueueWhenItIsClosed) {
  start();
  openLog();
  const HWND main = handleOf(mainWindow);
  for (int i = 0; i < 50; ++i) PostMessageW(main, WM_COMMAND, IDC_START_STOP, 0);
  PostMessageW(handleOf(window), WM_CLOSE, 0, 0);
  for (int i = 0; i < 50; ++i) PostMessageW(main, WM_COMMAND, IDC_START_STOP, 0);
  EXPECT_TRUE(files.waitForLog(L"Server stopped.", 50));
  EXPECT_TRUE(eventually([&] { return windowsOfClass(*program, L"QuillgateLogWnd").empty(); }));
  EXPECT_EQ(program->close(), 0);
}

}  // namespace
}  // namespace quillgate::test
