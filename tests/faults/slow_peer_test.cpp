// Peers that read slowly, or not at all for a while.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {
namespace {

using namespace std::chrono_literals;
using platform::Socket;

constexpr std::size_t kFloodBytes = 64 << 20;  // more than all buffers on the way hold
constexpr std::int32_t kSmallBuffer = 4096;
constexpr std::size_t kSmallReads = 2000;

std::string countingText(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i % 251);
  return text;
}

// A client whose bytes have filled every buffer on the way to a target that reads nothing.
class SlowPeer : public testing::Test {
 protected:
  void SetUp() override {
    platform::askForReceiveBuffer(target, kSmallBuffer);
    engine.setRule(ruleFor(Protocol::tcp, port, localPort(target)));
    engine.state().server.start();
    ASSERT_NE(engine.waitForPrefix(L"[TCP] Listening"), L"");
    client = connectToLoopback(port);
    server = acceptFrom(target);
    ASSERT_TRUE(client.isOpen() && server.isOpen());
    sender = std::thread([this] {
      for (std::size_t i = 0; i < sent.size() && sendAll(client, sent.substr(i, 1024)); i += 1024) {
        taken += 1024;
      }
    });
    waitUntilStuck();
  }

  void waitUntilStuck() {
    ASSERT_TRUE(eventually([&] {
      const std::size_t before = taken;
      std::this_thread::sleep_for(200ms);
      return before != 0 && before == taken;
    }));
    ASSERT_LT(taken, sent.size());
  }

  void TearDown() override {
    server.close();
    if (sender.joinable()) sender.join();
  }

  TestEngine engine;
  const Socket target = listenOnLoopback();
  const std::uint16_t port = freePort(platform::Transport::tcp);
  Socket client;
  Socket server;
  const std::string sent = countingText(kFloodBytes);
  std::atomic<std::size_t> taken = 0;
  std::thread sender;
};

TEST_F(SlowPeer, GetsEveryByteInTheEnd) {
  std::string received;
  for (std::size_t i = 0; i < kSmallReads; ++i) received += receiveExactly(server, 1 + i % 7);
  received += receiveExactly(server, sent.size() - received.size());
  EXPECT_TRUE(received == sent);
}

TEST_F(SlowPeer, DelaysNeitherTheOtherDirectionNorAnotherSessionNorAStop) {
  ASSERT_TRUE(sendAll(server, "against the stream"));
  EXPECT_EQ(receiveExactly(client, 18), "against the stream");

  const Socket otherClient = connectToLoopback(port);
  const Socket otherServer = acceptFrom(target);
  ASSERT_TRUE(sendAll(otherClient, "past it"));
  EXPECT_EQ(receiveExactly(otherServer, 7), "past it");

  const auto start = std::chrono::steady_clock::now();
  engine.stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
  EXPECT_TRUE(receiveExactly(server, sent.size()) == sent);
}

}  // namespace
}  // namespace quillgate::test
