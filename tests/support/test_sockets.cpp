#include "tests/support/test_sockets.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

#include "tests/support/deadline.h"

namespace quillgate::test {

using platform::Socket;
using platform::SocketAddress;
using platform::Transport;
using platform::WaitResult;

namespace {

constexpr std::size_t kLargestDatagram = 65535;
// Below those that systems give to whoever asks for any port.
constexpr std::uint16_t kFirstPort = 12000;
constexpr std::uint16_t kPortCount = 20000;
constexpr int kPortAttempts = 1000;

Socket openOnLoopback(Transport transport) {
  Socket socket = platform::openIpv4Socket(transport);
  EXPECT_TRUE(bindTo(socket, loopback(0)));
  return socket;
}

bool waitForInput(const Socket& socket) { return isReadable(socket, kDeadline); }

}  // namespace

SocketAddress loopback(std::uint16_t port) {
  return platform::parseIpv4(L"127.0.0.1", port).value();
}

std::uint16_t freePort(Transport transport) {
  thread_local std::mt19937 random(std::random_device{}());
  for (int attempt = 0; attempt < kPortAttempts; ++attempt) {
    const auto port = static_cast<std::uint16_t>(kFirstPort + random() % kPortCount);
    if (platform::bindToAllIpv4(platform::openIpv4Socket(transport), port)) return port;
  }
  ADD_FAILURE() << "no port is free";
  return 0;
}

std::uint16_t freePortOfBothProtocols() {
  std::uint16_t port = 0;
  do {
    port = freePort(Transport::tcp);
  } while (!platform::bindToAllIpv4(platform::openIpv4Socket(Transport::udp), port));
  return port;
}

Socket listenOnLoopback() {
  Socket listener = openOnLoopback(Transport::tcp);
  EXPECT_TRUE(platform::startListening(listener));
  return listener;
}

Socket connectToLoopback(std::uint16_t port) {
  Socket socket = platform::openIpv4Socket(Transport::tcp);
  if (!platform::connectTo(socket, loopback(port))) socket.close();
  return socket;
}

Socket acceptFrom(const Socket& listener) {
  SocketAddress peer;
  if (!waitForInput(listener)) return Socket();
  return platform::acceptConnection(listener, peer);
}

ConnectedPair connectedPair() {
  const Socket listener = listenOnLoopback();
  Socket client = connectToLoopback(localPort(listener));
  Socket server = acceptFrom(listener);
  EXPECT_TRUE(client.isOpen() && server.isOpen());
  return {std::move(client), std::move(server)};
}

Socket udpOnLoopback() { return openOnLoopback(Transport::udp); }

bool sendAll(const Socket& socket, std::string_view text) {
  limitSends(socket);
  auto rest = std::as_bytes(std::span(text));
  while (!rest.empty()) {
    const auto count = platform::send(socket, rest);
    if (count <= 0) return false;
    rest = rest.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

std::string receiveExactly(const Socket& socket, std::size_t size) {
  std::string text(size, '\0');
  std::size_t filled = 0;
  while (filled < size && waitForInput(socket)) {
    const auto count =
        platform::receive(socket, std::as_writable_bytes(std::span(text).subspan(filled)));
    if (count <= 0) break;
    filled += static_cast<std::size_t>(count);
  }
  text.resize(filled);
  return text;
}

StreamEnd receiveUntilEnd(const Socket& socket, std::string* received) {
  std::array<char, 4096> chunk;
  while (waitForInput(socket)) {
    const auto count = platform::receive(socket, std::as_writable_bytes(std::span(chunk)));
    if (count == 0) return StreamEnd::orderly;
    if (count < 0) return StreamEnd::reset;
    if (received != nullptr) received->append(chunk.data(), static_cast<std::size_t>(count));
  }
  return StreamEnd::late;
}

bool sendDatagramTo(const Socket& socket, std::uint16_t port, std::string_view text) {
  const auto sent = platform::sendDatagram(socket, std::as_bytes(std::span(text)), loopback(port));
  return sent >= 0 && static_cast<std::size_t>(sent) == text.size();
}

std::optional<Datagram> receiveNextDatagram(const Socket& socket) {
  if (!waitForInput(socket)) return std::nullopt;
  std::string text(kLargestDatagram, '\0');
  SocketAddress sender;
  const auto size =
      platform::receiveDatagram(socket, std::as_writable_bytes(std::span(text)), sender);
  if (size < 0) return std::nullopt;
  text.resize(static_cast<std::size_t>(size));
  return Datagram{std::move(text), portOf(sender)};
}

bool isReadable(const Socket& socket, std::chrono::milliseconds wait) {
  return platform::waitReadable(socket, wait) == WaitResult::readable;
}

bool staysQuiet(const Socket& socket, std::chrono::milliseconds time) {
  return platform::waitReadable(socket, time) == WaitResult::timedOut;
}

std::uint16_t portOf(const SocketAddress& address) {
  // Both systems keep the port in the third and fourth byte, in network order.
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(address.bytes[2]) << 8 |
                                    std::to_integer<unsigned>(address.bytes[3]));
}

}  // namespace quillgate::test
