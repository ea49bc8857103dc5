// The log window: what it shows of the event log, and when.
#include <gmock/gmock.h>

#include "core/event_log.h"
#include "core/time_stamp.h"
#include "tests/ui/log_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class LogWindow : public LogTest {
 protected:
  // Whether the screen shows the list's scroll bar alike at a quarter and at three quarters of its
  // height.
  [[nodiscard]] bool scrollBarHalvesLookAlike() const {
    const Box client = clientSize(list);
    const int middle = client.width + GetSystemMetrics(SM_CXVSCROLL) / 2;
    return screenPixel(list, middle, client.height / 4) ==
           screenPixel(list, middle, client.height * 3 / 4);
  }
};

TEST_F(LogWindow, HasAButtonAndAList) {
  start();
  openLog();
  EXPECT_EQ(childrenOf(window).size(), 2u);
  const HWND button = GetDlgItem(window, 2002);
  ASSERT_NE(button, nullptr);
  EXPECT_EQ(childrenOf(window).front(), button);
  EXPECT_EQ(classOf(button), L"Button");
  EXPECT_EQ(textOf(button), L"Clear logs");
  EXPECT_EQ(styleOf(button) & ~static_cast<DWORD>(WS_CLIPSIBLINGS), WS_CHILD | WS_VISIBLE);
  EXPECT_EQ(classOf(list), L"ListBox");
  EXPECT_EQ(GetDlgCtrlID(list), 2001);
  EXPECT_EQ(styleOf(list) & ~static_cast<DWORD>(WS_CLIPSIBLINGS),
            static_cast<DWORD>(WS_CHILD | WS_VISIBLE | WS_VSCROLL | LBS_USETABSTOPS |
                               LBS_NOINTEGRALHEIGHT | LBS_DISABLENOSCROLL));
  EXPECT_EQ(exStyleOf(list), static_cast<DWORD>(WS_EX_CLIENTEDGE));
  EXPECT_EQ(screenInk(button), inkOfText(L"Clear logs"));
}

TEST_F(LogWindow, KeepsTheButtonAndStretchesTheList) {
  start();
  openLog();
  const Box client = clientSize(window);
  EXPECT_EQ(placeOf(GetDlgItem(window, IDC_LOG_CLEAR)), (Box{10, 10, 120, 28}));
  EXPECT_EQ(placeOf(list), (Box{10, 48, client.width - 20, client.height - 58}));
  setClientSize(window, 640, 300);
  EXPECT_EQ(placeOf(GetDlgItem(window, IDC_LOG_CLEAR)), (Box{10, 10, 120, 28}));
  EXPECT_EQ(placeOf(list), (Box{10, 48, 620, 242}));
}

TEST_F(LogWindow, ShowsTheLinesSoFarAndItsOwnOpeningWithTheNextLine) {
  start();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::vector<std::wstring> before = files.logLines();
  openLog();
  EXPECT_EQ(linesOf(list), before);
  EXPECT_EQ(files.logMessages().back(), L"Log window opened.");

  pressStartStop(1);
  EXPECT_TRUE(listShows(files.logLines()));
  EXPECT_THAT(lastOf(files.logMessages(), 3),
              ElementsAre(L"Log window opened.", L"Stopping server...", L"Server stopped."));
}

TEST_F(LogWindow, ShowsNewLinesAsTheyCome) {
  start();
  openLog();
  for (int i = 0; i < 5; ++i) {
    pressStartStop(1);
    EXPECT_TRUE(listShows(files.logLines()));
  }
}

TEST_F(LogWindow, OpensAtTheLastFiveHundredLines) {
  start();
  pressStartStop(300);
  const std::vector<std::wstring> before = files.logLines();
  ASSERT_GT(before.size(), kMaxLines);
  openLog();
  EXPECT_EQ(linesOf(list), lastOf(before, kMaxLines));
  EXPECT_EQ(topLine(), lastTopLine());
}

TEST_F(LogWindow, DropsTheOldestLinesAboveFiveHundredAndFollowsTheEnd) {
  start();
  pressStartStop(260);
  openLog();
  pressStartStop(20);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
  EXPECT_EQ(lineCount(), static_cast<LRESULT>(kMaxLines));
  EXPECT_EQ(topLine(), lastTopLine());
}

