// That no thread is left when the tests have run. Those that wait for a next body are waited for:
// valgrind takes what belongs to a thread that runs to the end for lost.
#include <gtest/gtest.h>

#include <cstddef>

#include "platform/thread.h"
#include "tests/support/deadline.h"
#include "tests/support/process_resources.h"

namespace quillgate::test {
namespace {

class ThreadsAtEnd : public testing::Environment {
 public:
  void SetUp() override { threadsBefore_ = processResources().threads; }
  void TearDown() override {
    EXPECT_TRUE(eventually([] { return platform::parkedThreads() == 0; }));
    EXPECT_TRUE(eventually([this] { return processResources().threads <= threadsBefore_; }));
  }

 private:
  std::size_t threadsBefore_ = 0;
};

const testing::Environment* const kRegistered = testing::AddGlobalTestEnvironment(new ThreadsAtEnd);

}  // namespace
}  // namespace quillgate::test
