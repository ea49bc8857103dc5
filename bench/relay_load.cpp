// The TCP load of relay_bench.py: takes one measure of one relay and prints it as a line of JSON.
//
//   relay_load MEASURE RELAY_PORT TARGET_PORT COUNT
//
// Both ends are in this process: it listens on TARGET_PORT as the target and connects to RELAY_PORT
// as the clients. The same number twice measures loopback without a relay. Every byte that arrives
// is compared with what was sent. A relay need not pass a half-close on: each end knows from the
// start how much will come. A load that takes too long, because the relay hangs, is ended by
// SIGALRM.
//
// On two processors the load competes with the relay: it does no more than it has to, and prints
// how much processor time it took itself.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/loopback.h"

namespace quillgate::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr std::size_t kBytesPerMeasure = std::size_t{1} << 30;
constexpr std::size_t kRoundTripBytes = 64;
constexpr unsigned kProbeRoundTrips = 5'000;
constexpr std::chrono::seconds kConnectingTime{1};
constexpr unsigned kLongestSeconds = 40;

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

// Opens sessions one after the other. Nothing goes through them.
std::vector<Session> openSessions(const Ends& ends, unsigned count) {
  const Listener listener(ends.targetPort);
  std::vector<Session> sessions;
  sessions.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    Connection client = connectTo(ends.relayPort, i);
    std::optional<Connection> target = listener.accept();
    if (!target) fail("the listener was stopped");
    sessions.push_back({std::move(client), std::move(*target)});
  }
  return sessions;
}

// Passes a number through each session and back.
void greetAll(const std::vector<Session>& sessions) {
  for (unsigned number = 0; const Session& session : sessions) {
    const auto greeting = std::as_bytes(std::span(&number, 1));
    session.client.send(greeting);
    receiveExpected(session.target, greeting);
    session.target.send(greeting);
    receiveExpected(session.client, greeting);
    ++number;
  }
}

// What has passed since its construction.
class Stopwatch {
 public:
  double seconds() const { return Seconds(Clock::now() - begin_).count(); }
  double cpuSeconds() const {
    return static_cast<double>(std::clock() - cpuBegin_) / CLOCKS_PER_SEC;
  }

 private:
  Clock::time_point begin_ = Clock::now();
  std::clock_t cpuBegin_ = std::clock();
};

using Times = std::vector<double>;  // in microseconds

