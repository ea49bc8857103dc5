// Measures the event log with its list full: how many lines writers write per second, and what
// a line costs the program and the system. Takes no arguments, some ten seconds and 40 MB in the
// folder for temporary files; docs/design/benchmarks.md explains the figures.
#include <sys/resource.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "bench/no_ui.h"
#include "core/event_log.h"

namespace quillgate::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr std::size_t kLines = 200'000;  // shared by the writers
constexpr std::wstring_view kLine = L"[TCP] FROM 192.0.2.1:50000  local 8080 -> 198.51.100.7:80";

// The processor time of this process.
struct Cost {
  Microseconds user;
  Microseconds system;
};

Cost costSoFar() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto time = [](const timeval& value) {
    return Microseconds(std::chrono::seconds(value.tv_sec)) +
           Microseconds(static_cast<double>(value.tv_usec));
  };
  return {.user = time(usage.ru_utime), .system = time(usage.ru_stime)};
}

void writeLines(EventLog& log, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) log.write(kLine);
}

void printCase(std::size_t writers, const std::filesystem::path& file) {
  NoUi noUi;
  EventLog log(noUi);
  writeLines(log, kMaxLogLines);
  if (!file.empty()) log.setLogFilePath(file.wstring());

  const auto begin = Clock::now();
  const Cost before = costSoFar();
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < writers; ++i) {
      threads.emplace_back([&] { writeLines(log, kLines / writers); });
    }
  }
  const Cost after = costSoFar();
  const std::chrono::duration<double> elapsed = Clock::now() - begin;
  log.clear();

  std::printf("%zu writer%s, %-11s %10.0f %9.2f %9.2f\n", writers, writers == 1 ? " " : "s",
              file.empty() ? "no file" : "a file", kLines / elapsed.count(),
              (after.user - before.user).count() / kLines,
              (after.system - before.system).count() / kLines);
}

}  // namespace
}  // namespace quillgate::bench

int main() {
  using namespace quillgate::bench;
  const auto file = std::filesystem::temp_directory_path() / "quillgate_log_bench.log";
  std::printf("%-22s %10s %9s %9s\n", "", "lines/s", "user us", "system us");
  for (const std::size_t writers : {1U, 2U, 4U}) {
    printCase(writers, {});
    printCase(writers, file);
  }
}
