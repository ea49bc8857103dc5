// Every test on Linux gives back the descriptors and threads it took. Not on Windows: libraries
// there make handles when they first need them, and keep them.
#include <gtest/gtest.h>

#include <thread>

#include "tests/support/process_resources.h"

namespace quillgate::test {
namespace {

class ResourceListener final : public testing::EmptyTestEventListener {
 public:
  // The thread sanitizer starts a thread of its own with the first one.
  void OnTestProgramStart(const testing::UnitTest&) override {
    std::thread([] {}).join();
  }
  void OnTestStart(const testing::TestInfo&) override { start_ = processResources(); }
  void OnTestEnd(const testing::TestInfo&) override { expectNoMoreThan(start_); }

 private:
  ProcessResources start_;
};

[[maybe_unused]] const bool kListenerRegistered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new ResourceListener);
  return true;
}();

}  // namespace
}  // namespace quillgate::test
