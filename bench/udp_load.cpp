// The UDP load of relay_bench.py: a client in front of a relay and a target behind it.
//
//   udp_load MEASURE RELAY_PORT TARGET_PORT COUNT
//
//   echo      datagrams of COUNT bytes to the target and back, 32 of them on their way at any time
//   one-way   COUNT datagrams of 64 bytes each second to the target, which counts them
//
// Both ends are in this process. The same number twice measures loopback without a relay. Every
// datagram that comes back is compared with the one that was sent; one that does not come back,
// comes twice or is another one ends the load. Prints one line of JSON. Whatever goes wrong ends
// the process with a message and status 1.
//
// Written straight on POSIX, so that it shares nothing with the engine it measures.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::uint32_t kWindow = 32;         // datagrams an echo client keeps on their way
constexpr int kReceiveBufferBytes = 8 << 20;  // so that losses are the relay's
constexpr std::size_t kLargestDatagram = 65507;
constexpr std::size_t kOneWayBytes = 64;
constexpr auto kLostAfter = 300ms;
constexpr auto kPatience = 5s;
constexpr double kWarmUpSeconds = 0.5;  // a relay with capture on has its fill of records then
constexpr double kMeasuredSeconds = 1;

[[noreturn]] void fail(const char* message) {
  std::fprintf(stderr, "%s\n", message);
  std::_Exit(1);
}

[[noreturn]] void failCall(const char* call) {
  std::perror(call);
  std::_Exit(1);
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// Closed by the end of the process.
class UdpSocket {
 public:
  UdpSocket() : descriptor_(::socket(AF_INET, SOCK_DGRAM, 0)) {
    if (descriptor_ < 0) failCall("socket");
    // Beyond the system's limit where that is allowed.
    if (::setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBufferBytes, sizeof(int))) {
      ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof(int));
    }
    const timeval timeout{0, std::chrono::microseconds(kLostAfter).count()};
    if (::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout)) {
      failCall("setsockopt");
    }
  }

  void bindTo(std::uint16_t port) const {
    const sockaddr_in address = loopback(port);
    if (::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address)) {
      failCall("bind");
    }
  }

  void connectTo(std::uint16_t port) const {
    const sockaddr_in address = loopback(port);
    if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address)) {
      failCall("connect");
    }
  }

  void send(std::span<const char> datagram) const {
    // Refused while the relay does not listen yet: the next receive is late then.
    static_cast<void>(::send(descriptor_, datagram.data(), datagram.size(), 0));
  }

  // The next datagram; nothing when none comes for kLostAfter.
  std::span<const char> receive() {
    const auto size = ::recv(descriptor_, buffer_.data(), buffer_.size(), 0);
    return std::span(buffer_).first(size > 0 ? static_cast<std::size_t>(size) : 0);
  }

  // Waits for a datagram with something in it and sends it back if `echo`.
  bool serve(bool echo) {
    sockaddr_in sender{};
    socklen_t length = sizeof sender;
    auto* const native = reinterpret_cast<sockaddr*>(&sender);
    const auto size = ::recvfrom(descriptor_, buffer_.data(), buffer_.size(), 0, native, &length);
    if (size <= 0) return false;
    if (echo) {
      ::sendto(descriptor_, buffer_.data(), static_cast<std::size_t>(size), 0, native, length);
    }
    return true;
  }

 private:
  int descriptor_;
  std::array<char, kLargestDatagram> buffer_;
};

// The target behind the relay, on a thread of its own that ends with the process.
class Target {
 public:
  explicit Target(std::uint16_t port) {
    socket_.bindTo(port);
    std::thread([this] {
      while (true) received += socket_.serve(echo) ? 1 : 0;
    }).detach();
  }

  std::atomic<bool> echo{true};
  std::atomic<long> received{0};

 private:
  UdpSocket socket_;
};

// A datagram that begins with its number.
class Datagram {
 public:
  explicit Datagram(std::size_t size) : bytes_(size, 'x') {}

  std::span<const char> numbered(std::uint32_t number) {
    std::memcpy(bytes_.data(), &number, sizeof number);
    return bytes_;
  }

