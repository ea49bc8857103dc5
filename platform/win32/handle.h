// Owns one kernel handle.
#pragma once

#include <windows.h>

#include <utility>

namespace quillgate::platform {

// Owns a handle of CreateFileW, for which INVALID_HANDLE_VALUE means none, and closes it.
class FileHandle {
 public:
  explicit FileHandle(HANDLE native) noexcept : native_(native) {}
  FileHandle(FileHandle&& other) noexcept
      : native_(std::exchange(other.native_, INVALID_HANDLE_VALUE)) {}
  FileHandle& operator=(FileHandle&&) = delete;
  ~FileHandle() {
    if (*this) ::CloseHandle(native_);
  }

  explicit operator bool() const noexcept { return native_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE native() const noexcept { return native_; }

 private:
  HANDLE native_;
};

}  // namespace quillgate::platform
