// The log window while lines come faster than anybody can read, as fast as no network brings them,
// and the loops of the system that run then.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <optional>

#include "tests/support/load.h"
#include "tests/support/wine.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/client_flood.h"
#include "tests/ui/dialogs.h"
#include "tests/ui/log_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {
namespace {

// The log window and a flood that begins when it is told to. Under wine it comes without a network:
// whenever the server runs, 5,000 new clients a second, each with a line in the log. On Windows
// clients send by the network, as fast as it takes their datagrams.
class LogFloodOnWindows : public LogTest {
 protected:
  void SetUp() override {
    if (runsUnderWine()) {
      withoutNetwork_.emplace(L"flooding_sockets");
      RuleSet rules;
      rules[0] = {true, Protocol::udp, 5000, L"127.0.0.1", 5001};
      files.writeConfig(configBytes(rules));
      start({.dataFolder = dataFolder, .programFolder = withoutNetwork_->programFolder()});
      pressStartStop();
    } else {
      startWithClients();
    }
    openLog();
  }

  // By the command: a pressed button makes the main window the active one.
  void pressStartStop() const { sendCommand(handleOf(mainWindow), IDC_START_STOP); }
  // Returns when the list is full.
  void startFlood() {
    if (withoutNetwork_) {
      pressStartStop();
    } else {
      clients_.emplace(udpPort());
    }
    ASSERT_TRUE(eventually([this] { return list.lineCount() == kMaxLines; }));
  }

  // Every line of the log stands in the list, once the flood is over and the server stopped.
  void expectAllLinesShown() {
    clients_.reset();
    pressStartStop();
    EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
    EXPECT_TRUE(showsItsEnd());
  }

 private:
  std::optional<ProgramOnOtherSockets> withoutNetwork_;
  std::optional<ClientFlood> clients_;
};

// What is only known of a flood that comes without a network. LogFlood has the same cases with one.
class LogFloodWithoutNetwork : public LogFloodOnWindows {
 protected:
  void SetUp() override {
    if (!runsUnderWine()) GTEST_SKIP() << kNoStandIn;
    LogFloodOnWindows::SetUp();
  }

  // How many notices of new lines the log window's thread has taken.
  [[nodiscard]] std::size_t noticesTaken() const {
    return reinterpret_cast<std::size_t>(GetPropW(handleOf(window), L"NoticesTaken"));
  }

  // As on a machine that is busy with other things.
  void delayNotices(std::chrono::milliseconds time) const {
    SetPropW(handleOf(window), L"NoticeDelay", reinterpret_cast<HANDLE>(time.count()));
  }

  // A client of the flood, counted from 0, as it stands in its line behind the time stamp.
  static std::wstring lineOfClient(std::size_t client) {
    return L"[UDP] New client FROM 10." + std::to_wstring(client >> 16) + L"." +
           std::to_wstring(client >> 8 & 0xFF) + L"." + std::to_wstring(client & 0xFF) +
           L":1000  local 5000 -> 127.0.0.1:5001";
  }
};

TEST_F(LogFloodWithoutNetwork, LosesNoLineAndKeepsNobodyWaiting) {
  const StatusClick statusClick(mainWindow, window);
  const std::size_t linesBefore = files.logLines().size();

  const auto begin = std::chrono::steady_clock::now();
  startFlood();
  const std::wstring newestLine = list.lastLine();
  AnswerTimes answers;
  answers.measureFor(load(std::chrono::seconds(5), std::chrono::seconds(30)), statusClick);
  EXPECT_NE(list.lastLine(), newestLine);
  pressStartStop();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
  EXPECT_TRUE(showsItsEnd());

  std::vector<std::wstring> lines = files.logMessages();
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(linesBefore));
  // The others are those of the start and of the stop.
  std::erase_if(lines, [](const std::wstring& line) { return !line.starts_with(L"[UDP] New"); });
  EXPECT_EQ(lines.size() + 6, files.logLines().size() - linesBefore);
  EXPECT_GT(lines.size(), kMaxLines);
  for (std::size_t i = 0; i < lines.size(); ++i) ASSERT_EQ(lines[i], lineOfClient(i));
  RecordProperty("linesPerSecond",
                 std::to_string(std::lround(static_cast<double>(lines.size()) / time.count())));
  EXPECT_EQ(program->close(), 0);
}

// A hundred notices take longer then than the pause between two refreshes.
TEST_F(LogFloodWithoutNetwork, KeepsNobodyWaitingWhenNoticesTakeLong) {
  const StatusClick statusClick(mainWindow, window);
  delayNotices(std::chrono::milliseconds(3));
  startFlood();
  AnswerTimes answers;
  answers.measureFor(std::chrono::seconds(5), statusClick);
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  delayNotices({});
  expectAllLinesShown();
}

