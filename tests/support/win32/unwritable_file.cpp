#include "tests/support/unwritable_file.h"

#include <windows.h>

#include <stdexcept>
#include <utility>

namespace quillgate::test {

UnwritableFile::UnwritableFile(std::wstring path) : path_(std::move(path)) {
  const HANDLE file = CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) throw std::runtime_error("cannot open the file");
  inUse_ = std::shared_ptr<void>(file, CloseHandle);
}

UnwritableFile::~UnwritableFile() = default;

}  // namespace quillgate::test
