#include "bench/loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace quillgate::bench {

namespace {

constexpr unsigned kClientAddresses = 8;

[[noreturn]] void failCall(const char* call) {
  std::perror(call);
  std::_Exit(1);
}

// The address 127.0.0.`host`.
sockaddr_in loopback(unsigned host, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl((127U << 24) | host);
  return address;
}

template <typename Value>
void setOption(int descriptor, int level, int name, const Value& value) {
  if (setsockopt(descriptor, level, name, &value, sizeof value) != 0) failCall("setsockopt");
}

int openSocket() {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) failCall("socket");
  return descriptor;
}

}  // namespace

void fail(const char* message) {
  std::fprintf(stderr, "%s\n", message);
  std::_Exit(1);
}

Connection::~Connection() {
  if (descriptor_ >= 0) close(descriptor_);
}

void Connection::send(std::span<const std::byte> data) const {
  while (!data.empty()) {
    const ssize_t sent = ::send(descriptor_, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent <= 0) failCall("send");
    data = data.subspan(static_cast<std::size_t>(sent));
  }
}

void Connection::receive(std::span<std::byte> buffer) const {
  while (!buffer.empty()) {
    const ssize_t received = recv(descriptor_, buffer.data(), buffer.size(), MSG_WAITALL);
    if (received < 0) failCall("recv");
    if (received == 0) fail("the relay closed the connection too early");
    buffer = buffer.subspan(static_cast<std::size_t>(received));
  }
}

void Connection::dropWhenClosed() const {
  setOption(descriptor_, SOL_SOCKET, SO_LINGER, linger{.l_onoff = 1, .l_linger = 0});
}

Connection connectTo(std::uint16_t port, unsigned clientNumber) {
  const int descriptor = openSocket();
  Connection connection(descriptor);
  // The port is chosen by connect, which knows the target: it may be in use towards another one.
  setOption(descriptor, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, 1);
  const sockaddr_in client = loopback(1 + clientNumber % kClientAddresses, 0);
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&client), sizeof client) != 0) {
    failCall("bind");
  }
  const sockaddr_in server = loopback(1, port);
  if (connect(descriptor, reinterpret_cast<const sockaddr*>(&server), sizeof server) != 0) {
    failCall("connect");
  }
  return connection;
}

Listener::Listener(std::uint16_t port) : descriptor_(openSocket()) {
  setOption(descriptor_, SOL_SOCKET, SO_REUSEADDR, 1);
  const sockaddr_in address = loopback(1, port);
  if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(descriptor_, SOMAXCONN) != 0) {
    failCall("listen");
  }
}

Listener::~Listener() { close(descriptor_); }

std::optional<Connection> Listener::accept() const {
  const int descriptor = accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
  if (descriptor < 0) {
    if (errno == EINVAL) return std::nullopt;  // stopped
    failCall("accept");
  }
  return Connection(descriptor);
}

void Listener::stop() const { shutdown(descriptor_, SHUT_RD); }

}  // namespace quillgate::bench
