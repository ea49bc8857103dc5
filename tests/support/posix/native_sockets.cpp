// The part of tests/support/test_sockets.h that needs the system's own calls.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "tests/support/deadline.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {

using platform::Socket;
using platform::SocketAddress;

namespace {

int descriptorOf(const Socket& socket) { return static_cast<int>(socket.native()); }

}  // namespace

std::uint16_t localPort(const Socket& socket) {
  SocketAddress address;
  socklen_t length = platform::kAddressStorageBytes;
  EXPECT_EQ(::getsockname(descriptorOf(socket), reinterpret_cast<sockaddr*>(address.bytes.data()),
                          &length),
            0);
  return portOf(address);
}

Socket holdPort(platform::Transport transport) {
  Socket socket = platform::openIpv4Socket(transport);
  EXPECT_TRUE(platform::bindToAllIpv4(socket, 0));
  return socket;
}

bool bindTo(const Socket& socket, const SocketAddress& address) {
  return ::bind(descriptorOf(socket), reinterpret_cast<const sockaddr*>(address.bytes.data()),
                static_cast<socklen_t>(address.length)) == 0;
}

void closeSendingSide(const Socket& socket) {
  EXPECT_EQ(::shutdown(descriptorOf(socket), SHUT_WR), 0);
}

void limitSends(const Socket& socket) {
  const timeval time{.tv_sec = kDeadline.count(), .tv_usec = 0};
  ::setsockopt(descriptorOf(socket), SOL_SOCKET, SO_SNDTIMEO, &time, sizeof(time));
}

void resetConnection(Socket socket) {
  const linger atOnce{.l_onoff = 1, .l_linger = 0};
  EXPECT_EQ(::setsockopt(descriptorOf(socket), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce)), 0);
}

}  // namespace quillgate::test
