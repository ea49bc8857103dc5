// What goes wrong while the program comes up on Windows.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/wine.h"
#include "tests/ui/ui_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class StartUpOnWindows : public UiTest {};

TEST_F(StartUpOnWindows, LeavesTheRuleFileAloneWhenTheXmlLibraryDoesNotStart) {
  if (!runsUnderWine()) GTEST_SKIP() << "the library would be missing to all programs of the user";
  const RegistrySetting noXml(
      HKEY_LOCAL_MACHINE,
      L"Software\\Classes\\CLSID\\{88D96A05-F192-11D4-A65F-0040963251E5}\\InProcServer32", L"",
      folder.file(L"missing.dll"));
  RuleSet rules;
  rules[0].targetIp = L"10.0.0.1";
  files.writeConfig(configBytes(rules));
  start();
  EXPECT_TRUE(files.waitForLog(L"Server started."));
  EXPECT_THAT(files.logMessages(), ElementsAre(L"MSXML init failed.", L"MSXML init failed (save).",
                                               L"Starting server...", L"Server started."));
  EXPECT_EQ(contentOf(files.configPath), configBytes(rules));
}

TEST_F(StartUpOnWindows, ReportsSocketsThatCannotBeStartedAndEndsWithOne) {
  if (!runsUnderWine()) GTEST_SKIP() << kNoStandIn;
  const ProgramOnOtherSockets noSockets(L"no_sockets");
  program = std::make_unique<Program>(
      Launch{.dataFolder = dataFolder, .programFolder = noSockets.programFolder()});
  const HWND box = waitForClass(*program, L"#32770");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(textOf(box), L"Error");
  EXPECT_EQ(textOf(GetDlgItem(box, 0xFFFF)), L"WSAStartup failed.");
  EXPECT_NE(FindWindowExW(box, nullptr, L"Static", nullptr), nullptr);
  EXPECT_EQ(GetWindow(box, GW_OWNER), nullptr);
  EXPECT_EQ(windowOfClass(*program, L"QuillgateMainWnd"), nullptr);
  sendCommand(box, IDOK);
  EXPECT_EQ(program->waitForExit(), 1);
  EXPECT_TRUE(std::filesystem::is_empty(pathOf(dataFolder)));
}

TEST_F(StartUpOnWindows, EndsWithOneWhenTheMainWindowCannotBeCreated) {
  if (!runsUnderWine()) GTEST_SKIP() << "Windows has no desktop on which no window can be created";
  // No top-level window can be created on a desktop without a display driver.
  const RegistrySetting noDriver(HKEY_CURRENT_USER, L"Software\\Wine\\Drivers", L"Graphics",
                                 L"none");
  program = std::make_unique<Program>(Launch{.dataFolder = dataFolder, .desktop = L"no_display"});
  EXPECT_EQ(program->waitForExit(), 1);
  EXPECT_THAT(files.logMessages(),
              ElementsAre(L"XML not found -> using defaults. Path=" + files.configPath,
                          L"Saved XML: " + files.configPath));
}

}  // namespace
}  // namespace quillgate::test
