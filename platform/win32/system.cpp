#include "platform/system.h"

#include <winsock2.h>
// after winsock2.h
#include <knownfolders.h>
#include <objbase.h>
#include <shlobj.h>
#include <windows.h>

#include <memory>

namespace quillgate::platform {
namespace {

std::wstring fullPath(const std::wstring& path) {
  std::wstring full(::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  const DWORD length =
      ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  full.resize(length < full.size() ? length : 0);
  return full;
}

}  // namespace

const wchar_t kPathSeparator = L'\\';

bool startPlatform() noexcept {
  // Without COM only the XML library is missing, which its users report.
  static_cast<void>(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
  WSADATA about{};
  return ::WSAStartup(MAKEWORD(2, 2), &about) == 0;
}

void stopPlatform() noexcept {
  ::WSACleanup();
  ::CoUninitialize();
}

LocalTime localTime() noexcept {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  return {.year = now.wYear,
          .month = now.wMonth,
          .day = now.wDay,
          .hour = now.wHour,
          .minute = now.wMinute,
          .second = now.wSecond,
          .millisecond = now.wMilliseconds};
}

std::wstring localAppDataFolder() {
  wchar_t* text = nullptr;
  const HRESULT result = ::SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &text);
  const std::unique_ptr<wchar_t, decltype(&::CoTaskMemFree)> owner(text, &::CoTaskMemFree);
  return SUCCEEDED(result) && text != nullptr ? std::wstring(text) : std::wstring();
}

bool createFolders(const std::wstring& path) {
  const std::wstring full = fullPath(path);
  ::SHCreateDirectoryExW(nullptr, full.c_str(), nullptr);
  const DWORD attributes = ::GetFileAttributesW(full.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace quillgate::platform
