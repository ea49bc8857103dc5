// Workers that have nothing to do.
#include <gtest/gtest.h>

#include "tests/faults/fault_layer.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {
namespace {

using platform::Transport;

class IdleWorker : public testing::Test {
 protected:
  void TearDown() override { startFaults(std::nullopt); }

  // Serves this rule until its worker has waited for input ten times.
  void idle(const ForwardRule& rule) {
    engine.setRule(rule);
    startFaults(std::nullopt);
    asProgram([&] { engine.state().server.start(); });
    EXPECT_TRUE(eventually([] { return callCounts()["poll"] >= 10; }));
    engine.stop();
  }

  TestEngine engine;
};

TEST_F(IdleWorker, AsksForADatagramOnceBetweenTwoWaits) {
  idle(ruleFor(Protocol::udp, freePort(Transport::udp), 9));
  auto calls = callCounts();
  EXPECT_LE(calls["recvfrom"], calls["poll"] + 1);
}

TEST_F(IdleWorker, LooksForAClientOnceBetweenTwoWaits) {
  idle(ruleFor(Protocol::tcp, freePort(Transport::tcp), 9));
  auto calls = callCounts();
  EXPECT_LE(calls["accept4"], calls["poll"] + 1);
}

}  // namespace
}  // namespace quillgate::test
