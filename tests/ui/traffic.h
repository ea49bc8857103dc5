// Traffic that flows through the program for as long as a test likes.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/deadline.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {

// Open sessions through the program, with data always on its way in both directions of each.
class Traffic {
 public:
  Traffic(const platform::Socket& target, std::uint16_t port, int sessions) {
    for (int i = 0; i < sessions; ++i) {
      platform::Socket client = connectToLoopback(port);
      platform::Socket server = acceptFrom(target);
      EXPECT_TRUE(client.isOpen() && server.isOpen()) << "session " << i;
      sessions_.push_back({std::move(client), std::move(server)});
    }
    thread_ = std::thread([this] { exchange(); });
  }
  ~Traffic() {
    stopping_ = true;
    thread_.join();
  }
  Traffic(const Traffic&) = delete;
  Traffic& operator=(const Traffic&) = delete;

  // Rounds of one message there and one back over every session.
  [[nodiscard]] bool waitForRounds(int rounds) const {
    return eventually([&] { return rounds_ >= rounds; });
  }

 private:
  void exchange() {
    const std::string message(4000, 'x');
    while (!stopping_) {
      for (const auto& [client, server] : sessions_) {
        if (!sendAll(client, message) || !sendAll(server, message)) return;
      }
      for (const auto& [client, server] : sessions_) {
        if (receiveExactly(server, message.size()) != message) return;
        if (receiveExactly(client, message.size()) != message) return;
      }
      ++rounds_;
    }
  }

  std::vector<ConnectedPair> sessions_;
  std::atomic<bool> stopping_{false};
  std::atomic<int> rounds_{0};
  std::thread thread_;
};

}  // namespace quillgate::test
