#include "platform/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <iterator>
#include <limits>
#include <memory>
#include <thread>

#include "platform/native_address.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/text.h"

namespace quillgate::platform {
namespace {

static_assert(sizeof(sockaddr_storage) == kAddressStorageBytes);

int descriptorOf(const Socket& socket) { return static_cast<int>(socket.native()); }

Socket openSocket(int family, int type, int protocol) {
  const int descriptor = ::socket(family, type | SOCK_CLOEXEC, protocol);
  return descriptor < 0 ? Socket() : Socket(static_cast<NativeSocket>(descriptor));
}

// What fits the 32-bit counts of the seam.
std::size_t lengthOf(std::span<const std::byte> data) {
  return std::min(data.size(), static_cast<std::size_t>(INT32_MAX));
}

// A connect that a signal interrupted goes on in the background.
bool waitUntilConnected(int descriptor) {
  pollfd wait{descriptor, POLLOUT, 0};
  if (untilNotInterrupted([&] { return ::poll(&wait, 1, -1); }) < 0) return false;
  int error = 0;
  socklen_t length = sizeof(error);
  return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0;
}

// By hand: inet_ntop goes through formatted output, which takes a page more of every session's
// stack.
std::wstring ipv4ToText(const sockaddr_in& address) {
  constexpr std::wstring_view kLongest = L"255.255.255.255:65535";
  std::wstring text;
  text.reserve(kLongest.size());
  const auto put = [&text](std::uint32_t value) {
    char digits[std::numeric_limits<std::uint32_t>::digits10 + 1];
    text.append(digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr);
  };
  const std::uint32_t bits = ntohl(address.sin_addr.s_addr);
  for (int shift = 24; shift >= 0; shift -= 8) {
    if (!text.empty()) text += L'.';
    put(bits >> shift & 0xFF);
  }
  if (address.sin_port != 0) {
    text += L':';
    put(ntohs(address.sin_port));
  }
  return text;
}

std::optional<std::wstring> ipv6ToText(const sockaddr_in6& address) {
  char bytes[INET6_ADDRSTRLEN];
  if (::inet_ntop(AF_INET6, &address.sin6_addr, bytes, sizeof(bytes)) == nullptr) {
    return std::nullopt;
  }
  std::wstring host = toWide(bytes);
  if (address.sin6_scope_id != 0) host += L"%" + std::to_wstring(address.sin6_scope_id);
  if (address.sin6_port == 0) return host;
  return L"[" + host + L"]:" + std::to_wstring(ntohs(address.sin6_port));
}

}  // namespace

void Socket::close() noexcept {
  // Linux has released the descriptor even when close() reports EINTR.
  if (isOpen()) ::close(static_cast<int>(std::exchange(native_, kInvalidSocket)));
}

Socket openIpv4Socket(Transport transport) noexcept {
  return transport == Transport::tcp ? openSocket(AF_INET, SOCK_STREAM, IPPROTO_TCP)
                                     : openSocket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
}

Socket openTcpSocketFor(const SocketAddress& target) noexcept {
  return openSocket(nativeOf(target)->sa_family, SOCK_STREAM, IPPROTO_TCP);
}

void allowAddressReuse(const Socket& socket) noexcept {
  const int on = 1;
  ::setsockopt(descriptorOf(socket), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
}

void askForReceiveBuffer(const Socket& socket, std::int32_t bytes) noexcept {
  ::setsockopt(descriptorOf(socket), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof(bytes));
}

bool bindToAllIpv4(const Socket& socket, std::uint16_t port) noexcept {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(port);
  return ::bind(descriptorOf(socket), reinterpret_cast<const sockaddr*>(&address),
                sizeof(address)) == 0;
}

bool startListening(const Socket& socket) noexcept {
  // Non-blocking, so that accepting a connection that has gone again does not wait for the next.
  const int flags = ::fcntl(descriptorOf(socket), F_GETFL);
  return flags >= 0 && ::fcntl(descriptorOf(socket), F_SETFL, flags | O_NONBLOCK) == 0 &&
         ::listen(descriptorOf(socket), SOMAXCONN) == 0;
}

WaitResult waitReadable(const Socket& socket, std::chrono::microseconds timeout) noexcept {
  pollfd wait{descriptorOf(socket), POLLIN, 0};
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(timeout);
  const int ready = ::poll(&wait, 1, static_cast<int>(milliseconds.count()));
  if (ready < 0) return errno == EINTR ? WaitResult::timedOut : WaitResult::failed;
  if (ready == 0) return WaitResult::timedOut;
  return (wait.revents & POLLNVAL) != 0 ? WaitResult::failed : WaitResult::readable;
}

Socket acceptConnection(const Socket& listener, SocketAddress& peer) noexcept {
  peer = {};
  socklen_t length = kAddressStorageBytes;
  const int descriptor = untilNotInterrupted(
      [&] { return ::accept4(descriptorOf(listener), nativeOf(peer), &length, SOCK_CLOEXEC); });
  if (descriptor < 0) {
    if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
      std::this_thread::sleep_for(kPauseWithoutDescriptors);
    }
    return Socket();
  }
  peer.length = static_cast<std::int32_t>(length);
  return Socket(static_cast<NativeSocket>(descriptor));
}

std::optional<SocketAddress> resolveFirst(const std::wstring& host, const std::wstring& service) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  addrinfo* found = nullptr;
  if (::getaddrinfo(toBytes(host).c_str(), toBytes(service).c_str(), &hints, &found) != 0) {
    return std::nullopt;
  }
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(found, &::freeaddrinfo);
  if (found == nullptr || found->ai_addrlen > kAddressStorageBytes) return std::nullopt;
  return addressFrom(found->ai_addr, found->ai_addrlen);
}

