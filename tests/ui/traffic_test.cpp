// The program with real traffic through it, seen in the main window, and ending in the middle of
// it.
#include "tests/ui/traffic.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "tests/support/load.h"
#include "tests/support/test_sockets.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

using platform::Socket;
using platform::Transport;

class ProgramWithTraffic : public UiTest {
 protected:
  // Starts the program with one rule, which forwards to our listener.
  void startForwarding() {
    RuleSet rules;
    rules[0] = {true, Protocol::tcp, port, L"127.0.0.1", localPort(target)};
    files.writeConfig(configBytes(rules));
    const std::wstring listening = L"[TCP] Listening on local port " + std::to_wstring(port) +
                                   L" -> 127.0.0.1:" + std::to_wstring(localPort(target));
    const std::size_t earlierStarts = files.countInLog(listening);
    start();
    ASSERT_TRUE(files.waitForLog(listening, earlierStarts + 1));
  }

  // Starts the program and closes it in the middle of traffic, again and again.
  struct Closing {
    int sessions;
    int times;
  };
  void closeUnderTraffic(const Closing& closing) {
    using Clock = std::chrono::steady_clock;
    Clock::duration slowest{};
    for (int i = 0; i < closing.times; ++i) {
      startForwarding();
      const Traffic traffic(target, port, closing.sessions);
      ASSERT_TRUE(traffic.waitForRounds(1));
      const auto start = Clock::now();
      ASSERT_EQ(program->close(), 0) << "time " << i;
      slowest = std::max(slowest, Clock::now() - start);
    }
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(slowest);
    RecordProperty("slowestEndMilliseconds", std::to_string(milliseconds.count()));
  }

  [[nodiscard]] std::wstring reportLine(std::size_t line) const {
    const std::wstring report = mainControl(L"Status report").text();
    std::size_t start = 0;
    for (; line > 0; --line) start = report.find(L'\n', start) + 1;
    return report.substr(start, report.find(L'\n', start) - start);
  }

  Socket target = listenOnLoopback();
  std::uint16_t port = freePort(Transport::tcp);
};

TEST_F(ProgramWithTraffic, RelaysBothWays) {
  startForwarding();
  const Socket client = connectToLoopback(port);
  const Socket server = acceptFrom(target);
  ASSERT_TRUE(sendAll(client, "to the target"));
  EXPECT_EQ(receiveExactly(server, 13), "to the target");
  ASSERT_TRUE(sendAll(server, "to the client"));
  EXPECT_EQ(receiveExactly(client, 13), "to the client");
}

TEST_F(ProgramWithTraffic, ReportsTheWorkerOfARuleUntilTheServerStops) {
  startForwarding();
  mainControl(L"Status").press();
  const std::wstring rule = L"  1)   ON   TCP  local " + std::to_wstring(port) +
                            L"  ->  127.0.0.1:" + std::to_wstring(localPort(target));
  EXPECT_EQ(reportLine(3), rule + L"  [thread:yes]");
  startStop().press();
  EXPECT_EQ(reportLine(3), rule + L"  [thread:no]");
  EXPECT_THAT(files.logMessages(),
              testing::Contains(L"[TCP] Stopped local port " + std::to_wstring(port)));
}

TEST_F(ProgramWithTraffic, ReportsAnEnabledRuleWhoseWorkerHasEndedWithoutOne) {
  RuleSet rules;
  rules[9] = {true, Protocol::udp, freePort(Transport::udp), L"no.address.invalid", 53};
  files.writeConfig(configBytes(rules));
  start();
  ASSERT_TRUE(files.waitForLog(L"[UDP] Invalid target IP: no.address.invalid"));
  mainControl(L"Status").press();
  EXPECT_EQ(reportLine(12), L"  10)   ON   UDP  local " + std::to_wstring(rules[9].localPort) +
                                L"  ->  no.address.invalid:53  [thread:no]");
  EXPECT_EQ(startStop().text(), L"Stop server");
}

TEST_F(ProgramWithTraffic, GoesOnWithOpenSessionsWhenTheServerStops) {
  startForwarding();
  const Socket client = connectToLoopback(port);
  const Socket server = acceptFrom(target);
  startStop().press();
  EXPECT_FALSE(connectToLoopback(port).isOpen());
  ASSERT_TRUE(sendAll(client, "still here"));
  EXPECT_EQ(receiveExactly(server, 10), "still here");
}

// Random bytes that both ends of a stream can make for themselves, so that every one is compared.
class RandomStream {
 public:
  explicit RandomStream(std::uint64_t seed) : state_(seed) {}

  std::string next(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i + sizeof(state_) <= size; i += sizeof(state_)) {
      state_ ^= state_ << 13;
      state_ ^= state_ >> 7;
      state_ ^= state_ << 17;
      std::memcpy(bytes.data() + i, &state_, sizeof(state_));
    }
    return bytes;
  }

 private:
  std::uint64_t state_;
};

TEST_F(ProgramWithTraffic, MovesAQuarterGibibyteEachWayAtOnceUnchanged) {
  constexpr std::size_t kChunk = 64 * 1024;
  constexpr std::size_t kChunks = (256 << 20) / kChunk;
  startForwarding();
  const Socket client = connectToLoopback(port);
  const Socket server = acceptFrom(target);
  const auto sendTo = [](const Socket& socket, std::uint64_t seed) {
    RandomStream stream(seed);
    for (std::size_t i = 0; i < kChunks; ++i) ASSERT_TRUE(sendAll(socket, stream.next(kChunk)));
  };
  const auto receiveFrom = [](const Socket& socket, std::uint64_t seed) {
    RandomStream stream(seed);
    for (std::size_t i = 0; i < kChunks; ++i) {
      ASSERT_TRUE(receiveExactly(socket, kChunk) == stream.next(kChunk)) << "chunk " << i;
    }
  };
  std::thread up([&] { sendTo(client, 1); });
  std::thread down([&] { sendTo(server, 2); });
  std::thread upEnd([&] { receiveFrom(server, 1); });
  receiveFrom(client, 2);
  up.join();
  down.join();
  upEnd.join();
}

TEST_F(ProgramWithTraffic, EndsAtOnceWithTwoHundredOpenSessionsTimeAndAgain) {
  closeUnderTraffic({.sessions = 200, .times = load(5, 50)});
}

}  // namespace
}  // namespace quillgate::test
