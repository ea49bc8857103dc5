// The program with its monitor window open and two rules: the second is UDP, the fifth TCP.
#pragma once

#include "core/time_stamp.h"
#include "tests/support/test_sockets.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {

inline constexpr const wchar_t* kOffNotice =
    L"Monitoring is OFF.\nSelect 'All' or a rule to start monitoring.";

class MonitorTest : public UiTest {
 protected:
  void SetUp() override {
    rules[1] = {true, Protocol::udp, udpPort, L"127.0.0.1", localPort(udpTarget)};
    rules[4] = {true, Protocol::tcp, tcpPort, L"127.0.0.1", localPort(tcpTarget)};
    files.writeConfig(configBytes(rules));
    start();
    ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + routeOf(1)));
    ASSERT_TRUE(files.waitForLog(L"[TCP] Listening on local port " + routeOf(4)));
    openMonitor();
  }

  void openMonitor() {
    window = open(L"Monitor");
    ASSERT_TRUE(window.isThere());
    filterList = window.control(L"Filter");
    view = window.control(L"Captured traffic");
    formatList = window.control(L"Format");
    ASSERT_TRUE(filterList.isThere() && formatList.isThere() && view.isThere());
  }
  void closeMonitor() {
    window.close();
    ASSERT_TRUE(eventually([&] { return program->windows(L"Monitor").empty(); }));
  }

  [[nodiscard]] std::wstring routeOf(std::size_t rule) const {
    return std::to_wstring(rules[rule].localPort) + L" -> 127.0.0.1:" +
           std::to_wstring(rules[rule].targetPort);
  }

  // A text without the time stamps of its header lines, which go on with "[".
  [[nodiscard]] static std::wstring withoutStamps(std::wstring rest) {
    std::wstring stripped;
    while (!rest.empty()) {
      const std::size_t end = rest.find(L'\n');
      const std::wstring line = rest.substr(0, end == std::wstring::npos ? end : end + 1);
      rest.erase(0, line.size());
      const bool stamped = line.size() > kTimeStampLength && line[kTimeStampLength] == L'[';
      stripped += stamped ? line.substr(kTimeStampLength) : line;
    }
    return stripped;
  }
  [[nodiscard]] std::wstring viewText() const { return withoutStamps(view.text()); }
  [[nodiscard]] bool viewShows(const std::wstring& text) const {
    return eventually([&] { return viewText() == text; });
  }

  // Sends a datagram through the program's second rule.
  void sendThrough(std::string_view payload) {
    ASSERT_TRUE(sendDatagramTo(udpClient, udpPort, payload));
    const auto datagram = receiveNextDatagram(udpTarget);
    ASSERT_TRUE(datagram && datagram->text == payload);
  }
  // Sends `count` lines of 4,096 characters without a break through the fifth rule, each for
  // itself, and waits until the view has the last one and the end of their session.
  void showLongLines(int count) {
    filterList.choose(3);
    const platform::Socket client = connectToLoopback(tcpPort);
    const platform::Socket server = acceptFrom(tcpTarget);
    for (int i = 1; i <= count; ++i) {
      std::string line = std::to_string(i) + ' ';
      line.resize(4096, 'x');
      ASSERT_TRUE(sendAll(client, line));
      ASSERT_EQ(receiveExactly(server, line.size()), line);
    }
    const std::wstring last = L"\n" + std::to_wstring(count) + L" xxx";
    ASSERT_TRUE(eventually([&] { return view.text().find(last) != std::wstring::npos; }));
    closeSendingSide(client);
    closeSendingSide(server);
    ASSERT_TRUE(
        eventually([&] { return view.text().find(L"Session closed") != std::wstring::npos; }));
  }

  [[nodiscard]] std::wstring newClientLine() const {
    return L"[UDP] New client FROM 127.0.0.1:" + std::to_wstring(localPort(udpClient)) +
           L"  local " + routeOf(1) + L"\n";
  }

  RuleSet rules;
  platform::Socket udpTarget = udpOnLoopback();
  platform::Socket tcpTarget = listenOnLoopback();
  platform::Socket udpClient = udpOnLoopback();
  std::uint16_t udpPort = freePort(platform::Transport::udp);
  std::uint16_t tcpPort = freePort(platform::Transport::tcp);
  Window window;
  Control filterList;
  Control formatList;
  Control view;
};

}  // namespace quillgate::test
