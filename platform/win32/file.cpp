#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

#include "platform/win32/handle.h"

namespace quillgate::platform {
namespace {

constexpr const wchar_t* kNewFileSuffix = L".quillgate-new";
constexpr std::size_t kReadBytes = 16384;
constexpr std::size_t kMaxBytesPerWrite = 1024 * 1024;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr int kMaxAttempts = 20;
constexpr DWORD kPauseMs = 10;

FileHandle openFile(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
  return FileHandle(::CreateFileW(path.c_str(), access, sharing, nullptr, disposition,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

struct FindCloser {
  void operator()(HANDLE search) const {
    if (search != INVALID_HANDLE_VALUE) ::FindClose(search);
  }
};

// Makes the call again for a while when it fails because somebody has the file open: a process that
// reads or saves it at this moment, a thread that appends to it, or a scanner that looks at what
// has just been written. For a file that is being replaced, "access denied" can mean the same.
template <typename Call>
auto whenFree(Call call) {
  for (int attempt = 1;; ++attempt) {
    auto result = call();
    const DWORD error = result ? ERROR_SUCCESS : ::GetLastError();
    const bool mayPass = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
    if (!mayPass || attempt == kMaxAttempts) return result;
    ::Sleep(kPauseMs);
  }
}

bool writeAll(const FileHandle& file, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const auto size = static_cast<DWORD>(std::min(bytes.size(), kMaxBytesPerWrite));
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

// Writes a file that is not there yet under its own name; nothing is left of it on false.
bool createInPlace(const std::wstring& path, std::span<const std::byte> bytes) {
  const auto file =
      whenFree([&] { return openFile(path, GENERIC_WRITE, FILE_SHARE_DELETE, CREATE_NEW); });
  if (!file) return false;
  if (overwrite(file, bytes)) return true;
  ::DeleteFileW(path.c_str());
  return false;
}

bool mayBeWritten(const std::wstring& path) {
  const auto open = [&] { return openFile(path, GENERIC_WRITE, kShareAll, OPEN_EXISTING); };
  return static_cast<bool>(whenFree(open));
}

// The access list of the file; empty when the system does not say.
std::vector<std::byte> accessListOf(const FileHandle& file) {
  DWORD size = 0;
  ::GetKernelObjectSecurity(file.native(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<std::byte> list(size);
  if (::GetKernelObjectSecurity(file.native(), DACL_SECURITY_INFORMATION, list.data(), size,
                                &size) == FALSE) {
    list.clear();
  }
  return list;
}

// Gives `to` the access list of `from`, including which entries are inherited. One that it has
// already stays: wine, which makes a mode of it, would give it more rights.
bool copyAccessList(const FileHandle& from, const FileHandle& to) {
  std::vector<std::byte> list = accessListOf(from);
  if (list.empty() || list == accessListOf(to)) return !list.empty();
  return ::SetSecurityDescriptorControl(list.data(), SE_DACL_AUTO_INHERIT_REQ,
                                        SE_DACL_AUTO_INHERIT_REQ) != FALSE &&
         ::SetKernelObjectSecurity(to.native(), DACL_SECURITY_INFORMATION, list.data()) != FALSE;
}

// The attributes that a user sets, and the time of creation. Compression and encryption are what
// the folder has for new files.
bool copyAttributes(const FileHandle& from, const FileHandle& to) {
  constexpr DWORD kKept =
      FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
  FILE_BASIC_INFO old{};
  if (::GetFileInformationByHandleEx(from.native(), FileBasicInfo, &old, sizeof(old)) == FALSE) {
    return false;
  }
  FILE_BASIC_INFO kept{};  // a time of 0 stays as it is
  kept.CreationTime = old.CreationTime;
  kept.FileAttributes = (old.FileAttributes & kKept) | FILE_ATTRIBUTE_ARCHIVE;
  return ::SetFileInformationByHandle(to.native(), FileBasicInfo, &kept, sizeof(kept)) != FALSE;
}

// All streams of the file at `from` but its content. A file system without streams finds none.
bool copyStreams(const std::wstring& from, const std::wstring& to) {
  WIN32_FIND_STREAM_DATA stream{};
  const std::unique_ptr<void, FindCloser> search(
      ::FindFirstStreamW(from.c_str(), FindStreamInfoStandard, &stream, 0));
  if (search.get() == INVALID_HANDLE_VALUE) return true;
  do {
    const std::wstring name = stream.cStreamName;  // ":name:$DATA"
    if (name == L"::$DATA") continue;
    const auto bytes = readFile(from + name, SIZE_MAX);
    const auto file = openFile(to + name, GENERIC_WRITE, kShareAll, OPEN_ALWAYS);
    if (!bytes || !file || !overwrite(file, *bytes)) return false;
  } while (::FindNextStreamW(search.get(), &stream) != FALSE);
  return true;
}

// Gives the new file, which is open at `beside`, what the one at `target` has besides its content.
bool takeOver(const std::wstring& target, const std::wstring& beside, const FileHandle& file) {
  const auto old = openFile(target, READ_CONTROL | FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING);
  return old && copyAccessList(old, file) && copyStreams(target, beside) &&
         copyAttributes(old, file);
}

enum class Outcome { replaced, refused, failed };

// Puts a new file with the content `bytes` where `target` is. If there is an old file, the new one
// first takes over all that it has besides its content.
//
// ReplaceFileW would do that, too, but in steps: its documentation names errors after which no file
// has the name any more (1176, 1177), and wine's lets others see that moment each time. Here the
// last step is one rename, before which the old file is there and after which the new one is.
Outcome replaceByNewFile(const std::wstring& target, std::span<const std::byte> bytes,
                         bool hasOldFile) {
  const std::wstring beside = target + kNewFileSuffix;
  // Open until it has its final name: whoever else saves to the same path waits until then. One
  // that is already there may be hidden, so that it could not be created anew.
  const DWORD access = GENERIC_WRITE | (hasOldFile ? WRITE_DAC : 0);
  const auto file = whenFree(
      [&] { return openFile(beside, access, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_ALWAYS); });
  if (!file) return Outcome::refused;
  const bool fits = !hasOldFile || takeOver(target, beside, file);
  const bool written = fits && overwrite(file, bytes);
  const auto takePlace = [&] {
    return ::MoveFileExW(beside.c_str(), target.c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
  };
  if (written && whenFree(takePlace)) return Outcome::replaced;
  ::DeleteFileW(beside.c_str());
  return fits && !written ? Outcome::failed : Outcome::refused;
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
  const bool hasOldFile = attributes != INVALID_FILE_ATTRIBUTES;
  if (hasOldFile) {
    if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0) return false;
    // A new file would replace the link instead of what it leads to.
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return overwriteInPlace(path, bytes);
    if (!mayBeWritten(path)) return false;
  }
  const Outcome outcome = replaceByNewFile(path, bytes, hasOldFile);
  if (outcome != Outcome::refused) return outcome == Outcome::replaced;
  return hasOldFile ? overwriteInPlace(path, bytes) : createInPlace(path, bytes);
}

bool writeFileAnew(const std::wstring& path,
                   std::initializer_list<std::span<const std::byte>> parts) {
  const FileHandle file = openFile(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
  return file &&
         std::ranges::all_of(parts, [&](const auto& part) { return writeOnce(file, part); });
}

bool removeFile(const std::wstring& path) {
  return whenFree([&] { return ::DeleteFileW(path.c_str()) != FALSE; });
}

}  // namespace quillgate::platform
