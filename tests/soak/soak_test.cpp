// Hours of use in a short time: ten rules, up to 500 sessions and floods of datagrams, while the
// user stops and starts the server, changes rules, watches the monitor and clears what there is.
// Nothing may be damaged, and at the end nothing may be left.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "monitor/monitor_view.h"
#include "platform/system.h"
#include "platform/thread.h"
#include "tests/soak/tcp_load.h"
#include "tests/soak/udp_load.h"
#include "tests/support/load.h"
#include "tests/support/process_resources.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"
#include "ui/monitor_actions.h"
#include "ui/rule_actions.h"

namespace quillgate::test {
namespace {

using namespace std::chrono_literals;
using platform::Transport;
using Clock = std::chrono::steady_clock;
using Random = std::mt19937;

// How much more the second half may leave than the first one: open, where Windows has a handle for
// every lock that two threads have wanted at once; on the heap; and in the machine's memory, where
// the library keeps 40 MB of stacks for new threads and pieces of heaps.
constexpr std::size_t kDescriptorBound = 32;
constexpr std::size_t kHeapBound = 2 << 20;
constexpr std::size_t kMemoryBound = 64 << 20;
// What 99 of 100 stops take at most. They wait for the workers, not for the sessions; but hundreds
// of these want the processors and the log at the same time.
constexpr std::chrono::seconds kStopBound = 3s;

// There is no window.
class NoViews final : public RuleViews {
 public:
  void fillRuleGrid() override {}
  void refreshStatusPanel() override {}
  MonitorControls* monitorControls() override { return nullptr; }
};

class Soak : public testing::Test {
 protected:
  void SetUp() override {
    const char* given = std::getenv("QUILLGATE_SOAK_SEED");
    seed =
        given != nullptr ? static_cast<std::uint32_t>(std::stoul(given)) : std::random_device()();
    std::cout << "QUILLGATE_SOAK_SEED=" << seed << "\n";
    RecordProperty("seed", std::to_string(seed));
    random.seed(seed);
    state.paths = appPathsUnder(folder.path());
    ASSERT_TRUE(platform::createFolders(state.paths.baseDir));
    state.log.setLogFilePath(state.paths.logPath);
    for (std::size_t i = 0; i < kRuleCount; ++i) {
      ports[i] = freePort(isTcp(i) ? Transport::tcp : Transport::udp);
      setRule(i);
    }
    saveRules(state, rules, views);
  }

  // Keeps the load up for this long and the user busy meanwhile; then everything ends.
  void use(std::chrono::milliseconds time) {
    {
      state.server.start();
      const auto somePortOf = [this](std::size_t first) {
        return [this, first](Random& from) { return ports[first + 2 * (from() % 5)]; };
      };
      const TcpLoad tcpLoad(tcpTargets, tcp, static_cast<std::uint32_t>(random()), somePortOf(0));
      const UdpLoad udpLoad(udpTargets, udp, static_cast<std::uint32_t>(random()), somePortOf(1));
      for (const auto end = Clock::now() + time; Clock::now() < end;) {
        act();
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 50));
      }
    }
    state.server.stop();
    EXPECT_TRUE(eventually([&] { return processResources().threads <= threadsBefore; }))
        << "a session is left";
    // Those that wait for a next session hold handles on Windows.
    EXPECT_TRUE(eventually([] { return platform::parkedThreads() == 0; }));
    static_cast<void>(clearMonitor(state, view));
    state.log.clear();
  }

  // One thing that a user does.
  void act() {
    switch (random() % 12) {
      case 0:
      case 1:
        return stopAndStart();
      case 2:
        setRule(random() % kRuleCount);
        return saveRules(state, rules, views);
      case 3:
        EXPECT_TRUE(exportRules(state, rules, folder.file(L"rules.xml")));
        EXPECT_TRUE(importRules(state, folder.file(L"rules.xml"), views));
        return;
      case 4:
      case 5:
        static_cast<void>(chooseFilter(state, view, static_cast<std::int32_t>(random() % 12) - 2));
        return;
      case 6:
        static_cast<void>(chooseFormat(state, view, formatAt(static_cast<int>(random() % 2))));
        return;
      case 7:
        static_cast<void>(clearMonitor(state, view));
        return;
      case 8:
        return state.log.clear();
      case 9:
        static_cast<void>(state.log.takeNewLines());
        return;
      default:
        static_cast<void>(view.refresh());
    }
  }

