// Sockets as the engine uses them: TCP and UDP over blocking native sockets.
//
// Any thread may call any function; one Socket may be used by several threads at once as long as
// they do not close it or repeat the same direction. startPlatform() (platform/system.h) must have
// succeeded before. No function throws and none writes a log line: a failure is a false, an empty
// value or a negative count, and the caller knows what it means. A call that a signal interrupts is
// repeated. Sending to a peer that has gone never raises a signal.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace quillgate::platform {

using NativeSocket = std::uintptr_t;
inline constexpr NativeSocket kInvalidSocket = ~NativeSocket{0};

enum class Transport { tcp, udp };

// Bytes of the storage that every address of this program lives in: the size that POSIX and Winsock
// give sockaddr_storage.
inline constexpr std::size_t kAddressStorageBytes = 128;

// A native socket address: the first `length` bytes are a sockaddr of this system, the rest is
// zero.
struct SocketAddress {
  alignas(8) std::array<std::byte, kAddressStorageBytes> bytes{};
  std::int32_t length = 0;

  [[nodiscard]] std::span<const std::byte> view() const {
    return std::span(bytes).first(static_cast<std::size_t>(length));
  }
};

// Owns one native socket and closes it. Closing with unread or unsent bytes follows the system's
// defaults: no linger option is ever set.
class Socket {
 public:
  Socket() noexcept = default;
  explicit Socket(NativeSocket native) noexcept : native_(native) {}
  Socket(Socket&& other) noexcept : native_(std::exchange(other.native_, kInvalidSocket)) {}
  Socket& operator=(Socket&& other) noexcept;
  ~Socket() { close(); }

  [[nodiscard]] bool isOpen() const noexcept { return native_ != kInvalidSocket; }
  [[nodiscard]] NativeSocket native() const noexcept { return native_; }
  // Closes the socket if it is open; harmless to repeat.
  void close() noexcept;

 private:
  NativeSocket native_ = kInvalidSocket;
};

// Opens an IPv4 socket; not open when the system refuses.
[[nodiscard]] Socket openIpv4Socket(Transport transport) noexcept;

// Opens a TCP socket of the address family (IPv4 or IPv6) that `target` has.
[[nodiscard]] Socket openTcpSocketFor(const SocketAddress& target) noexcept;

// Sets the system's address-reuse option, so that the local address can be bound while an earlier
// connection of it is still closing. It also lets sockets share a port. On Linux: UDP sockets that
// all have the option; the one bound last receives every datagram, unless another one is bound to
// the very address that the datagram was sent to. On Windows, as documented: any sockets, for TCP,
// too, unless one of them has SO_EXCLUSIVEADDRUSE; who receives what is undefined. Best effort.
void allowAddressReuse(const Socket& socket) noexcept;

// Asks for room for `bytes` bytes that have arrived and wait to be received, so that a burst finds
// some; the system may grant less. Best effort.
void askForReceiveBuffer(const Socket& socket, std::int32_t bytes) noexcept;

// Binds to `port` (host byte order) on all local IPv4 addresses.
[[nodiscard]] bool bindToAllIpv4(const Socket& socket, std::uint16_t port) noexcept;

// Starts listening with the longest backlog the system allows.
[[nodiscard]] bool startListening(const Socket& socket) noexcept;

enum class WaitResult { readable, timedOut, failed };

// Blocks until `socket` has something to receive or to accept, or `timeout` has passed. A signal
// ends the wait early as timedOut. Works for every descriptor number.
[[nodiscard]] WaitResult waitReadable(const Socket& socket,
                                      std::chrono::microseconds timeout) noexcept;

// How long acceptConnection() pauses when the process has no descriptor left.
inline constexpr std::chrono::milliseconds kPauseWithoutDescriptors{10};

// Accepts one connection that waits on `listener` and stores its address in `peer`. Never blocks:
// a connection that has gone again since the wait gives a socket that is not open. When the process
// has no descriptor left it pauses for kPauseWithoutDescriptors first, so that a loop around it
// does not spin. The accepted socket blocks.
[[nodiscard]] Socket acceptConnection(const Socket& listener, SocketAddress& peer) noexcept;

// Resolves a host name or a numeric address, IPv4 or IPv6, and a service, a decimal port, to the
// first TCP address the system offers. Neither may be empty. Blocks as long as the system's
// resolver does.
[[nodiscard]] std::optional<SocketAddress> resolveFirst(const std::wstring& host,
                                                        const std::wstring& service);

// Connects and blocks as long as the system tries.
[[nodiscard]] bool connectTo(const Socket& socket, const SocketAddress& target) noexcept;

// Receives what is there, at most `buffer`, and blocks while there is nothing. Returns the number
// of bytes, 0 when the peer has closed its side, or a negative value on an error.
[[nodiscard]] std::int32_t receive(const Socket& socket, std::span<std::byte> buffer) noexcept;

// How many bytes have arrived that nobody has received yet: receive() does not wait for those. 0
// when the socket cannot tell.
[[nodiscard]] std::size_t bytesWaiting(const Socket& socket) noexcept;

// Sends at least the first byte of `data` and blocks while nothing fits. Returns the number of
// bytes taken, which may be less than offered, or a value of 0 or less on an error.
[[nodiscard]] std::int32_t send(const Socket& socket, std::span<const std::byte> data) noexcept;

// Receives one datagram that has already arrived, and its sender. Never blocks. Returns its size,
// 0 for an empty one, or a negative value when there is none or on an error (a refusal reported for
// an earlier datagram among them, on some systems). A datagram larger than `buffer` is lost: an
// error. After an error `buffer` and `sender` hold nothing of use.
[[nodiscard]] std::int32_t receiveDatagram(const Socket& socket, std::span<std::byte> buffer,
                                           SocketAddress& sender) noexcept;

// Sends one datagram whole. Blocks only while the system's send buffer is full. Returns the number
// of bytes sent or a negative value on an error.
std::int32_t sendDatagram(const Socket& socket, std::span<const std::byte> data,
                          const SocketAddress& target) noexcept;

// The IPv4 address written in `text` as four decimal numbers with dots, with `port`; empty for any
// other text: host names, fewer numbers, blanks, hexadecimal, and leading zeros, which some
// programs read as octal.
[[nodiscard]] std::optional<SocketAddress> parseIpv4(const std::wstring& text, std::uint16_t port);

// Whether two IPv4 addresses have the same address and the same port; the family is not compared.
[[nodiscard]] bool sameIpv4Endpoint(const SocketAddress& a, const SocketAddress& b) noexcept;

// The address as text: "192.0.2.1:80", "[2001:db8::1]:80"; without ":port", and for IPv6 without
// the brackets, when the port is 0. Empty when `address` is no address of a known family or has
// more than 128 bytes.
[[nodiscard]] std::optional<std::wstring> addressToText(std::span<const std::byte> address);

}  // namespace quillgate::platform
