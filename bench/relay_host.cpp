// The engine without windows, for benchmarks and black-box tests: the start-up and shutdown order
// of the program around a wait for signals. Never shipped.
//
//   XDG_DATA_HOME=FOLDER relay_host
//
// Forwards by the rules in FOLDER/Quillgate/config.xml and prints "ready" once the server has
// started. SIGTERM or SIGINT stops the server and ends the process with status 0. SIGUSR1 switches
// capture on or off, which only the monitor window can do in the program, and prints which.
#include <csignal>
#include <cstdio>

#include "bench/no_ui.h"
#include "engine/shared_state.h"
#include "platform/system.h"

namespace {

void announce(const char* text) {
  std::puts(text);
  std::fflush(stdout);
}

}  // namespace

int main() {
  // Blocked before the first thread starts, the signals are blocked in all of them.
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGUSR1}) sigaddset(&signals, number);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);

  if (!quillgate::platform::startPlatform()) {
    std::fputs("relay_host: there are no sockets\n", stderr);
    return 1;
  }
  auto& state = *new quillgate::SharedState(*new quillgate::bench::NoUi);
  quillgate::prepareDataFolder(state);
  quillgate::loadRules(state);
  state.server.start();
  announce("ready");

  int signal = 0;
  while (sigwait(&signals, &signal) == 0 && signal == SIGUSR1) {
    using quillgate::kFilterAll;
    using quillgate::kFilterOff;
    state.monitor.choose(state.monitor.isCapturing() ? kFilterOff : kFilterAll);
    announce(state.monitor.isCapturing() ? "capture on" : "capture off");
  }

  state.server.stop();
  quillgate::platform::stopPlatform();
  return 0;
}
