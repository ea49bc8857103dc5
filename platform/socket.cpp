// What sockets and addresses have in common on every system; the rest is in platform/win32 and
// platform/posix.
#include "platform/socket.h"

#include <algorithm>
#include <cstring>

#include "platform/native_address.h"

namespace quillgate::platform {
namespace {

// Port and address of an IPv4 sockaddr lie behind its family, in network order, on every system.
constexpr std::size_t kIpv4EndpointOffset = 2;
constexpr std::size_t kIpv4EndpointBytes = 6;

std::span<const std::byte> ipv4EndpointOf(const SocketAddress& address) {
  return std::span(address.bytes).subspan(kIpv4EndpointOffset, kIpv4EndpointBytes);
}

}  // namespace

Socket& Socket::operator=(Socket&& other) noexcept {
  if (this != &other) {
    close();
    native_ = std::exchange(other.native_, kInvalidSocket);
  }
  return *this;
}

bool sameIpv4Endpoint(const SocketAddress& a, const SocketAddress& b) noexcept {
  return std::ranges::equal(ipv4EndpointOf(a), ipv4EndpointOf(b));
}

SocketAddress addressFrom(const void* native, std::size_t length) {
  SocketAddress address;
  std::memcpy(address.bytes.data(), native, length);
  address.length = static_cast<std::int32_t>(length);
  return address;
}

bool hasOnlyDigitsAndDots(std::wstring_view text) {
  return text.find_first_not_of(L"0123456789.") == text.npos;
}

}  // namespace quillgate::platform
