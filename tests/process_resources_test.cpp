// That the tests would notice what a test leaves behind.
#include "tests/support/process_resources.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

TEST(ProcessResources, CountOpenSockets) {
  static_cast<void>(test::udpOnLoopback());  // makes what the library needs for its first one
  const auto before = test::processResources();
  const platform::Socket socket = test::udpOnLoopback();
  EXPECT_EQ(test::processResources().descriptors, before.descriptors + 1);
}

TEST(ProcessResources, CountThreads) {
  const auto before = test::processResources();
  std::promise<void> end;
  std::thread thread([&] { end.get_future().wait(); });
  EXPECT_EQ(test::processResources().threads, before.threads + 1);
  end.set_value();
  thread.join();
}

TEST(ProcessResources, SeeWhatIsOnTheHeap) {
  constexpr std::size_t kBytes = 10'000'000;
  const auto before = test::processMemory();
  const std::vector<char> held(kBytes, 'x');
  const auto now = test::processMemory();
  // A thread that waited for its next body may end meanwhile, and what it had goes with it.
  EXPECT_GT(now.heapBytes + 1'000'000, before.heapBytes + kBytes);
  EXPECT_LT(now.heapBytes, before.heapBytes + kBytes + 1'000'000);
}

}  // namespace
}  // namespace quillgate
