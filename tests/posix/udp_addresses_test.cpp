// How a UDP worker tells senders apart by their addresses. Only here can a test count on several
// addresses of its own machine: Linux has the whole of 127.0.0.0/8.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_engine.h"
#include "tests/support/test_sockets.h"

namespace quillgate {
namespace {

using platform::Socket;
using platform::Transport;

Socket udpOn(const std::wstring& address, std::uint16_t port) {
  Socket socket = platform::openIpv4Socket(Transport::udp);
  EXPECT_TRUE(test::bindTo(socket, platform::parseIpv4(address, port).value()));
  return socket;
}

class UdpAddressesTest : public testing::Test {
 protected:
  void SetUp() override {
    engine.setRule(test::ruleFor(Protocol::udp, port, test::localPort(target)));
    engine.state().server.start();
    ASSERT_TRUE(engine.waitFor(L"[UDP] Listening on local port " + route));
  }

  void expectRelayed(const Socket& from, const Socket& to, const std::string& text) {
    ASSERT_TRUE(test::sendDatagramTo(from, port, text));
    const auto datagram = test::receiveNextDatagram(to);
    ASSERT_TRUE(datagram);
    EXPECT_EQ(datagram->text, text);
  }

  [[nodiscard]] std::size_t newClients(const std::wstring& address, std::uint16_t clientPort) {
    return engine.countOf(L"[UDP] New client FROM " + address + L":" + std::to_wstring(clientPort) +
                          L"  local " + route);
  }

  test::TestEngine engine;
  const Socket target = test::udpOnLoopback();
  const std::uint16_t port = test::freePort(Transport::udp);
  const std::wstring route =
      std::to_wstring(port) + L" -> 127.0.0.1:" + std::to_wstring(test::localPort(target));
};

TEST_F(UdpAddressesTest, ClientsWithTheSamePortAreNotTheSame) {
  const Socket client = test::udpOnLoopback();
  const std::uint16_t clientPort = test::localPort(client);
  const Socket other = udpOn(L"127.0.0.2", clientPort);
  expectRelayed(client, target, "first");
  expectRelayed(other, target, "second");
  expectRelayed(target, other, "to the second");
  EXPECT_EQ(newClients(L"127.0.0.1", clientPort), 1U);
  EXPECT_EQ(newClients(L"127.0.0.2", clientPort), 1U);
}

TEST_F(UdpAddressesTest, TheTargetsPortAtAnotherAddressIsAClient) {
  const std::uint16_t targetPort = test::localPort(target);
  const Socket client = udpOn(L"127.0.0.2", targetPort);
  expectRelayed(client, target, "not a reply");
  expectRelayed(target, client, "reply");
  EXPECT_EQ(newClients(L"127.0.0.2", targetPort), 1U);
}

}  // namespace
}  // namespace quillgate
