#include "tests/soak/udp_load.h"

#include <chrono>
#include <cstring>
#include <string>
#include <utility>

#include "tests/soak/sample_bytes.h"

namespace quillgate::test {
namespace {

using namespace std::chrono_literals;
using platform::Socket;

constexpr std::size_t kLargestSample = 60000;
constexpr std::size_t kLongestBurst = 20;

// A number, and bytes that follow from it.
std::string datagramOf(std::uint32_t number) {
  std::string text(sizeof(number), '\0');
  std::memcpy(text.data(), &number, sizeof(number));
  return text.append(sampleBytes(number, number % kLargestSample));
}

bool isIntact(const std::string& datagram) {
  std::uint32_t number = 0;
  if (datagram.size() < sizeof(number)) return false;
  std::memcpy(&number, datagram.data(), sizeof(number));
  return datagram == datagramOf(number);
}

}  // namespace

UdpLoad::UdpLoad(const Targets& targets, UdpFigures& figures, std::uint32_t seed,
                 std::function<std::uint16_t(Random&)> somePort)
    : figures_(figures), somePort_(std::move(somePort)) {
  for (const Socket& target : targets) {
    threads_.emplace_back([this, &target, own = seed++] { run(target, own); });
  }
}

UdpLoad::~UdpLoad() {
  isOver_ = true;
  for (std::thread& thread : threads_) thread.join();
}

void UdpLoad::run(const Socket& target, std::uint32_t seed) {
  Random random(seed);
  const Socket client = udpOnLoopback();
  while (!isOver_) {
    sendBurst(client, random);
    answer(target);
    takeAnswers(client);
  }
}

void UdpLoad::sendBurst(const Socket& client, Random& random) {
  const std::uint16_t port = somePort_(random);
  for (std::size_t i = random() % kLongestBurst; i-- > 0;) {
    const auto number = static_cast<std::uint32_t>(random());
    if (sendDatagramTo(client, port, datagramOf(number))) ++figures_.sent;
  }
}

void UdpLoad::answer(const Socket& target) {
  while (!isOver_ && isReadable(target, 5ms)) {
    const auto datagram = receiveNextDatagram(target);
    if (!datagram) continue;
    ++figures_.atTarget;
    if (!isIntact(datagram->text)) ++figures_.damaged;
    static_cast<void>(sendDatagramTo(target, datagram->senderPort, datagram->text));
  }
}

void UdpLoad::takeAnswers(const Socket& client) {
  while (!isOver_ && isReadable(client, 5ms)) {
    const auto datagram = receiveNextDatagram(client);
    if (!datagram) continue;
    ++figures_.backAtClient;
    if (!isIntact(datagram->text)) ++figures_.damaged;
  }
}

}  // namespace quillgate::test
