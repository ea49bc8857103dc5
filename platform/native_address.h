// A SocketAddress as the system sees it. Only for the sources of sockets in platform/win32 and
// platform/posix, which include their system's headers themselves. Pure; any thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>

#include "platform/socket.h"

struct sockaddr;  // every system's own

namespace quillgate::platform {

[[nodiscard]] inline const sockaddr* nativeOf(const SocketAddress& address) {
  return reinterpret_cast<const sockaddr*>(address.bytes.data());
}

[[nodiscard]] inline sockaddr* nativeOf(SocketAddress& address) {
  return reinterpret_cast<sockaddr*>(address.bytes.data());
}

// The start of `address` as a structure of the system; zero where `address` is shorter.
template <typename Native>
[[nodiscard]] Native nativeCopyOf(std::span<const std::byte> address) {
  Native native{};
  // Not memcpy: an empty span may have no address.
  std::ranges::copy(address.first(std::min(sizeof(native), address.size())),
                    std::as_writable_bytes(std::span(&native, 1)).begin());
  return native;
}

// A structure of the system, of at most kAddressStorageBytes, as a SocketAddress.
[[nodiscard]] SocketAddress addressFrom(const void* native, std::size_t length);

// Whether `text` has only digits from 0 to 9 and dots. inet_pton and InetPtonW refuse whatever else
// is no IPv4 address, leading zeros included. But both stop at a zero character, and the InetPtonW
// of wine 8 also takes full-width digits and dots.
[[nodiscard]] bool hasOnlyDigitsAndDots(std::wstring_view text);

}  // namespace quillgate::platform
