// The process-wide objects, one owner each, and the order in which a process brings them up.
//
// A front end creates one SharedState with `new` and never deletes it: detached sessions use it
// until the process is gone.
#pragma once

#include "core/app_paths.h"
#include "core/event_log.h"
#include "core/ui_notifier.h"
#include "forwarding/forward_rule.h"
#include "forwarding/forwarding_server.h"
#include "monitor/traffic_monitor.h"

namespace quillgate {

struct SharedState {
  explicit SharedState(UiNotifier& notifier) : log(notifier), monitor(notifier) {}

  AppPaths paths;
  EventLog log;
  RuleTable rules;
  TrafficMonitor monitor;
  ForwardingServer server{rules, log, monitor};
};

// Start-up, first step: works out the paths, creates the data folder, points the log at its file. A
// folder that cannot be created shows up later, when a file in it cannot be written.
void prepareDataFolder(SharedState& state);

// Start-up, second step: loads the rules from config.xml and saves them back at once, also after a
// load that failed, so that there always is a file in the program's own form. A file that cannot be
// loaded is copied to config.xml.bad first, unless it has more than 64 MiB or the copy fails; an
// earlier copy is replaced.
void loadRules(SharedState& state);

}  // namespace quillgate
