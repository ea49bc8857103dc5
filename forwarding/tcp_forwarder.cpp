#include "forwarding/tcp_forwarder.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "core/text.h"
#include "forwarding/socket_address.h"
#include "platform/thread.h"

namespace quillgate {
namespace {

using platform::Socket;
using platform::SocketAddress;

Socket openListener(std::uint16_t localPort) {
  Socket listener = platform::openIpv4Socket(platform::Transport::tcp);
  if (!listener.isOpen()) return listener;
  platform::allowAddressReuse(listener);
  if (!platform::bindToAllIpv4(listener, localPort) || !platform::startListening(listener)) {
    listener.close();
  }
  return listener;
}

// Where the rule leads. The system's resolver is only asked for names.
std::optional<SocketAddress> targetOf(const ForwardRule& rule) {
  if (auto address = platform::parseIpv4(rule.targetIp, rule.targetPort)) return address;
  return platform::resolveFirst(rule.targetIp, decimalText(rule.targetPort));
}

// Starts a session for the client that waits longest. False when none could be accepted.
bool acceptClient(const Sinks& sinks, std::int32_t ruleIndex, const ForwardRule& rule,
                  const Socket& listener) {
  SocketAddress peerAddress;
  Socket client = platform::acceptConnection(listener, peerAddress);
  if (!client.isOpen()) return false;
  platform::Thread session(
      platform::kWorkerStackBytes,
      [sinks, ruleIndex, clientSocket = std::move(client), peerAddress, ownRule = rule]() mutable {
        runTcpSession(sinks, ruleIndex, std::move(clientSocket), peerAddress, std::move(ownRule));
      });
  session.detach();
  return true;
}

// Sends all of `data`. Returns the last result: 0 or less when the peer took no more.
std::int32_t sendAll(const Socket& socket, std::span<const std::byte> data) {
  std::int32_t sent = 0;
  while (!data.empty()) {
    sent = platform::send(socket, data);
    if (sent <= 0) break;
    data = data.subspan(static_cast<std::size_t>(sent));
  }
  return sent;
}

// Opens the port and accepts its clients; every exit has closed the listener and reported.
void serve(const WorkerContext& context, std::int32_t ruleIndex, const ForwardRule& rule) {
  EventLog& log = context.sinks.log;
  const std::wstring localPort = decimalText(rule.localPort);

  Socket listener = openListener(rule.localPort);
  if (!listener.isOpen()) {
    return log.write(L"[TCP] Failed to bind/listen on local port " + localPort);
  }
  log.write(L"[TCP] Listening on local port " + localPort + L" -> " + targetText(rule));
  while (context.running.load()) {
    if (!acceptClient(context.sinks, ruleIndex, rule, listener)) {
      static_cast<void>(platform::waitReadable(listener, kRunningCheckInterval));
    }
  }
  listener.close();
  log.write(L"[TCP] Stopped local port " + localPort);
}

}  // namespace

void runTcpListener(const WorkerContext& context, std::int32_t ruleIndex,
                    ForwardRule rule) noexcept {
  context.active.store(true);
  serve(context, ruleIndex, rule);
  context.active.store(false);
}

void runTcpSession(Sinks sinks, std::int32_t ruleIndex, Socket clientSocket,
                   SocketAddress peerAddress, ForwardRule rule) noexcept {
  const auto monitorIndex = static_cast<std::uint32_t>(ruleIndex);
  const auto report = [&](const std::wstring& text) {
    sinks.log.write(text);
    sinks.monitor.captureEvent(monitorIndex, text);
  };
  const std::wstring peerText = formatSocketAddress(peerAddress.view());

  const std::optional<SocketAddress> target = targetOf(rule);
  if (!target) {
    report(joined({L"[TCP] FROM ", peerText, L"  Resolve failed for ", targetText(rule)}));
    return;
  }
  Socket targetSocket = platform::openTcpSocketFor(*target);
  if (!targetSocket.isOpen()) return;
  if (!platform::connectTo(targetSocket, *target)) {
    report(joined({L"[TCP] FROM ", peerText, L"  Connect failed to ", targetText(rule)}));
    targetSocket.close();
    return;
  }

  const std::wstring localPort = decimalText(rule.localPort);
  const std::wstring route =
      joined({L"FROM ", peerText, L"  local ", localPort, L" -> ", targetText(rule)});
  sinks.log.write(joined({L"[TCP] ", route}));
  sinks.monitor.captureEvent(monitorIndex, joined({L"[TCP] SESSION ", route}));

  const auto pump = [&](std::wstring_view directionText, const Socket& from, const Socket& to) {
    relayAndCapture(sinks.monitor, ruleIndex, peerText, directionText, from, to);
  };
  // This thread is the second pump. A thread that only waits for two pumps would cost every session
  // its creation and its stack, and make no difference from outside: what ends each direction, what
  // is captured of it and what follows both are the same. It takes the client's direction, since
  // most clients speak first, and then nobody waits until the other thread runs.
  platform::Thread targetToClient(platform::kWorkerStackBytes,
                                  [&] { pump(L"S->C", targetSocket, clientSocket); });
  pump(L"C->S", clientSocket, targetSocket);
  targetToClient.join();

  targetSocket.close();
  clientSocket.close();
  report(joined({L"[TCP] Session closed FROM ", peerText, L" (local ", localPort, L")"}));
}

std::int32_t relayAndCapture(TrafficMonitor& monitor, std::int32_t ruleIndex,
                             std::wstring_view peerText, std::wstring_view directionText,
                             const Socket& fromSocket, const Socket& toSocket) noexcept {
  const std::wstring label = joined({L"[TCP] ", directionText, L" FROM ", peerText, L"  "});

  std::array<std::byte, kRelayBufferBytes * kMaxChunksAtOnce> buffer;
  std::array<std::span<const std::byte>, kMaxChunksAtOnce> chunks;
  while (true) {
    std::size_t filled = 0;
    std::size_t count = 0;
    const auto receiveChunk = [&] {
      const auto room = std::span<std::byte>(buffer).subspan(filled, kRelayBufferBytes);
      const std::int32_t received = platform::receive(fromSocket, room);
      if (received <= 0) return received;
      chunks[count++] = room.first(static_cast<std::size_t>(received));
      filled += static_cast<std::size_t>(received);
      return received;
    };
    std::int32_t received = receiveChunk();
    if (received <= 0) return received;
    // Behind a chunk that is not full, there is hardly ever another one.
    std::size_t waiting = filled == kRelayBufferBytes ? platform::bytesWaiting(fromSocket) : 0;
    while (waiting > 0 && count < kMaxChunksAtOnce) {
      received = receiveChunk();
      if (received <= 0) break;  // and again when what there is has been sent
      waiting -= std::min(waiting, static_cast<std::size_t>(received));
    }
    // Only now: receiving and capturing drive one another's code and data out of the caches.
    for (const auto chunk : std::span(chunks).first(count)) {
      monitor.capturePayload(static_cast<std::uint32_t>(ruleIndex), label, chunk);
    }
    const auto data = std::span<const std::byte>(buffer).first(filled);
    if (const std::int32_t sent = sendAll(toSocket, data); sent <= 0) return sent;
  }
}

}  // namespace quillgate
