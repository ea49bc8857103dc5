// Measures the capture store at its limit: how many captures writers make per second, how long one
// call takes at worst, and what full lists weigh. Takes no arguments and some ten seconds;
// docs/design/benchmarks.md explains the figures.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stop_token>
#include <thread>
#include <vector>

#include "bench/no_ui.h"
#include "monitor/traffic_monitor.h"

namespace quillgate::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kCaptures = 400'000;  // shared by the writers
constexpr std::wstring_view kLabel = L"[TCP] C->S FROM 192.0.2.1:50000  ";
constexpr std::array<std::byte, kMaxPayloadBytes> kPayload{};

// The time of every call of one writer, in nanoseconds.
using CallTimes = std::vector<std::uint32_t>;

void capture(TrafficMonitor& monitor, std::uint32_t ruleIndex, std::size_t payloadBytes) {
  monitor.capturePayload(ruleIndex, kLabel, std::span(kPayload).first(payloadBytes));
}

CallTimes timeCaptures(TrafficMonitor& monitor, std::uint32_t ruleIndex, std::size_t payloadBytes,
                       std::size_t captures) {
  CallTimes times(captures);
  for (std::uint32_t& time : times) {
    const auto begin = Clock::now();
    capture(monitor, ruleIndex, payloadBytes);
    time = static_cast<std::uint32_t>(std::chrono::nanoseconds(Clock::now() - begin).count());
  }
  return times;
}

// Does what a monitor window does as often as it can: takes the records that stand in the store.
void readUntil(const std::stop_token& stop, const TrafficMonitor& monitor) {
  while (!stop.stop_requested()) {
    [[maybe_unused]] const auto records = monitor.snapshot(kFilterAll);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

struct Case {
  const char* name;
  std::size_t writers;
  std::size_t payloadBytes;
  bool captureOn = true;
  bool withReader = false;
};

constexpr Case kCases[] = {
    {"capture off, 1 writer", 1, 4096, false},
    {"64 bytes, 1 writer", 1, 64},
    {"64 bytes, 2 writers", 2, 64},
    {"64 bytes, 4 writers", 4, 64},
    {"4096 bytes, 1 writer", 1, 4096},
    {"4096 bytes, 2 writers", 2, 4096},
    {"4096 bytes, 4 writers", 4, 4096},
    {"4096 bytes, 4 writers, a reader", 4, 4096, true, true},
};

// The calls of all writers, the shortest first, and how long they all took.
struct Outcome {
  CallTimes sorted;
  std::chrono::duration<double> elapsed;
};

// Each writer captures for a rule of its own, into a store whose list of all records is full.
Outcome measure(const Case& what) {
  NoUi noUi;
  TrafficMonitor monitor(noUi);
  monitor.choose(kFilterAll);
  for (std::size_t i = 0; i < kMaxRecords; ++i) capture(monitor, 0, what.payloadBytes);
  monitor.choose(what.captureOn ? kFilterAll : kFilterOff);

  std::jthread reader;
  if (what.withReader) {
    reader = std::jthread([&monitor](const std::stop_token& stop) { readUntil(stop, monitor); });
  }
  std::vector<CallTimes> timesOf(what.writers);
  const auto begin = Clock::now();
  {
    std::vector<std::jthread> writers;
    for (std::uint32_t i = 0; i < what.writers; ++i) {
      writers.emplace_back([&, i] {
        timesOf[i] = timeCaptures(monitor, i, what.payloadBytes, kCaptures / what.writers);
      });
    }
  }
  Outcome outcome{.sorted = {}, .elapsed = Clock::now() - begin};
  for (const CallTimes& times : timesOf) {
    outcome.sorted.insert(outcome.sorted.end(), times.begin(), times.end());
  }
  std::ranges::sort(outcome.sorted);
  return outcome;
}

void printCase(const Case& what) {
  const Outcome outcome = measure(what);
  const auto microseconds = [&](double share) {
    const double last = static_cast<double>(outcome.sorted.size() - 1);
    return outcome.sorted[static_cast<std::size_t>(share * last)] / 1000.0;
  };
  std::printf("%-32s %10.0f %9.2f %9.2f %9.1f %9.1f\n", what.name,
              static_cast<double>(outcome.sorted.size()) / outcome.elapsed.count(),
              microseconds(0.5), microseconds(0.99), microseconds(0.999), microseconds(1));
}

double residentMegabytes() {
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

// `rules` lists full of their own records; the list of all records shares the newest of them.
void printMemory(std::uint32_t rules, std::size_t payloadBytes) {
  malloc_trim(0);  // what an earlier case left behind
  const double before = residentMegabytes();
  NoUi noUi;
  TrafficMonitor monitor(noUi);
  monitor.choose(kFilterAll);
  for (std::uint32_t rule = 0; rule < rules; ++rule) {
    for (std::size_t i = 0; i < kMaxRecords; ++i) capture(monitor, rule, payloadBytes);
  }
  std::printf("%2u x %zu records of %4zu bytes %8.0f MB\n", rules, kMaxRecords, payloadBytes,
              residentMegabytes() - before);
}

}  // namespace
}  // namespace quillgate::bench

int main() {
  using namespace quillgate::bench;
  std::puts("Resident memory of full lists");
  printMemory(1, 64);
  printMemory(1, 4096);
  printMemory(10, 4096);

  std::printf("\n%-32s %10s %9s %9s %9s %9s\n", "One capture call, microseconds", "captures/s",
              "p50", "p99", "p99.9", "longest");
  for (const Case& what : kCases) printCase(what);
}
