// Where the running test program lies, and what it brings along.
#pragma once

#include <filesystem>
#include <string_view>

namespace quillgate::test {

// The folder that holds this test program.
[[nodiscard]] std::filesystem::path ownFolder();

// A folder with data of the tests, such as "golden". In a build folder it is a link to where it
// lies in the source tree.
[[nodiscard]] inline std::filesystem::path testData(std::string_view name) {
  return ownFolder() / "data" / name;
}

}  // namespace quillgate::test
