// The program with its monitor window open and two rules: the second is UDP, the fifth TCP.
#pragma once

#include "core/time_stamp.h"
#include "tests/support/test_sockets.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {

inline constexpr const wchar_t* kOffNotice =
    L"Monitoring is OFF.\r\nSelect 'All' or a rule to start monitoring.";

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
    click(mainControl(IDC_OPEN_MONITOR));
    window = program->waitForWindow(L"QuillgateMonWnd");
    ASSERT_NE(window, nullptr);
    filterList = GetDlgItem(window, 6001);
    view = GetDlgItem(window, 6002);
    formatList = GetDlgItem(window, 6004);
    ASSERT_TRUE(filterList != nullptr && formatList != nullptr && view != nullptr);
    send(window, WM_NULL);
  }
  void closeMonitor() {
    send(window, WM_CLOSE);
    ASSERT_TRUE(eventually([&] { return !IsWindow(window); }));
  }

  [[nodiscard]] std::wstring routeOf(std::size_t rule) const {
    return std::to_wstring(rules[rule].localPort) + L" -> 127.0.0.1:" +
           std::to_wstring(rules[rule].targetPort);
  }

  // What a user does who picks an entry of a list.
  void choose(HWND list, int index) const {
    send(list, CB_SETCURSEL, static_cast<WPARAM>(index));
    sendCommand(window, GetDlgCtrlID(list), CBN_SELCHANGE);
  }
  [[nodiscard]] static int selectionOf(HWND list) {
    return static_cast<int>(send(list, CB_GETCURSEL));
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
  [[nodiscard]] std::wstring viewText() const { return withoutStamps(textOf(view)); }
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
  // itself, and waits until the view has the last one.
  void showLongLines(int count) {
    choose(filterList, 3);
    const platform::Socket client = connectToLoopback(tcpPort);
    const platform::Socket server = acceptFrom(tcpTarget);
    for (int i = 1; i <= count; ++i) {
      std::string line = std::to_string(i) + ' ';
      line.resize(4096, 'x');
      ASSERT_TRUE(sendAll(client, line));
      ASSERT_EQ(receiveExactly(server, line.size()), line);
    }
    const std::wstring last = L"\n" + std::to_wstring(count) + L" xxx";
    ASSERT_TRUE(eventually([&] { return textOf(view).find(last) != std::wstring::npos; }));
    closeSendingSide(client);
    closeSendingSide(server);
  }
  // How many characters the control itself has, which gets those that it cannot display later.
  [[nodiscard]] std::size_t charactersHeld() const {
    const auto lastLine = static_cast<WPARAM>(send(view, EM_GETLINECOUNT) - 1);
    return static_cast<std::size_t>(send(view, EM_LINEINDEX, lastLine));
  }
  [[nodiscard]] bool viewHoldsAll() const { return charactersHeld() == textOf(view).size(); }
  // The first 20 characters that are in sight, once the control has all. Not by EM_GETLINE, whose
  // answer wine garbles on its way to another process.
  [[nodiscard]] std::wstring firstInSight() const {
    EXPECT_TRUE(eventually([&] { return viewHoldsAll(); }));
    const auto line = static_cast<WPARAM>(send(view, EM_GETFIRSTVISIBLELINE));
    return textOf(view).substr(static_cast<std::size_t>(send(view, EM_LINEINDEX, line)), 20);
  }
  // Whether the last line that the control has is in sight, and not at the top.
  [[nodiscard]] bool endIsInSight() const {
    const LRESULT position = send(view, EM_POSFROMCHAR, charactersHeld() - 1);
    const int y = static_cast<short>(HIWORD(position));
    const int height = clientSize(view).height;
    return position != -1 && y > height / 2 && y < height;
  }

  [[nodiscard]] std::wstring newClientLine() const {
    return L"[UDP] New client FROM 127.0.0.1:" + std::to_wstring(localPort(udpClient)) +
           L"  local " + routeOf(1) + L"\r\n";
  }

  RuleSet rules;
  platform::Socket udpTarget = udpOnLoopback();
  platform::Socket tcpTarget = listenOnLoopback();
  platform::Socket udpClient = udpOnLoopback();
  std::uint16_t udpPort = freePort(platform::Transport::udp);
  std::uint16_t tcpPort = freePort(platform::Transport::tcp);
  HWND window = nullptr;
  HWND filterList = nullptr;
  HWND formatList = nullptr;
  HWND view = nullptr;
};

}  // namespace quillgate::test
