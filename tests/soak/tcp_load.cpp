#include "tests/soak/tcp_load.h"

#include <cstring>
#include <utility>

#include "tests/soak/sample_bytes.h"
#include "tests/support/deadline.h"

namespace quillgate::test {
namespace {

using namespace std::chrono_literals;
using platform::Socket;

constexpr std::size_t kLargestTransfer = 32 * 1024;  // fits the buffers on the way
constexpr std::size_t kSmallestFlood = 1 << 20;
constexpr std::size_t kLongestPauseMicroseconds = 2000;

std::uint64_t newNumber() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

}  // namespace

TcpTargets::TcpTargets() {
  for (Socket& listener : listeners_) listener = listenOnLoopback();
  for (const Socket& listener : listeners_) threads_.emplace_back([&] { serve(listener); });
}

TcpTargets::~TcpTargets() {
  isOver_ = true;
  for (std::thread& thread : threads_) thread.join();
}

void TcpTargets::serve(const Socket& listener) {
  while (!isOver_) {
    if (!isReadable(listener, 100ms)) continue;
    platform::SocketAddress peer;
    Socket connection = platform::acceptConnection(listener, peer);
    std::uint64_t number = 0;
    const std::string bytes = receiveExactly(connection, sizeof(number));
    if (bytes.size() < sizeof(number)) continue;
    std::memcpy(&number, bytes.data(), sizeof(number));
    {
      const std::lock_guard lock(mutex_);
      connections_[number] = std::move(connection);
    }
    arrived_.notify_all();
  }
}

Socket TcpTargets::take(std::uint64_t number, std::chrono::milliseconds wait) {
  std::unique_lock lock(mutex_);
  if (!arrived_.wait_for(lock, wait, [&] { return connections_.contains(number); })) {
    return Socket();
  }
  return std::move(connections_.extract(number).mapped());
}

TcpLoad::TcpLoad(TcpTargets& targets, TcpFigures& figures, std::uint32_t seed,
                 std::function<std::uint16_t(Random&)> somePort)
    : targets_(targets), figures_(figures), somePort_(std::move(somePort)) {
  for (std::uint32_t i = 0; i < kThreads; ++i) {
    threads_.emplace_back([this, seed, i] { run(seed + i); });
  }
}

TcpLoad::~TcpLoad() {
  isOver_ = true;
  for (std::thread& thread : threads_) thread.join();
}

void TcpLoad::run(std::uint32_t seed) {
  Random random(seed);
  std::array<Session, kSessionsOfThread> sessions;
  while (!isOver_) {
    Session& session = sessions[random() % sessions.size()];
    if (session.client.isOpen()) {
      act(session, random);
    } else {
      open(session, random);
    }
    const std::chrono::microseconds pause(random() % kLongestPauseMicroseconds);
    std::this_thread::sleep_for(pause);
  }
  for (Session& session : sessions) {
    if (session.client.isOpen()) close(session);
  }
}

void TcpLoad::open(Session& session, Random& random) {
  const std::uint64_t number = newNumber();
  Socket client = connectToLoopback(somePort_(random));
  const bool isSent =
      client.isOpen() && sendAll(client, {reinterpret_cast<const char*>(&number), sizeof(number)});
  Socket server;
  // Whoever is not served sees an end: the server has been stopped.
  static_cast<void>(isSent && eventually([&] {
                      server = targets_.take(number, 10ms);
                      return server.isOpen() || isReadable(client);
                    }));
  if (!server.isOpen()) {
    ++figures_.turnedAway;
    return;
  }
  session = {std::move(client), std::move(server), false};
  ++figures_.sessions;
  const int openNow = ++figures_.openNow;
  int most = figures_.mostAtOnce;
  while (openNow > most && !figures_.mostAtOnce.compare_exchange_weak(most, openNow)) {
  }
}

void TcpLoad::act(Session& session, Random& random) {
  const auto sample = [&] {
    const std::size_t size = 1 + random() % kLargestTransfer;
    return sampleBytes(random(), size);
  };
  const auto dice = random() % 100;
  if (dice < 15) {
    close(session);
  } else if (dice < 22) {
    reset(session);
  } else if (dice < 25) {
    flood(session.server, session.client, random);
  } else if (session.isHalfClosed) {
    transfer(session.server, session.client, sample());
  } else if (dice < 28) {
    flood(session.client, session.server, random);
  } else if (dice < 33) {
    closeSendingSide(session.client);
    session.isHalfClosed = true;
    ++figures_.halfCloses;
  } else {
    transfer(session.client, session.server, sample());
    transfer(session.server, session.client, sample());
  }
}

void TcpLoad::transfer(const Socket& from, const Socket& to, std::string_view bytes) {
  const bool isIntact = sendAll(from, bytes) && receiveExactly(to, bytes.size()) == bytes;
  figures_.bytes += bytes.size();
  if (!isIntact) ++figures_.damaged;
}

void TcpLoad::flood(const Socket& from, const Socket& to, Random& random) {
  const std::size_t size = kSmallestFlood + random() % (kSampleBytes - kSmallestFlood);
  const std::string_view bytes = sampleBytes(random(), size);
  bool isSent = false;
  std::thread sender([&] { isSent = sendAll(from, bytes); });
  const bool isIntact = receiveExactly(to, size) == bytes;
  sender.join();
  ++figures_.floods;
  figures_.bytes += size;
  if (!isSent || !isIntact) ++figures_.damaged;
}

void TcpLoad::reset(Session& session) {
  // On its way when the connection goes.
  static_cast<void>(sendAll(session.server, sampleBytes(0, kLargestTransfer)));
  resetConnection(std::move(session.client));
  session.server.close();
  ++figures_.resets;
  --figures_.openNow;
}

void TcpLoad::close(Session& session) {
  session.client.close();
  session.server.close();
  --figures_.openNow;
}

}  // namespace quillgate::test
