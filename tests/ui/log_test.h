// The program with its log window.
#pragma once

#include <algorithm>

#include "tests/support/test_sockets.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {

inline constexpr std::size_t kMaxLines = 500;

class LogTest : public UiTest {
 protected:
  // Starts with a rule for UDP that has a line in the log for each client.
  void startWithClients() {
    RuleSet rules;
    rules[0] = {true, Protocol::udp, port_, L"127.0.0.1", localPort(target_)};
    files.writeConfig(configBytes(rules));
    start();
    ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + std::to_wstring(port_) +
                                 L" -> 127.0.0.1:" + std::to_wstring(localPort(target_))));
  }
  // Where the rule listens.
  [[nodiscard]] std::uint16_t udpPort() const { return port_; }
  // Lets two clients take turns until this many lines more are in the log.
  void logLines(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_TRUE(sendDatagramTo(clients_[turn_++ % 2], port_, "data"));
      ASSERT_TRUE(receiveNextDatagram(target_));
    }
  }

  void openLog() {
    window = open(L"Log");
    ASSERT_TRUE(window.isThere());
    list = window.control(L"Log lines");
    ASSERT_TRUE(list.isThere());
  }

  [[nodiscard]] bool listShows(const std::vector<std::wstring>& lines) const {
    return eventually([&] { return list.entries() == lines; });
  }
  // Whether the last line is in sight.
  [[nodiscard]] bool showsItsEnd() const {
    return list.firstLineInSight() + list.linesInSight() == static_cast<int>(list.lineCount());
  }

  Window window;
  Control list;

 private:
  platform::Socket target_ = udpOnLoopback();
  platform::Socket clients_[2] = {udpOnLoopback(), udpOnLoopback()};
  std::uint16_t port_ = freePort(platform::Transport::udp);
  std::size_t turn_ = 0;
};

// The last `count` of the lines, or all.
[[nodiscard]] inline std::vector<std::wstring> lastOf(const std::vector<std::wstring>& lines,
                                                      std::size_t count) {
  return {lines.end() - static_cast<std::ptrdiff_t>(std::min(count, lines.size())), lines.end()};
}

}  // namespace quillgate::test
