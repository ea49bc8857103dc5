// The load of relay_bench.py: takes one measure of one relay and prints it as a line of JSON.
//
//   relay_load MEASURE RELAY_PORT TARGET_PORT COUNT
//
// Both ends are in this process: it listens on TARGET_PORT as the target and connects to RELAY_PORT
// as the clients. The same number twice measures loopback without a relay. Every byte that arrives
// is compared with what was sent. A relay need not pass a half-close on: each end knows from the
// start how much will come.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/loopback.h"

namespace quillgate::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr std::size_t kBytesPerMeasure = std::size_t{512} << 20;
constexpr std::size_t kRoundTripBytes = 64;
constexpr std::chrono::milliseconds kConnectingTime{500};

struct Ends {
  std::uint16_t relayPort;
  std::uint16_t targetPort;
};

// A client and, behind the relay, the target's end of the same connection.
struct Session {
  Connection client;
  Connection target;
};

void receiveExpected(const Connection& from, std::span<const std::byte> expected) {
  std::vector<std::byte> received(expected.size());
  from.receive(received);
  if (!std::ranges::equal(received, expected)) fail("the relay changed the data");
}

// Opens one session; it is complete when a number has gone through it and back.
Session openSession(const Ends& ends, const Listener& listener, unsigned number) {
  const auto greeting = std::as_bytes(std::span(&number, 1));
  Connection client = connectTo(ends.relayPort, number);
  client.send(greeting);
  std::optional<Connection> target = listener.accept();
  if (!target) fail("the listener was stopped");
  receiveExpected(*target, greeting);
  target->send(greeting);
  receiveExpected(client, greeting);
  return {std::move(client), std::move(*target)};
}

std::vector<Session> openSessions(const Ends& ends, unsigned count) {
  const Listener listener(ends.targetPort);
  std::vector<Session> sessions;
  sessions.reserve(count);
  for (unsigned i = 0; i < count; ++i) sessions.push_back(openSession(ends, listener, i));
  return sessions;
}

// A stream of numbers that count up from a start of its own, one block at a time.
class Pattern {
 public:
  explicit Pattern(std::uint64_t start) : next_(start) {}

  std::span<const std::byte> nextBlock() {
    for (std::uint64_t& word : block_) word = next_++;
    return std::as_bytes(std::span(block_));
  }

  static constexpr std::size_t kBlockBytes = std::size_t{64} << 10;

 private:
  std::uint64_t next_;
  std::array<std::uint64_t, kBlockBytes / sizeof(std::uint64_t)> block_;
};

void sendStream(const Connection& to, std::uint64_t start, std::size_t blocks) {
  Pattern pattern(start);
  for (; blocks > 0; --blocks) to.send(pattern.nextBlock());
}

void receiveStream(const Connection& from, std::uint64_t start, std::size_t blocks) {
  Pattern pattern(start);
  std::vector<std::byte> received(Pattern::kBlockBytes);
  for (; blocks > 0; --blocks) {
    from.receive(received);
    if (std::memcmp(received.data(), pattern.nextBlock().data(), received.size()) != 0) {
      fail("the relay changed the data");
    }
  }
}

// Adds the two threads that move `blocks` blocks from one end to the other.
void addStream(std::vector<std::jthread>& threads, const Connection& from, const Connection& to,
               std::size_t blocks) {
  const std::uint64_t start = std::uint64_t{threads.size()} << 48;
  threads.emplace_back([&from, start, blocks] { sendStream(from, start, blocks); });
  threads.emplace_back([&to, start, blocks] { receiveStream(to, start, blocks); });
}

enum class Direction { toTarget, both };

void measureStreams(const Ends& ends, unsigned count, Direction direction) {
  const std::vector<Session> sessions = openSessions(ends, count);
  const std::size_t streams = direction == Direction::both ? 2 * sessions.size() : sessions.size();
  const std::size_t blocks = kBytesPerMeasure / Pattern::kBlockBytes / streams;

  const auto begin = Clock::now();
  {
    std::vector<std::jthread> threads;
    for (const Session& session : sessions) {
      addStream(threads, session.client, session.target, blocks);
      if (direction == Direction::both) {
        addStream(threads, session.target, session.client, blocks);
      }
    }
  }
  const Seconds elapsed = Clock::now() - begin;
  const double bytes = static_cast<double>(blocks * streams * Pattern::kBlockBytes);
  std::printf("{\"bytes\": %.0f, \"megabytesPerSecond\": %.1f}\n", bytes,
              bytes / 1e6 / elapsed.count());
}

