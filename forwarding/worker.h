// What a forwarding thread is given besides its rule. Everything referred to lives as long as the
// process: the threads may outlive the server's stop and the message loop.
#pragma once

#include <atomic>

#include "core/event_log.h"
#include "monitor/traffic_monitor.h"

namespace quillgate {

// Where forwarding threads report: they never return an error to anybody.
struct Reports {
  EventLog& log;
  TrafficMonitor& monitor;
};

// A worker: the long-lived thread of one rule.
struct WorkerContext {
  const std::atomic<bool>& running;  // cleared when the worker shall end
  std::atomic<bool>& active;         // set by the worker first and cleared by it last
  Reports reports;
};

}  // namespace quillgate
