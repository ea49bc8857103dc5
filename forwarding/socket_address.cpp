#include "forwarding/socket_address.h"

#include "platform/socket.h"

namespace quillgate {

std::wstring formatSocketAddress(std::span<const std::byte> address) {
  if (address.size() > platform::kAddressStorageBytes) return L"?";
  return platform::addressToText(address).value_or(L"?");
}

}  // namespace quillgate
