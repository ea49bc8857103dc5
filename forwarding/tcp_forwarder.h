// TCP forwarding: one listener per rule, one detached session per client, one pump per direction. A
// plain byte relay: it never looks into the data, and it offers every chunk to the monitor before
// it sends it on.
//
// Thread bodies: each returns when what it serves has ended, and reports only to the log and the
// monitor.
#pragma once

#include <cstdint>
#include <string_view>

#include "forwarding/forward_rule.h"
#include "forwarding/worker.h"
#include "platform/socket.h"

namespace quillgate {

// Most bytes that a pump receives at once, which makes a chunk, and most chunks that it sends on at
// once.
inline constexpr std::size_t kRelayBufferBytes = 8192;
inline constexpr std::size_t kMaxChunksAtOnce = 8;

// Listens on the rule's local port until the running flag is cleared, which it notices within
// kRunningCheckInterval, and starts a session for each client. Sessions that are open then go on.
void runTcpListener(const WorkerContext& context, std::int32_t ruleIndex,
                    ForwardRule rule) noexcept;

// Serves one accepted client until both directions have ended.
void runTcpSession(Sinks sinks, std::int32_t ruleIndex, platform::Socket clientSocket,
                   platform::SocketAddress peerAddress, ForwardRule rule) noexcept;

// Relays one direction, "C->S" or "S->C", until its sender closes or a socket fails. Chunks that
// are there already go on together, each captured before; nothing waits for the next one. Returns
// the last result of receiving or sending.
std::int32_t relayAndCapture(TrafficMonitor& monitor, std::int32_t ruleIndex,
                             std::wstring_view peerText, std::wstring_view directionText,
                             const platform::Socket& fromSocket,
                             const platform::Socket& toSocket) noexcept;

}  // namespace quillgate
