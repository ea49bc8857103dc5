// UDP clients and targets that keep the forwarding under load with bursts of datagrams of every
// size. What arrives must be what was sent; some may be lost, as the server stops at times.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/test_sockets.h"

namespace quillgate::test {

// What has happened so far. Any thread.
struct UdpFigures {
  std::atomic<int> sent = 0;
  std::atomic<int> atTarget = 0;  // that have come through
  std::atomic<int> backAtClient = 0;
  std::atomic<int> damaged = 0;
};

// From its creation to its end: threads with a client and a target each.
class UdpLoad {
 public:
  using Random = std::mt19937;
  static constexpr std::size_t kCount = 5;
  using Targets = std::array<platform::Socket, kCount>;

  // `somePort` gives the local port of some rule; any thread calls it.
  UdpLoad(const Targets& targets, UdpFigures& figures, std::uint32_t seed,
          std::function<std::uint16_t(Random&)> somePort);
  UdpLoad(const UdpLoad&) = delete;
  UdpLoad& operator=(const UdpLoad&) = delete;
  ~UdpLoad();

 private:
  void run(const platform::Socket& target, std::uint32_t seed);
  void sendBurst(const platform::Socket& client, Random& random);
  void answer(const platform::Socket& target);
  void takeAnswers(const platform::Socket& client);

  UdpFigures& figures_;
  const std::function<std::uint16_t(Random&)> somePort_;
  std::atomic<bool> isOver_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace quillgate::test
