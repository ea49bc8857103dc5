#include "tests/support/own_folder.h"

#include <windows.h>

#include <string>

namespace quillgate::test {

std::filesystem::path ownFolder() {
  std::wstring program(MAX_PATH, L'\0');
  program.resize(::GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
  return std::filesystem::path(program).parent_path();
}

}  // namespace quillgate::test
