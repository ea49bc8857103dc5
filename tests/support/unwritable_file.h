// A file that cannot be written, whoever tries.
#pragma once

#include <memory>
#include <string>

namespace quillgate::test {

// While it lives, there is something at `path` that can be opened but takes no bytes: on POSIX a
// link to a device that is always full, on Windows the file as it was, which we have open and
// share with readers alone.
class UnwritableFile {
 public:
  explicit UnwritableFile(std::wstring path);
  ~UnwritableFile();
  UnwritableFile(const UnwritableFile&) = delete;
  UnwritableFile& operator=(const UnwritableFile&) = delete;

 private:
  std::wstring path_;
  std::shared_ptr<void> inUse_;  // the open file on Windows
};

}  // namespace quillgate::test
