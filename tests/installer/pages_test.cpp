// Installing and uninstalling by pages and questions.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/installer/installer_test.h"
#include "tests/installer/setup.h"
#include "tests/ui/win32/controls.h"

namespace quillgate::test {
namespace {

const std::wstring kRunning = L"Quillgate PRO is running. Close its main window, then press Retry.";

// Whether a program file runs: then the system lets nobody write to it.
bool isRunning(const std::wstring& programFile) {
  return !std::ofstream(pathOf(programFile), std::ios::binary | std::ios::app);
}

class Pages : public InstallerTest {
 protected:
  // Starts an installer or the uninstaller and waits for its first page.
  void startSetup() {
    setup = std::make_unique<Process>(setupOf(L"this"));
    title = titleOf(L"this") + L" Setup";
    wizard = waitFor(DialogKind::wizard);
  }
  void startUninstall() {
    const Process first(uninstall());  // it starts a copy of itself
    EXPECT_EQ(first.waitForExit(), kDone);
    title = titleOf(L"this") + L" Uninstall";
    wizard = waitFor(DialogKind::wizard);
    setup = std::make_unique<Process>(wizard);
  }

  // Waits for a dialog with the title; without it the test ends.
  [[nodiscard]] HWND waitFor(DialogKind kind) const {
    const HWND dialog = waitForSetupDialog(title, kind);
    if (dialog == nullptr) throw std::runtime_error("no such dialog comes");
    return dialog;
  }

  // Waits for a question with this text and gives this answer.
  void answer(const std::wstring& question, int button) const {
    const HWND box = waitFor(DialogKind::messageBox);
    EXPECT_EQ(messageOf(box), question);
    sendCommand(box, button);
    EXPECT_TRUE(eventually([&] { return IsWindow(box) == 0; }));
  }

  std::unique_ptr<Process> setup;
  std::wstring title;
  HWND wizard = nullptr;
};

TEST_F(Pages, InstallTheProgramAndStartIt) {
  startSetup();
  EXPECT_TRUE(waitForText(wizard, L"Welcome to " + title));
  EXPECT_TRUE(press(wizard, L"&Install"));
  EXPECT_TRUE(waitForText(wizard, L"Completing " + title));
  expectInstalled(L"this");
  EXPECT_TRUE(press(wizard, L"&Finish"));
  EXPECT_EQ(setup->waitForExit(), kDone);
  ASSERT_TRUE(data.waitForLog(L"Server started."));
  EXPECT_TRUE(isRunning(home + L"\\quillgate.exe"));
  const HWND main = FindWindowW(L"QuillgateMainWnd", titleOf(L"this").c_str());
  ASSERT_NE(main, nullptr);
  const Process started(main);
  PostMessageW(main, WM_CLOSE, 0, 0);
  EXPECT_EQ(started.waitForExit(), 0);
  EXPECT_FALSE(isRunning(home + L"\\quillgate.exe"));
}

TEST_F(Pages, InstallTheProgramAndDoNotStartItIfThatIsNotWanted) {
  startSetup();
  EXPECT_TRUE(press(wizard, L"&Install"));
  EXPECT_TRUE(press(wizard, L"&Run " + titleOf(L"this")));
  EXPECT_TRUE(press(wizard, L"&Finish"));
  EXPECT_EQ(setup->waitForExit(), kDone);
  EXPECT_FALSE(isRunning(home + L"\\quillgate.exe"));
  expectInstalled(L"this");
}

TEST_F(Pages, ChangeNothingWhenTheyAreCancelled) {
  startSetup();
  const State before = state();
  EXPECT_TRUE(press(wizard, L"Cancel"));
  EXPECT_EQ(setup->waitForExit(), kCancelled);
  EXPECT_EQ(state(), before);
}

TEST_F(Pages, AskToCloseTheProgramUntilItHasEnded) {
  ASSERT_EQ(run(setupOf(L"older") + L" /S"), kDone);
  startInstalled();
  startSetup();
  EXPECT_TRUE(press(wizard, L"&Install"));
  answer(kRunning, IDRETRY);
  static_cast<void>(waitFor(DialogKind::messageBox));
  EXPECT_EQ(program->close(), 0);
  answer(kRunning, IDRETRY);
  EXPECT_TRUE(waitForText(wizard, L"Completing " + title));
  EXPECT_TRUE(press(wizard, L"&Run " + titleOf(L"this")));
  EXPECT_TRUE(press(wizard, L"&Finish"));
  EXPECT_EQ(setup->waitForExit(), kDone);
}

TEST_F(Pages, ChangeNothingWhenTheProgramIsNotClosed) {
  ASSERT_EQ(run(setupOf(L"older") + L" /S"), kDone);
  startInstalled();
  const State before = state();
  startSetup();
  EXPECT_TRUE(press(wizard, L"&Install"));
  answer(kRunning, IDCANCEL);
  EXPECT_EQ(setup->waitForExit(), kCancelled);
  EXPECT_EQ(state(), before);
}

TEST_F(Pages, RefuseToReplaceANewerVersion) {
  ASSERT_EQ(run(setupOf(L"newer") + L" /S"), kDone);
  const State before = state();
  setup = std::make_unique<Process>(setupOf(L"this"));
  title = titleOf(L"this") + L" Setup";
  answer(L"Quillgate PRO " + versionOf(L"newer") + L" is installed, which is newer than " +
             versionOf(L"this") + L".\r\n\r\nTo go back, uninstall it first.",
         IDOK);
  EXPECT_EQ(setup->waitForExit(), kNewerIsInstalled);
  EXPECT_EQ(state(), before);
}

class UninstallPages : public Pages {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Pages::SetUp());
    kept = writeData();
    ASSERT_EQ(run(setupOf(L"this") + L" /S"), kDone);
  }