  static std::uint32_t numberOf(std::span<const char> bytes) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return number;
  }

 private:
  std::vector<char> bytes_;
};

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Sends until a datagram comes back: the relay is there and knows its client.
void waitForRelay(UdpSocket& client, Datagram& datagram) {
  const auto start = Clock::now();
  do {
    if (Clock::now() - start > kPatience) fail("nothing comes back");
    client.send(datagram.numbered(0));
  } while (client.receive().empty());
  while (!client.receive().empty()) {
  }
}

// Keeps a window of datagrams on their way to the target and back.
class EchoClient {
 public:
  EchoClient(UdpSocket& socket, Datagram& datagram) : socket_(socket), datagram_(datagram) {
    for (std::uint32_t i = 0; i < kWindow; ++i) {
      onTheirWay_[i] = i;
      socket_.send(datagram_.numbered(i));
    }
  }

  // Goes on for so many seconds; gives how many datagrams came back.
  long exchange(double seconds) {
    const auto start = Clock::now();
    long echoed = 0;
    while (echoed % kWindow != 0 || secondsSince(start) < seconds) {
      const std::span<const char> received = socket_.receive();
      if (received.empty()) fail("the relay lost a datagram");
      std::uint32_t& number = onTheirWay_[Datagram::numberOf(received) % kWindow];
      if (!std::ranges::equal(received, datagram_.numbered(number))) {
        fail("the relay changed a datagram or sent one twice");
      }
      number += kWindow;
      socket_.send(datagram_.numbered(number));
      ++echoed;
    }
    return echoed;
  }

 private:
  UdpSocket& socket_;
  Datagram& datagram_;
  std::array<std::uint32_t, kWindow> onTheirWay_;
};

void measureEcho(UdpSocket& socket, Datagram& datagram) {
  EchoClient client(socket, datagram);
  client.exchange(kWarmUpSeconds);
  const auto start = Clock::now();
  const auto cpuStart = std::clock();
  const long echoed = client.exchange(kMeasuredSeconds);
  const double cpuSeconds = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
  std::printf(R"({"amount": %ld, "seconds": %.6f, "loadCpuSeconds": %.3f})", echoed,
              secondsSince(start), cpuSeconds);
}

void measureOneWay(UdpSocket& client, Datagram& datagram, Target& target, unsigned rate) {
  target.echo = false;
  const long before = target.received;
  const auto start = Clock::now();
  const auto cpuStart = std::clock();
  long sent = 0;
  for (double seconds = 0; seconds < kMeasuredSeconds; seconds = secondsSince(start)) {
    for (; static_cast<double>(sent) < seconds * rate; ++sent) client.send(datagram.numbered(0));
    std::this_thread::sleep_for(500us);  // as many as are due by then come in a burst
  }
  const double seconds = secondsSince(start);
  const double cpuSeconds = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
  long seen = -1;
  while (seen != target.received) {
    seen = target.received;
    std::this_thread::sleep_for(kLostAfter);
  }
  const long received = seen - before;
  const double loss = static_cast<double>(sent - received) / static_cast<double>(sent);
  std::printf(R"({"amount": %ld, "seconds": %.6f, "loadCpuSeconds": %.3f, "lossPercent": %.3f})",
              received, seconds, cpuSeconds, 100 * loss);
}

}  // namespace

int main(int count, char** arguments) {
  const std::string_view measure = count == 5 ? arguments[1] : "";
  const auto number = [arguments](int i) { return std::strtoul(arguments[i], nullptr, 10); };
  if (measure != "echo" && measure != "one-way") {
    std::fputs("usage: udp_load echo|one-way RELAY_PORT TARGET_PORT COUNT\n", stderr);
    return 2;
  }
  static Target target(static_cast<std::uint16_t>(number(3)));
  static UdpSocket client;
  client.connectTo(static_cast<std::uint16_t>(number(2)));
  Datagram datagram(measure == "echo" ? number(4) : kOneWayBytes);
  waitForRelay(client, datagram);
  if (measure == "echo") {
    measureEcho(client, datagram);
  } else {
    measureOneWay(client, datagram, target, static_cast<unsigned>(number(4)));
  }
  std::puts("");
  std::fflush(stdout);
  std::_Exit(0);  // the target's thread is still at work
}
