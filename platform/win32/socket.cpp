#include "platform/socket.h"

#include <winsock2.h>
// after winsock2.h
#include <windows.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <memory>

#include "platform/native_address.h"

namespace quillgate::platform {
namespace {

static_assert(sizeof(SOCKET) == sizeof(NativeSocket) && INVALID_SOCKET == kInvalidSocket);
static_assert(sizeof(sockaddr_storage) == kAddressStorageBytes);

constexpr DWORD kMaxAddressCharacters = 128;

enum class Blocking : u_long { on = 0, off = 1 };

bool setBlocking(const Socket& socket, Blocking blocking) {
  auto nonBlocking = static_cast<u_long>(blocking);
  return ::ioctlsocket(socket.native(), static_cast<long>(FIONBIO), &nonBlocking) == 0;
}

// What fits the int counts of Winsock.
int lengthOf(std::span<const std::byte> data) {
  return static_cast<int>(std::min(data.size(), static_cast<std::size_t>(INT32_MAX)));
}

char* charsOf(std::span<std::byte> data) { return reinterpret_cast<char*>(data.data()); }

const char* charsOf(std::span<const std::byte> data) {
  return reinterpret_cast<const char*>(data.data());
}

bool waitWritable(const Socket& socket) {
  fd_set sockets{};
  FD_SET(socket.native(), &sockets);
  return ::select(0, nullptr, &sockets, nullptr, nullptr) > 0;
}

}  // namespace

void Socket::close() noexcept {
  if (isOpen()) ::closesocket(std::exchange(native_, kInvalidSocket));
}

Socket openIpv4Socket(Transport transport) noexcept {
  if (transport == Transport::tcp) return Socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
  // Winsock has no receive call that never blocks, so the socket itself must not.
  Socket socket(::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
  if (socket.isOpen() && !setBlocking(socket, Blocking::off)) socket.close();
  return socket;
}

Socket openTcpSocketFor(const SocketAddress& target) noexcept {
  return Socket(::socket(nativeOf(target)->sa_family, SOCK_STREAM, IPPROTO_TCP));
}

void allowAddressReuse(const Socket& socket) noexcept {
  const int on = 1;
  ::setsockopt(socket.native(), SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&on),
               sizeof(on));
}

void askForReceiveBuffer(const Socket& socket, std::int32_t bytes) noexcept {
  ::setsockopt(socket.native(), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&bytes),
               sizeof(bytes));
}

bool bindToAllIpv4(const Socket& socket, std::uint16_t port) noexcept {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(INADDR_ANY);
  address.sin_port = ::htons(port);
  return ::bind(socket.native(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

bool startListening(const Socket& socket) noexcept {
  // Non-blocking, so that accepting a connection that has gone again does not wait for the next.
  return setBlocking(socket, Blocking::off) && ::listen(socket.native(), SOMAXCONN) == 0;
}

WaitResult waitReadable(const Socket& socket, std::chrono::microseconds timeout) noexcept {
  fd_set sockets{};
  FD_SET(socket.native(), &sockets);
  timeval limit{.tv_sec = static_cast<long>(timeout.count() / 1'000'000),
                .tv_usec = static_cast<long>(timeout.count() % 1'000'000)};
  const int ready = ::select(0, &sockets, nullptr, nullptr, &limit);
  if (ready < 0) return WaitResult::failed;
  return ready == 0 ? WaitResult::timedOut : WaitResult::readable;
}

Socket acceptConnection(const Socket& listener, SocketAddress& peer) noexcept {
  peer = {};
  int length = kAddressStorageBytes;
  Socket accepted(::accept(listener.native(), nativeOf(peer), &length));
  if (!accepted.isOpen()) {
    const int error = ::WSAGetLastError();
    if (error == WSAEMFILE || error == WSAENOBUFS) {
      ::Sleep(static_cast<DWORD>(kPauseWithoutDescriptors.count()));
    }
    return accepted;
  }
  peer.length = length;
  // It inherits the listener's mode.
  if (!setBlocking(accepted, Blocking::on)) accepted.close();
  return accepted;
}

std::optional<SocketAddress> resolveFirst(const std::wstring& host, const std::wstring& service) {
  ADDRINFOW hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  ADDRINFOW* found = nullptr;
  if (::GetAddrInfoW(host.c_str(), service.c_str(), &hints, &found) != 0) return std::nullopt;
  const std::unique_ptr<ADDRINFOW, decltype(&::FreeAddrInfoW)> owner(found, &::FreeAddrInfoW);
  if (found == nullptr || found->ai_addrlen > kAddressStorageBytes) return std::nullopt;
  return addressFrom(found->ai_addr, found->ai_addrlen);
}

bool connectTo(const Socket& socket, const SocketAddress& target) noexcept {
  return ::connect(socket.native(), nativeOf(target), target.length) == 0;
}

std::int32_t receive(const Socket& socket, std::span<std::byte> buffer) noexcept {
  return ::recv(socket.native(), charsOf(buffer), lengthOf(buffer), 0);
}

std::size_t bytesWaiting(const Socket& socket) noexcept {
  u_long waiting = 0;
  return ::ioctlsocket(socket.native(), FIONREAD, &waiting) == 0 ? waiting : 0;
}

std::int32_t send(const Socket& socket, std::span<const std::byte> data) noexcept {
  return ::send(socket.native(), charsOf(data), lengthOf(data), 0);
}

std::int32_t receiveDatagram(const Socket& socket, std::span<std::byte> buffer,
                             SocketAddress& sender) noexcept {
  int length = kAddressStorageBytes;
  const int size =
      ::recvfrom(socket.native(), charsOf(buffer), lengthOf(buffer), 0, nativeOf(sender), &length);
  if (size >= 0) sender.length = length;
  return size;
}

std::int32_t sendDatagram(const Socket& socket, std::span<const std::byte> data,
                          const SocketAddress& target) noexcept {
  while (true) {
    const int sent = ::sendto(socket.native(), charsOf(data), lengthOf(data), 0, nativeOf(target),
                              target.length);
    if (sent >= 0 || ::WSAGetLastError() != WSAEWOULDBLOCK) return sent;
    if (!waitWritable(socket)) return -1;
  }
}

std::optional<SocketAddress> parseIpv4(const std::wstring& text, std::uint16_t port) {
  if (!hasOnlyDigitsAndDots(text)) return std::nullopt;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = ::htons(port);
  if (::InetPtonW(AF_INET, text.c_str(), &address.sin_addr) != 1) return std::nullopt;
  return addressFrom(&address, sizeof(address));
}

std::optional<std::wstring> addressToText(std::span<const std::byte> address) {
  if (address.size() > kAddressStorageBytes) return std::nullopt;
  auto copy = nativeCopyOf<sockaddr_storage>(address);
  wchar_t text[kMaxAddressCharacters];
  DWORD length = kMaxAddressCharacters;
  if (::WSAAddressToStringW(reinterpret_cast<sockaddr*>(&copy), static_cast<DWORD>(address.size()),
                            nullptr, text, &length) != 0) {
    return std::nullopt;
  }
  return std::wstring(text);
}

}  // namespace quillgate::platform
