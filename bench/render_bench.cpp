// Times what the monitor costs at the full store: rebuilding the view, one refresh, the export.
// Prints one line for each.
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/no_ui.h"
#include "monitor/monitor_view.h"
#include "monitor/traffic_monitor.h"

namespace {

using namespace quillgate;
using Clock = std::chrono::steady_clock;

template <typename Work>
double millisecondsOf(const Work& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Without a line break: the most characters that the ASCII view can come to.
std::vector<std::byte> printablePayload() {
  std::vector<std::byte> payload(kMaxPayloadBytes);
  for (std::size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<std::byte>(33 + i % 94);
  return payload;
}

void measureFormat(TrafficMonitor& monitor, const std::vector<std::byte>& payload,
                   const char* name) {
  MonitorView view(monitor);
  std::size_t characters = 0;
  const double rebuild = millisecondsOf([&] { characters = view.rebuild().size(); });
  std::printf("%-5s rebuild    %8.2f ms  %zu characters\n", name, rebuild, characters);

  monitor.capturePayload(0, L"[UDP] C->S  ", payload);
  const double refresh = millisecondsOf([&] { characters = view.refresh()->size(); });
  std::printf("%-5s refresh    %8.2f ms  %zu characters\n", name, refresh, characters);

  std::size_t bytes = 0;
  const double exported = millisecondsOf([&] { bytes = monitor.exportText(kFilterAll).size(); });
  std::printf("%-5s export     %8.0f ms  %zu bytes\n", name, exported, bytes);
}

}  // namespace

int main() {
  static bench::NoUi nobody;
  static TrafficMonitor monitor(nobody);
  monitor.choose(kFilterAll);
  const auto payload = printablePayload();
  const double filling = millisecondsOf([&] {
    for (std::size_t i = 0; i < kMaxRecords - 2; ++i) {
      monitor.capturePayload(static_cast<std::uint32_t>(i % 10), L"[UDP] C->S  ", payload);
    }
  });
  std::printf("fill             %8.0f ms  %zu records of %zu bytes\n", filling, kMaxRecords - 2,
              payload.size());
  monitor.setFormat(DumpFormat::hex);
  measureFormat(monitor, payload, "HEX");
  monitor.setFormat(DumpFormat::ascii);
  measureFormat(monitor, payload, "ASCII");
  return EXIT_SUCCESS;
}
