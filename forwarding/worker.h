// What a forwarding thread is given besides its rule. Everything referred to lives as long as the
// process: the threads may outlive the server's stop and the message loop.
#pragma once

#include <atomic>
#include <chrono>

#include "core/event_log.h"
#include "monitor/traffic_monitor.h"

namespace quillgate {

// Where forwarding threads write what happens. They return no errors: nobody waits for their
// result.
struct Sinks {
  EventLog& log;
  TrafficMonitor& monitor;
};

// How long a worker waits for its socket before it looks at the running flag again: what a stop
// takes at most, beside work in progress.
inline constexpr std::chrono::milliseconds kRunningCheckInterval{300};

// A worker: the long-lived thread of one rule.
struct WorkerContext {
  const std::atomic<bool>& running;  // the worker returns soon after this becomes false
  std::atomic<bool>& active;         // the worker sets it first of all and clears it last of all
  Sinks sinks;
};

}  // namespace quillgate