TEST_F(LogWindow, DoesNotMoveAReaderWhoHasScrolledUp) {
  start();
  pressStartStop(260);
  openLog();
  send(list, LB_SETTOPINDEX, 0);
  pressStartStop(20);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
  EXPECT_EQ(topLine(), 0);
}

TEST_F(LogWindow, ShrinksTheThumbOfAReaderWhoHasScrolledUp) {
  start();
  pressStartStop(20);
  openLog();
  send(list, LB_SETTOPINDEX, 0);
  EXPECT_TRUE(eventually([this] { return !scrollBarHalvesLookAlike(); }));
  pressStartStop(200);
  EXPECT_TRUE(eventually([this] { return scrollBarHalvesLookAlike(); }));
}

TEST_F(LogWindow, FollowsTheEndAgainWhenTheReaderIsBackAtIt) {
  start();
  pressStartStop(100);
  openLog();
  send(list, LB_SETTOPINDEX, 0);
  pressStartStop(1);
  ASSERT_TRUE(listShows(files.logLines()));
  EXPECT_EQ(topLine(), 0);
  // One line is hidden below.
  send(list, LB_SETTOPINDEX, static_cast<WPARAM>(lastTopLine() - 1));
  pressStartStop(1);
  ASSERT_TRUE(listShows(files.logLines()));
  EXPECT_EQ(topLine(), lastTopLine());
}

TEST_F(LogWindow, KeepsItsLinesWhenTheLogTrimsItsList) {
  start();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  pressStartStop(static_cast<int>((kMaxLogLines - files.logLines().size()) / 2));
  const std::vector<std::wstring> before = files.logLines();
  ASSERT_EQ(before.size(), kMaxLogLines);
  openLog();
  EXPECT_EQ(linesOf(list), lastOf(before, kMaxLines));
  EXPECT_EQ(topLine(), lastTopLine());

  pressStartStop(100);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
}

TEST_F(LogWindow, ShowsAfterReopeningWhatWasLoggedMeanwhile) {
  start();
  openLog();
  send(window, WM_CLOSE);
  pressStartStop(3);
  const std::vector<std::wstring> before = files.logLines();
  openLog();
  EXPECT_EQ(linesOf(list), before);
}

TEST_F(LogWindow, ClearsTheListAndTheFile) {
  start();
  openLog();
  click(GetDlgItem(window, IDC_LOG_CLEAR));
  EXPECT_EQ(lineCount(), 0);
  EXPECT_EQ(contentOf(files.logPath), std::nullopt);

  pressStartStop(1);
  EXPECT_THAT(files.logMessages(), ElementsAre(L"Stopping server...", L"Server stopped."));
  EXPECT_TRUE(listShows(files.logLines()));
}

TEST_F(LogWindow, ClearsOnAnyNotificationAndWithoutALineOfItsOwn) {
  start();
  openLog();
  EXPECT_EQ(sendCommand(window, IDC_LOG_CLEAR, 0x4321), 0);
  EXPECT_EQ(sendCommand(window, IDC_LOG_CLEAR), 0);
  EXPECT_EQ(lineCount(), 0);
  EXPECT_EQ(contentOf(files.logPath), std::nullopt);
}

TEST_F(LogWindow, IgnoresNotificationsOfItsList) {
  start();
  openLog();
  const LRESULT lines = lineCount();
  EXPECT_EQ(sendCommand(window, IDC_LOG_LIST, LBN_DBLCLK), 0);
  EXPECT_EQ(lineCount(), lines);
}

TEST_F(LogWindow, SurvivesNewsThatComesWhenItIsClosed) {
  start();
  openLog();
  for (int i = 0; i < 50; ++i) PostMessageW(mainWindow, WM_COMMAND, IDC_START_STOP, 0);
  PostMessageW(window, WM_CLOSE, 0, 0);
  for (int i = 0; i < 50; ++i) PostMessageW(mainWindow, WM_COMMAND, IDC_START_STOP, 0);
  EXPECT_TRUE(files.waitForLog(L"Server stopped.", 50));
  EXPECT_TRUE(eventually([&] { return program->windows(L"QuillgateLogWnd").empty(); }));
  EXPECT_EQ(program->close(), 0u);
}

}  // namespace
}  // namespace quillgate::test