// One message at a time to the target and back.
void measureRoundTrips(const Ends& ends, unsigned count) {
  const unsigned warmUp = count / 10;
  const std::vector<Session> sessions = openSessions(ends, 1);
  const Session& session = sessions.front();
  const std::jthread echo([&session, rounds = warmUp + count] {
    std::array<std::byte, kRoundTripBytes> message;
    for (unsigned i = 0; i < rounds; ++i) {
      session.target.receive(message);
      session.target.send(message);
    }
  });

  std::vector<double> times;
  times.reserve(count);
  std::array<std::byte, kRoundTripBytes> message{};
  for (unsigned i = 0; i < warmUp + count; ++i) {
    std::memcpy(message.data(), &i, sizeof i);
    const auto begin = Clock::now();
    session.client.send(message);
    receiveExpected(session.client, message);
    if (i >= warmUp) times.push_back(Microseconds(Clock::now() - begin).count());
  }
  std::ranges::sort(times);
  std::printf("{\"p50Microseconds\": %.1f, \"p99Microseconds\": %.1f}\n", times[count / 2],
              times[count - 1 - count / 100]);
}

// Clients that connect, send a byte, wait for its echo and close, one after the other. As many
// threads echo, so that a slow session holds nobody up. The target closes first.
void measureConnections(const Ends& ends, unsigned clientCount) {
  const Listener listener(ends.targetPort);
  std::vector<std::jthread> targets;
  for (unsigned i = 0; i < clientCount; ++i) {
    targets.emplace_back([&listener] {
      while (const std::optional<Connection> connection = listener.accept()) {
        std::array<std::byte, 1> byte;
        connection->receive(byte);
        connection->send(byte);
      }
    });
  }

  std::atomic<unsigned> connections{0};
  const auto begin = Clock::now();
  {
    std::vector<std::jthread> clients;
    for (unsigned i = 0; i < clientCount; ++i) {
      clients.emplace_back([&, i] {
        for (unsigned made = 0; Clock::now() - begin < kConnectingTime; ++made, ++connections) {
          const std::array byte{static_cast<std::byte>(made)};
          const Connection connection = connectTo(ends.relayPort, i);
          connection.send(byte);
          receiveExpected(connection, byte);
        }
      });
    }
  }
  const Seconds elapsed = Clock::now() - begin;
  listener.stop();
  std::printf("{\"connectionsPerSecond\": %.0f}\n", connections.load() / elapsed.count());
}

// Holds open sessions that say nothing until standard input ends.
void holdIdle(const Ends& ends, unsigned count) {
  const std::vector<Session> sessions = openSessions(ends, count);
  std::printf("{\"sessions\": %zu}\n", sessions.size());
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
}

bool run(std::string_view measure, const Ends& ends, unsigned count) {
  if (measure == "streams") {
    measureStreams(ends, count, Direction::toTarget);
  } else if (measure == "duplex") {
    measureStreams(ends, count, Direction::both);
  } else if (measure == "round-trips") {
    measureRoundTrips(ends, count);
  } else if (measure == "connections") {
    measureConnections(ends, count);
  } else if (measure == "idle") {
    holdIdle(ends, count);
  } else {
    return false;
  }
  return true;
}

}  // namespace
}  // namespace quillgate::bench

int main(int argc, char** argv) {
  using namespace quillgate::bench;
  const auto number = [argv](int index) { return std::strtoul(argv[index], nullptr, 10); };
  if (argc == 5 && number(4) > 0) {
    const Ends ends{static_cast<std::uint16_t>(number(2)), static_cast<std::uint16_t>(number(3))};
    if (run(argv[1], ends, static_cast<unsigned>(number(4)))) return 0;
  }
  std::fputs(
      "usage: relay_load streams|duplex|round-trips|connections|idle RELAY_PORT TARGET_PORT "
      "COUNT\n",
      stderr);
  return 2;
}