TEST_F(LogFloodWithoutNetwork, IsAnnouncedByAThousandNoticesASecondAtMost) {
  const std::size_t before = noticesTaken();
  const auto begin = std::chrono::steady_clock::now();
  startFlood();
  ASSERT_TRUE(eventually([&] { return files.logLines().size() > 10 * kMaxLines; }));
  const std::size_t notices = noticesTaken() - before;
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  // A hundred between two refreshes, which come every 100 ms, less the 16 that a clock may be off.
  EXPECT_LE(static_cast<double>(notices), 100 * (time / std::chrono::milliseconds(84) + 1));
  expectAllLinesShown();
}

TEST_F(LogFloodWithoutNetwork, IsOverAndEachLineHasANoticeAgain) {
  startFlood();
  pressStartStop();
  ASSERT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
  const Window monitor = open(L"Monitor");
  ASSERT_TRUE(monitor.isThere());
  const std::size_t before = noticesTaken();
  constexpr std::size_t kLines = 50;
  for (std::size_t i = 0; i < kLines; ++i) sendCommand(handleOf(monitor), IDC_MON_CLEAR);
  EXPECT_TRUE(eventually([&] { return noticesTaken() == before + kLines; })) << noticesTaken();
  EXPECT_TRUE(listShows(lastOf(files.logLines(), kMaxLines)));
}

TEST_F(LogFloodWithoutNetwork, ReachesALogWindowThatIsOpenedInTheMiddleOfIt) {
  startFlood();
  for (int i = 0; i < 5; ++i) {
    send(handleOf(window), WM_CLOSE);
    openLog();
    const std::wstring newestLine = list.lastLine();
    ASSERT_TRUE(eventually([&] { return list.lastLine() != newestLine; }));
  }
  expectAllLinesShown();
}

TEST_F(LogFloodOnWindows, LeavesKeysInTheirOrder) {
  if (MapVirtualKeyW('1', MAPVK_VK_TO_CHAR) != '1')
    GTEST_SKIP() << "this keyboard types digits only with Shift, and the test types them without";
  const Window editor = open(L"Config");
  ASSERT_TRUE(editor.isThere());
  const HWND field = GetDlgItem(handleOf(editor), IDC_RULE_TARGET_IP);
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

// The loops of message boxes, menus and moving windows are the system's.

TEST_F(LogFloodWithoutNetwork, LetsMessageBoxesBeAnswered) {
  const Window editor = open(L"Config");
  ASSERT_TRUE(editor.isThere());
  const std::wstring noRules = folder.file(L"rules.xml");
  writeFile(noRules, "");
  startFlood();
  expectErrorBoxesAnswered(editor, noRules);
  expectAllLinesShown();
}

// Whether no other program takes the keys that open a window's menu for itself.
bool menuKeysAreFree() {
  constexpr int kAnyId = 1;
  const bool free = RegisterHotKey(nullptr, kAnyId, MOD_ALT, VK_SPACE) != 0;
  UnregisterHotKey(nullptr, kAnyId);
  return free;
}

TEST_F(LogFloodOnWindows, LetsMenusBeOpenedAndLeft) {
  if (!menuKeysAreFree()) GTEST_SKIP() << "another program takes Alt+Space";
  startFlood();
  window.activate();
  ASSERT_TRUE(eventually([&] { return window.isActive(); }));
  const auto menuIsShown = [&] { return IsWindowVisible(windowOfClass(*program, L"#32768")) != 0; };
  AnswerTimes answers;
  for (int i = 0; i < load(10, 100); ++i) {
    answers.measure([&] {
      typeChord({Key::alt, Key::space});
      return eventually(menuIsShown);
    });
    answers.measure([&] {
      typeKeys({Key::escape});
      return eventually([&] { return !menuIsShown(); });
    });
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  expectAllLinesShown();
}

// Whether the window runs the system's loop for moving and sizing.
bool isBeingMoved(HWND window) {
  GUITHREADINFO state{};
  state.cbSize = sizeof state;
  return GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &state) != 0 &&
         (state.flags & GUI_INMOVESIZE) != 0 && state.hwndMoveSize == window;
}

TEST_F(LogFloodOnWindows, LetsWindowsBeMoved) {
  const FullDragging fullDragging;
  // Wine puts the main window in front of its log window at times, and then it gets the mouse.
  moveBelow(mainWindow, window);
  startFlood();
  AnswerTimes answers;
  for (int i = 0; i < load(10, 100); ++i) {
    const int step = i % 2 == 0 ? 50 : -50;
    const Box former = window.screenPlace();
    const POINT title{former.x + former.width / 2, former.y + 12};
    answers.measure([&] {
      MouseDrag drag(title);
      return eventually([&] { return isBeingMoved(handleOf(window)); }) &&
             drag.moveUntil({title.x + step, title.y},
                            [&] { return window.screenPlace().x == former.x + step; });
    });
    ASSERT_TRUE(eventually([&] { return !isBeingMoved(handleOf(window)); }));
  }
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  expectAllLinesShown();
}

}  // namespace
}  // namespace quillgate::test
