#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <limits>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/thread.h"
#include "tests/support/deadline.h"
#include "tests/support/process_resources.h"

namespace quillgate::platform {
namespace {

std::error_code errorOfJoining(Thread& thread) {
  try {
    thread.join();
  } catch (const std::system_error& error) {
    return error.code();
  }
  return {};
}

TEST(PlatformThread, RunsItsBodyOnAnotherThread) {
  std::thread::id ran;
  Thread thread(kWorkerStackBytes, [&ran] { ran = std::this_thread::get_id(); });
  EXPECT_TRUE(thread.joinable());
  thread.join();
  EXPECT_FALSE(thread.joinable());
  EXPECT_NE(ran, std::thread::id());
  EXPECT_NE(ran, std::this_thread::get_id());
}

TEST(PlatformThread, OwnsItsBodyAndHasDestroyedItWhenItIsJoined) {
  const auto counted = std::make_shared<int>(0);
  auto moveOnly = std::make_unique<std::shared_ptr<int>>(counted);
  Thread thread(kWorkerStackBytes, [owned = std::move(moveOnly)] { ++**owned; });
  thread.join();
  EXPECT_EQ(*counted, 1);
  EXPECT_EQ(counted.use_count(), 1);
}

TEST(PlatformThread, HandsItsThreadOnWhenItIsMoved) {
  std::atomic<int> runs{0};
  Thread first(kWorkerStackBytes, [&runs] { ++runs; });
  Thread second(std::move(first));
  EXPECT_FALSE(first.joinable());  // NOLINT(bugprone-use-after-move): what is asserted
  Thread third;
  EXPECT_FALSE(third.joinable());
  third = std::move(second);
  EXPECT_FALSE(second.joinable());  // NOLINT(bugprone-use-after-move): what is asserted
  third.join();
  EXPECT_EQ(runs, 1);
}

TEST(PlatformThread, RunsOnByItselfWhenItIsDetached) {
  std::promise<void> go;
  std::promise<void> done;
  {
    Thread thread(kWorkerStackBytes, [&] {
      go.get_future().wait();
      done.set_value();
    });
    thread.detach();
    EXPECT_FALSE(thread.joinable());
    thread.detach();
  }
  go.set_value();
  ASSERT_EQ(done.get_future().wait_for(test::kDeadline), std::future_status::ready);
}

TEST(PlatformThread, RefusesToJoinNothing) {
  Thread never;
  EXPECT_EQ(errorOfJoining(never), std::errc::invalid_argument);
  Thread joined(kWorkerStackBytes, [] {});
  joined.join();
  EXPECT_EQ(errorOfJoining(joined), std::errc::invalid_argument);
}

TEST(PlatformThread, RefusesToWaitForItself) {
  std::promise<Thread*> self;
  std::error_code error;
  Thread thread(kWorkerStackBytes, [&] { error = errorOfJoining(*self.get_future().get()); });
  self.set_value(&thread);
  thread.join();
  EXPECT_EQ(error, std::errc::resource_deadlock_would_occur);
}

TEST(PlatformThread, ThrowsWhenTheSystemRefusesAThread) {
  const auto body = std::make_shared<int>(0);
  constexpr auto kMoreThanThereIs = std::size_t{1} << 60;
  try {
    const Thread thread(kMoreThanThereIs, [body] {});
    ADD_FAILURE() << "there is a thread";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
  }
  EXPECT_EQ(body.use_count(), 1);
}

// Uses the stack as a worker with a datagram buffer does, twice over.
int useStack(int seed) {
  std::array<volatile char, std::size_t{2} * 65535> buffer;
  for (std::size_t i = 0; i < buffer.size(); i += 512) buffer[i] = static_cast<char>(seed);
  return buffer[0] + buffer[buffer.size() / 512 * 512];
}

TEST(PlatformThread, HasTheStackItAskedFor) {
  int sum = 0;
  Thread thread(kWorkerStackBytes, [&sum] { sum = useStack(21); });
  thread.join();
  EXPECT_EQ(sum, 42);
}

TEST(PlatformThread, StartsWithTheSmallestStackAndWithAnOddOne) {
  for (const std::size_t bytes : {std::size_t{0}, std::size_t{1}, kWorkerStackBytes + 1}) {
    std::atomic<bool> ran{false};
    Thread thread(bytes, [&ran] { ran = true; });
    thread.join();
    EXPECT_TRUE(ran);
  }
}

TEST(PlatformThread, RunsHundredsAtOnce) {
  constexpr int kThreads = 300;
  std::atomic<int> running{0};
  std::promise<void> go;
  const std::shared_future<void> gone = go.get_future().share();
  std::vector<Thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back(kWorkerStackBytes, [&running, gone] {
      ++running;
      gone.wait();
    });
  }
  EXPECT_TRUE(test::eventually([&] { return running == kThreads; }));
  go.set_value();
  for (Thread& thread : threads) thread.join();
}

// The system's name for the thread that runs `body` to its end.
template <typename Body>
std::thread::id idOfThreadThatRan(std::size_t stackBytes, Body body) {
  std::thread::id id;
  Thread(stackBytes, [&] {
    id = std::this_thread::get_id();
    body();
  }).join();
  return id;
}

std::thread::id idOfThread(std::size_t stackBytes = kWorkerStackBytes) {
  return idOfThreadThatRan(stackBytes, [] {});
}

TEST(PlatformThread, IsUsedAgainForTheNextBody) {
  const std::thread::id first = idOfThread();
  EXPECT_GT(parkedThreads(), 0U);
  EXPECT_EQ(idOfThread(), first);
}

TEST(PlatformThread, IsUsedAgainAfterItWasDetached) {
  const std::size_t before = parkedThreads();
  std::promise<std::thread::id> id;
  Thread(kWorkerStackBytes, [&] { id.set_value(std::this_thread::get_id()); }).detach();
  const std::thread::id detached = id.get_future().get();
  ASSERT_TRUE(
      test::eventually([&] { return parkedThreads() >= std::max<std::size_t>(before, 1); }));
  EXPECT_EQ(idOfThread(), detached);
}

TEST(PlatformThread, IsUsedAgainBeforeItIsJoinedAndJoinedWhileItsThreadRunsTheNextBody) {
  const std::size_t before = parkedThreads();
  std::promise<std::thread::id> id;
  Thread first(kWorkerStackBytes, [&] { id.set_value(std::this_thread::get_id()); });
  const std::thread::id ended = id.get_future().get();
  ASSERT_TRUE(
      test::eventually([&] { return parkedThreads() >= std::max<std::size_t>(before, 1); }));
  EXPECT_EQ(idOfThreadThatRan(kWorkerStackBytes, [&] { first.join(); }), ended);
}

TEST(PlatformThread, IsNotUsedAgainForAnotherStack) {
  constexpr std::size_t kOtherStackBytes = 2 * kWorkerStackBytes;
  ASSERT_TRUE(test::eventually([] { return parkedThreads() < kMaxParkedThreads; }));
  const std::thread::id first = idOfThread();
  const std::thread::id other = idOfThread(kOtherStackBytes);
  EXPECT_NE(other, first);
  EXPECT_EQ(idOfThread(), first);
  EXPECT_EQ(idOfThread(kOtherStackBytes), other);
}

TEST(PlatformThread, StartsOneMoreWhileItsBodyRuns) {
  const std::thread::id outer = idOfThreadThatRan(
      kWorkerStackBytes, [] { EXPECT_NE(idOfThread(), std::this_thread::get_id()); });
  EXPECT_NE(outer, std::thread::id());
}

std::size_t allThreads() { return test::processResources().threads + parkedThreads(); }

TEST(PlatformThread, WaitsForANextBodyOnlyForAWhileAndNotInACrowd) {
  constexpr std::size_t kThreads = 3 * kMaxParkedThreads;
  ASSERT_TRUE(test::eventually([] { return parkedThreads() == 0; }));
  const std::size_t before = allThreads();
  std::promise<void> go;
  const std::shared_future<void> gone = go.get_future().share();
  std::vector<Thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back(kWorkerStackBytes, [gone] { gone.wait(); });
  }
  EXPECT_GE(allThreads(), kThreads);
  go.set_value();
  for (std::size_t i = 0; i < kThreads; ++i) {
    if (i % 2 == 0) {
      threads[i].join();
    } else {
      threads[i].detach();
    }
    EXPECT_LE(parkedThreads(), kMaxParkedThreads);
  }
  EXPECT_TRUE(test::eventually([&] { return allThreads() <= before + kMaxParkedThreads; }));
  EXPECT_TRUE(test::eventually([&] { return allThreads() <= before && parkedThreads() == 0; }));
  EXPECT_NE(idOfThread(), std::thread::id());
}

using PlatformThreadDeathTest = testing::Test;

TEST(PlatformThreadDeathTest, EndsTheProcessWhenAJoinableThreadIsDestroyed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH({ Thread(kWorkerStackBytes, [] {}); }, "");
}

TEST(PlatformThreadDeathTest, EndsTheProcessWhenAJoinableThreadIsAssignedTo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        Thread thread(kWorkerStackBytes, [] {});
        thread = Thread();
      },
      "");
}

TEST(PlatformThreadDeathTest, EndsTheProcessWhenAnExceptionLeavesTheBody) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        Thread thread(kWorkerStackBytes, [] { throw std::runtime_error("left the body"); });
        thread.join();
      },
      "");
}

}  // namespace
}  // namespace quillgate::platform
