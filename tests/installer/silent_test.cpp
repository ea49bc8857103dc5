// Installing, upgrading, repairing and uninstalling without a question.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "tests/installer/installer_test.h"
#include "tests/installer/setup.h"
#include "tests/support/load.h"
#include "tests/support/test_sockets.h"

namespace quillgate::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

class SilentInstaller : public InstallerTest {
 protected:
  [[nodiscard]] static std::optional<int> install(const std::wstring& release) {
    return run(setupOf(release) + L" /S");
  }
};

TEST_F(SilentInstaller, InstallsForTheUserAlone) {
  EXPECT_EQ(install(L"this"), kDone);
  expectInstalled(L"this");
}

TEST_F(SilentInstaller, InstallsAProgramThatForwards) {
  const platform::Socket target = listenOnLoopback();
  RuleSet rules;
  rules[0] = {true, Protocol::tcp, freePort(platform::Transport::tcp), L"127.0.0.1",
              localPort(target)};
  data.writeConfig(configBytes(rules));
  ASSERT_EQ(install(L"this"), kDone);
  startInstalled();
  ASSERT_TRUE(data.waitForLog(L"[TCP] Listening on local port " +
                              std::to_wstring(rules[0].localPort) + L" -> 127.0.0.1:" +
                              std::to_wstring(rules[0].targetPort)));
  const platform::Socket client = connectToLoopback(rules[0].localPort);
  const platform::Socket server = acceptFrom(target);
  ASSERT_TRUE(sendAll(client, "to the target"));
  EXPECT_EQ(receiveExactly(server, 13), "to the target");
  ASSERT_TRUE(sendAll(server, "to the client"));
  EXPECT_EQ(receiveExactly(client, 13), "to the client");
  EXPECT_EQ(program->close(), 0);
}

TEST_F(SilentInstaller, IgnoresAnotherFolderOnItsCommandLine) {
  EXPECT_EQ(run(setupOf(L"this") + L" /S /D=" + user.file(L"Elsewhere")), kDone);
  expectInstalled(L"this");
  EXPECT_FALSE(fs::exists(pathOf(user.file(L"Elsewhere"))));
}

TEST_F(SilentInstaller, UpgradesAnOlderVersionAndKeepsRulesAndLog) {
  const Files kept = writeData();
  ASSERT_EQ(install(L"older"), kDone);
  expectInstalled(L"older", kept);
  EXPECT_EQ(install(L"this"), kDone);
  expectInstalled(L"this", kept);
}

TEST_F(SilentInstaller, RepairsADamagedInstallation) {
  const Files kept = writeData();
  ASSERT_EQ(install(L"this"), kDone);
  writeFile(home + L"\\quillgate.exe", "damaged");
  writeFile(home + L"\\uninstall.exe", "damaged");
  fs::remove(pathOf(home + L"\\README.txt"));
  fs::remove(pathOf(menu + L"\\Quillgate PRO.lnk"));
  fs::create_directory(pathOf(home + L"\\new"));
  writeFile(home + L"\\new\\quillgate.exe", "half");
  writeFile(home + L"\\new\\other.txt", "of another version");
  const RegistrySetting damaged(
      HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quillgate",
      L"UninstallString", L"damaged");
  EXPECT_EQ(install(L"this"), kDone);
  expectInstalled(L"this", kept);
}

TEST_F(SilentInstaller, RefusesToReplaceANewerVersion) {
  ASSERT_EQ(install(L"newer"), kDone);
  const State before = state();
  EXPECT_EQ(install(L"this"), kNewerIsInstalled);
  EXPECT_EQ(state(), before);
}

TEST_F(SilentInstaller, InstallsWhereOnlyTheEntryOfANewerVersionIsLeft) {
  ASSERT_EQ(install(L"newer"), kDone);
  fs::remove_all(pathOf(home));
  EXPECT_EQ(install(L"this"), kDone);
  expectInstalled(L"this");
}

TEST_F(SilentInstaller, LeavesNothingWhenItCannotWrite) {
  writeFile(local + L"\\Programs", "a file where the folder should be");
  const State before = state();
  EXPECT_EQ(install(L"this"), kFailed);
  EXPECT_EQ(state(), before);
}

