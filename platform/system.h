// What the engine asks of the system besides sockets, files and XML: to prepare its libraries, the
// local time, and the user's folder for application data.
#pragma once

#include <cstdint>
#include <string>

namespace quillgate::platform {

// The path separator of this system.
extern const wchar_t kPathSeparator;

// Local wall-clock time.
struct LocalTime {
  int year = 0;
  int month = 0;  // 1..12
  int day = 0;    // 1..31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;

  bool operator==(const LocalTime&) const = default;
};

// Prepares what the other seams need: sockets, and on Windows COM on the calling thread. On Linux,
// sets the limit of descriptors to the most that the system allows, but to no more than two thirds
// of the threads that it allows: clients who open more and more sessions meet that limit first, and
// it only makes listeners pause. Called once, by the main thread, before any other function of the
// seams. False when there are no sockets.
[[nodiscard]] bool startPlatform() noexcept;

// Ends what startPlatform() began, on the same thread. Where that ends the socket library too, as
// on Windows, sockets that are still open stop working and threads that use them see errors.
void stopPlatform() noexcept;

// The time now. Any thread. A new time zone counts from the next second on at the latest.
[[nodiscard]] LocalTime localTime() noexcept;

// The folder for this user's application data that stays on this machine, without a separator at
// its end; empty when the system names none. Before other threads run.
[[nodiscard]] std::wstring localAppDataFolder();

// Creates the folder and every missing folder above it, for this user alone where rights are given
// at creation; a relative path starts at the current folder. True when the folder exists
// afterwards.
bool createFolders(const std::wstring& path);

}  // namespace quillgate::platform
