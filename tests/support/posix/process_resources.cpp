#include "tests/support/posix/process_resources.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "tests/support/deadline.h"

namespace quillgate::test {
namespace {

namespace fs = std::filesystem;

std::size_t entriesOf(const char* folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

std::size_t residentPages() {
  std::size_t allPages = 0;
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> allPages >> pages;
  return pages;
}

bool holdsNoMoreThan(const ProcessResources& start) {
  const ProcessResources now = processResources();
  return now.descriptors <= start.descriptors && now.threads <= start.threads;
}

// Every test gives back what it took: a session may end a moment after its test.
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

[[maybe_unused]] const bool kRegistered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new ResourceListener);
  return true;
}();

}  // namespace

ProcessResources processResources() {
  return {.descriptors = entriesOf("/proc/self/fd"),
          .threads = entriesOf("/proc/self/task"),
          .residentBytes = residentPages() * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))};
}

void expectNoMoreThan(const ProcessResources& start) {
  if (eventually([&] { return holdsNoMoreThan(start); })) return;
  const ProcessResources now = processResources();
  EXPECT_LE(now.descriptors, start.descriptors) << "a descriptor is left open";
  EXPECT_LE(now.threads, start.threads) << "a thread is left running";
}

}  // namespace quillgate::test
