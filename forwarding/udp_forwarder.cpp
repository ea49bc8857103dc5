#include "forwarding/udp_forwarder.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/text.h"
#include "forwarding/socket_address.h"
#include "platform/socket.h"

namespace quillgate {
namespace {

using platform::Socket;
using platform::SocketAddress;

constexpr std::wstring_view kToTarget = L"[UDP] C->S  ";
constexpr std::wstring_view kToClient = L"[UDP] S->C  ";

// Datagrams wait here while the worker is not scheduled. With the systems' own 64 to 208 KiB, a
// burst would lose some then.
constexpr std::int32_t kReceiveBufferBytes = 1024 * 1024;

// The life of one rule's socket after its set-up.
class UdpRelay {
 public:
  UdpRelay(const WorkerContext& context, std::int32_t ruleIndex, const ForwardRule& rule,
           const Socket& socket, const SocketAddress& target)
      : context_(context),
        ruleIndex_(static_cast<std::uint32_t>(ruleIndex)),
        rule_(rule),
        socket_(socket),
        target_(target) {}

  // Receives first and waits only when nothing is there: under load that saves a system call for
  // every datagram.
  void run() {
    while (context_.running.load()) {
      SocketAddress sender;
      const std::int32_t received = platform::receiveDatagram(socket_, buffer_, sender);
      if (received < 0) {
        static_cast<void>(platform::waitReadable(socket_, kRunningCheckInterval));
      } else if (received > 0) {
        relay(std::span(buffer_).first(static_cast<std::size_t>(received)), sender);
      }
    }
  }

 private:
  void relay(std::span<const std::byte> datagram, const SocketAddress& sender) {
    if (platform::sameIpv4Endpoint(sender, target_)) {
      if (!client_) return;
      context_.sinks.monitor.capturePayload(ruleIndex_, kToClient, datagram);
      platform::sendDatagram(socket_, datagram, *client_);
      return;
    }
    if (!client_ || !platform::sameIpv4Endpoint(sender, *client_)) reportNewClient(sender);
    client_ = sender;
    context_.sinks.monitor.capturePayload(ruleIndex_, kToTarget, datagram);
    platform::sendDatagram(socket_, datagram, target_);
  }

  void reportNewClient(const SocketAddress& sender) {
    const std::wstring text = L"[UDP] New client FROM " + formatSocketAddress(sender.view()) +
                              L"  local " + decimalText(rule_.localPort) + L" -> " +
                              targetText(rule_);
    context_.sinks.log.write(text);
    context_.sinks.monitor.captureEvent(ruleIndex_, text);
  }

  const WorkerContext& context_;
  const std::uint32_t ruleIndex_;
  const ForwardRule& rule_;
  const Socket& socket_;
  const SocketAddress target_;
  std::optional<SocketAddress> client_;
  std::array<std::byte, kDatagramBufferBytes> buffer_;
};

// Sets the socket up and relays; every exit closes the socket and has reported.
void serve(const WorkerContext& context, std::int32_t ruleIndex, const ForwardRule& rule) {
  EventLog& log = context.sinks.log;
  const std::wstring localPort = decimalText(rule.localPort);

  Socket socket = platform::openIpv4Socket(platform::Transport::udp);
  if (!socket.isOpen()) return log.write(L"[UDP] socket() failed.");
  platform::allowAddressReuse(socket);
  platform::askForReceiveBuffer(socket, kReceiveBufferBytes);
  if (!platform::bindToAllIpv4(socket, rule.localPort)) {
    return log.write(L"[UDP] Failed to bind on local port " + localPort);
  }
  const auto target = platform::parseIpv4(rule.targetIp, rule.targetPort);
  if (!target) return log.write(L"[UDP] Invalid target IP: " + rule.targetIp);
  log.write(L"[UDP] Listening on local port " + localPort + L" -> " + targetText(rule));

  UdpRelay(context, ruleIndex, rule, socket, *target).run();
  socket.close();
  log.write(L"[UDP] Stopped local port " + localPort);
}

}  // namespace

void runUdpRule(const WorkerContext& context, std::int32_t ruleIndex, ForwardRule rule) noexcept {
  context.active.store(true);
  serve(context, ruleIndex, rule);
  context.active.store(false);
}

}  // namespace quillgate
