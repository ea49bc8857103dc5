// The monitor window: what it shows of the traffic that passes, and what its controls do.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>

#include "tests/support/load.h"
#include "tests/support/test_sockets.h"
#include "tests/ui/answer_times.h"
#include "tests/ui/monitor_test.h"

namespace quillgate::test {
namespace {

using platform::Socket;
using testing::ElementsAre;

class MonitorWindow : public MonitorTest {
 protected:
  [[nodiscard]] Control saveButton() const { return window.control(L"Save TXT"); }
  [[nodiscard]] Control clearButton() const { return window.control(L"Clear"); }
};

TEST_F(MonitorWindow, StretchesTheFilterAndTheViewAndKeepsTheRestAtTheRight) {
  for (const int width : {900, 640, 500, 501}) {
    window.setClientSize(width, 400);
    EXPECT_EQ(filterList.place().width, width - 380);
    EXPECT_EQ(filterList.place().x, 10);
    EXPECT_EQ(formatList.place().x, width - 360);
    EXPECT_EQ(formatList.place().width, 110);
    EXPECT_EQ(saveButton().place(), (Box{width - 240, 10, 110, 28}));
    EXPECT_EQ(clearButton().place(), (Box{width - 120, 10, 110, 28}));
    EXPECT_EQ(view.place(), (Box{10, 48, width - 20, 342}));
  }
}

TEST_F(MonitorWindow, KeepsTheFilterAtLeast120PixelsWide) {
  window.setClientSize(499, 400);
  EXPECT_EQ(filterList.place().width, 120);
  window.setClientSize(420, 400);
  EXPECT_EQ(filterList.place().width, 120);
  EXPECT_EQ(formatList.place().x, 60);
}

TEST_F(MonitorWindow, OffersOffAllAndTheEnabledRules) {
  EXPECT_THAT(filterList.entries(),
              ElementsAre(L"monitoring off", L"All", L"2) UDP  local " + routeOf(1),
                          L"5) TCP  local " + routeOf(4)));
  EXPECT_EQ(filterList.text(), L"monitoring off");
  EXPECT_THAT(formatList.entries(), ElementsAre(L"ASCII", L"HEX"));
  EXPECT_EQ(formatList.text(), L"ASCII");
}

TEST_F(MonitorWindow, IsOffWhenItOpens) {
  EXPECT_EQ(view.text(), kOffNotice);
  sendThrough("unseen");
  filterList.choose(1);
  EXPECT_EQ(view.text(), L"");
}

TEST_F(MonitorWindow, ShowsDatagramsAsCharacters) {
  filterList.choose(2);
  sendThrough(std::string("A\r\nB\t\x7F\xE9~ ", 9));
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \nA\nB...~ \n"));
}

TEST_F(MonitorWindow, ShowsDatagramsAsHexadecimalValues) {
  formatList.choose(1);
  filterList.choose(2);
  sendThrough(std::string(33, '\xAF'));
  std::wstring line;
  for (int i = 0; i < 32; ++i) line += i == 0 ? L"AF" : L" AF";
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \n" + line + L"\nAF \n"));
}

TEST_F(MonitorWindow, RendersAgainWhenTheFormatChangesWithoutLoggingIt) {
  filterList.choose(1);
  sendThrough("AB");
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \nAB\n"));
  const auto messages = files.logMessages();
  formatList.choose(1);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \n41 42 \n");
  formatList.choose(0);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \nAB\n");
  EXPECT_EQ(files.logMessages(), messages);
}

TEST_F(MonitorWindow, KeepsTheFormatWhenItIsOpenedAgain) {
  formatList.choose(1);
  closeMonitor();
  openMonitor();
  EXPECT_EQ(formatList.text(), L"HEX");
}

TEST_F(MonitorWindow, ShowsOnlyTheChosenRule) {
  filterList.choose(1);
  sendThrough("udp");
  const Socket client = connectToLoopback(tcpPort);
  const Socket server = acceptFrom(tcpTarget);
  ASSERT_TRUE(sendAll(client, "tcp"));
  ASSERT_EQ(receiveExactly(server, 3), "tcp");
  const std::wstring peer = L"FROM 127.0.0.1:" + std::to_wstring(localPort(client));
  const std::wstring session =
      L"[TCP] SESSION " + peer + L"  local " + routeOf(4) + L"\n[TCP] C->S " + peer + L"  \ntcp\n";
  const std::wstring datagrams = newClientLine() + L"[UDP] C->S  \nudp\n";
  EXPECT_TRUE(viewShows(datagrams + session));
  filterList.choose(2);
  EXPECT_EQ(viewText(), datagrams);
  filterList.choose(3);
  EXPECT_EQ(viewText(), session);
}

TEST_F(MonitorWindow, LogsEveryChoiceOfAFilter) {
  filterList.choose(1);
  filterList.choose(2);
  filterList.choose(0);
  EXPECT_EQ(view.text(), kOffNotice);
  const auto messages = files.logMessages();
  ASSERT_GE(messages.size(), 3U);
  EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
              ElementsAre(L"Monitor turned ON.", L"Monitor turned ON.",
                          L"Monitor turned OFF (None selected)."));
}

TEST_F(MonitorWindow, ForgetsEverythingAndGoesOnCapturingWhenCleared) {
  filterList.choose(1);
  sendThrough("before");
  ASSERT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \nbefore\n"));
  clearButton().press();
  EXPECT_EQ(view.text(), L"");
  EXPECT_EQ(files.logMessages().back(), L"Monitor buffers cleared.");
  sendThrough("after");
  EXPECT_TRUE(viewShows(L"[UDP] C->S  \nafter\n"));
}

TEST_F(MonitorWindow, ShowsTheNoticeWhenClearedWhileOff) {
  clearButton().press();
  EXPECT_EQ(view.text(), kOffNotice);
  EXPECT_EQ(files.logMessages().back(), L"Monitor buffers cleared.");
}

TEST_F(MonitorWindow, CapturesWhileItIsClosedAndIsOffWhenItOpensAgain) {
  filterList.choose(1);
  closeMonitor();
  sendThrough("while closed");
  openMonitor();
  EXPECT_EQ(view.text(), kOffNotice);
  EXPECT_EQ(filterList.text(), L"monitoring off");
  sendThrough("while off");
  filterList.choose(2);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \nwhile closed\n");
}

TEST_F(MonitorWindow, StillRefreshesAfterItWasClosedInTheMiddleOfTraffic) {
  filterList.choose(1);
  for (int i = 0; i < 50; ++i) sendThrough("x");
  closeMonitor();
  openMonitor();
  clearButton().press();
  filterList.choose(1);
  sendThrough("again");
  EXPECT_TRUE(viewShows(L"[UDP] C->S  \nagain\n"));
}

TEST_F(MonitorWindow, KeepsTheNewest499LinesInSight) {
  filterList.choose(1);
  for (int i = 1; i <= 300; ++i) sendThrough(std::to_string(i));
  std::wstring expected;
  for (int i = 300; i > 51; --i) {
    expected = L"[UDP] C->S  \n" + std::to_wstring(i) + L"\n" + expected;
  }
  EXPECT_TRUE(viewShows(L"51\n" + expected));
  EXPECT_TRUE(eventually([&] { return view.showsItsEnd(); }));
}

// What a rule relays as fast as it can while the monitor shows it.
struct Flood {
  const char* name;
  std::string chunk;
  int format;           // the entry of the list
  std::wstring sample;  // what the view shows of it
};

std::string manyTimes(std::string_view text, std::size_t count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

class FloodedMonitor : public MonitorTest, public testing::WithParamInterface<Flood> {};

TEST_P(FloodedMonitor, Answers) {
  const StatusClick statusClick(mainWindow, window);
  filterList.choose(1);
  formatList.choose(GetParam().format);
  const Socket client = connectToLoopback(tcpPort);
  const Socket server = acceptFrom(tcpTarget);
  std::atomic<bool> stopping{false};
  std::thread sender([&] {
    while (!stopping && sendAll(client, GetParam().chunk)) {
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
    const std::wstring text = view.text();
    return text.find(GetParam().sample) != std::wstring::npos &&
           text.find(L"[TCP] Session closed FROM ") != std::wstring::npos;
  }));
}

INSTANTIATE_TEST_SUITE_P(
    Ui, FloodedMonitor,
    testing::Values(Flood{"WithUnbrokenLines", std::string(4096, 'x'), 0, std::wstring(1000, L'x')},
                    Flood{"WithLines", manyTimes("GET /index.html HTTP/1.1\r\n", 150), 0,
                          L"\nGET /index.html HTTP/1.1\nGET /index.html HTTP/1.1\n"},
                    Flood{"InHex", manyTimes("Quillgate", 455), 1, L"51 75 69 6C 6C 67 61 74 65 "}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace quillgate::test
