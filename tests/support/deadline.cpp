#include "tests/support/deadline.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace quillgate::test {

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds deadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

void expectReturns(const std::function<void()>& work, const std::function<void()>& end) {
  std::promise<void> returned;
  std::thread worker([&] {
    work();
    returned.set_value();
  });
  const bool isInTime = returned.get_future().wait_for(kDeadline) == std::future_status::ready;
  EXPECT_TRUE(isInTime) << "it goes on and on";
  if (!isInTime) end();
  worker.join();
}

}  // namespace quillgate::test
