// Real sockets on the loopback interface for tests, on ports that the system picks. Every wait ends
// at the deadline of tests/support/deadline.h.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/socket.h"

namespace quillgate::test {

// 127.0.0.1 with `port`.
[[nodiscard]] platform::SocketAddress loopback(std::uint16_t port);

// A port that nothing on this machine uses at the moment, and that the system gives to nobody by
// itself.
[[nodiscard]] std::uint16_t freePort(platform::Transport transport);
// The same for TCP and UDP at once.
[[nodiscard]] std::uint16_t freePortOfBothProtocols();

// A socket that has some port of all local IPv4 addresses for itself: no other can be bound to it,
// whatever option that one sets.
[[nodiscard]] platform::Socket holdPort(platform::Transport transport);

// The port that the socket is bound to.
[[nodiscard]] std::uint16_t localPort(const platform::Socket& socket);

// TCP: a listener on 127.0.0.1; a connection to a port of it, not open when it is refused; the next
// connection that reaches a listener, not open when none does.
[[nodiscard]] platform::Socket listenOnLoopback();
[[nodiscard]] platform::Socket connectToLoopback(std::uint16_t port);
[[nodiscard]] platform::Socket acceptFrom(const platform::Socket& listener);

// Two connected TCP sockets.
struct ConnectedPair {
  platform::Socket client;
  platform::Socket server;
};
[[nodiscard]] ConnectedPair connectedPair();

// Ends the sending direction: the peer reads all that was sent and then the end.
void closeSendingSide(const platform::Socket& socket);

// Lets the sends of a socket fail that block until the deadline.
void limitSends(const platform::Socket& socket);

// Closes the connection so that the peer sees an error instead of an end.
void resetConnection(platform::Socket socket);

// UDP: a socket on 127.0.0.1.
[[nodiscard]] platform::Socket udpOnLoopback();

// Binds to any address of this machine; port 0 lets the system pick one.
[[nodiscard]] bool bindTo(const platform::Socket& socket, const platform::SocketAddress& address);

// Sends all of `text`; false after an error, or when the peer takes no more of it.
[[nodiscard]] bool sendAll(const platform::Socket& socket, std::string_view text);

// Receives `size` bytes, or less when the peer ends, resets or is late.
[[nodiscard]] std::string receiveExactly(const platform::Socket& socket, std::size_t size);

// What ends a stream of bytes.
enum class StreamEnd { orderly, reset, late };
// Receives until the peer ends, resets or is late; appends what comes to `received` if it is given.
// Wine reports a reset that came before this call as an orderly end.
[[nodiscard]] StreamEnd receiveUntilEnd(const platform::Socket& socket,
                                        std::string* received = nullptr);

// Sends one datagram; false when the system does not take it whole.
[[nodiscard]] bool sendDatagramTo(const platform::Socket& socket, std::uint16_t port,
                                  std::string_view text);

// The next datagram and the port of its sender; nothing when none comes.
struct Datagram {
  std::string text;
  std::uint16_t senderPort = 0;
};
[[nodiscard]] std::optional<Datagram> receiveNextDatagram(const platform::Socket& socket);

// Whether something can be received or accepted now or within `wait`.
[[nodiscard]] bool isReadable(const platform::Socket& socket, std::chrono::milliseconds wait = {});
// Whether nothing can be received now or for `time` from now.
[[nodiscard]] bool staysQuiet(const platform::Socket& socket,
                              std::chrono::milliseconds time = std::chrono::milliseconds(100));

// The port in an IPv4 address.
[[nodiscard]] std::uint16_t portOf(const platform::SocketAddress& address);

}  // namespace quillgate::test
