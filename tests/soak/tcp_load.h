// TCP clients and targets that keep the forwarding under load: sessions open, send both ways,
// flood, half-close, reset and close in a random order. Every byte is compared at the far end.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/test_sockets.h"

namespace quillgate::test {

// What has happened so far. Any thread.
struct TcpFigures {
  std::atomic<int> sessions = 0;    // that have reached a target
  std::atomic<int> turnedAway = 0;  // clients that nobody served
  std::atomic<int> openNow = 0;
  std::atomic<int> mostAtOnce = 0;
  std::atomic<int> floods = 0;
  std::atomic<int> halfCloses = 0;
  std::atomic<int> resets = 0;
  std::atomic<std::uint64_t> bytes = 0;
  std::atomic<int> damaged = 0;  // transfers that did not arrive as they were sent
};

// The targets. A connection is known by the number that its client sends first.
class TcpTargets {
 public:
  TcpTargets();
  TcpTargets(const TcpTargets&) = delete;
  TcpTargets& operator=(const TcpTargets&) = delete;
  ~TcpTargets();

  static constexpr std::size_t kCount = 5;
  [[nodiscard]] std::uint16_t port(std::size_t index) const { return localPort(listeners_[index]); }

  // Waits for the connection with this number, up to `wait`; not open when it does not come.
  [[nodiscard]] platform::Socket take(std::uint64_t number, std::chrono::milliseconds wait);

 private:
  void serve(const platform::Socket& listener);

  std::array<platform::Socket, kCount> listeners_;
  std::atomic<bool> isOver_ = false;
  std::mutex mutex_;  // guards the connections
  std::condition_variable arrived_;
  std::map<std::uint64_t, platform::Socket> connections_;
  std::vector<std::thread> threads_;
};

// The clients, from its creation to its end: threads that hold some sessions each and do something
// with one of them at a time.
class TcpLoad {
 public:
  using Random = std::mt19937;
  // `somePort` gives the local port of some rule; any thread calls it.
  TcpLoad(TcpTargets& targets, TcpFigures& figures, std::uint32_t seed,
          std::function<std::uint16_t(Random&)> somePort);
  TcpLoad(const TcpLoad&) = delete;
  TcpLoad& operator=(const TcpLoad&) = delete;
  ~TcpLoad();

  static constexpr std::uint32_t kThreads = 20;
  static constexpr std::size_t kSessionsOfThread = 32;

 private:
  struct Session {
    platform::Socket client;
    platform::Socket server;
    bool isHalfClosed = false;
  };

  void run(std::uint32_t seed);
  void open(Session& session, Random& random);
  void act(Session& session, Random& random);
  void transfer(const platform::Socket& from, const platform::Socket& to, std::string_view bytes);
  void flood(const platform::Socket& from, const platform::Socket& to, Random& random);
  void reset(Session& session);
  void close(Session& session);

  TcpTargets& targets_;
  TcpFigures& figures_;
  const std::function<std::uint16_t(Random&)> somePort_;
  std::atomic<bool> isOver_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace quillgate::test
