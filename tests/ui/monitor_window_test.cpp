// The monitor window: what it shows of the traffic that passes, and what its controls do.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "tests/support/load.h"
#include "tests/support/test_sockets.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/monitor_test.h"

namespace quillgate::test {
namespace {

using platform::Socket;
using testing::ElementsAre;

class MonitorWindow : public MonitorTest {};

constexpr DWORD kIgnoredStyles = WS_CLIPSIBLINGS | WS_CLIPCHILDREN;

TEST_F(MonitorWindow, HasItsControlsInTheirOrder) {
  std::vector<int> ids;
  for (const HWND child : childrenOf(window)) ids.push_back(GetDlgCtrlID(child));
  EXPECT_THAT(ids, ElementsAre(6001, 6004, 6005, 6003, 6002));
  for (const HWND list : {filterList, formatList}) {
    EXPECT_EQ(classOf(list), L"ComboBox");
    EXPECT_EQ(styleOf(list) & 0x3, static_cast<DWORD>(CBS_DROPDOWNLIST));
  }
  EXPECT_EQ(textOf(GetDlgItem(window, 6005)), L"Save TXT");
  EXPECT_EQ(textOf(GetDlgItem(window, 6003)), L"Clear");
  EXPECT_EQ(classOf(view), L"Edit");
  EXPECT_EQ(styleOf(view) & ~kIgnoredStyles,
            static_cast<DWORD>(WS_CHILD | WS_VISIBLE | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL |
                               ES_READONLY));
  EXPECT_EQ(exStyleOf(view), static_cast<DWORD>(WS_EX_CLIENTEDGE));
}

TEST_F(MonitorWindow, StretchesTheFilterAndTheViewAndKeepsTheRestAtTheRight) {
  for (const int width : {900, 640, 500, 501}) {
    setClientSize(window, width, 400);
    EXPECT_EQ(placeOf(filterList).width, width - 380);
    EXPECT_EQ(placeOf(filterList).x, 10);
    EXPECT_EQ(placeOf(formatList).x, width - 360);
    EXPECT_EQ(placeOf(formatList).width, 110);
    EXPECT_EQ(placeOf(GetDlgItem(window, 6005)), (Box{width - 240, 10, 110, 28}));
    EXPECT_EQ(placeOf(GetDlgItem(window, 6003)), (Box{width - 120, 10, 110, 28}));
    EXPECT_EQ(placeOf(view), (Box{10, 48, width - 20, 342}));
  }
}

TEST_F(MonitorWindow, KeepsTheFilterAtLeast120PixelsWide) {
  setClientSize(window, 499, 400);
  EXPECT_EQ(placeOf(filterList).width, 120);
  setClientSize(window, 420, 400);
  EXPECT_EQ(placeOf(filterList).width, 120);
  EXPECT_EQ(placeOf(formatList).x, 60);
}

TEST_F(MonitorWindow, OffersOffAllAndTheEnabledRules) {
  EXPECT_THAT(itemsOf(filterList),
              ElementsAre(L"monitoring off", L"All", L"2) UDP  local " + routeOf(1),
                          L"5) TCP  local " + routeOf(4)));
  std::vector<int> values;
  for (WPARAM i = 0; i < 4; ++i) {
    values.push_back(static_cast<int>(send(filterList, CB_GETITEMDATA, i)));
  }
  EXPECT_THAT(values, ElementsAre(-2, -1, 1, 4));
  EXPECT_EQ(selectionOf(filterList), 0);
  EXPECT_THAT(itemsOf(formatList), ElementsAre(L"ASCII", L"HEX"));
  EXPECT_EQ(selectionOf(formatList), 0);
}

TEST_F(MonitorWindow, IsOffWhenItOpens) {
  EXPECT_EQ(textOf(view), kOffNotice);
  sendThrough("unseen");
  choose(filterList, 1);
  EXPECT_EQ(textOf(view), L"");
}

TEST_F(MonitorWindow, ShowsDatagramsAsCharacters) {
  choose(filterList, 2);
  sendThrough(std::string("A\r\nB\t\x7F\xE9~ ", 9));
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \r\nA\r\nB...~ \r\n"));
}

TEST_F(MonitorWindow, ShowsDatagramsAsHexadecimalValues) {
  choose(formatList, 1);
  choose(filterList, 2);
  sendThrough(std::string(33, '\xAF'));
  std::wstring line;
  for (int i = 0; i < 32; ++i) line += i == 0 ? L"AF" : L" AF";
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \r\n" + line + L"\r\nAF \r\n"));
}

TEST_F(MonitorWindow, RendersAgainWhenTheFormatChangesWithoutLoggingIt) {
  choose(filterList, 1);
  sendThrough("AB");
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \r\nAB\r\n"));
  const auto messages = files.logMessages();
  choose(formatList, 1);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \r\n41 42 \r\n");
  choose(formatList, 0);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \r\nAB\r\n");
  EXPECT_EQ(files.logMessages(), messages);
}

TEST_F(MonitorWindow, KeepsTheFormatWhenItIsOpenedAgain) {
  choose(formatList, 1);
  closeMonitor();
  openMonitor();
  EXPECT_EQ(selectionOf(formatList), 1);
}

TEST_F(MonitorWindow, ShowsOnlyTheChosenRule) {
  choose(filterList, 1);
  sendThrough("udp");
  const Socket client = connectToLoopback(tcpPort);
  const Socket server = acceptFrom(tcpTarget);
  ASSERT_TRUE(sendAll(client, "tcp"));
  ASSERT_EQ(receiveExactly(server, 3), "tcp");
  const std::wstring peer = L"FROM 127.0.0.1:" + std::to_wstring(localPort(client));
  const std::wstring session = L"[TCP] SESSION " + peer + L"  local " + routeOf(4) +
                               L"\r\n[TCP] C->S " + peer + L"  \r\ntcp\r\n";
  const std::wstring datagrams = newClientLine() + L"[UDP] C->S  \r\nudp\r\n";
  EXPECT_TRUE(viewShows(datagrams + session));
  choose(filterList, 2);
  EXPECT_EQ(viewText(), datagrams);
  choose(filterList, 3);
  EXPECT_EQ(viewText(), session);
}

TEST_F(MonitorWindow, LogsEveryChoiceOfAFilter) {
  choose(filterList, 1);
  choose(filterList, 2);
  choose(filterList, 0);
  EXPECT_EQ(textOf(view), kOffNotice);
  choose(filterList, 0);
  const auto messages = files.logMessages();
  ASSERT_GE(messages.size(), 4U);
  EXPECT_THAT(
      std::vector(messages.end() - 4, messages.end()),
      ElementsAre(L"Monitor turned ON.", L"Monitor turned ON.",
                  L"Monitor turned OFF (None selected).", L"Monitor turned OFF (None selected)."));
}

TEST_F(MonitorWindow, TurnsOffWhenNoEntryIsSelected) {
  choose(filterList, 1);
  choose(filterList, -1);
  EXPECT_EQ(textOf(view), kOffNotice);
  EXPECT_EQ(files.logMessages().back(), L"Monitor turned OFF (None selected).");
}

TEST_F(MonitorWindow, IgnoresOtherNotificationsOfItsLists) {
  send(filterList, CB_SETCURSEL, 1);
  send(formatList, CB_SETCURSEL, 1);
  for (const int code : {0, CBN_SETFOCUS, CBN_DROPDOWN, CBN_SELENDOK}) {
    sendCommand(window, 6001, code);
    sendCommand(window, 6004, code);
  }
  EXPECT_EQ(textOf(view), kOffNotice);
  EXPECT_EQ(files.countInLog(L"Monitor turned ON."), 0U);
}

TEST_F(MonitorWindow, ForgetsEverythingAndGoesOnCapturingWhenCleared) {
  choose(filterList, 1);
  sendThrough("before");
  ASSERT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \r\nbefore\r\n"));
  sendCommand(window, 6003);
  EXPECT_EQ(textOf(view), L"");
  EXPECT_EQ(files.logMessages().back(), L"Monitor buffers cleared.");
  sendThrough("after");
  EXPECT_TRUE(viewShows(L"[UDP] C->S  \r\nafter\r\n"));
}

TEST_F(MonitorWindow, ShowsTheNoticeWhenClearedWhileOff) {
  sendCommand(window, 6003, 0x1234);
  EXPECT_EQ(textOf(view), kOffNotice);
  EXPECT_EQ(files.logMessages().back(), L"Monitor buffers cleared.");
}

TEST_F(MonitorWindow, CapturesWhileItIsClosedAndIsOffWhenItOpensAgain) {
  choose(filterList, 1);
  closeMonitor();
  sendThrough("while closed");
  openMonitor();
  EXPECT_EQ(textOf(view), kOffNotice);
  EXPECT_EQ(selectionOf(filterList), 0);
  sendThrough("while off");
  choose(filterList, 2);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \r\nwhile closed\r\n");
}

TEST_F(MonitorWindow, StillRefreshesAfterItWasClosedInTheMiddleOfTraffic) {
  choose(filterList, 1);
  for (int i = 0; i < 50; ++i) sendThrough("x");
  closeMonitor();
  openMonitor();
  sendCommand(window, 6003);
  choose(filterList, 1);
  sendThrough("again");
  EXPECT_TRUE(viewShows(L"[UDP] C->S  \r\nagain\r\n"));
}

TEST_F(MonitorWindow, KeepsTheNewest499LinesInSight) {
  choose(filterList, 1);
  for (int i = 1; i <= 300; ++i) sendThrough(std::to_string(i));
  std::wstring expected;
  for (int i = 300; i > 51; --i) {
    expected = L"[UDP] C->S  \r\n" + std::to_wstring(i) + L"\r\n" + expected;
  }
  EXPECT_TRUE(viewShows(L"51\r\n" + expected));
  // The line below the last line feed is the last one; it is in sight.
  ASSERT_TRUE(eventually([&] { return send(view, EM_GETLINECOUNT) == 500; }));
  const LRESULT first = send(view, EM_GETFIRSTVISIBLELINE);
  EXPECT_GT(first, 400);
  EXPECT_LT(first, 500);
}

TEST_F(MonitorWindow, AnswersWhileLongLinesFlood) {
  const StatusClick statusClick(mainWindow, window);
  choose(filterList, 1);
  const Socket client = connectToLoopback(tcpPort);
  const Socket server = acceptFrom(tcpTarget);
  std::atomic<bool> stopping{false};
  std::thread sender([&] {
    const std::string chunk(4096, 'x');
    while (!stopping && sendAll(client, chunk)) {
    }
    closeSendingSide(client);
    closeSendingSide(server);
  });
  std::thread receiver([&] { static_cast<void>(receiveUntilEnd(server)); });

  AnswerTimes answers;
  answers.measureFor(load(std::chrono::seconds(5), std::chrono::seconds(30)), statusClick);
  stopping = true;
  sender.join();
  receiver.join();
  EXPECT_LT(answers.report(), std::chrono::seconds(5));
  EXPECT_TRUE(eventually([&] {
    const std::wstring text = textOf(view);
    return text.find(std::wstring(1000, L'x')) != std::wstring::npos &&
           text.find(L"[TCP] Session closed FROM ") != std::wstring::npos;
  }));
}

}  // namespace
}  // namespace quillgate::test
