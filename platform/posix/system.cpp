#include "platform/system.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <string>

#include "platform/posix/text.h"

namespace quillgate::platform {
namespace {

// The desktop's base directories are created for the user alone.
constexpr mode_t kFolderMode = 0700;

// What a thread takes of the memory areas that a process may have: its stack and the guard page.
constexpr rlim_t kMapsPerThread = 2;

std::string environmentValue(const char* name) {
  // Nothing in this process changes the environment.
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
  return value == nullptr ? std::string() : std::string(value);
}

bool isFolder(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void removeSeparatorsAtEnd(std::string& path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
}

bool createFolderTree(std::string path) {
  removeSeparatorsAtEnd(path);
  if (path.empty()) return false;
  if (isFolder(path)) return true;
  const auto separator = path.rfind('/');
  if (separator != std::string::npos && separator > 0 &&
      !createFolderTree(path.substr(0, separator))) {
    return false;
  }
  // Another process may have created it meanwhile.
  return ::mkdir(path.c_str(), kFolderMode) == 0 || isFolder(path);
}

// The limit in a file of the system; RLIM_INFINITY where there is no such file or it says "max".
rlim_t limitIn(const std::string& path) {
  rlim_t limit = 0;
  return std::ifstream(path) >> limit ? limit : RLIM_INFINITY;
}

// The lowest limit of threads in the control group of this process and those above it.
rlim_t threadsOfControlGroup() {
  rlim_t least = RLIM_INFINITY;
  std::ifstream groups("/proc/self/cgroup");
  for (std::string line; std::getline(groups, line);) {
    // "0::/the/group" where all controllers share one tree, "8:pids:/the/group" where each has one.
    const auto controllers = line.find(':') + 1;
    const auto path = line.find(':', controllers) + 1;
    std::string root = "/sys/fs/cgroup";
    if (line.substr(controllers, path - controllers) == "pids:") {
      root += "/pids";
    } else if (!line.starts_with("0::")) {
      continue;
    }
    least = std::min(least, limitIn(root + "/pids.max"));
    for (std::filesystem::path group = line.substr(path); group.has_relative_path();
         group = group.parent_path()) {
      least = std::min(least, limitIn(root + group.native() + "/pids.max"));
    }
  }
  return least;
}

// How many threads this process could start if it were alone. The user's limit does not bind root.
rlim_t threadsAllowed() {
  rlimit ofUser{};
  if (::getrlimit(RLIMIT_NPROC, &ofUser) != 0) ofUser.rlim_cur = RLIM_INFINITY;
  return std::min({ofUser.rlim_cur, limitIn("/proc/sys/kernel/threads-max"),
                   limitIn("/proc/sys/kernel/pid_max"), threadsOfControlGroup(),
                   limitIn("/proc/sys/vm/max_map_count") / kMapsPerThread});
}

// A session never has more threads than sockets until it has closed them, and a moment later it has
// none. So where descriptors are fewer than threads, they run out first, which makes listeners
// pause; without a thread the process would end. At worst all sessions have closed their sockets,
// and each still has one of its two threads, when as many new ones come: three threads for two
// descriptors.
void setDescriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = std::min(limit.rlim_max, threadsAllowed() / 3 * 2);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

const wchar_t kPathSeparator = L'/';

bool startPlatform() noexcept {
  setDescriptorLimit();
  return true;
}

void stopPlatform() noexcept {}

LocalTime localTime() noexcept {
  // Looking a second up takes a lock of the whole process, so each thread keeps the last one. What
  // it shows is right for that second, whatever the clock does next; only a time zone that the C
  // library learns of within the second waits for the next one.
  thread_local constinit time_t second = std::numeric_limits<time_t>::min();
  thread_local constinit tm parts{};

  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  if (now.tv_sec != second) {
    ::localtime_r(&now.tv_sec, &parts);
    second = now.tv_sec;
  }
  return {.year = parts.tm_year + 1900,
          .month = parts.tm_mon + 1,
          .day = parts.tm_mday,
          .hour = parts.tm_hour,
          .minute = parts.tm_min,
          .second = parts.tm_sec,
          .millisecond = static_cast<int>(now.tv_nsec / 1'000'000)};
}

std::wstring localAppDataFolder() {
  std::string folder = environmentValue("XDG_DATA_HOME");
  if (!folder.starts_with('/')) {
    const std::string home = environmentValue("HOME");
    if (!home.starts_with('/')) return {};
    folder = home + "/.local/share";
  }
  removeSeparatorsAtEnd(folder);
  return toWide(folder);
}

bool createFolders(const std::wstring& path) { return createFolderTree(toBytes(path)); }

}  // namespace quillgate::platform
