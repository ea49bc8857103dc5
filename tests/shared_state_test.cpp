#include "engine/shared_state.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "config/config_file.h"
#include "platform/system.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

using test::contentOf;
using test::writeFile;
using Lines = std::vector<std::wstring>;

class SharedStateTest : public testing::Test {
 protected:
  void SetUp() override {
    state.paths = appPathsUnder(folder.path());
    platform::createFolders(state.paths.baseDir);
  }

  test::TestEngine engine;
  SharedState& state = engine.state();
  test::TempFolder folder;
};

TEST_F(SharedStateTest, WritesTheDefaultRulesAtTheFirstStart) {
  loadRules(state);
  EXPECT_EQ(state.rules.snapshot(), RuleSet{});
  EXPECT_EQ(engine.messages(),
            (Lines{L"XML not found -> using defaults. Path=" + state.paths.configPath,
                   L"Saved XML: " + state.paths.configPath}));
  EXPECT_TRUE(
      contentOf(state.paths.configPath).value().starts_with("<config><rules><rule id=\"1\">"));
}

TEST_F(SharedStateTest, RewritesTheRulesOfTheLastRunInItsOwnForm) {
  writeFile(state.paths.configPath,
            "<?xml version='1.0'?>\r\n<config>\r\n <rules>\r\n  <rule id='2'>\r\n"
            "   <localPort> 70000 </localPort>\r\n   <proto>Sctp</proto>\r\n"
            "   <enabled>TRUE</enabled>\r\n  </rule>\r\n </rules>\r\n</config>\r\n");
  loadRules(state);
  EXPECT_EQ(state.rules.snapshot()[1], (ForwardRule{true, Protocol::tcp, 65535, L"127.0.0.1", 0}));
  EXPECT_EQ(engine.messages(), (Lines{L"Loaded XML successfully: " + state.paths.configPath,
                                      L"Saved XML: " + state.paths.configPath}));
  EXPECT_NE(contentOf(state.paths.configPath)
                .value()
                .find("<rule id=\"2\"><enabled>1</enabled><proto>tcp</proto>"
                      "<localPort>65535</localPort><targetIp>127.0.0.1</targetIp>"
                      "<targetPort>0</targetPort></rule>"),
            std::string::npos);
}

TEST_F(SharedStateTest, SetsAsideAFileThatDoesNotLoadAndReplacesItByTheDefaults) {
  const std::wstring& path = state.paths.configPath;
  const std::string cut = "<config><rules><rule id='1'><enabled>1</enabl";
  const std::string other = "<rules/>";
  const std::string large(kMaxConfigFileBytes + 1, ' ');
  const std::wstring failed = L"Failed to load XML (parse error) -> defaults used. Path=" + path;
  const std::wstring rootless = L"XML missing /config root -> defaults used. Path=" + path;
  const std::wstring saved = L"Saved XML: " + path;
  Lines lines;
  for (const auto& [bad, line] : {std::pair(cut, failed), {other, rootless}, {large, failed}}) {
    writeFile(path, bad);
    loadRules(state);
    lines.insert(lines.end(), {line, saved});
    EXPECT_EQ(engine.messages(), lines);
    EXPECT_EQ(state.rules.snapshot(), RuleSet{});
    EXPECT_TRUE(contentOf(path).value().ends_with("</rules></config>\n"));
    EXPECT_TRUE(contentOf(path + L".bad") == bad);
  }
}

TEST_F(SharedStateTest, KeepsTheFileItHasSetAsideWhenLaterOnesLoad) {
  writeFile(state.paths.configPath, "bad");
  loadRules(state);
  loadRules(state);
  std::filesystem::remove(test::pathOf(state.paths.configPath));
  loadRules(state);
  EXPECT_EQ(contentOf(state.paths.configPath + L".bad"), "bad");
  EXPECT_EQ(engine.messages().back(), L"Saved XML: " + state.paths.configPath);
}

TEST_F(SharedStateTest, StartsThoughAFileCannotBeSetAside) {
  writeFile(state.paths.configPath, "bad");
  std::filesystem::create_directory(test::pathOf(state.paths.configPath + L".bad"));
  loadRules(state);
  EXPECT_EQ(engine.messages(), (Lines{L"Failed to load XML (parse error) -> defaults used. Path=" +
                                          state.paths.configPath,
                                      L"Saved XML: " + state.paths.configPath}));
  EXPECT_TRUE(contentOf(state.paths.configPath).value().ends_with("</rules></config>\n"));
}

TEST_F(SharedStateTest, SetsNothingAsideAtOrdinaryStarts) {
  loadRules(state);
  loadRules(state);
  EXPECT_FALSE(contentOf(state.paths.configPath + L".bad").has_value());
}

TEST_F(SharedStateTest, StartsWithoutADataFolder) {
  state.paths = appPathsUnder(folder.file(L"missing"));
  loadRules(state);
  EXPECT_EQ(engine.messages(),
            (Lines{L"XML not found -> using defaults. Path=" + state.paths.configPath,
                   L"Failed to save XML: " + state.paths.configPath}));
  EXPECT_EQ(state.rules.snapshot(), RuleSet{});
}

}  // namespace
}  // namespace quillgate
