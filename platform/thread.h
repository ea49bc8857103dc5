// A thread with a stack size chosen on purpose. Otherwise it behaves like std::thread: a Thread
// that is still joinable when it is destroyed or assigned to ends the process, and so does an
// exception that leaves the body.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace quillgate::platform {

// Address space reserved for the stack of a worker, a session or a pump. The deepest of them holds
// a 65535-byte datagram; resolving a name needs some 100 KiB. Small stacks are what makes thousands
// of sessions cheap: less to map for each new thread and fewer page tables.
inline constexpr std::size_t kWorkerStackBytes = 256 * 1024;

class Thread {
 public:
  Thread() noexcept = default;

  // Starts `body`, a callable without arguments that the new thread owns and destroys. Throws
  // std::system_error (resource_unavailable_try_again) when the system has no thread left.
  template <std::invocable Body>
  Thread(std::size_t stackBytes, Body body) {
    start(stackBytes, std::make_unique<BodyOf<Body>>(std::move(body)));
  }

  Thread(Thread&& other) noexcept : native_(std::exchange(other.native_, std::uintptr_t{0})) {}
  Thread& operator=(Thread&& other) noexcept;
  ~Thread();

  [[nodiscard]] bool joinable() const noexcept { return native_ != 0; }

  // Blocks until the thread has ended. Throws std::system_error when there is nothing to join
  // (invalid_argument), a thread would wait for itself (resource_deadlock_would_occur), or the
  // system does not wait (the system's error); the Thread is then as joinable as before.
  void join();

  // Lets the thread run on by itself.
  void detach() noexcept;

  // What the new thread runs, exactly once; for the implementations.
  struct AnyBody {
    virtual ~AnyBody() = default;
    virtual void run() = 0;
  };

 private:
  template <typename Body>
  struct BodyOf final : AnyBody {
    explicit BodyOf(Body callable) : body(std::move(callable)) {}
    void run() override { body(); }
    Body body;
  };

  void start(std::size_t stackBytes, std::unique_ptr<AnyBody> body);

  std::uintptr_t native_ = 0;
};

}  // namespace quillgate::platform
