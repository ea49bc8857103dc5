#include "forwarding/forwarding_server.h"

#include <cstdint>

#include "forwarding/tcp_forwarder.h"
#include "forwarding/udp_forwarder.h"

namespace quillgate {

void ForwardingServer::start() {
  if (running_.exchange(true)) return;
  sinks_.log.write(L"Starting server...");

  const RuleSet rules = rules_.snapshot();
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (!isRunnable(rules[i])) continue;
    const auto worker = rules[i].proto == Protocol::tcp ? runTcpListener : runUdpRule;
    slots_[i].thread =
        platform::Thread(platform::kWorkerStackBytes,
                         [worker, context = WorkerContext{running_, slots_[i].active, sinks_},
                          ruleIndex = static_cast<std::int32_t>(i), rule = rules[i]]() mutable {
                           worker(context, ruleIndex, std::move(rule));
                         });
  }
  sinks_.log.write(L"Server started.");
}

void ForwardingServer::stop() {
  if (!running_.exchange(false)) return;
  sinks_.log.write(L"Stopping server...");
  for (WorkerSlot& slot : slots_) {
    if (slot.thread.joinable()) slot.thread.join();
  }
  sinks_.log.write(L"Server stopped.");
}

}  // namespace quillgate
