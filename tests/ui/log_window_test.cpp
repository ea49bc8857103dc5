// The log window: what it shows of the event log, and when.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "core/event_log.h"
#include "core/time_stamp.h"
#include "tests/support/load.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

constexpr std::size_t kMostLines = 500;

class LogWindow : public UiTest {
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

  // Whether the screen shows the list's scroll bar alike at a quarter and at three quarters of its
  // height.
  [[nodiscard]] bool scrollBarHalvesLookAlike() const {
    const Box client = clientSize(list);
    const int middle = client.width + GetSystemMetrics(SM_CXVSCROLL) / 2;
    return screenPixel(list, middle, client.height / 4) ==
           screenPixel(list, middle, client.height * 3 / 4);
  }

  [[nodiscard]] bool listShows(const std::vector<std::wstring>& lines) const {
    return eventually([&] { return linesOf(list) == lines; });
  }

  HWND window = nullptr;
  HWND list = nullptr;
};

std::vector<std::wstring> lastOf(const std::vector<std::wstring>& lines, std::size_t count) {
  return {lines.end() - static_cast<std::ptrdiff_t>(std::min(count, lines.size())), lines.end()};
}

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
  ASSERT_GT(before.size(), kMostLines);
  openLog();
  EXPECT_EQ(linesOf(list), lastOf(before, kMostLines));
  EXPECT_EQ(topLine(), lastTopLine());
}

TEST_F(LogWindow, DropsTheOldestLinesAboveFiveHundredAndFollowsTheEnd) {
  start();
  pressStartStop(260);
  openLog();
  pressStartStop(20);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMostLines)));
  EXPECT_EQ(lineCount(), static_cast<LRESULT>(kMostLines));
  EXPECT_EQ(topLine(), lastTopLine());
}

TEST_F(LogWindow, DoesNotMoveAReaderWhoHasScrolledUp) {
  start();
  pressStartStop(260);
  openLog();
  send(list, LB_SETTOPINDEX, 0);
  pressStartStop(20);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMostLines)));
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
  EXPECT_EQ(linesOf(list), lastOf(before, kMostLines));
  EXPECT_EQ(topLine(), lastTopLine());

  pressStartStop(100);
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMostLines)));
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

// Whenever the server runs, 5,000 new clients a second, each with a line in the log.
class LogFlood : public LogWindow {
 protected:
  void SetUp() override {
    RuleSet rules;
    rules[0] = {true, Protocol::udp, 5000, L"127.0.0.1", 5001};
    files.writeConfig(configBytes(rules));
    start({.localAppData = folder.path(), .programFolder = flooded_.programFolder()});
    pressStartStop(1);
    openLog();
  }

  // Starts the server and waits until the list is full.
  void startFlood() {
    pressStartStop(1);
    ASSERT_TRUE(eventually([this] { return lineCount() == static_cast<LRESULT>(kMostLines); }));
  }

  // A client of the flood, counted from 0, as it stands in its line behind the time stamp.
  static std::wstring lineOfClient(std::size_t client) {
    return L"[UDP] New client FROM 10." + std::to_wstring(client >> 16) + L"." +
           std::to_wstring(client >> 8 & 0xFF) + L"." + std::to_wstring(client & 0xFF) +
           L":1000  local 5000 -> 127.0.0.1:5001";
  }

 private:
  const ProgramOnOtherSockets flooded_{L"flooding_sockets"};
};

TEST_F(LogFlood, LosesNoLineAndKeepsNobodyWaiting) {
  AnswerTimes answers(mainWindow, window);
  const std::size_t linesBefore = files.logLines().size();

  const auto begin = std::chrono::steady_clock::now();
  startFlood();
  const std::wstring newestLine = linesOf(list).back();
  answers.measure(load(std::chrono::seconds(5), std::chrono::seconds(30)));
  EXPECT_NE(linesOf(list).back(), newestLine);
  pressStartStop(1);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMostLines)));
  EXPECT_EQ(topLine(), lastTopLine());

  std::vector<std::wstring> lines = files.logMessages();
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(linesBefore));
  // The others are those of the start and of the stop.
  std::erase_if(lines, [](const std::wstring& line) { return !line.starts_with(L"[UDP] New"); });
  EXPECT_EQ(lines.size() + 6, files.logLines().size() - linesBefore);
  EXPECT_GT(lines.size(), kMostLines);
  for (std::size_t i = 0; i < lines.size(); ++i) ASSERT_EQ(lines[i], lineOfClient(i));
  RecordProperty("linesPerSecond",
                 std::to_string(std::lround(static_cast<double>(lines.size()) / time.count())));
  EXPECT_EQ(program->close(), 0u);
}

TEST_F(LogFlood, LeavesKeysInTheirOrder) {
  sendCommand(mainWindow, IDC_OPEN_CONFIG);
  const HWND editor = program->waitForWindow(L"QuillgateCfgWnd");
  ASSERT_NE(editor, nullptr);
  const HWND field = GetDlgItem(editor, IDC_RULE_TARGET_IP);
  send(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L""));
  startFlood();
  // A click may get lost while the editor becomes the active window.
  ASSERT_TRUE(eventually([&] {
    clickWithMouse(field);
    return eventually([&] { return hasFocus(field); }, std::chrono::seconds(1));
  }));

  // The field gets digits as characters, which are posted, and arrows as keys, which are input.
  constexpr int kTimes = 100;
  std::vector<WORD> keys;
  std::wstring text;
  for (int i = 0; i < kTimes; ++i) {
    keys.insert(keys.end(), {'1', '2', VK_LEFT, '3', VK_END});
    text += L"132";
  }
  typeKeys(keys);
  EXPECT_TRUE(eventually([&] { return textOf(field).size() == text.size(); }));
  EXPECT_EQ(textOf(field), text);
}

}  // namespace
}  // namespace quillgate::test
