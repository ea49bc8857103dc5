// What a UDP worker says when the system has no socket for it: POSIX lets a test bring that about.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <string>
#include <vector>

#include "forwarding/udp_forwarder.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

// While it lives, no descriptor can be opened.
class NoDescriptors {
 public:
  NoDescriptors() {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit none{0, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;
  ~NoDescriptors() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before_), 0); }

 private:
  rlimit before_{};
};

TEST(UdpSocketFailure, IsReportedAndEndsTheWorker) {
  test::TestEngine engine;
  SharedState& state = engine.state();
  const std::atomic<bool> running{true};
  std::atomic<bool> active{false};
  {
    const NoDescriptors none;
    runUdpRule({running, active, {state.log, state.monitor}}, 0,
               test::ruleFor(Protocol::udp, 5353, 53));
  }
  EXPECT_EQ(engine.messages(), std::vector<std::wstring>{L"[UDP] socket() failed."});
  EXPECT_FALSE(active);
}

}  // namespace
}  // namespace quillgate