  void stopAndStart() {
    const auto start = Clock::now();
    state.server.stop();
    stops.push_back(Clock::now() - start);
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 100));
    state.server.start();
  }

  static bool isTcp(std::size_t index) { return index % 2 == 0; }

  // Gives a rule one of the targets; at times none at all.
  void setRule(std::size_t index) {
    const std::size_t target = random() % 5;
    rules[index] = isTcp(index)
                       ? ruleFor(Protocol::tcp, ports[index], tcpTargets.port(target))
                       : ruleFor(Protocol::udp, ports[index], localPort(udpTargets[target]));
    rules[index].enabled = random() % 8 != 0;
  }

  static UdpLoad::Targets udpSockets() {
    UdpLoad::Targets sockets;
    for (platform::Socket& socket : sockets) socket = udpOnLoopback();
    return sockets;
  }

  using Figures = std::vector<std::pair<std::string, std::uint64_t>>;
  void report(const Figures& more) {
    std::ranges::sort(stops);
    const auto stopAt = [this](std::size_t percent) {
      const auto time = stops[(stops.size() - 1) * percent / 100];
      return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
    };
    Figures figures{{"tcp_sessions", tcp.sessions},
                    {"tcp_most_at_once", tcp.mostAtOnce},
                    {"tcp_turned_away", tcp.turnedAway},
                    {"tcp_floods", tcp.floods},
                    {"tcp_half_closes", tcp.halfCloses},
                    {"tcp_resets", tcp.resets},
                    {"tcp_bytes", tcp.bytes},
                    {"udp_sent", udp.sent},
                    {"udp_at_target", udp.atTarget},
                    {"udp_back_at_client", udp.backAtClient},
                    {"stops", stops.size()},
                    {"stop_ms_median", stopAt(50)},
                    {"stop_ms_99th_percentile", stopAt(99)},
                    {"stop_ms_longest", stopAt(100)}};
    figures.insert(figures.end(), more.begin(), more.end());
    for (const auto& [name, value] : figures) {
      RecordProperty(name, std::to_string(value));
      std::cout << name << " " << value << "\n";
    }
    EXPECT_LT(stopAt(99), std::chrono::milliseconds(kStopBound).count());
  }

  std::uint32_t seed = 0;
  Random random;
  const TempFolder folder;
  TestEngine engine;
  SharedState& state = engine.state();
  NoViews views;
  MonitorView view{state.monitor};
  TcpTargets tcpTargets;
  const UdpLoad::Targets udpTargets = udpSockets();
  std::array<std::uint16_t, kRuleCount> ports{};
  RuleSet rules;
  TcpFigures tcp;
  UdpFigures udp;
  std::vector<Clock::duration> stops;
  const std::size_t threadsBefore = processResources().threads;
};

TEST_F(Soak, DamagesNothingAndLeavesNothing) {
  const std::chrono::milliseconds half = load(QUILLGATE_SOAK_TIMES) / 2;
  use(half);
  const std::size_t descriptorsThen = processResources().descriptors;
  const ProcessMemory then = processMemory();
  use(half);
  const std::size_t descriptorsNow = processResources().descriptors;
  const ProcessMemory now = processMemory();
  report({{"descriptors_after_half", descriptorsThen},
          {"descriptors_at_end", descriptorsNow},
          {"heap_after_half", then.heapBytes},
          {"heap_at_end", now.heapBytes},
          {"memory_after_half", then.residentBytes},
          {"memory_at_end", now.residentBytes}});

  EXPECT_LT(descriptorsNow, descriptorsThen + kDescriptorBound);
  EXPECT_LT(now.heapBytes, then.heapBytes + kHeapBound);
  // Sanitizers keep for a while what is freed, and notes about it.
  if (!QUILLGATE_SANITIZED) {
    EXPECT_LT(now.residentBytes, then.residentBytes + kMemoryBound);
  }
  EXPECT_EQ(tcp.damaged, 0);
  EXPECT_EQ(udp.damaged, 0);
  EXPECT_EQ(tcp.openNow, 0);
  EXPECT_GT(tcp.sessions, 500);
  EXPECT_GT(tcp.floods, 0);
  EXPECT_GT(tcp.halfCloses, 0);
  EXPECT_GT(tcp.resets, 0);
  EXPECT_GT(udp.backAtClient, 0);
}

}  // namespace
}  // namespace quillgate::test
