// The tool of these tests: calls fail when they are meant to, and no others do.
#include "tests/faults/fault_layer.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "platform/thread.h"
#include "tests/support/temp_folder.h"

namespace quillgate::test {
namespace {

class FaultLayer : public testing::Test {
 protected:
  void TearDown() override { startFaults(std::nullopt); }

  // Whether each of three calls of the program succeeds.
  [[nodiscard]] std::vector<bool> removals() const {
    std::vector<bool> removed;
    for (int i = 0; i < 3; ++i) {
      writeFile(path, "");
      removed.push_back(asProgram([&] { return platform::removeFile(path); }));
    }
    return removed;
  }

  const TempFolder folder;
  const std::wstring path = folder.file(L"file");
};

TEST_F(FaultLayer, CountsAndPassesCallsWithoutAFault) {
  startFaults(std::nullopt);
  EXPECT_EQ(removals(), (std::vector{true, true, true}));
  EXPECT_EQ(callCounts(), (std::map<std::string, int>{{"unlink", 3}}));
  EXPECT_EQ(faultHits().all(), 0);
}

TEST_F(FaultLayer, LetsOneCallFail) {
  startFaults(Fault{"unlink", 2});
  EXPECT_EQ(removals(), (std::vector{true, false, true}));
  EXPECT_EQ(faultHits().of("unlink"), 1);
}

TEST_F(FaultLayer, LetsACallAndAllAfterItFail) {
  startFaults(Fault{"unlink", 2, true});
  EXPECT_EQ(removals(), (std::vector{true, false, false}));
  EXPECT_EQ(faultHits().on("unlink", pathOf(path).string()), 2);
  EXPECT_EQ(faultHits().on("unlink", "another"), 0);
}

TEST_F(FaultLayer, LeavesTheCallsOfTheTestAlone) {
  startFaults(Fault{"unlink", 1, true});
  writeFile(path, "");
  EXPECT_TRUE(platform::removeFile(path));
  std::thread([&] {
    writeFile(path, "");
    EXPECT_TRUE(platform::removeFile(path));
  }).join();
  EXPECT_TRUE(callCounts().empty());
}

TEST_F(FaultLayer, CountsTheCallsOfThreadsThatTheProgramStarts) {
  startFaults(Fault{"unlink"});
  writeFile(path, "");
  bool removed = true;
  asProgram([&] {
    platform::Thread(platform::kWorkerStackBytes, [&] {
      removed = platform::removeFile(path);
    }).join();
  });
  EXPECT_FALSE(removed);
}

}  // namespace
}  // namespace quillgate::test
