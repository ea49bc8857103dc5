#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

#include "platform/system.h"
#include "tests/support/deadline.h"

namespace quillgate::test {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
  const fs::path base = temporaryFolder();
  std::random_device random;
  fs::path folder;
  do {
    folder = base / ("quillgate-test-" + std::to_string(random()));
  } while (!fs::create_directory(folder));
  path_ = wideTextOf(folder);
}

TempFolder::~TempFolder() {
  std::error_code error;
  // A scanner may look at what was written last.
  EXPECT_TRUE(eventually([&] {
    fs::remove_all(pathOf(path_), error);
    return !error;
  })) << error.message();
}

std::wstring TempFolder::file(const std::wstring& name) const {
  return path_ + platform::kPathSeparator + name;
}

std::vector<std::wstring> TempFolder::names() const {
  std::vector<std::wstring> found;
  for (const auto& entry : fs::directory_iterator(pathOf(path_))) {
    found.push_back(wideTextOf(entry.path().filename()));
  }
  std::ranges::sort(found);
  return found;
}

std::optional<std::string> contentOf(const std::wstring& path) {
  std::ifstream file(pathOf(path), std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeFile(const std::wstring& path, std::string_view content) {
  std::ofstream file(pathOf(path), std::ios::binary | std::ios::trunc);
  file << content << std::flush;
  ASSERT_TRUE(file) << pathOf(path);
}

}  // namespace quillgate::test
