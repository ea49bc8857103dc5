// Two networks that only a bad link joins: packets on it are late, overtake one another, and get
// lost. For tests on Linux, run by tests/with_networks.sh.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <thread>

namespace quillgate::test {

class LossyNetwork {
 public:
  // The address of this program in each network.
  static constexpr const wchar_t* kNearAddress = L"10.9.0.1";
  static constexpr const wchar_t* kFarAddress = L"10.9.0.2";
  // The largest datagram that the link takes as one packet.
  static constexpr std::size_t kLargestDatagram = 1400;

  // Whether this process may make networks.
  [[nodiscard]] static bool mayBeMade();

  LossyNetwork();
  ~LossyNetwork();
  LossyNetwork(const LossyNetwork&) = delete;
  LossyNetwork& operator=(const LossyNetwork&) = delete;

  // Runs `body` in a thread that stands in one of the networks, like every thread that it starts,
  // and waits for its end. Sockets stay in the network they were opened in.
  void inNear(const std::function<void()>& body) const { inNetwork(near_, body); }
  void inFar(const std::function<void()>& body) const { inNetwork(far_, body); }

  // How many UDP packets the link has lost so far, in both directions.
  [[nodiscard]] int lostDatagrams() const { return lostDatagrams_; }
  // How many packets of any kind it has lost, and how many have overtaken another one.
  [[nodiscard]] int lostPackets() const { return lostPackets_; }
  [[nodiscard]] int overtakings() const { return overtakings_; }

 private:
  // A network of its own, and the device through which its packets come and go.
  struct Network {
    int network = -1;
    int device = -1;
  };
  static Network makeNetwork(std::uint32_t address);
  static void inNetwork(const Network& network, const std::function<void()>& body);
  void carryPackets();

  Network near_;
  Network far_;
  std::atomic<bool> stopping_{false};
  std::atomic<int> lostDatagrams_{0};
  std::atomic<int> lostPackets_{0};
  std::atomic<int> overtakings_{0};
  std::thread link_;
};

}  // namespace quillgate::test
