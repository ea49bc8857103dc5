#include "tests/support/unwritable_file.h"

#include <filesystem>
#include <utility>

#include "tests/support/temp_folder.h"

namespace quillgate::test {

UnwritableFile::UnwritableFile(std::wstring path) : path_(std::move(path)) {
  std::filesystem::remove(pathOf(path_));
  std::filesystem::create_symlink("/dev/full", pathOf(path_));
}

UnwritableFile::~UnwritableFile() { std::filesystem::remove(pathOf(path_)); }

}  // namespace quillgate::test
