// Measures the capture store at its limit: how many captures writers make per second, how long one
// call takes at worst, beside the same loop with nothing recorded, and what full lists weigh. Takes
// no arguments and some half a minute; docs/design/benchmarks.md explains the figures.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

#include "bench/no_ui.h"
#include "monitor/traffic_monitor.h"

namespace quillgate::bench {
namespace {

using Clock = std::chrono::steady_clock;

using Microseconds = std::chrono::duration<double, std::micro>;

constexpr std::chrono::milliseconds kDuration{1500};  // of each measurement

// In each such time lists are trimmed, which is what makes a turn long.
constexpr std::chrono::milliseconds kWindow{10};

// What the longest turn in a window may take beyond that of the same loop with nothing recorded.
constexpr Microseconds kGoal{200};

constexpr std::wstring_view kLabel = L"[TCP] C->S FROM 192.0.2.1:50000  ";
constexpr std::array<std::byte, kMaxPayloadBytes> kPayload{};

// How long the turns of a writer's loop took: a call and looking at the clock.
class TurnTimes {
 public:
  void addUntil(Clock::time_point end) {
    const auto time = std::chrono::nanoseconds(end - std::exchange(begin_, end));
    ++counts_[std::min(static_cast<std::size_t>(time / kStep), counts_.size() - 1)];
    ++turns_;
    longestOfWindow_ = std::max(longestOfWindow_, time);
    if (end - windowBegin_ < kWindow) return;
    longest_.push_back(longestOfWindow_);
    longestOfWindow_ = {};
    windowBegin_ = end;
  }

  // Adds those of another writer.
  void add(const TurnTimes& other) {
    std::ranges::transform(counts_, other.counts_, counts_.begin(), std::plus());
    turns_ += other.turns_;
    longest_.insert(longest_.end(), other.longest_.begin(), other.longest_.end());
  }

  [[nodiscard]] std::size_t turns() const { return turns_; }

  // The time that this share of the turns did not exceed, to a step.
  [[nodiscard]] Microseconds quantile(double share) const {
    std::size_t left = static_cast<std::size_t>(share * static_cast<double>(turns_));
    std::size_t step = 0;
    while (step + 1 < counts_.size() && left >= counts_[step]) left -= counts_[step++];
    return kStep * (step + 1);
  }

  // The longest turn in a window: the median of all windows, and the longest of all.
  [[nodiscard]] Microseconds usualLongest() const {
    auto sorted = longest_;
    const auto middle = sorted.begin() + std::ssize(sorted) / 2;
    std::ranges::nth_element(sorted, middle);
    return *middle;
  }
  [[nodiscard]] Microseconds longest() const { return std::ranges::max(longest_); }

 private:
  static constexpr std::chrono::nanoseconds kStep{10};

  std::vector<std::size_t> counts_ = std::vector<std::size_t>(10'000);  // by steps
  std::size_t turns_ = 0;
  Clock::time_point begin_ = Clock::now();
  Clock::time_point windowBegin_ = begin_;
  std::chrono::nanoseconds longestOfWindow_{};
  std::vector<std::chrono::nanoseconds> longest_;  // of each window
};

void capture(TrafficMonitor& monitor, std::uint32_t ruleIndex, std::size_t payloadBytes) {
  monitor.capturePayload(ruleIndex, kLabel, std::span(kPayload).first(payloadBytes));
}

TurnTimes timeCaptures(TrafficMonitor& monitor, std::uint32_t ruleIndex, std::size_t payloadBytes) {
  TurnTimes times;
  const auto deadline = Clock::now() + kDuration;
  for (auto end = Clock::now(); end < deadline; times.addUntil(end)) {
    capture(monitor, ruleIndex, payloadBytes);
    end = Clock::now();
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
  std::size_t payloadBytes;
  std::size_t writers;
  bool withReader = false;
};

constexpr Case kCases[] = {
    {64, 1}, {64, 2}, {64, 4}, {4096, 1}, {4096, 1, true}, {4096, 2}, {4096, 4}, {4096, 4, true},
};

// Whether each of the threads has a processor. Otherwise the longest turns are those in which a
// writer waits for one, and say nothing of trims.
bool runsFreely(const Case& what) {
  return what.writers + (what.withReader ? 1 : 0) <= std::thread::hardware_concurrency();
}

// The turns of all writers, each of which captures for a rule of its own, into a store whose lists
// are full.
TurnTimes measure(const Case& what, bool captureOn) {
  NoUi noUi;
  TrafficMonitor monitor(noUi);
  monitor.choose(kFilterAll);
  for (std::uint32_t rule = 0; rule < what.writers; ++rule) {
    for (std::size_t i = 0; i < kMaxRecords; ++i) capture(monitor, rule, what.payloadBytes);
  }
  monitor.choose(captureOn ? kFilterAll : kFilterOff);

  std::jthread reader;
  if (what.withReader) {
    reader = std::jthread([&monitor](const std::stop_token& stop) { readUntil(stop, monitor); });
  }
  std::vector<TurnTimes> timesOf(what.writers);
  {
    std::vector<std::jthread> writers;
    for (std::uint32_t i = 0; i < what.writers; ++i) {
      writers.emplace_back([&, i] { timesOf[i] = timeCaptures(monitor, i, what.payloadBytes); });
    }
  }
  TurnTimes all;
  for (const TurnTimes& times : timesOf) all.add(times);
  return all;
}

void printTimes(const char* what, const TurnTimes& times) {
  std::printf("  %-11s %11.0f %7.2f %7.2f %7.2f %9.1f %9.1f\n", what,
              static_cast<double>(times.turns()) / std::chrono::duration<double>(kDuration).count(),
              times.quantile(0.5).count(), times.quantile(0.99).count(),
              times.quantile(0.999).count(), times.usualLongest().count(), times.longest().count());
}

void printCase(const Case& what) {
  const TurnTimes off = measure(what, false);
  const TurnTimes on = measure(what, true);
  std::printf("%zu bytes, %zu writer%s%s\n", what.payloadBytes, what.writers,
              what.writers == 1 ? "" : "s", what.withReader ? ", a reader" : "");
  printTimes("capture off", off);
  printTimes("capture on", on);
  if (!runsFreely(what)) return;
  const Microseconds beyond = on.usualLongest() - off.usualLongest();
  std::printf("  %-11s %46.1f  %s\n", "beyond", beyond.count(),
              beyond <= kGoal ? "reached" : "missed");
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

  std::printf(
      "\nOne capture and a look at the clock, microseconds; goal: beyond capture off in 10 ms at "
      "most %.0f\n",
      kGoal.count());
  std::printf("  %-11s %11s %7s %7s %7s %9s %9s\n", "", "captures/s", "p50", "p99", "p99.9",
              "in 10 ms", "longest");
  for (const Case& what : kCases) printCase(what);
}
