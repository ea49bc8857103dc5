#include "platform/system.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>

#include <cstdlib>
#include <string_view>

#include "platform/posix/text.h"

namespace quillgate::platform {
namespace {

// Bases of the desktop's folders are created for the user alone.
constexpr mode_t kFolderMode = 0700;

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
  // Another process may have been faster.
  return ::mkdir(path.c_str(), kFolderMode) == 0 || isFolder(path);
}

}  // namespace

const wchar_t kPathSeparator = L'/';

bool startPlatform() noexcept {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }
  return true;
}

void stopPlatform() noexcept {}

LocalTime localTime() noexcept {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  ::localtime_r(&now.tv_sec, &parts);
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
