// A system without a thread left: a failure that the program answers with its end.
#include <gtest/gtest.h>
#include <signal.h>

#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "platform/thread.h"
#include "tests/faults/fault_layer.h"
#include "tests/support/deadline.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {
namespace {

using platform::Transport;
using Lines = std::vector<std::wstring>;

// What starts the threads of a server with a TCP rule and a UDP rule, in their order.
enum Starter { tcpWorker = 1, udpWorker, session, pump };

class ThreadFault : public testing::Test {
 protected:
  void SetUp() override {
    // A child that starts anew instead of a copy of a process with threads.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    RuleSet rules;
    // One that waits would do without the system.
    ASSERT_TRUE(eventually([] { return platform::parkedThreads() == 0; }));
    rules[0] = ruleFor(Protocol::tcp, port, localPort(target));
    rules[1] = ruleFor(Protocol::udp, freePort(Transport::udp), 9);
    engine.state().rules.replace(rules);
  }
  void TearDown() override { startFaults(std::nullopt); }

  // Starts the server and a session, which must end the process before the deadline.
  void serveAClient(Starter failing) {
    startFaults(Fault{"pthread_create", failing});
    asProgram([&] { engine.state().server.start(); });
    static_cast<void>(engine.waitForPrefix(L"[TCP] Listening"));
    const platform::Socket client = connectToLoopback(port);
    static_cast<void>(eventually([] { return false; }));
  }

  TestEngine engine;
  const platform::Socket target = listenOnLoopback();
  const std::uint16_t port = freePort(Transport::tcp);
};

TEST_F(ThreadFault, IsThrownByAStartWithoutItsFirstWorker) {
  startFaults(Fault{"pthread_create", tcpWorker});
  EXPECT_THROW(asProgram([&] { engine.state().server.start(); }), std::system_error);
  EXPECT_EQ(engine.messages(), Lines{L"Starting server..."});
}

TEST_F(ThreadFault, IsThrownByAStartThatHasAWorkerAndAStopEndsThatOne) {
  startFaults(Fault{"pthread_create", udpWorker});
  EXPECT_THROW(asProgram([&] { engine.state().server.start(); }), std::system_error);
  EXPECT_NE(engine.waitForPrefix(L"[TCP] Listening on local port "), L"");
  engine.stop();
  EXPECT_EQ(engine.messages().back(), L"Server stopped.");
  EXPECT_EQ(engine.countOf(L"[TCP] Stopped local port " + std::to_wstring(port)), 1U);
}

TEST_F(ThreadFault, EndsTheProcessThatCannotServeAClient) {
  EXPECT_EXIT(serveAClient(session), testing::KilledBySignal(SIGABRT), "terminate called");
}

TEST_F(ThreadFault, EndsTheProcessThatCannotRelayOneDirection) {
  EXPECT_EXIT(serveAClient(pump), testing::KilledBySignal(SIGABRT), "terminate called");
}

}  // namespace
}  // namespace quillgate::test