TEST_F(SilentInstaller, LeavesWholeFilesWhenOneOfThemCannotBeReplaced) {
  ASSERT_EQ(install(L"older"), kDone);
  const State before = state();
  const std::wstring readme = home + L"\\README.txt";
  const HANDLE held = CreateFileW(readme.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(install(L"this"), kFailed);
  const State after = state();
  EXPECT_TRUE(after.files == before.files);  // the program is the same in both
  EXPECT_EQ(after.entry, before.entry);
  CloseHandle(held);
  EXPECT_EQ(install(L"this"), kDone);
  expectInstalled(L"this");
}

TEST_F(SilentInstaller, HasWholeFilesAtAnyMomentAndWhenItIsKilled) {
  ASSERT_EQ(install(L"older"), kDone);
  const State before = state();
  ASSERT_EQ(install(L"this"), kDone);
  const State after = state();
  const fs::path programFile = pathOf(home + L"\\quillgate.exe");
  const auto programSize = fs::file_size(programFile);
  for (int i = 0; i < load(5, 20); ++i) {
    {
      const Process setup(setupOf(L"this") + L" /S");
      // Is ended when the first new file has come, each time ten milliseconds later.
      for (int rest = 10 * i; rest >= 0 && !setup.waitForExit(milliseconds(1));) {
        ASSERT_EQ(fs::file_size(programFile), programSize);
        if (fs::exists(pathOf(home + L"\\new"))) --rest;
      }
    }
    for (const std::wstring name :
         {L"quillgate.exe", L"uninstall.exe", L"README.txt", L"LICENSE.txt", L"NOTICES.txt"}) {
      const std::wstring path = home + L"\\" + name;
      const std::string found = contentOf(path).value_or("");
      EXPECT_TRUE(found == before.files.at(path) || found == after.files.at(path)) << pathOf(path);
    }
  }
  EXPECT_EQ(install(L"this"), kDone);
  expectInstalled(L"this");
}

TEST_F(SilentInstaller, WaitsForTheProgramToEnd) {
  ASSERT_EQ(install(L"older"), kDone);
  startInstalled();
  const Process setup(setupOf(L"this") + L" /S");
  EXPECT_EQ(setup.waitForExit(milliseconds(1000)), std::nullopt);
  EXPECT_EQ(program->close(), 0);
  EXPECT_EQ(setup.waitForExit(), kDone);
  expectInstalled(L"this", {{data.baseDir, ""},
                            {data.configPath, contentOf(data.configPath).value()},
                            {data.logPath, contentOf(data.logPath).value()}});
}

TEST_F(SilentInstaller, GivesUpLikeTheUninstallerWhenTheProgramGoesOnForTenSeconds) {
  ASSERT_EQ(install(L"older"), kDone);
  startInstalled();
  const State before = state();
  const auto start = steady_clock::now();
  const Process setup(setupOf(L"this") + L" /S");
  const Process uninstaller(quietUninstall());
  EXPECT_EQ(setup.waitForExit(), kProgramRuns);
  EXPECT_GE(steady_clock::now() - start, milliseconds(10'000));
  EXPECT_EQ(uninstaller.waitForExit(), kProgramRuns);
  EXPECT_EQ(state(), before);
}

TEST_F(SilentInstaller, MindsOnlyTheProgramThatIsInstalled) {
  ASSERT_EQ(install(L"older"), kDone);
  const TempFolder other;
  program = std::make_unique<Program>(Launch{.dataFolder = other.path()});
  EXPECT_EQ(install(L"this"), kDone);
  expectInstalled(L"this");
  EXPECT_EQ(program->close(), 0);
}

class SilentUninstaller : public SilentInstaller {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(SilentInstaller::SetUp());
    kept = writeData();
    ASSERT_EQ(install(L"this"), kDone);
  }

  Files kept;
};

TEST_F(SilentUninstaller, LeavesNothingButRulesAndLog) {
  EXPECT_EQ(run(quietUninstall()), kDone);
  EXPECT_TRUE(isGone());
  expectNothing(kept);
}

TEST_F(SilentUninstaller, WorksWithTheUsualSwitchAlone) {
  EXPECT_EQ(run(uninstall() + L" /S"), kDone);
  EXPECT_TRUE(isGone());
  expectNothing(kept);
}

TEST_F(SilentUninstaller, LeavesFilesThatAreNotOurs) {
  writeFile(home + L"\\mine.txt", "mine");
  EXPECT_EQ(run(quietUninstall()), kDone);
  EXPECT_TRUE(eventually([this] { return !fs::exists(pathOf(home + L"\\uninstall.exe")); }));
  kept[home] = "";
  kept[home + L"\\mine.txt"] = "mine";
  expectNothing(kept);
}

TEST_F(SilentUninstaller, WaitsForTheProgramToEnd) {
  startInstalled();
  const Process uninstaller(quietUninstall());
  EXPECT_EQ(uninstaller.waitForExit(milliseconds(1000)), std::nullopt);
  EXPECT_EQ(program->close(), 0);
  EXPECT_EQ(uninstaller.waitForExit(), kDone);
  EXPECT_TRUE(isGone());
}

}  // namespace
}  // namespace quillgate::test
