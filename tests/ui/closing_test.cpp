// Closing the main window while other windows show dialogs and traffic flows: the program ends in
// order, at once, and as if the dialogs had been cancelled.
#include <gtest/gtest.h>

#include "tests/ui/dialogs.h"
#include "tests/ui/editor_test.h"
#include "tests/ui/traffic.h"

namespace quillgate::test {
namespace {

class Closing : public EditorTest {
 protected:
  void SetUp() override {
    RuleSet rules;
    rules[0] = {true, Protocol::tcp, port_, L"127.0.0.1", localPort(target_)};
    writeFile(existingFile, "no rules");
    startWith(rules);
    ASSERT_TRUE(files.waitForLog(L"[TCP] Listening on local port " + std::to_wstring(port_) +
                                 L" -> 127.0.0.1:" + std::to_wstring(localPort(target_))));
    type(0, IDC_RULE_TARGET_IP, L"not.saved");
    sendCommand(mainWindow, IDC_OPEN_MONITOR);
    monitor = program->waitForWindow(L"QuillgateMonWnd");
    ASSERT_NE(monitor, nullptr);
    send(GetDlgItem(monitor, IDC_MON_FILTER), CB_SETCURSEL, 1);
    sendCommand(monitor, IDC_MON_FILTER, CBN_SELCHANGE);
    traffic_ = std::make_unique<Traffic>(target_, port_, 10);
    ASSERT_TRUE(traffic_->waitForRounds(1));
    config_ = config();
  }

  void TearDown() override {
    EXPECT_EQ(program->close(), 0U);
    EXPECT_EQ(files.countInLog(L"Server stopped."), 1U);
    EXPECT_EQ(config(), config_);
    EXPECT_TRUE(contentOf(existingFile) == "no rules");
    EXPECT_EQ(exports.names().size(), 1U);
    EditorTest::TearDown();
  }

  std::wstring existingFile = exports.file(L"existing.txt");
  HWND monitor = nullptr;

 private:
  platform::Socket target_ = listenOnLoopback();
  std::uint16_t port_ = freePort(platform::Transport::tcp);
  std::unique_ptr<Traffic> traffic_;
  std::string config_;
};

TEST_F(Closing, EndsTheSaveDialogOfTheMonitor) {
  ASSERT_NE(openDialog(*program, monitor, IDC_MON_SAVE, L"Save As"), nullptr);
}

TEST_F(Closing, EndsTheSaveDialogOfTheEditor) {
  ASSERT_NE(dialogBehind(IDC_CFG_EXPORT, L"Save As"), nullptr);
}

TEST_F(Closing, EndsTheOpenDialogOfTheEditor) {
  ASSERT_NE(dialogBehind(IDC_CFG_IMPORT, L"Open"), nullptr);
}

TEST_F(Closing, EndsADialogThatAsksWhetherToReplaceAFile) {
  const HWND dialog = openDialog(*program, monitor, IDC_MON_SAVE, L"Save As");
  confirmName(dialog, existingFile);
  ASSERT_NE(waitForDialog(*program, dialog), nullptr);
}

TEST_F(Closing, EndsAnErrorBox) {
  confirmName(dialogBehind(IDC_CFG_IMPORT, L"Open"), existingFile);
  ASSERT_NE(waitForDialog(*program, editor, L"Error"), nullptr);
}

TEST_F(Closing, EndsTheDialogsOfTwoWindows) {
  ASSERT_NE(dialogBehind(IDC_CFG_IMPORT, L"Open"), nullptr);
  ASSERT_NE(openDialog(*program, monitor, IDC_MON_SAVE, L"Save As"), nullptr);
}

}  // namespace
}  // namespace quillgate::test
