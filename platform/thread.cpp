#include "platform/thread.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/native_thread.h"

namespace quillgate::platform {

// A thread of the system. All that others see of it is guarded by the lock of Runners.
class Thread::Runner {
 public:
  using Clock = std::chrono::steady_clock;

  Runner(std::size_t stackSize, std::unique_ptr<AnyBody> firstBody)
      : stackBytes(stackSize), body(std::move(firstBody)) {}

  const std::size_t stackBytes;
  std::unique_ptr<AnyBody> body;    // the next one to run
  std::thread::id id;               // of its thread, once that runs
  std::condition_variable changed;  // by whoever cannot go on itself
  bool isBusy = true;               // has a body that has not ended
  bool isOwned = true;              // a Thread refers to it
  bool isLate = false;              // has been parked for too long: its thread ends
  Clock::time_point parkedSince;
};

// All threads, and those among them that are parked: they have nothing to run and nobody refers to
// them. The one that was parked last is the first to run again, so those that are not needed grow
// old. The oldest looks at the clock for all of them, as a wait with a time limit costs more.
//
// Whoever notices last that a runner has ended and is not owned parks it: its own thread when it
// was detached before, or else the one that joins or detaches it. So nobody wakes a thread only to
// tell it that it is free.
class Thread::Runners {
 public:
  // Never destroyed: detached threads outlive everything.
  static Runners& all() {
    static Runners& runners = *new Runners;
    return runners;
  }

  // Has `body` run by a parked thread or else by a new one. Throws as Thread's constructor does.
  Runner* start(std::size_t stackBytes, std::unique_ptr<AnyBody> body) {
    if (Runner* const parked = take(stackBytes, body)) {
      parked->changed.notify_one();  // owned, and so not deleted meanwhile
      return parked;
    }
    auto runner = std::make_unique<Runner>(stackBytes, std::move(body));
    if (!startNativeThread(stackBytes, runner.get())) {
      throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    return runner.release();  // gone when its thread has ended and nobody refers to it
  }

  // Waits for the end of the body.
  void join(Runner* runner) {
    std::unique_lock lock(mutex_);
    if (runner->id == std::this_thread::get_id()) {
      throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    runner->changed.wait(lock, [&] { return !runner->isBusy; });
    disown(runner);
  }

  void detach(Runner* runner) {
    const std::lock_guard lock(mutex_);
    disown(runner);
  }

  [[nodiscard]] std::size_t parkedCount() {
    const std::lock_guard lock(mutex_);
    return parked_.size();
  }

  // The life of a runner's thread.
  void live(Runner* runner) {
    std::unique_lock lock(mutex_);
    runner->id = std::this_thread::get_id();
    do {
      std::unique_ptr<AnyBody> body = std::move(runner->body);
      lock.unlock();
      body->run();
      body.reset();
      lock.lock();
      runner->isBusy = false;
      if (runner->isOwned) {
        runner->changed.notify_one();
      } else if (!park(runner)) {
        break;
      }
      while (!runner->body && !runner->isLate) waitForNews(*runner, lock);
    } while (runner->body);
    delete runner;
  }

 private:
  Runners() { parked_.reserve(kMaxParkedThreads); }

  // Gives `body` to the runner that was parked last among those with such a stack, if there is one.
  Runner* take(std::size_t stackBytes, std::unique_ptr<AnyBody>& body) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(parked_.rbegin(), parked_.rend(), [&](const Runner* runner) {
      return runner->stackBytes == stackBytes;
    });
    if (found == parked_.rend()) return nullptr;
    Runner* const runner = *found;
    const bool wasOldest = runner == parked_.front();
    parked_.erase(std::next(found).base());
    if (wasOldest) wakeOldest();
    runner->body = std::move(body);
    runner->isBusy = runner->isOwned = true;
    return runner;
  }

  void disown(Runner* runner) {
    runner->isOwned = false;
    if (runner->isBusy || park(runner)) return;
    runner->isLate = true;
    runner->changed.notify_one();
  }

  bool park(Runner* runner) {
    if (parked_.size() == kMaxParkedThreads) return false;
    runner->parkedSince = Runner::Clock::now();
    parked_.push_back(runner);
    if (parked_.size() == 1) wakeOldest();
    return true;
  }

  // Lets the oldest know that it is the oldest.
  void wakeOldest() {
    if (!parked_.empty()) parked_.front()->changed.notify_one();
  }

  void waitForNews(Runner& runner, std::unique_lock<std::mutex>& lock) {
    if (parked_.empty() || parked_.front() != &runner) return runner.changed.wait(lock);
    if (runner.changed.wait_until(lock, runner.parkedSince + kParkedThreadLife) ==
        std::cv_status::timeout) {
      endThoseThatAreLate();
    }
  }

  void endThoseThatAreLate() {
    const auto newestLate = Runner::Clock::now() - kParkedThreadLife;
    const auto firstKept = std::ranges::find_if(
        parked_, [&](const Runner* runner) { return runner->parkedSince > newestLate; });
    std::for_each(parked_.begin(), firstKept, [](Runner* runner) {
      runner->isLate = true;
      runner->changed.notify_one();
    });
    parked_.erase(parked_.begin(), firstKept);
    wakeOldest();
  }

  std::mutex mutex_;
  std::vector<Runner*> parked_;  // the longest parked first
};

void runNativeThread(void* argument) noexcept {
  Thread::Runners::all().live(static_cast<Thread::Runner*>(argument));
}

std::size_t parkedThreads() noexcept { return Thread::Runners::all().parkedCount(); }

Thread& Thread::operator=(Thread&& other) noexcept {
  if (joinable()) std::terminate();
  runner_ = std::exchange(other.runner_, nullptr);
  return *this;
}

Thread::~Thread() {
  if (joinable()) std::terminate();
}

void Thread::start(std::size_t stackBytes, std::unique_ptr<AnyBody> body) {
  runner_ = Runners::all().start(stackBytes, std::move(body));
}

void Thread::join() {
  if (!joinable()) throw std::system_error(std::make_error_code(std::errc::invalid_argument));
  Runners::all().join(runner_);
  runner_ = nullptr;
}

void Thread::detach() noexcept {
  if (joinable()) Runners::all().detach(std::exchange(runner_, nullptr));
}

}  // namespace quillgate::platform
