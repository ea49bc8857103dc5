// The part of tests/support/temp_folder.h that depends on what a path is made of.
#include <windows.h>

#include <string>

#include "tests/support/temp_folder.h"

namespace quillgate::test {

// The folder may be named in the form of old programs, such as C:\Users\LONGNA~1; dialogs give back
// the long form.
std::filesystem::path temporaryFolder() {
  const std::wstring given = std::filesystem::temp_directory_path().native();
  std::wstring folder(MAX_PATH, L'\0');
  folder.resize(::GetLongPathNameW(given.c_str(), folder.data(), MAX_PATH));
  return std::filesystem::canonical(folder);
}

std::filesystem::path pathOf(const std::wstring& path) { return path; }

std::wstring wideTextOf(const std::filesystem::path& path) { return path.native(); }

}  // namespace quillgate::test