bool connectTo(const Socket& socket, const SocketAddress& target) noexcept {
  const int descriptor = descriptorOf(socket);
  if (::connect(descriptor, nativeOf(target), static_cast<socklen_t>(target.length)) == 0) {
    return true;
  }
  return errno == EINTR && waitUntilConnected(descriptor);
}

std::int32_t receive(const Socket& socket, std::span<std::byte> buffer) noexcept {
  return static_cast<std::int32_t>(untilNotInterrupted(
      [&] { return ::recv(descriptorOf(socket), buffer.data(), lengthOf(buffer), 0); }));
}

std::size_t bytesWaiting(const Socket& socket) noexcept {
  int waiting = 0;
  return ::ioctl(descriptorOf(socket), FIONREAD, &waiting) == 0 ? static_cast<std::size_t>(waiting)
                                                                : 0;
}

std::int32_t send(const Socket& socket, std::span<const std::byte> data) noexcept {
  return static_cast<std::int32_t>(untilNotInterrupted(
      [&] { return ::send(descriptorOf(socket), data.data(), lengthOf(data), MSG_NOSIGNAL); }));
}

std::int32_t receiveDatagram(const Socket& socket, std::span<std::byte> buffer,
                             SocketAddress& sender) noexcept {
  socklen_t length = kAddressStorageBytes;
  const ssize_t size = untilNotInterrupted([&] {
    // MSG_TRUNC asks for the size the datagram had, so that one cut to fit is known.
    return ::recvfrom(descriptorOf(socket), buffer.data(), lengthOf(buffer),
                      MSG_DONTWAIT | MSG_TRUNC, nativeOf(sender), &length);
  });
  if (size < 0 || static_cast<std::size_t>(size) > buffer.size()) return -1;
  sender.length = static_cast<std::int32_t>(length);
  return static_cast<std::int32_t>(size);
}

std::int32_t sendDatagram(const Socket& socket, std::span<const std::byte> data,
                          const SocketAddress& target) noexcept {
  return static_cast<std::int32_t>(untilNotInterrupted([&] {
    return ::sendto(descriptorOf(socket), data.data(), data.size(), MSG_NOSIGNAL, nativeOf(target),
                    static_cast<socklen_t>(target.length));
  }));
}

std::optional<SocketAddress> parseIpv4(const std::wstring& text, std::uint16_t port) {
  if (!hasOnlyDigitsAndDots(text)) return std::nullopt;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  if (::inet_pton(AF_INET, toBytes(text).c_str(), &address.sin_addr) != 1) return std::nullopt;
  return addressFrom(&address, sizeof(address));
}

std::optional<std::wstring> addressToText(std::span<const std::byte> address) {
  if (address.size() > kAddressStorageBytes) return std::nullopt;
  const sa_family_t family = nativeCopyOf<sockaddr_storage>(address).ss_family;
  if (family == AF_INET && address.size() >= sizeof(sockaddr_in)) {
    return ipv4ToText(nativeCopyOf<sockaddr_in>(address));
  }
  if (family == AF_INET6 && address.size() >= sizeof(sockaddr_in6)) {
    return ipv6ToText(nativeCopyOf<sockaddr_in6>(address));
  }
  return std::nullopt;
}

}  // namespace quillgate::platform
