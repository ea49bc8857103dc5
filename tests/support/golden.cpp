#include "tests/support/golden.h"

#include <cstdlib>
#include <filesystem>

#include "tests/support/own_folder.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {

namespace fs = std::filesystem;

testing::AssertionResult matchesGolden(const std::string& name, std::string_view bytes) {
  const fs::path golden = testData("golden") / name;
  const char* refresh = std::getenv("QUILLGATE_REFRESH_GOLDEN");
  if (refresh != nullptr && std::string_view(refresh) == "1") {
    writeFile(wideTextOf(golden), bytes);
    return testing::AssertionFailure() << golden << " was refreshed: read the change";
  }
  const auto expected = contentOf(wideTextOf(golden));
  if (!expected) return testing::AssertionFailure() << golden << " cannot be read";
  if (*expected == bytes) return testing::AssertionSuccess();
  const fs::path actual = fs::temp_directory_path() / ("quillgate-actual-" + name);
  writeFile(wideTextOf(actual), bytes);
  return testing::AssertionFailure() << golden << " and " << actual << " differ";
}

}  // namespace quillgate::test
