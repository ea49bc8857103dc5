// A thread with a stack size chosen on purpose. Otherwise it behaves like std::thread: a Thread
// that is still joinable when it is destroyed or assigned to ends the process, and so does an
// exception that leaves the body.
//
// Making a thread costs the system more than a short session does. So a thread whose body has ended
// waits a while for the next one: a body finds the stack it asked for. What a new thread takes over
// from the one that starts it, such as its signal mask or on Linux its network namespace, is that
// of whoever started the first body. thread_local objects outlive a body, too; the program has only
// one, which does not mind.
#pragma once

#include <chrono>
#include <concepts>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

namespace quillgate::platform {

// Address space reserved for the stack of a worker, a session or a pump. The deepest of them holds
// a 65535-byte datagram; resolving a name needs some 100 KiB. Small stacks are what makes thousands
// of sessions cheap: less to map for each new thread and fewer page tables.
inline constexpr std::size_t kWorkerStackBytes = 256 * 1024;

// How many threads wait for a next body at most, and for how long.
inline constexpr std::size_t kMaxParkedThreads = 64;
inline constexpr std::chrono::seconds kParkedThreadLife{1};

// How many wait now. Any thread.
[[nodiscard]] std::size_t parkedThreads() noexcept;

class Thread {
 public:
  Thread() noexcept = default;

  // Starts `body`, a callable without arguments that the new thread owns and destroys. Throws
  // std::system_error (resource_unavailable_try_again) when the system has no thread left.
  template <std::invocable Body>
  Thread(std::size_t stackBytes, Body body)
      : Thread(stackBytes, std::make_shared<TaskOf<Body>>(std::move(body))) {}

  Thread(Thread&& other) noexcept = default;
  Thread& operator=(Thread&& other) noexcept;
  ~Thread();

  [[nodiscard]] bool joinable() const noexcept { return task_ != nullptr; }

  // Blocks until the body has ended and is destroyed. Throws std::system_error when there is
  // nothing to join (invalid_argument) or a thread would wait for itself
  // (resource_deadlock_would_occur); the Thread is then as joinable as before.
  void join();

  // Lets the body run on by itself.
  void detach() noexcept { task_.reset(); }

 private:
  // A body and how far it is; the latter is guarded by the lock of Runners.
  struct Task {
    virtual ~Task() = default;
    virtual void run() = 0;  // runs the body once and destroys it

    std::thread::id thread;         // that runs it, once one does
    std::condition_variable ended;  // changes with hasEnded
    bool hasEnded = false;
  };
  template <typename Body>
  struct TaskOf final : Task {
    explicit TaskOf(Body callable) : body(std::move(callable)) {}
    void run() override {
      (*body)();
      body.reset();
    }
    std::optional<Body> body;
  };
  struct Runner;
  class Runners;

  Thread(std::size_t stackBytes, std::shared_ptr<Task> task);

  friend std::size_t parkedThreads() noexcept;
  friend void runNativeThread(void* argument) noexcept;

  std::shared_ptr<Task> task_;
};

}  // namespace quillgate::platform
