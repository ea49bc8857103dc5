// The part of tests/support/temp_folder.h that depends on what a path is made of.
#include "tests/support/temp_folder.h"

namespace quillgate::test {

std::filesystem::path pathOf(const std::wstring& path) { return path; }

std::wstring wideTextOf(const std::filesystem::path& path) { return path.native(); }

}  // namespace quillgate::test
