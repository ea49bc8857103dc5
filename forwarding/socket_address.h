// Socket addresses as the log and the monitor show them. Pure; any thread.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace quillgate {

// The address as text, an IPv4 one as "192.0.2.1:80"; "?" when it cannot be converted or is longer
// than 128 bytes.
[[nodiscard]] std::wstring formatSocketAddress(std::span<const std::byte> address);

}  // namespace quillgate
