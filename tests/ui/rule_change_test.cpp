// What becomes of an open monitor window when the rule editor changes the rules.
#include <gmock/gmock.h>

#include "tests/ui/dialogs.h"
#include "tests/ui/monitor_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class RuleChange : public MonitorTest {
 protected:
  void openEditor() {
    sendCommand(mainWindow, IDC_OPEN_CONFIG);
    editor = program->waitForWindow(L"QuillgateCfgWnd");
    ASSERT_NE(editor, nullptr);
  }
  // Saves the rules with this one switched on or off.
  void toggleAndSave(int rule) {
    openEditor();
    click(GetDlgItem(editor, IDC_RULE_ENABLED + 10 * rule));
    sendCommand(editor, IDC_CFG_SAVE);
  }
  [[nodiscard]] std::wstring selected() const { return textOf(filterList); }

  HWND editor = nullptr;
};

TEST_F(RuleChange, KeepsTheChosenRuleAndGoesOnCapturing) {
  choose(filterList, 2);
  sendThrough("before");
  ASSERT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \r\nbefore\r\n"));
  toggleAndSave(0);
  EXPECT_THAT(itemsOf(filterList),
              ElementsAre(L"monitoring off", L"All", L"1) TCP  local 0 -> 127.0.0.1:0",
                          L"2) UDP  local " + routeOf(1), L"5) TCP  local " + routeOf(4)));
  EXPECT_EQ(selected(), L"2) UDP  local " + routeOf(1));
  ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + routeOf(1), 2));
  sendThrough("after");
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \r\nbefore\r\n" + newClientLine() +
                        L"[UDP] C->S  \r\nafter\r\n"));
}

TEST_F(RuleChange, KeepsAll) {
  choose(filterList, 1);
  toggleAndSave(4);
  EXPECT_THAT(itemsOf(filterList),
              ElementsAre(L"monitoring off", L"All", L"2) UDP  local " + routeOf(1)));
  EXPECT_EQ(selected(), L"All");
  EXPECT_EQ(textOf(view), L"");
}

TEST_F(RuleChange, StaysOff) {
  toggleAndSave(0);
  EXPECT_EQ(itemsOf(filterList).size(), 5U);  // with the first rule
  EXPECT_EQ(selected(), L"monitoring off");
  EXPECT_EQ(textOf(view), kOffNotice);
}

TEST_F(RuleChange, SwitchesMonitoringOffWhenTheChosenRuleIsDisabled) {
  choose(filterList, 3);
  const std::size_t switchedOff = files.countInLog(L"Monitor turned OFF (None selected).");
  toggleAndSave(4);
  EXPECT_THAT(itemsOf(filterList),
              ElementsAre(L"monitoring off", L"All", L"2) UDP  local " + routeOf(1)));
  EXPECT_EQ(selected(), L"monitoring off");
  EXPECT_EQ(textOf(view), kOffNotice);
  EXPECT_EQ(files.countInLog(L"Monitor turned OFF (None selected)."), switchedOff);

  ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + routeOf(1), 2));
  sendThrough("unseen");
  choose(filterList, 1);
  EXPECT_EQ(textOf(view), L"");
}

TEST_F(RuleChange, KeepsTheChosenRuleThroughAnImport) {
  choose(filterList, 3);
  const TempFolder imports;
  RuleSet imported = rules;
  imported[0].enabled = true;
  writeFile(imports.file(L"rules.xml"), configBytes(imported));
  openEditor();
  confirmName(openDialog(*program, editor, IDC_CFG_IMPORT, L"Open"), imports.file(L"rules.xml"));
  ASSERT_TRUE(isEnabledAgain(editor));
  EXPECT_EQ(itemsOf(filterList).size(), 5U);
  EXPECT_EQ(selected(), L"5) TCP  local " + routeOf(4));
}

TEST_F(RuleChange, LeavesCapturingAloneWhileTheMonitorIsClosed) {
  choose(filterList, 2);
  closeMonitor();
  toggleAndSave(0);
  ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + routeOf(1), 2));
  sendThrough("while closed");
  openMonitor();
  choose(filterList, 1);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \r\nwhile closed\r\n");
}

}  // namespace
}  // namespace quillgate::test
