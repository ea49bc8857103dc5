#include "tests/support/file_rights.h"

#include <gtest/gtest.h>
#include <windows.h>
// after windows.h
#include <sddl.h>

#include <array>
#include <memory>
#include <sstream>
#include <vector>

#include "platform/win32/handle.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {
namespace {

using platform::FileHandle;
using LocalOwner = std::unique_ptr<void, decltype(&::LocalFree)>;

// Protected against what the folder hands down: everything for everyone, reading for guests.
constexpr const wchar_t* kAccessList = L"D:P(A;;FA;;;WD)(A;;FR;;;BG)";
constexpr DWORD kAttributes =
    FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
constexpr const wchar_t* kStream = L":note";
constexpr FILETIME kLongAgo{0, 0x01C00000};  // in the year 2000

void setAccessList(const std::wstring& path) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_NE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(kAccessList, SDDL_REVISION_1,
                                                                   &descriptor, nullptr),
            FALSE);
  const LocalOwner owner(descriptor, &::LocalFree);
  EXPECT_NE(::SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor), FALSE);
}

std::wstring accessListOf(const std::wstring& path) {
  DWORD size = 0;
  ::GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<std::byte> descriptor(size);
  EXPECT_NE(
      ::GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor.data(), size, &size),
      FALSE);
  LPWSTR text = nullptr;
  EXPECT_NE(::ConvertSecurityDescriptorToStringSecurityDescriptorW(
                descriptor.data(), SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr),
            FALSE);
  const LocalOwner owner(text, &::LocalFree);
  return text == nullptr ? L"" : text;
}

void setCreationTime(const std::wstring& path) {
  const FileHandle file(::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(file);
  EXPECT_NE(::SetFileTime(file.native(), &kLongAgo, nullptr, nullptr), FALSE);
}

// Not every system keeps the time to its last digit, or at all.
bool wasCreatedLongAgo(const WIN32_FILE_ATTRIBUTE_DATA& about) {
  return about.ftCreationTime.dwHighDateTime <= kLongAgo.dwHighDateTime;
}

}  // namespace

void makeUnusual(const std::wstring& path) {
  writeFile(path + kStream, "what somebody has noted about the file");
  setCreationTime(path);
  EXPECT_NE(::SetFileAttributesW(path.c_str(), kAttributes), FALSE);
  setAccessList(path);
}

std::string rightsOf(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA about{};
  EXPECT_NE(::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &about), FALSE);
  const std::wstring list = accessListOf(path);
  std::ostringstream text;
  text << "access list " << std::string(list.begin(), list.end()) << "\nattributes " << std::hex
       << (about.dwFileAttributes & kAttributes) << "\nnote "
       << contentOf(path + kStream).value_or("(none)") << "\ncreated long ago "
       << wasCreatedLongAgo(about);
  return text.str();
}

}  // namespace quillgate::test
