#include "tests/support/posix/lossy_network.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <queue>
#include <random>
#include <stdexcept>
#include <vector>

namespace quillgate::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kNear = 0x0A090001;
constexpr std::uint32_t kFar = 0x0A090002;
constexpr std::uint32_t kNetmask = 0xFFFFFF00;
constexpr double kLoss = 0.02;
constexpr std::chrono::microseconds kMinDelay{1000};
constexpr std::chrono::microseconds kMaxDelay{8000};

void orThrow(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

// A packet on its way.
struct Packet {
  Clock::time_point due;
  int device;  // where it comes out
  std::vector<std::uint8_t> bytes;

  bool operator<(const Packet& other) const { return due > other.due; }  // the next one on top
};

bool isUdp(const std::vector<std::uint8_t>& packet) {
  constexpr std::size_t kProtocolOffset = 9;
  return packet.size() > kProtocolOffset && packet[kProtocolOffset] == IPPROTO_UDP;
}

ifreq requestFor(const char* name) {
  ifreq request{};
  std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
  return request;
}

ifreq requestWith(const char* name, std::uint32_t address) {
  ifreq request = requestFor(name);
  const sockaddr_in value{
      .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(address)}, .sin_zero = {}};
  std::memcpy(&request.ifr_addr, &value, sizeof value);
  return request;
}

// Opens a device in this thread's network and gives it the address.
int openDevice(std::uint32_t address) {
  constexpr const char* kName = "link";
  const int device = ::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC);
  ifreq create = requestFor(kName);
  create.ifr_flags = IFF_TUN | IFF_NO_PI;
  orThrow(::ioctl(device, TUNSETIFF, &create) == 0, "cannot create a network device");

  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq own = requestWith(kName, address);
  ifreq netmask = requestWith(kName, kNetmask);
  ifreq up = requestFor(kName);
  up.ifr_flags = IFF_UP | IFF_RUNNING;
  orThrow(::ioctl(socket, SIOCSIFADDR, &own) == 0 &&
              ::ioctl(socket, SIOCSIFNETMASK, &netmask) == 0 &&
              ::ioctl(socket, SIOCSIFFLAGS, &up) == 0,
          "cannot set up a network device");
  ::close(socket);
  return device;
}

}  // namespace

bool LossyNetwork::mayBeMade() {
  bool mayMakeNetworks = false;
  std::thread([&] { mayMakeNetworks = ::unshare(CLONE_NEWNET) == 0; }).join();
  return mayMakeNetworks && ::access("/dev/net/tun", R_OK | W_OK) == 0;
}

LossyNetwork::LossyNetwork()
    : near_(makeNetwork(kNear)), far_(makeNetwork(kFar)), link_([this] { carryPackets(); }) {}

LossyNetwork::~LossyNetwork() {
  stopping_ = true;
  link_.join();
  for (const Network& side : {near_, far_}) {
    ::close(side.device);
    ::close(side.network);
  }
}

LossyNetwork::Network LossyNetwork::makeNetwork(std::uint32_t address) {
  Network made;
  std::thread([&] {
    orThrow(::unshare(CLONE_NEWNET) == 0, "cannot make a network");
    made.network = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    made.device = openDevice(address);
  }).join();
  return made;
}

void LossyNetwork::inNetwork(const Network& network, const std::function<void()>& body) {
  std::thread([&] {
    orThrow(::setns(network.network, CLONE_NEWNET) == 0, "cannot enter a network");
    body();
  }).join();
}

void LossyNetwork::carryPackets() {
  std::mt19937 random(7);
  std::bernoulli_distribution loses(kLoss);
  std::uniform_int_distribution<std::int64_t> delay(kMinDelay.count(), kMaxDelay.count());
  std::priority_queue<Packet> packets;
  Clock::time_point latest[2] = {};
  const int devices[] = {near_.device, far_.device};
  std::vector<std::uint8_t> bytes(65536);

  while (!stopping_) {
    pollfd ready[] = {{devices[0], POLLIN, 0}, {devices[1], POLLIN, 0}};
    ::poll(ready, 2, 1);
    for (std::size_t from = 0; from < 2; ++from) {
      ssize_t size = 0;
      while ((size = ::read(devices[from], bytes.data(), bytes.size())) > 0) {
        std::vector<std::uint8_t> packet(bytes.begin(), bytes.begin() + size);
        if (loses(random)) {
          ++lostPackets_;
          if (isUdp(packet)) ++lostDatagrams_;
          continue;
        }
        const auto due = Clock::now() + std::chrono::microseconds(delay(random));
        if (due < latest[from]) ++overtakings_;
        latest[from] = std::max(latest[from], due);
        packets.push({due, devices[1 - from], std::move(packet)});
      }
    }
    for (; !packets.empty() && packets.top().due <= Clock::now(); packets.pop()) {
      const Packet& packet = packets.top();
      static_cast<void>(::write(packet.device, packet.bytes.data(), packet.bytes.size()));
    }
  }
}

}  // namespace quillgate::test
