// Loopback TCP for the load generator: straight on POSIX, so that it shares nothing with the engine
// it measures.
//
// Any thread may call any function. There is no error to handle: whatever goes wrong ends the
// process with a message and status 1, because a relay that fails has no figures. A call may wait
// for ever.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

namespace quillgate::bench {

// Ends the process with `message` and status 1, without waiting for threads that are still at work.
[[noreturn]] void fail(const char* message);

// Owns one connected socket and closes it.
class Connection {
 public:
  explicit Connection(int descriptor) noexcept : descriptor_(descriptor) {}
  Connection(Connection&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Connection& operator=(Connection&&) = delete;
  ~Connection();

  // Sends all of `data`.
  void send(std::span<const std::byte> data) const;

  // Fills `buffer`.
  void receive(std::span<std::byte> buffer) const;

  // Closing will drop the connection and leave nothing of it in the system, which otherwise keeps
  // it in mind for a minute.
  void dropWhenClosed() const;

 private:
  int descriptor_;
};

// Connects to `port` of 127.0.0.1. The address of the client is one of 127.0.0.1 to 127.0.0.8,
// chosen by `clientNumber`: each brings its own range of ephemeral ports.
[[nodiscard]] Connection connectTo(std::uint16_t port, unsigned clientNumber);

class Listener {
 public:
  // Listens on `port` of 127.0.0.1.
  explicit Listener(std::uint16_t port);
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  ~Listener();

  // Waits for the next connection; nothing after stop().
  [[nodiscard]] std::optional<Connection> accept() const;

  // Makes every accept(), waiting or to come, return nothing.
  void stop() const;

 private:
  int descriptor_;
};

}  // namespace quillgate::bench
