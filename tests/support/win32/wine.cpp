#include "tests/support/wine.h"

#include <windows.h>

namespace quillgate::test {

bool runsUnderWine() {
  return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace quillgate::test
