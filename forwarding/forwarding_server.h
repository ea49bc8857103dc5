// Starting and stopping all forwarding: one worker thread per runnable rule.
//
// start() and stop() belong to the UI thread; the two questions may be asked on any thread. The
// object is never destroyed: sessions outlive a stop.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "forwarding/forward_rule.h"
#include "forwarding/worker.h"
#include "platform/thread.h"

namespace quillgate {

// The worker of one rule. `thread` is joinable from the start that made it until the next stop,
// even when the worker has ended by itself.
struct WorkerSlot {
  std::atomic<bool> active{false};
  platform::Thread thread;
};

class ForwardingServer {
 public:
  ForwardingServer(const RuleTable& rules, EventLog& log, TrafficMonitor& monitor)
      : rules_(rules), sinks_{log, monitor} {}
  ForwardingServer(const ForwardingServer&) = delete;
  ForwardingServer& operator=(const ForwardingServer&) = delete;

  // Gives every runnable rule of the table, as it is now, a worker. Does nothing when started
  // already. Workers report by themselves whether they could open their port. Throws
  // std::system_error when the system has no thread left.
  void start();

  // Ends the workers and waits for them, which takes little more than kRunningCheckInterval. Does
  // nothing when stopped already. Open TCP sessions go on.
  void stop();

  [[nodiscard]] bool isRunning() const { return running_.load(); }

  // Whether the worker of rule `index` (0..9) runs now.
  [[nodiscard]] bool isWorkerActive(std::size_t index) const { return slots_[index].active.load(); }

 private:
  const RuleTable& rules_;
  Sinks sinks_;
  std::atomic<bool> running_{false};
  std::array<WorkerSlot, kRuleCount> slots_;
};

}  // namespace quillgate
