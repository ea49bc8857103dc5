// The forwarders between two networks that a bad link joins: their clients and their targets are
// beyond it, so everything crosses it twice.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <thread>

#include "platform/thread.h"
#include "tests/support/bytes.h"
#include "tests/support/posix/lossy_network.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using platform::Socket;
using platform::Transport;
using test::LossyNetwork;
using test::randomBytes;

Socket boundFar(Transport transport) {
  Socket socket = platform::openIpv4Socket(transport);
  EXPECT_TRUE(platform::bindToAllIpv4(socket, 0));
  return socket;
}

class BadNetworkTest : public testing::Test {
 protected:
  void SetUp() override {
    // Some containers forbid networks even to root. The forwarders are not to blame for that, and
    // nothing is proved about them there either: the report counts the test as skipped.
    if (!LossyNetwork::mayBeMade()) GTEST_SKIP() << "no networks can be made here";
    network = std::make_unique<LossyNetwork>();
    // Those of an earlier test are in its network.
    ASSERT_TRUE(test::eventually([] { return platform::parkedThreads() == 0; }));
  }

  // Starts the server in the near network with one rule to a port of the far one.
  void forwardTo(Protocol proto, std::uint16_t targetPort) {
    network->inNear([&] {
      const auto transport = proto == Protocol::tcp ? Transport::tcp : Transport::udp;
      localPort = test::freePort(transport);
      engine.setRule(test::ruleFor(proto, localPort, targetPort, LossyNetwork::kFarAddress));
      engine.state().server.start();
    });
    ASSERT_FALSE(
        engine.waitForPrefix(proto == Protocol::tcp ? L"[TCP] Listening" : L"[UDP] Listening")
            .empty());
  }

  [[nodiscard]] platform::SocketAddress relay() const {
    return platform::parseIpv4(LossyNetwork::kNearAddress, localPort).value();
  }

  std::unique_ptr<LossyNetwork> network;
  test::TestEngine engine;
  std::uint16_t localPort = 0;
};

// Exchanges `size` random bytes each way, at once, over a session through the relay.
void exchange(const Socket& client, const Socket& server, unsigned seed, std::size_t size) {
  const std::string up = randomBytes(seed, size);
  const std::string down = randomBytes(seed + 1, size);
  std::thread clientSends([&] { EXPECT_TRUE(test::sendAll(client, up)); });
  std::thread serverSends([&] { EXPECT_TRUE(test::sendAll(server, down)); });
  std::thread serverReceives([&] { EXPECT_TRUE(test::receiveExactly(server, size) == up); });
  EXPECT_TRUE(test::receiveExactly(client, size) == down);
  clientSends.join();
  serverSends.join();
  serverReceives.join();
}

TEST_F(BadNetworkTest, TcpStreamsArriveWholeAndInOrder) {
  constexpr std::size_t kSize = 512 << 10;
  constexpr unsigned kSessions = 3;
  Socket target;
  network->inFar([&] {
    target = boundFar(Transport::tcp);
    ASSERT_TRUE(platform::startListening(target));
  });
  forwardTo(Protocol::tcp, test::localPort(target));
  network->inFar([&] {
    std::vector<std::thread> sessions;
    for (unsigned i = 0; i < kSessions; ++i) {
      Socket client = platform::openIpv4Socket(Transport::tcp);
      ASSERT_TRUE(platform::connectTo(client, relay()));
      Socket server = test::acceptFrom(target);
      ASSERT_TRUE(server.isOpen());
      sessions.emplace_back([client = std::move(client), server = std::move(server), i] {
        exchange(client, server, 2 * i, kSize);
      });
    }
    for (std::thread& session : sessions) session.join();
  });
  EXPECT_GT(network->lostPackets(), 0);
  EXPECT_GT(network->overtakings(), 0);
  // The end of a stream may be lost too, and would not be sent again once the link is gone.
  EXPECT_TRUE(test::eventually([&] {
    return std::ranges::count_if(engine.messages(), [](const std::wstring& message) {
             return message.starts_with(L"[TCP] Session closed ");
           }) == kSessions;
  }));
}

// A datagram with a number, as long as its number says.
std::string numbered(int number) {
  return std::to_string(number) +
         std::string(static_cast<std::size_t>(number) % 1300, static_cast<char>('a' + number % 26));
}

TEST_F(BadNetworkTest, OnlyTheNetworkLosesDatagrams) {
  constexpr int kDatagrams = 2000;
  Socket target;
  Socket client;
  network->inFar([&] {
    target = boundFar(Transport::udp);
    client = boundFar(Transport::udp);
  });
  forwardTo(Protocol::udp, test::localPort(target));

  // Sends them all and expects at `receiver` all but those that the link loses meanwhile. Those on
  // the way are few enough for the smallest buffer that the system has for them.
  const auto expectLossless = [&](const Socket& sender, const Socket& receiver) {
    constexpr int kMaxOnTheWay = 32;
    const int lostBefore = network->lostDatagrams();
    int sent = 0;
    std::set<int> received;
    const auto onTheWay = [&] {
      return sent - static_cast<int>(received.size()) - (network->lostDatagrams() - lostBefore);
    };
    EXPECT_TRUE(test::eventually([&] {
      for (; sent < kDatagrams && onTheWay() < kMaxOnTheWay; ++sent) {
        const std::string text = numbered(sent);
        EXPECT_GT(platform::sendDatagram(sender, std::as_bytes(std::span(text)), relay()), 0);
      }
      while (!test::staysQuiet(receiver, std::chrono::milliseconds(1))) {
        const auto datagram = test::receiveNextDatagram(receiver);
        if (!datagram) return false;
        const int number = std::stoi(datagram->text);
        EXPECT_EQ(datagram->text, numbered(number));
        EXPECT_TRUE(received.insert(number).second) << number << " came twice";
      }
      return sent == kDatagrams && onTheWay() == 0;
    })) << onTheWay()
        << " of " << sent << " are missing";
  };
  expectLossless(client, target);
  expectLossless(target, client);
  EXPECT_GT(network->lostDatagrams(), 0);
}

}  // namespace
}  // namespace quillgate
