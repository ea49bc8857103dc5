// Chunks that have arrived before the relay looks.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "forwarding/tcp_forwarder.h"
#include "tests/faults/fault_layer.h"
#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {
namespace {

class WaitingChunks : public testing::Test {
 protected:
  void SetUp() override { engine.state().monitor.choose(kFilterAll); }
  void TearDown() override { startFaults(std::nullopt); }

  // Relays `size` bytes that are there from the start, and their end.
  void relay(std::size_t size) {
    ConnectedPair from = connectedPair();
    ConnectedPair to = connectedPair();
    std::string sent;
    for (std::size_t i = 0; i < size; ++i) sent += static_cast<char>('a' + i / 1000 % 26);
    ASSERT_TRUE(sendAll(from.client, sent));
    from.client.close();
    startFaults(std::nullopt);
    const std::int32_t result = asProgram([&] {
      return relayAndCapture(engine.state().monitor, 1, L"peer", L"C->S", from.server, to.server);
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(receiveExactly(to.client, size), sent);
    calls = callCounts();
  }

  TestEngine engine;
  std::map<std::string, int> calls;
};

const std::wstring kWhole = L"[TCP] C->S FROM peer  ";
const std::wstring kCut = kWhole + L"(truncated)";

TEST_F(WaitingChunks, AreSentTogetherAndCapturedEachForItself) {
  relay(3 * kRelayBufferBytes + 100);
  EXPECT_EQ(calls["send"], 1);
  EXPECT_EQ(engine.capturedTexts(), (std::vector{kCut, kCut, kCut, kWhole}));
}

TEST_F(WaitingChunks, AreSentAsSoonAsThereAreSoMany) {
  relay((2 * kMaxChunksAtOnce + 1) * kRelayBufferBytes);
  EXPECT_EQ(calls["send"], 3);
  EXPECT_EQ(engine.capturedTexts(), std::vector(2 * kMaxChunksAtOnce + 1, kCut));
}

TEST_F(WaitingChunks, AreNotLookedForBehindOneThatIsNotFull) {
  relay(100);
  EXPECT_EQ(calls["recv"], 2);  // the chunk and the end
}

}  // namespace
}  // namespace quillgate::test
