#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/win32/handle.h"

namespace quillgate::platform {
namespace {

constexpr const wchar_t* kNewFileSuffix = L".quillgate-new";
constexpr std::size_t kReadBytes = 16384;
constexpr std::size_t kMostBytesPerWrite = 1024 * 1024;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr int kMostAttempts = 20;
constexpr DWORD kPauseMs = 10;

FileHandle openFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
  return FileHandle(::CreateFileW(path.c_str(), access, sharing, nullptr, disposition,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Makes the call again for a while when it fails because somebody has the file open: a process that
// reads or saves it at this moment, or a scanner that looks at what has just been written. For a
// file that is being replaced, "access denied" can mean the same.
template <typename Call>
auto whenFree(Call call) {
  for (int attempt = 1;; ++attempt) {
    auto result = call();
    const DWORD error = result ? ERROR_SUCCESS : ::GetLastError();
    const bool mayPass = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
    if (!mayPass || attempt == kMostAttempts) return result;
    ::Sleep(kPauseMs);
  }
}

bool writeAll(const FileHandle& file, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const auto size = static_cast<DWORD>(std::min(bytes.size(), kMostBytesPerWrite));
    DWORD written = 0;
    if (::WriteFile(file.native(), bytes.data(), size, &written, nullptr) == FALSE) return false;
    if (written == 0) return false;
    bytes = bytes.subspan(written);
  }
  return true;
}

bool writeOnce(const FileHandle& file, std::span<const std::byte> bytes) {
  DWORD written = 0;
  return bytes.empty() || (bytes.size() <= MAXDWORD && ::WriteFile(file.native(), bytes.data(),
                                                                   static_cast<DWORD>(bytes.size()),
                                                                   &written, nullptr) != FALSE);
}

// Makes `bytes` the content of the open file and waits until the disk has it.
bool overwrite(const FileHandle& file, std::span<const std::byte> bytes) {
  const LARGE_INTEGER start{};
  return ::SetFilePointerEx(file.native(), start, nullptr, FILE_BEGIN) != FALSE &&
         writeAll(file, bytes) && ::SetEndOfFile(file.native()) != FALSE &&
         ::FlushFileBuffers(file.native()) != FALSE;
}

bool overwriteInPlace(const std::wstring& path, std::span<const std::byte> bytes) {
  const auto old = readFile(path, SIZE_MAX);
  const auto file = whenFree([&] { return openFile(path, GENERIC_WRITE, 0, OPEN_EXISTING); });
  if (!old || !file) return false;
  if (overwrite(file, bytes)) return true;
  overwrite(file, *old);
  return false;
}

bool mayBeWritten(const std::wstring& path) {
  const auto open = [&] { return openFile(path, GENERIC_WRITE, kShareAll, OPEN_EXISTING); };
  return static_cast<bool>(whenFree(open));
}

enum class Outcome { replaced, refused, failed };

// Puts a new file with the content `bytes` where `target` is.
Outcome replaceByNewFile(const std::wstring& target, std::span<const std::byte> bytes) {
  const std::wstring beside = target + kNewFileSuffix;
  // Open until it has its final name: whoever else saves to the same path waits until then.
  const auto file = whenFree([&] {
    return openFile(beside, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, CREATE_ALWAYS);
  });
  if (!file) return Outcome::refused;
  const bool written = overwrite(file, bytes);
  const auto takePlace = [&] {
    return ::MoveFileExW(beside.c_str(), target.c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
  };
  if (written && whenFree(takePlace)) return Outcome::replaced;
  ::DeleteFileW(beside.c_str());
  return written ? Outcome::refused : Outcome::failed;
}

}  // namespace

bool pathExists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::optional<std::vector<std::byte>> readFile(const std::wstring& path, std::size_t maxBytes) {
  const auto file =
      whenFree([&] { return openFile(path, GENERIC_READ, kShareAll, OPEN_EXISTING); });
  if (!file) return std::nullopt;
  std::vector<std::byte> content;
  std::array<std::byte, kReadBytes> chunk;
  while (true) {
    DWORD count = 0;
    if (::ReadFile(file.native(), chunk.data(), static_cast<DWORD>(chunk.size()), &count,
                   nullptr) == FALSE) {
      return std::nullopt;
    }
    if (count == 0) return content;
    if (count > maxBytes - content.size()) return std::nullopt;
    content.insert(content.end(), chunk.begin(), chunk.begin() + count);
  }
}

bool appendToFile(const std::wstring& path, std::span<const std::byte> bytes) {
  const FileHandle file = openFile(path, FILE_APPEND_DATA, FILE_SHARE_READ, OPEN_ALWAYS);
  if (!file) return false;
  DWORD written = 0;
  return ::WriteFile(file.native(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                     nullptr) != FALSE &&
         written == bytes.size();
}

bool replaceFile(const std::wstring& path, std::span<const std::byte> bytes) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return replaceByNewFile(path, bytes) == Outcome::replaced;
  }
  if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0) return false;
  // A new file would replace the link instead of what it leads to.
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return overwriteInPlace(path, bytes);
  if (!mayBeWritten(path)) return false;
  const Outcome outcome = replaceByNewFile(path, bytes);
  return outcome == Outcome::replaced ||
         (outcome == Outcome::refused && overwriteInPlace(path, bytes));
}

bool writeFileAnew(const std::wstring& path,
                   std::initializer_list<std::span<const std::byte>> parts) {
  const FileHandle file = openFile(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
  return file &&
         std::ranges::all_of(parts, [&](const auto& part) { return writeOnce(file, part); });
}

bool removeFile(const std::wstring& path) { return ::DeleteFileW(path.c_str()) != FALSE; }

}  // namespace quillgate::platform