// The time that the given share of `sorted` does not exceed.
double percentile(const Times& sorted, double share) {
  return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

// An amount of bytes, connections or messages that took until now.
void printResult(double amount, const Stopwatch& stopwatch, Times times = {}) {
  const double seconds = stopwatch.seconds();
  std::printf(R"({"amount": %.0f, "seconds": %.6f, "loadCpuSeconds": %.3f)", amount, seconds,
              stopwatch.cpuSeconds());
  if (!times.empty()) {
    std::ranges::sort(times);
    std::printf(R"(, "p50Microseconds": %.1f, "p99Microseconds": %.1f)", percentile(times, 0.5),
                percentile(times, 0.99));
  }
  std::puts("}");
  std::fflush(stdout);
}

// A stream of blocks that are cut out of the same random numbers, each from one number further on:
// data in a wrong place differ, and nobody spends time on making them.
class Pattern {
 public:
  explicit Pattern(std::size_t start) : next_(start) {}

  std::span<const std::byte> nextBlock() {
    return std::as_bytes(std::span(numbers()).subspan(next_++ % kBlocks, kBlockNumbers));
  }

  static constexpr std::size_t kBlockBytes = std::size_t{64} << 10;

 private:
  static constexpr std::size_t kBlocks = 1'021;
  static constexpr std::size_t kBlockNumbers = kBlockBytes / sizeof(std::uint64_t);

  static const std::vector<std::uint64_t>& numbers() {
    static const std::vector<std::uint64_t> made = [] {
      std::vector<std::uint64_t> random(kBlockNumbers + kBlocks);
      std::ranges::generate(random, std::mt19937_64());
      return random;
    }();
    return made;
  }

  std::size_t next_;
};

void sendStream(const Connection& to, std::size_t start, std::size_t blocks) {
  Pattern pattern(start);
  for (; blocks > 0; --blocks) to.send(pattern.nextBlock());
}

void receiveStream(const Connection& from, std::size_t start, std::size_t blocks) {
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
  const std::size_t start = 100 * threads.size();
  threads.emplace_back([&from, start, blocks] { sendStream(from, start, blocks); });
  threads.emplace_back([&to, start, blocks] { receiveStream(to, start, blocks); });
}

enum class Direction { toTarget, both };

void measureStreams(const Ends& ends, unsigned count, Direction direction) {
  const std::vector<Session> sessions = openSessions(ends, count);
  greetAll(sessions);
  const std::size_t streams = direction == Direction::both ? 2 * sessions.size() : sessions.size();
  const std::size_t blocks = kBytesPerMeasure / Pattern::kBlockBytes / streams;

  const Stopwatch stopwatch;
  {
    std::vector<std::jthread> threads;
    for (const Session& session : sessions) {
      addStream(threads, session.client, session.target, blocks);
      if (direction == Direction::both) {
        addStream(threads, session.target, session.client, blocks);
      }
    }
  }
  printResult(static_cast<double>(blocks * streams * Pattern::kBlockBytes), stopwatch);
}

// Sends one message at a time to the target and back.
Times timeRoundTrips(const Session& session, unsigned count) {
  const std::jthread echo([&session, count] {
    std::array<std::byte, kRoundTripBytes> message;
    for (unsigned i = 0; i < count; ++i) {
      session.target.receive(message);
      session.target.send(message);
    }
  });

  Times times;
  times.reserve(count);
  std::array<std::byte, kRoundTripBytes> message{};
  for (unsigned i = 0; i < count; ++i) {
    std::memcpy(message.data(), &i, sizeof i);
    const auto begin = Clock::now();
    session.client.send(message);
    receiveExpected(session.client, message);
    times.push_back(Microseconds(Clock::now() - begin).count());
  }
  return times;
}

// Times the round trips of one session, after some for warming up.
void printRoundTrips(const Session& session, unsigned count) {
  timeRoundTrips(session, count / 10);
  const Stopwatch stopwatch;
  const Times times = timeRoundTrips(session, count);
  printResult(count, stopwatch, times);
}

// Connects, sends a byte, waits for its echo and closes, again and again until the time is up.
Times timeConnections(const Ends& ends, unsigned clientNumber, Clock::time_point end) {
  Times times;
  for (unsigned number = clientNumber; Clock::now() < end; ++number) {
    const auto begin = Clock::now();
    {
      const std::array byte{static_cast<std::byte>(number)};
      const Connection connection = connectTo(ends.relayPort, number);
      connection.send(byte);
      receiveExpected(connection, byte);
    }
    times.push_back(Microseconds(Clock::now() - begin).count());
  }
  return times;
}

// As many threads echo as there are clients, so that a slow session holds nobody up. The target
// closes first.
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

  std::vector<Times> timesOf(clientCount);
  const Stopwatch stopwatch;
  {
    const auto end = Clock::now() + kConnectingTime;
    std::vector<std::jthread> clients;
    for (unsigned i = 0; i < clientCount; ++i) {
      clients.emplace_back([&, i] { timesOf[i] = timeConnections(ends, i, end); });
    }
  }
  Times times;
  for (const Times& some : timesOf) times.insert(times.end(), some.begin(), some.end());
  printResult(static_cast<double>(times.size()), stopwatch, times);
  listener.stop();
}

// Holds sessions through which nothing has gone yet. For each byte on standard input one more of
// these follows: each of them is greeted, one of them is probed. All have to answer once more at
// the end of standard input.
void holdIdle(const Ends& ends, unsigned count) {
  const Stopwatch stopwatch;
  const std::vector<Session> sessions = openSessions(ends, count);
  for (const Session& session : sessions) {
    session.client.dropWhenClosed();
    session.target.dropWhenClosed();
  }
  printResult(count, stopwatch);
  if (std::getchar() != EOF) {
    greetAll(sessions);
    printResult(count, stopwatch);
  }
  if (std::getchar() != EOF) printRoundTrips(sessions[count / 2], kProbeRoundTrips);
  greetAll(sessions);
}

bool run(std::string_view measure, const Ends& ends, unsigned count) {
  if (measure == "streams") {
    measureStreams(ends, count, Direction::toTarget);
  } else if (measure == "duplex") {
    measureStreams(ends, count, Direction::both);
  } else if (measure == "round-trips") {
    printRoundTrips(openSessions(ends, 1).front(), count);
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
  alarm(kLongestSeconds);
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
