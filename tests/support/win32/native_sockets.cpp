// The part of tests/support/test_sockets.h that needs the system's own calls.
#include <gtest/gtest.h>
#include <winsock2.h>

#include "tests/support/deadline.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {

using platform::Socket;
using platform::SocketAddress;

std::uint16_t localPort(const Socket& socket) {
  SocketAddress address;
  int length = platform::kAddressStorageBytes;
  EXPECT_EQ(
      ::getsockname(socket.native(), reinterpret_cast<sockaddr*>(address.bytes.data()), &length),
      0);
  return portOf(address);
}

Socket holdPort(platform::Transport transport) {
  Socket socket = platform::openIpv4Socket(transport);
  // Without it, a socket that allows address reuse could be bound to the port, too.
  const int on = 1;
  EXPECT_EQ(::setsockopt(socket.native(), SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
                         reinterpret_cast<const char*>(&on), sizeof(on)),
            0);
  EXPECT_TRUE(platform::bindToAllIpv4(socket, 0));
  return socket;
}

bool bindTo(const Socket& socket, const SocketAddress& address) {
  return ::bind(socket.native(), reinterpret_cast<const sockaddr*>(address.bytes.data()),
                address.length) == 0;
}

void closeSendingSide(const Socket& socket) { EXPECT_EQ(::shutdown(socket.native(), SD_SEND), 0); }

void limitSends(const Socket& socket) {
  const auto time = static_cast<DWORD>(std::chrono::milliseconds(kDeadline).count());
  ::setsockopt(socket.native(), SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char*>(&time),
               sizeof(time));
}

void resetConnection(Socket socket) {
  const linger atOnce{.l_onoff = 1, .l_linger = 0};
  EXPECT_EQ(::setsockopt(socket.native(), SOL_SOCKET, SO_LINGER,
                         reinterpret_cast<const char*>(&atOnce), sizeof(atOnce)),
            0);
}

}  // namespace quillgate::test
