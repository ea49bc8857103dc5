// When a worker of either protocol counts as active: from before the first thing it does until
// after the last.
#include <gtest/gtest.h>

#include <atomic>
#include <utility>
#include <vector>

#include "forwarding/tcp_forwarder.h"
#include "forwarding/udp_forwarder.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using platform::Transport;

// Notes with each line of the log whether the worker that writes it is active.
class ActiveNotifier final : public UiNotifier {
 public:
  void notifyNewLines() noexcept override { activeAtLine.push_back(active.load()); }
  [[nodiscard]] bool isMonitorOpen() const noexcept override { return false; }
  [[nodiscard]] bool notifyNewRecords() noexcept override { return true; }

  std::atomic<bool> active{false};
  std::vector<bool> activeAtLine;
};

using Worker = void (*)(const WorkerContext& context, std::int32_t ruleIndex, ForwardRule rule);

// Runs a worker whose server has been stopped; whether it was active at each of its lines.
std::vector<bool> activeAtLines(Worker worker, const ForwardRule& rule) {
  ActiveNotifier notifier;
  EventLog log(notifier);
  TrafficMonitor monitor(notifier);
  const std::atomic<bool> running{false};
  worker({running, notifier.active, {log, monitor}}, 0, rule);
  EXPECT_FALSE(notifier.active);
  return notifier.activeAtLine;
}

TEST(WorkerActive, LastsFromBeforeTheFirstLineUntilAfterTheLast) {
  const std::vector<bool> listeningAndStopped{true, true};
  EXPECT_EQ(activeAtLines(runTcpListener,
                          test::ruleFor(Protocol::tcp, test::freePort(Transport::tcp), 9)),
            listeningAndStopped);
  EXPECT_EQ(
      activeAtLines(runUdpRule, test::ruleFor(Protocol::udp, test::freePort(Transport::udp), 9)),
      listeningAndStopped);
}

TEST(WorkerActive, HasBegunWhenAPortCannotBeBound) {
  const std::vector<bool> failed{true};
  for (const auto& [worker, transport] :
       {std::pair{Worker{runTcpListener}, Transport::tcp}, {Worker{runUdpRule}, Transport::udp}}) {
    const platform::Socket taken = test::holdPort(transport);
    EXPECT_EQ(activeAtLines(worker, test::ruleFor(Protocol::tcp, test::localPort(taken), 9)),
              failed);
  }
}

}  // namespace
}  // namespace quillgate
