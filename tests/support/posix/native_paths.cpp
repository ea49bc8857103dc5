// The part of tests/support/temp_folder.h that depends on what a path is made of.
#include "platform/posix/text.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {

namespace fs = std::filesystem;

fs::path temporaryFolder() { return fs::canonical(fs::temp_directory_path()); }

fs::path pathOf(const std::wstring& path) { return platform::toBytes(path); }

std::wstring wideTextOf(const fs::path& path) { return platform::toWide(path.native()); }

}  // namespace quillgate::test
