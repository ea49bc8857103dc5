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
    type(0, Field::targetIp, L"not.saved");
    monitor = open(L"Monitor");
    ASSERT_TRUE(monitor.isThere());
    monitor.control(L"Filter").choose(1);
    traffic_ = std::make_unique<Traffic>(target_, port_, 10);
    ASSERT_TRUE(traffic_->waitForRounds(1));
    config_ = config();
  }

  void TearDown() override {
    EXPECT_EQ(program->close(), 0);
    EXPECT_EQ(files.countInLog(L"Server stopped."), 1U);
    EXPECT_EQ(config(), config_);
    EXPECT_TRUE(contentOf(existingFile) == "no rules");
    EXPECT_EQ(exports.names().size(), 1U);
    EditorTest::TearDown();
  }

  std::wstring existingFile = exports.file(L"existing.txt");
  Window monitor;

 private:
  platform::Socket target_ = listenOnLoopback();
  std::uint16_t port_ = freePort(platform::Transport::tcp);
  std::unique_ptr<Traffic> traffic_;
  std::string config_;
};

TEST_F(Closing, EndsTheSaveDialogOfTheMonitor) {
  ASSERT_TRUE(openDialog(monitor, L"Save TXT", L"Save As").isThere());
}

TEST_F(Closing, EndsTheSaveDialogOfTheEditor) {
  ASSERT_TRUE(openDialog(editor, L"Export XML", L"Save As").isThere());
}

TEST_F(Closing, EndsTheOpenDialogOfTheEditor) {
  ASSERT_TRUE(openDialog(editor, L"Import XML", L"Open").isThere());
}

TEST_F(Closing, EndsADialogThatAsksWhetherToReplaceAFile) {
  const Window dialog = openDialog(monitor, L"Save TXT", L"Save As");
  confirmName(dialog, existingFile);
  ASSERT_TRUE(waitForDialog(dialog).isThere());
}

TEST_F(Closing, EndsAnErrorBox) {
  confirmName(openDialog(editor, L"Import XML", L"Open"), existingFile);
  ASSERT_TRUE(waitForDialog(editor, L"Error").isThere());
}

TEST_F(Closing, EndsTheDialogsOfTwoWindows) {
  ASSERT_TRUE(openDialog(editor, L"Import XML", L"Open").isThere());
  ASSERT_TRUE(openDialog(monitor, L"Save TXT", L"Save As").isThere());
}

}  // namespace
}  // namespace quillgate::test
