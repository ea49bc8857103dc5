// Targets with a name that has more than one address.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "forwarding/tcp_forwarder.h"
#include "tests/faults/fault_layer.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {
namespace {

using platform::Socket;
using platform::Transport;

// One port of two addresses: at the first one somebody answers, the second one refuses.
constexpr const char* kAnswers = "127.0.0.1";
constexpr const char* kRefuses = "127.0.0.2";

class TargetName : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bindTo(nobody, platform::parseIpv4(L"127.0.0.2", port).value()));
  }
  void TearDown() override { startFaults(std::nullopt); }

  // A session to a target whose name has these addresses: the line about its start, without the
  // beginning that all have in common.
  std::wstring startOfSession(std::vector<std::string> addresses) {
    startFaults(std::nullopt);
    nameAddresses(std::move(addresses));
    ConnectedPair pair = connectedPair();
    std::thread session([&] {
      asProgram([&] {
        runTcpSession({engine.state().log, engine.state().monitor}, 0, std::move(pair.server),
                      loopback(40000), ruleFor(Protocol::tcp, 8080, port, L"server.example"));
      });
    });
    const std::wstring from = L"[TCP] FROM 127.0.0.1:40000  ";
    const std::wstring line = engine.waitForPrefix(from);
    pair.client.close();
    target.close();  // and with it the connection that nobody has accepted
    session.join();
    return line.substr(std::min(line.size(), from.size()));
  }

  TestEngine engine;
  Socket target = listenOnLoopback();
  const std::uint16_t port = localPort(target);
  const std::wstring name = L"server.example:" + std::to_wstring(port);
  const Socket nobody = platform::openIpv4Socket(Transport::tcp);  // bound, but does not listen
};

TEST_F(TargetName, IsReachedAtItsFirstAddress) {
  EXPECT_EQ(startOfSession({kAnswers, kRefuses}), L"local 8080 -> " + name);
}

TEST_F(TargetName, IsNotTriedAtItsSecondAddress) {
  EXPECT_EQ(startOfSession({kRefuses, kAnswers}), L"Connect failed to " + name);
}

}  // namespace
}  // namespace quillgate::test
