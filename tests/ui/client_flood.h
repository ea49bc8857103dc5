// New clients for a rule that forwards UDP, each with a line in the log, faster than anybody reads.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "tests/support/test_sockets.h"

namespace quillgate::test {

// Two clients that take turns while it lives, so many times a second or as often as the system lets
// them. A datagram may get lost; the lines of the clients take turns whatever happens.
class ClientFlood {
 public:
  explicit ClientFlood(std::uint16_t port, int timesASecond = 5000) {
    const std::chrono::microseconds interval(1'000'000 / timesASecond);
    thread_ = std::thread([this, port, interval] { takeTurns(port, interval); });
  }
  ~ClientFlood() {
    stopping_ = true;
    thread_.join();
  }
  ClientFlood(const ClientFlood&) = delete;
  ClientFlood& operator=(const ClientFlood&) = delete;

 private:
  void takeTurns(std::uint16_t port, std::chrono::microseconds interval) {
    using Clock = std::chrono::steady_clock;
    const platform::Socket clients[] = {udpOnLoopback(), udpOnLoopback()};
    const auto begin = Clock::now();
    for (int turn = 0; !stopping_; ++turn) {
      static_cast<void>(sendDatagramTo(clients[turn % 2], port, "data"));
      std::this_thread::sleep_until(begin + turn * interval);
    }
  }

  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace quillgate::test
