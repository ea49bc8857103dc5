// What becomes of an open monitor window when the rule editor changes the rules.
#include <gmock/gmock.h>

#include "tests/ui/dialogs.h"
#include "tests/ui/monitor_test.h"
#include "ui/rule_grid.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class RuleChange : public MonitorTest {
 protected:
  void openEditor() {
    editor = open(L"Config");
    ASSERT_TRUE(editor.isThere());
  }
  // Saves the rules with this one switched on or off.
  void toggleAndSave(std::size_t rule) {
    openEditor();
    editor.control(accessibleName(rule, 0)).press();
    editor.control(L"Save").press();
  }
  [[nodiscard]] std::wstring selected() const { return filterList.text(); }

  Window editor;
};

TEST_F(RuleChange, KeepsTheChosenRuleAndGoesOnCapturing) {
  filterList.choose(2);
  sendThrough("before");
  ASSERT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \nbefore\n"));
  toggleAndSave(0);
  EXPECT_THAT(filterList.entries(),
              ElementsAre(L"monitoring off", L"All", L"1) TCP  local 0 -> 127.0.0.1:0",
                          L"2) UDP  local " + routeOf(1), L"5) TCP  local " + routeOf(4)));
  EXPECT_EQ(selected(), L"2) UDP  local " + routeOf(1));
  ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + routeOf(1), 2));
  sendThrough("after");
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \nbefore\n" + newClientLine() +
                        L"[UDP] C->S  \nafter\n"));
}

TEST_F(RuleChange, KeepsAll) {
  filterList.choose(1);
  toggleAndSave(4);
  EXPECT_THAT(filterList.entries(),
              ElementsAre(L"monitoring off", L"All", L"2) UDP  local " + routeOf(1)));
  EXPECT_EQ(selected(), L"All");
  EXPECT_EQ(view.text(), L"");
}

TEST_F(RuleChange, StaysOff) {
  toggleAndSave(0);
  EXPECT_EQ(filterList.entries().size(), 5U);  // with the first rule
  EXPECT_EQ(selected(), L"monitoring off");
  EXPECT_EQ(view.text(), kOffNotice);
}

TEST_F(RuleChange, SwitchesMonitoringOffWhenTheChosenRuleIsDisabled) {
  filterList.choose(3);
  const std::size_t switchedOff = files.countInLog(L"Monitor turned OFF (None selected).");
  toggleAndSave(4);
  EXPECT_THAT(filterList.entries(),
              ElementsAre(L"monitoring off", L"All", L"2) UDP  local " + routeOf(1)));
  EXPECT_EQ(selected(), L"monitoring off");
  EXPECT_EQ(view.text(), kOffNotice);
  EXPECT_EQ(files.countInLog(L"Monitor turned OFF (None selected)."), switchedOff);

  ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + routeOf(1), 2));
  sendThrough("unseen");
  filterList.choose(1);
  EXPECT_EQ(view.text(), L"");
}

TEST_F(RuleChange, KeepsTheChosenRuleThroughAnImport) {
  filterList.choose(3);
  const TempFolder imports;
  RuleSet imported = rules;
  imported[0].enabled = true;
  writeFile(imports.file(L"rules.xml"), configBytes(imported));
  openEditor();
  confirmName(openDialog(editor, L"Import XML", L"Open"), imports.file(L"rules.xml"));
  ASSERT_TRUE(isUsableAgain(editor));
  EXPECT_EQ(filterList.entries().size(), 5U);
  EXPECT_EQ(selected(), L"5) TCP  local " + routeOf(4));
}

TEST_F(RuleChange, LeavesCapturingAloneWhileTheMonitorIsClosed) {
  filterList.choose(2);
  closeMonitor();
  toggleAndSave(0);
  ASSERT_TRUE(files.waitForLog(L"[UDP] Listening on local port " + routeOf(1), 2));
  sendThrough("while closed");
  openMonitor();
  filterList.choose(1);
  EXPECT_EQ(viewText(), newClientLine() + L"[UDP] C->S  \nwhile closed\n");
}

}  // namespace
}  // namespace quillgate::test
