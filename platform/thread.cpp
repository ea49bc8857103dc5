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

// A thread of the system. What changes of it is guarded by the lock of Runners.
struct Thread::Runner {
  using Clock = std::chrono::steady_clock;

  Runner(std::size_t stackSize, std::shared_ptr<Task> first)
      : stackBytes(stackSize), task(std::move(first)) {}

  const std::size_t stackBytes;
  std::shared_ptr<Task> task;       // the next one to run
  std::condition_variable changed;  // by whoever cannot go on itself
  bool isLate = false;  // has been parked for too long, or could not be: its thread ends
  Clock::time_point parkedSince;
};

// The threads that are parked: they have nothing to run. The one that was parked last is the first
// to run again, so those that are not needed grow old. The oldest looks at the clock for all of
// them, as a wait with a time limit costs more.
//
// Each thread parks itself when its task has ended, so that nobody has to be woken for it.
class Thread::Runners {
 public:
  // Never destroyed: detached threads outlive everything.
  static Runners& all() {
    static Runners& runners = *new Runners;
    return runners;
  }

  // Has `task` run by a parked thread or else by a new one. Throws as Thread's constructor does.
  void start(std::size_t stackBytes, const std::shared_ptr<Task>& task) {
    if (const auto parked = take(stackBytes, task)) return parked->changed.notify_one();
    auto runner = std::make_unique<Runner>(stackBytes, task);
    if (!startNativeThread(stackBytes, runner.get())) {
      throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    static_cast<void>(runner.release());  // its thread owns it
  }

  void join(Task& task) {
    std::unique_lock lock(mutex_);
    if (!task.hasEnded && task.thread == std::this_thread::get_id()) {
      throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    task.ended.wait(lock, [&] { return task.hasEnded; });
  }

  [[nodiscard]] std::size_t parkedCount() {
    const std::lock_guard lock(mutex_);
    return parked_.size();
  }

  // The life of a runner's thread.
  void live(const std::shared_ptr<Runner>& runner) {
    std::unique_lock lock(mutex_);
    while (const std::shared_ptr<Task> task = next(*runner, lock)) {
      task->thread = std::this_thread::get_id();
      lock.unlock();
      task->run();
      lock.lock();
      park(runner);  // first: whoever joins finds it there
      task->hasEnded = true;
      task->ended.notify_one();
    }
  }

 private:
  Runners() { parked_.reserve(kMaxParkedThreads); }

  // Gives `task` to the runner that was parked last among those with such a stack, if there is one.
  std::shared_ptr<Runner> take(std::size_t stackBytes, const std::shared_ptr<Task>& task) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(parked_.rbegin(), parked_.rend(), [&](const auto& runner) {
      return runner->stackBytes == stackBytes;
    });
    if (found == parked_.rend()) return nullptr;
    const bool wasOldest = std::next(found) == parked_.rend();
    std::shared_ptr<Runner> runner = std::move(*found);
    parked_.erase(std::next(found).base());
    if (wasOldest) wakeOldest();
    runner->task = task;
    return runner;
  }

  void park(const std::shared_ptr<Runner>& runner) {
    runner->isLate = parked_.size() == kMaxParkedThreads;
    if (runner->isLate) return;
    runner->parkedSince = Runner::Clock::now();
    parked_.push_back(runner);
  }

  // Lets the oldest know that it is the oldest.
  void wakeOldest() {
    if (!parked_.empty()) parked_.front()->changed.notify_one();
  }

  // Waits for what the runner has to do next; nothing when its thread shall end.
  std::shared_ptr<Task> next(Runner& runner, std::unique_lock<std::mutex>& lock) {
    while (!runner.task && !runner.isLate) {
      if (parked_.empty() || parked_.front().get() != &runner) {
        runner.changed.wait(lock);
      } else if (runner.changed.wait_until(lock, runner.parkedSince + kParkedThreadLife) ==
                 std::cv_status::timeout) {
        endThoseThatAreLate();
      }
    }
    return std::exchange(runner.task, nullptr);
  }

  void endThoseThatAreLate() {
    const auto newestLate = Runner::Clock::now() - kParkedThreadLife;
    const auto firstKept = std::ranges::find_if(
        parked_, [&](const auto& runner) { return runner->parkedSince > newestLate; });
    std::for_each(parked_.begin(), firstKept, [](const auto& runner) {
      runner->isLate = true;
      runner->changed.notify_one();
    });
    parked_.erase(parked_.begin(), firstKept);
    wakeOldest();
  }

  std::mutex mutex_;  // guards everything below, what the runners hold, and how far tasks are
  std::vector<std::shared_ptr<Runner>> parked_;  // the longest parked first
};

void runNativeThread(void* argument) noexcept {
  const std::shared_ptr<Thread::Runner> runner(static_cast<Thread::Runner*>(argument));
  Thread::Runners::all().live(runner);
}

std::size_t parkedThreads() noexcept { return Thread::Runners::all().parkedCount(); }

Thread& Thread::operator=(Thread&& other) noexcept {
  if (joinable()) std::terminate();
  task_ = std::move(other.task_);
  return *this;
}

Thread::~Thread() {
  if (joinable()) std::terminate();
}

Thread::Thread(std::size_t stackBytes, std::shared_ptr<Task> task) : task_(std::move(task)) {
  Runners::all().start(stackBytes, task_);
}

void Thread::join() {
  if (!joinable()) throw std::system_error(std::make_error_code(std::errc::invalid_argument));
  Runners::all().join(*task_);
  task_.reset();
}

}  // namespace quillgate::platform
