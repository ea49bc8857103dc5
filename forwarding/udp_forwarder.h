// UDP forwarding: one worker, one socket, one current client per rule. Datagrams from the target go
// to the client that spoke last; all others come from a client and go to the target.
#pragma once

#include <cstddef>
#include <cstdint>

#include "forwarding/forward_rule.h"
#include "forwarding/worker.h"

namespace quillgate {

// Room for any datagram; the largest one that IPv4 carries has 65507 bytes.
inline constexpr std::size_t kDatagramBufferBytes = 65535;

// Thread body: relays until the running flag is cleared, which it notices within
// kRunningCheckInterval, or returns at once when the socket, the port or the target address cannot
// be had. The target must be a dotted IPv4 address.
void runUdpRule(const WorkerContext& context, std::int32_t ruleIndex, ForwardRule rule) noexcept;

}  // namespace quillgate
