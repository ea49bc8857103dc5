#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>

#include "platform/posix/descriptor.h"
#include "platform/posix/text.h"

namespace quillgate::platform {
namespace {

constexpr std::size_t kReadBytes = 16384;
constexpr mode_t kNewFileMode = 0666;  // less the umask
constexpr const char* kNewFileSuffix = ".quillgate-new";
constexpr mode_t kModeBits = 07777;
constexpr int kMaxLinks = 40;  // as many as the kernel follows

Descriptor openFile(const std::string& path, int flags) {
  return Descriptor(
      untilNotInterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, kNewFileMode); }));
}

std::optional<std::vector<std::byte>> readWhole(const std::string& path, std::size_t maxBytes) {
  const Descriptor file = openFile(path, O_RDONLY);
  if (!file) return std::nullopt;
  std::vector<std::byte> content;
  std::array<std::byte, kReadBytes> chunk;
  while (true) {
    const ssize_t count =
        untilNotInterrupted([&] { return ::read(file.number(), chunk.data(), chunk.size()); });
    if (count == 0) return content;
    const auto size = static_cast<std::size_t>(count);
    if (count < 0 || size > maxBytes - content.size()) return std::nullopt;
    content.insert(content.end(), chunk.begin(), chunk.begin() + count);
  }
}

bool writeAll(const Descriptor& file, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        untilNotInterrupted([&] { return ::write(file.number(), bytes.data(), bytes.size()); });
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

// Makes `bytes` the content of the open file and waits until the disk has it.
bool overwrite(const Descriptor& file, std::span<const std::byte> bytes) {
  return ::lseek(file.number(), 0, SEEK_SET) == 0 && writeAll(file, bytes) &&
         ::ftruncate(file.number(), static_cast<off_t>(bytes.size())) == 0 &&
         ::fsync(file.number()) == 0;
}

bool overwriteInPlace(const std::string& path, std::span<const std::byte> bytes) {
  const auto old = readWhole(path, SIZE_MAX);
  const Descriptor file = openFile(path, O_WRONLY);
  if (!old || !file) return false;
  if (overwrite(file, bytes)) return true;
  overwrite(file, *old);
  return false;
}

// Writes a file that is not there yet under its own name; nothing is left of it on false.
bool createInPlace(const std::string& path, std::span<const std::byte> bytes) {
  const Descriptor file = openFile(path, O_WRONLY | O_CREAT | O_EXCL);
  if (!file) return false;
  if (overwrite(file, bytes)) return true;
  ::unlink(path.c_str());
  return false;
}

// Where the links that start at `path` end, whether or not there is a file.
std::string endOfLinks(std::filesystem::path path) {
  std::error_code error;
  for (int links = 0; links < kMaxLinks && std::filesystem::is_symlink(path, error); ++links) {
    path = path.parent_path() / std::filesystem::read_symlink(path, error);
  }
  return path.native();
}

// Whether `path` still names the open file; nothing when the system does not say.
std::optional<bool> stillNames(const std::string& path, const Descriptor& file) {
  struct stat named {};
  struct stat opened {};
  if (::fstat(file.number(), &opened) != 0) return std::nullopt;
  if (::lstat(path.c_str(), &named) != 0) {
    return errno == ENOENT ? std::optional(false) : std::nullopt;
  }
  return named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

// Creates the file that will take another's place, or takes over one that an ended process has
// left. Whoever else saves to the same path waits until this file has been moved, removed or
// closed.
Descriptor openNewFile(const std::string& path) {
  while (true) {
    Descriptor file = openFile(path, O_RDWR | O_CREAT | O_NOFOLLOW);
    if (!file) return file;
    untilNotInterrupted([&] { return ::flock(file.number(), LOCK_EX); });
    const std::optional<bool> isOurs = stillNames(path, file);
    if (!isOurs) return Descriptor();
    if (*isOurs) return file;
  }
}

void flushFolderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().native();
  const Descriptor descriptor = openFile(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY);
  if (descriptor) ::fsync(descriptor.number());
}

enum class Outcome { replaced, refused, failed };

// Puts a new file with the content `bytes` where `target` is; it takes over the mode of `old`.
Outcome replaceByNewFile(const std::string& target, std::span<const std::byte> bytes,
                         const struct stat* old) {
  const std::string beside = target + kNewFileSuffix;
  const Descriptor file = openNewFile(beside);
  if (!file) return Outcome::refused;
  const bool fits = old == nullptr || ::fchmod(file.number(), old->st_mode & kModeBits) == 0;
  const bool written = fits && overwrite(file, bytes);
  if (written && std::rename(beside.c_str(), target.c_str()) == 0) {
    flushFolderOf(target);
    return Outcome::replaced;
  }
  ::unlink(beside.c_str());
  return fits && !written ? Outcome::failed : Outcome::refused;
}

}  // namespace

bool pathExists(const std::wstring& path) {
  struct stat status {};
  return ::stat(toBytes(path).c_str(), &status) == 0;
}

std::optional<std::vector<std::byte>> readFile(const std::wstring& path, std::size_t maxBytes) {
  return readWhole(toBytes(path), maxBytes);
}

bool appendToFile(const std::wstring& path, std::span<const std::byte> bytes) {
  const Descriptor file = openFile(toBytes(path), O_WRONLY | O_APPEND | O_CREAT);
  if (!file) return false;
  const ssize_t count =
      untilNotInterrupted([&] { return ::write(file.number(), bytes.data(), bytes.size()); });
  return count >= 0 && static_cast<std::size_t>(count) == bytes.size();
}

bool replaceFile(const std::wstring& path, std::span<const std::byte> bytes) {
  const std::string target = endOfLinks(toBytes(path));
  struct stat old {};
  const bool hasOldFile = ::stat(target.c_str(), &old) == 0;
  if (hasOldFile) {
    if (!S_ISREG(old.st_mode) || !openFile(target, O_WRONLY)) return false;
  } else if (errno != ENOENT) {
    return false;
  }
  const Outcome outcome = replaceByNewFile(target, bytes, hasOldFile ? &old : nullptr);
  if (outcome != Outcome::refused) return outcome == Outcome::replaced;
  return hasOldFile ? overwriteInPlace(target, bytes) : createInPlace(target, bytes);
}

bool writeFileAnew(const std::wstring& path,
                   std::initializer_list<std::span<const std::byte>> parts) {
  const Descriptor file = openFile(toBytes(path), O_WRONLY | O_CREAT | O_TRUNC);
  return file && std::ranges::all_of(parts, [&](const auto& part) { return writeAll(file, part); });
}

bool removeFile(const std::wstring& path) { return ::unlink(toBytes(path).c_str()) == 0; }

}  // namespace quillgate::platform
