#include "tests/support/file_rights.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temp_folder.h"

namespace quillgate::test {

void makeUnusual(const std::wstring& path) {
  EXPECT_EQ(::chmod(pathOf(path).c_str(), S_IRUSR | S_IWUSR | S_IWGRP), 0);
}

std::string rightsOf(const std::wstring& path) {
  struct stat status {};
  EXPECT_EQ(::stat(pathOf(path).c_str(), &status), 0);
  return "mode " + std::to_string(status.st_mode);
}

}  // namespace quillgate::test
