#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/win32/handle.h"

namespace quillgate::platform {
namespace {

constexpr const wchar_t* kNewFileSuffix = L".quillgate-new";
constexpr std::size_t kMostBytesPerWrite = 1024 * 1024;

FileHandle openFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
  return FileHandle(::CreateFileW(path.c_str(), access, sharing, nullptr, disposition,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool exists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
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
  const FileHandle file = openFile(path, GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING);
  if (!old || !file.isOpen()) return false;
  if (overwrite(file, bytes)) return true;
  overwrite(file, *old);
  return false;
}

bool writeNewFile(const FileHandle& file, std::span<const std::byte> bytes) {
  return writeAll(file, bytes) && ::FlushFileBuffers(file.native()) != FALSE;
}

}  // namespace

bool pathExists(const std::wstring& path) { return exists(path); }

std::optional<std::vector<std::byte>> readFile(const std::wstring& path, std::size_t maxBytes) {
  const FileHandle file = openFile(
      path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING);
  if (!file.isOpen()) return std::nullopt;
  std::vector<std::byte> content;
  std::array<std::byte, 16 * 1024> chunk;
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
  if (!file.isOpen()) return false;
  DWORD written = 0;
  return ::WriteFile(file.native(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                     nullptr) != FALSE &&
         written == bytes.size();
}

bool replaceFile(const std::wstring& path, std::span<const std::byte> bytes) {
  const bool replacing = exists(path);
  if (replacing && !openFile(path, GENERIC_WRITE,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING)
                        .isOpen()) {
    return false;
  }
  const std::wstring beside = path + kNewFileSuffix;
  FileHandle file = openFile(beside, GENERIC_WRITE, 0, CREATE_ALWAYS);
  if (!file.isOpen()) return replacing && overwriteInPlace(path, bytes);
  const bool written = writeNewFile(file, bytes);
  file.close();
  if (written && ::MoveFileExW(beside.c_str(), path.c_str(),
                               MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE) {
    return true;
  }
  ::DeleteFileW(beside.c_str());
  return written && replacing && overwriteInPlace(path, bytes);
}

bool writeFileAnew(const std::wstring& path,
                   std::initializer_list<std::span<const std::byte>> parts) {
  const FileHandle file = openFile(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
  return file.isOpen() &&
         std::ranges::all_of(parts, [&](const auto& part) { return writeOnce(file, part); });
}

bool removeFile(const std::wstring& path) { return ::DeleteFileW(path.c_str()) != FALSE; }

}  // namespace quillgate::platform