  // Goes through the pages with this answer to the question about rules and log.
  void uninstallWith(int answerAboutData) {
    EXPECT_TRUE(press(wizard, L"&Uninstall"));
    answer(L"Delete your rules and the log as well?\r\n\r\nThey are in " + data.baseDir + L".",
           answerAboutData);
    EXPECT_TRUE(waitForText(wizard, L"Uninstallation Complete"));
    EXPECT_TRUE(press(wizard, L"&Close"));
    EXPECT_EQ(setup->waitForExit(), kDone);
  }

  Files kept;
};

TEST_F(UninstallPages, KeepRulesAndLog) {
  startUninstall();
  uninstallWith(IDNO);
  expectNothing(kept);
}

TEST_F(UninstallPages, DeleteRulesAndLogIfThatIsWanted) {
  startUninstall();
  uninstallWith(IDYES);
  expectNothing();
}

TEST_F(UninstallPages, SuggestToKeepRulesAndLog) {
  startUninstall();
  EXPECT_TRUE(press(wizard, L"&Uninstall"));
  const HWND box = waitFor(DialogKind::messageBox);
  EXPECT_TRUE(eventually([&] { return hasFocus(GetDlgItem(box, IDNO)); }));
  typeKeys({Key::enter});
  EXPECT_TRUE(press(wizard, L"&Close"));
  EXPECT_EQ(setup->waitForExit(), kDone);
  expectNothing(kept);
}

TEST_F(UninstallPages, AskToCloseTheProgramUntilItHasEnded) {
  startInstalled();
  startUninstall();
  EXPECT_TRUE(press(wizard, L"&Uninstall"));
  answer(kRunning, IDRETRY);
  static_cast<void>(waitFor(DialogKind::messageBox));
  EXPECT_EQ(program->close(), 0);
  answer(kRunning, IDRETRY);
  answer(L"Delete your rules and the log as well?\r\n\r\nThey are in " + data.baseDir + L".",
         IDYES);
  EXPECT_TRUE(press(wizard, L"&Close"));
  EXPECT_EQ(setup->waitForExit(), kDone);
  expectNothing();
}

TEST_F(UninstallPages, ChangeNothingWhenTheProgramIsNotClosed) {
  startInstalled();
  const State before = state();
  startUninstall();
  EXPECT_TRUE(press(wizard, L"&Uninstall"));
  answer(kRunning, IDCANCEL);
  EXPECT_EQ(setup->waitForExit(), kCancelled);
  EXPECT_EQ(state(), before);
}

}  // namespace
}  // namespace quillgate::test
