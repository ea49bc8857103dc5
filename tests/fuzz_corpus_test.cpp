// Replays what the fuzz targets have found worth keeping.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <span>
#include <string>

#include "tests/support/config_check.h"
#include "tests/support/export_check.h"
#include "tests/support/number_check.h"
#include "tests/support/own_folder.h"
#include "tests/support/render_check.h"
#include "tests/support/temp_folder.h"

namespace quillgate {
namespace {

namespace fs = std::filesystem;

void replay(const std::string& corpus,
            const std::function<void(std::span<const std::byte>)>& check) {
  std::size_t inputs = 0;
  for (const auto& entry : fs::directory_iterator(test::testData("corpus") / corpus)) {
    const auto content = test::contentOf(test::wideTextOf(entry.path()));
    ASSERT_TRUE(content) << entry.path();
    EXPECT_NO_THROW(check(std::as_bytes(std::span(*content)))) << entry.path();
    ++inputs;
  }
  EXPECT_GT(inputs, 0U) << "the corpus is empty";
}

TEST(FuzzCorpus, LoadsEachOfItsRuleFilesOrLeavesTheDefaults) {
  replay("config", test::checkConfig);
}

TEST(FuzzCorpus, ExportsItsCapturesWhole) { replay("export", test::checkExport); }

TEST(FuzzCorpus, ReadsItsNumbersAsASlowReaderDoes) { replay("number", test::checkNumber); }

TEST(FuzzCorpus, RendersItsPayloadsSoThatTheyCanBeReadBack) {
  replay("render", test::checkRendering);
}

}  // namespace
}  // namespace quillgate
