// Coming up and ending: files, exit codes, and what goes wrong on the way.
#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

#include "core/app_paths.h"
#include "tests/ui/ui_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class StartUp : public UiTest {};

TEST_F(StartUp, WritesTheDefaultRulesAndLogsInOrderOnTheFirstStart) {
  start();
  EXPECT_TRUE(files.waitForLog(L"Server started."));
  EXPECT_THAT(
      files.logMessages(),
      ElementsAre(L"XML not found -> using defaults. Path=" + files.configPath,
                  L"Saved XML: " + files.configPath, L"Starting server...", L"Server started."));
  EXPECT_EQ(contentOf(files.configPath), configBytes(RuleSet{}));
}

TEST_F(StartUp, WritesTheLogAsUtf16WithoutAByteOrderMark) {
  start();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::string bytes = contentOf(files.logPath).value();
  ASSERT_EQ(bytes.size() % 2, 0u);
  std::string ascii;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    ascii += bytes[i];
    ASSERT_EQ(bytes[i + 1], 0);
  }
  const std::regex lines(R"((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}  [^\r\n]+\r\n){4})");
  EXPECT_TRUE(std::regex_match(ascii, lines)) << ascii;
}

TEST_F(StartUp, AppendsToTheLogOfFormerRuns) {
  start();
  EXPECT_EQ(program->close(), 0);
  start();
  ASSERT_TRUE(files.waitForLog(L"Server started.", 2));
  EXPECT_THAT(
      files.logMessages(),
      ElementsAre(L"XML not found -> using defaults. Path=" + files.configPath,
                  L"Saved XML: " + files.configPath, L"Starting server...", L"Server started.",
                  L"Stopping server...", L"Server stopped.",
                  L"Loaded XML successfully: " + files.configPath,
                  L"Saved XML: " + files.configPath, L"Starting server...", L"Server started."));
}

TEST_F(StartUp, RewritesTheRuleFileInItsOwnForm) {
  files.writeConfig(
      "<?xml version=\"1.0\"?>\r\n<config>\r\n <rules>\r\n  <rule id=\"3\" note=\"x\">\r\n"
      "   <targetPort>70000</targetPort><targetIp> 10.0.0.1 </targetIp>\r\n"
      "   <proto>UDP</proto><enabled> TRUE </enabled><localPort>-5</localPort>\r\n"
      "  </rule>\r\n </rules>\r\n</config>\r\n");
  start();
  RuleSet expected;
  expected[2] = {true, Protocol::udp, 0, L"10.0.0.1", 65535};
  EXPECT_EQ(contentOf(files.configPath), configBytes(expected));
}

TEST_F(StartUp, ReplacesARuleFileThatCannotBeParsed) {
  files.writeConfig("<config><rules>");
  start();
  EXPECT_TRUE(files.waitForLog(L"Server started."));
  EXPECT_THAT(
      files.logMessages(),
      ElementsAre(L"Failed to load XML (parse error) -> defaults used. Path=" + files.configPath,
                  L"Saved XML: " + files.configPath, L"Starting server...", L"Server started."));
  EXPECT_EQ(contentOf(files.configPath), configBytes(RuleSet{}));
  EXPECT_EQ(contentOf(files.configPath + L".bad"), "<config><rules>");
}

TEST_F(StartUp, ReplacesARuleFileWithAnotherDocumentElement) {
  files.writeConfig("<Config/>");
  start();
  EXPECT_TRUE(files.waitForLog(L"Server started."));
  EXPECT_THAT(
      files.logMessages(),
      ElementsAre(L"XML missing /config root -> defaults used. Path=" + files.configPath,
                  L"Saved XML: " + files.configPath, L"Starting server...", L"Server started."));
  EXPECT_EQ(contentOf(files.configPath), configBytes(RuleSet{}));
}

TEST_F(StartUp, UsesTheWorkingFolderWhenThereIsNoDataFolder) {
  const TempFolder working;
  start(launchWithoutDataFolder(working.path()));
  const ProgramFiles here(working.path());
  EXPECT_TRUE(here.waitForLog(L"Server started."));
  const std::wstring path = appPathsUnder(L"").configPath;
  EXPECT_THAT(here.logMessages(),
              ElementsAre(L"XML not found -> using defaults. Path=" + path, L"Saved XML: " + path,
                          L"Starting server...", L"Server started."));
  EXPECT_EQ(contentOf(here.configPath), configBytes(RuleSet{}));
  EXPECT_TRUE(std::filesystem::is_empty(pathOf(dataFolder)));
  EXPECT_EQ(program->close(), 0);
}

TEST_F(StartUp, RunsWithoutFilesWhenTheDataFolderCannotBeCreated) {
  writeFile(files.baseDir, "a file where the folder should be");
  start();
  EXPECT_EQ(startStop().text(), L"Stop server");
  EXPECT_EQ(contentOf(files.logPath), std::nullopt);
  EXPECT_EQ(program->close(), 0);
}

TEST_F(StartUp, IgnoresTheCommandLine) {
  start({.dataFolder = dataFolder, .arguments = {L"/?", L"--stopped", L"config=other.xml"}});
  EXPECT_TRUE(files.waitForLog(L"Server started."));
  EXPECT_EQ(startStop().text(), L"Stop server");
  EXPECT_EQ(program->close(), 0);
}

}  // namespace
}  // namespace quillgate::test
