// Load generator for UDP relays: a client in front of the relay and a target behind it.
//
//   udp_load echo   LISTEN TARGET SIZE SECONDS         the target sends every datagram back
//   udp_load oneway LISTEN TARGET SIZE SECONDS RATE    RATE datagrams each second; 0: all it can
//
// LISTEN is the port of the relay, TARGET the one it relays to, both on 127.0.0.1; where they are
// equal there is no relay. Prints one line of JSON. Whatever goes wrong ends the process with a
// message and status 1.
//
// Written straight on POSIX, so that it shares nothing with the engine it measures.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int kWindow = 32;                   // datagrams an echo client keeps on their way
constexpr int kReceiveBufferBytes = 8 << 20;  // so that losses are the relay's
constexpr std::size_t kLargestDatagram = 65507;
constexpr auto kLostAfter = 200ms;
constexpr auto kWarmUpTime = 5s;

[[noreturn]] void fail(const char* message) {
  std::perror(message);
  std::_Exit(1);
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

class UdpSocket {
 public:
  UdpSocket() : descriptor_(::socket(AF_INET, SOCK_DGRAM, 0)) {
    if (descriptor_ < 0) fail("socket");
    // Beyond the system's limit where that is allowed.
    if (::setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBufferBytes, sizeof(int))) {
      ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof(int));
    }
    const timeval timeout{0, std::chrono::microseconds(kLostAfter).count()};
    if (::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout))) {
      fail("setsockopt");
    }
  }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;
  ~UdpSocket() { ::close(descriptor_); }

  void bindTo(std::uint16_t port) const {
    const sockaddr_in address = loopback(port);
    if (::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof(address))) {
      fail("bind");
    }
  }
  void connectTo(std::uint16_t port) const {
    const sockaddr_in address = loopback(port);
    if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof(address))) {
      fail("connect");
    }
  }
  void send(std::span<const char> datagram) const {
    // Refused while the relay does not listen yet: the next receive is late then.
    static_cast<void>(::send(descriptor_, datagram.data(), datagram.size(), 0));
  }
  // False when nothing comes for kLostAfter.
  bool receive() { return ::recv(descriptor_, buffer_.data(), buffer_.size(), 0) > 0; }
  // Waits for a datagram and sends it back if `echo`.
  bool serve(bool echo) {
    sockaddr_in sender{};
    socklen_t length = sizeof(sender);
    auto* const native = reinterpret_cast<sockaddr*>(&sender);
    const auto size = ::recvfrom(descriptor_, buffer_.data(), buffer_.size(), 0, native, &length);
    if (size <= 0) return false;
    if (echo)
      ::sendto(descriptor_, buffer_.data(), static_cast<std::size_t>(size), 0, native, length);
    return true;
  }

 private:
  int descriptor_;
  std::array<char, kLargestDatagram> buffer_;
};

// The target behind the relay, on a thread of its own.
class Target {
 public:
  explicit Target(std::uint16_t port) {
    socket_.bindTo(port);
    thread_ = std::jthread([this](const std::stop_token& ended) {
      while (!ended.stop_requested()) {
        if (socket_.serve(echo)) ++received;
      }
    });
  }

  std::atomic<bool> echo{true};
  std::atomic<long> received{0};

 private:
  UdpSocket socket_;
  std::jthread thread_;
};

struct Result {
  long sent = 0;
  long received = 0;
  double seconds = 0;

  void print() const {
    std::printf("{\"packetsPerSecond\": %.0f, \"lossPercent\": %.4f}\n",
                static_cast<double>(received) / seconds,
                100.0 * static_cast<double>(sent - received) / static_cast<double>(sent));
  }
};

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Sends until a datagram comes back: the relay is there and knows its client.
void warmUp(UdpSocket& client, std::span<const char> datagram) {
  const auto start = Clock::now();
  do {
    if (Clock::now() - start > kWarmUpTime) fail("nothing comes back");
    client.send(datagram);
  } while (!client.receive());
  while (client.receive()) {
  }
}

Result measureEcho(UdpSocket& client, std::span<const char> datagram, double seconds) {
  Result result;
  const auto start = Clock::now();
  while (result.seconds < seconds) {
    int onTheirWay = 0;
    const auto sendOne = [&] {
      client.send(datagram);
      ++result.sent;
      ++onTheirWay;
    };
    while (onTheirWay < kWindow) sendOne();
    // A late one ends the window: the rest of it is lost.
    while (onTheirWay > 0 && client.receive()) {
      ++result.received;
      --onTheirWay;
      if (result.received % kWindow == 0) result.seconds = secondsSince(start);
      if (result.seconds < seconds) sendOne();
    }
    if (onTheirWay > 0) result.seconds = secondsSince(start);
  }
  return result;
}

Result measureOneWay(Target& target, const UdpSocket& client, std::span<const char> datagram,
                     double seconds, double rate) {
  target.echo = false;
  const long before = target.received;
  Result result;
  const auto start = Clock::now();
  while ((result.seconds = secondsSince(start)) < seconds) {
    // As many as are due by now; without a rate, a handful between two looks at the clock.
    const double due = rate > 0 ? result.seconds * rate : static_cast<double>(result.sent + 64);
    for (; static_cast<double>(result.sent) < due; ++result.sent) client.send(datagram);
    if (rate > 0) std::this_thread::sleep_for(500us);
  }
  long seen = -1;
  while (seen != target.received) {
    seen = target.received;
    std::this_thread::sleep_for(kLostAfter);
  }
  result.received = seen - before;
  return result;
}

}  // namespace

int main(int count, char** arguments) {
  const std::vector<std::string> words(arguments + 1, arguments + count);
  if (words.size() < 5) fail("udp_load MODE LISTEN TARGET SIZE SECONDS [RATE]");
  const auto portFrom = [&](std::size_t word) {
    return static_cast<std::uint16_t>(std::stoi(words[word]));
  };
  const std::vector<char> datagram(std::stoul(words[3]), 'x');
  const double seconds = std::stod(words[4]);

  static Target target(portFrom(2));
  static UdpSocket client;
  client.connectTo(portFrom(1));
  warmUp(client, datagram);
  if (words[0] == "echo") {
    measureEcho(client, datagram, seconds).print();
  } else {
    measureOneWay(target, client, datagram, seconds, std::stod(words.at(5))).print();
  }
}
