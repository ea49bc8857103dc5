// What of the monitor window only Windows has: styles, numbers of controls, notifications.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/ui/monitor_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class MonitorWindowOnWindows : public MonitorTest {
 protected:
  [[nodiscard]] HWND child(int id) const { return GetDlgItem(handleOf(window), id); }
};

constexpr DWORD kIgnoredStyles = WS_CLIPSIBLINGS | WS_CLIPCHILDREN;

TEST_F(MonitorWindowOnWindows, HasItsControlsInTheirOrder) {
  std::vector<int> ids;
  for (const HWND control : childrenOf(handleOf(window))) ids.push_back(GetDlgCtrlID(control));
  EXPECT_THAT(ids, ElementsAre(6001, 6004, 6005, 6003, 6002));
  for (const HWND list : {child(6001), child(6004)}) {
    EXPECT_EQ(classOf(list), L"ComboBox");
    EXPECT_EQ(styleOf(list) & 0x3, static_cast<DWORD>(CBS_DROPDOWNLIST));
  }
  EXPECT_EQ(textOf(child(6005)), L"Save TXT");
  EXPECT_EQ(textOf(child(6003)), L"Clear");
  EXPECT_EQ(classOf(child(6002)), L"Edit");
  EXPECT_EQ(styleOf(child(6002)) & ~kIgnoredStyles,
            static_cast<DWORD>(WS_CHILD | WS_VISIBLE | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL |
                               ES_READONLY));
  EXPECT_EQ(exStyleOf(child(6002)), static_cast<DWORD>(WS_EX_CLIENTEDGE));
}

TEST_F(MonitorWindowOnWindows, KeepsTheFilterValuesInItsList) {
  std::vector<int> values;
  for (WPARAM i = 0; i < 4; ++i) {
    values.push_back(static_cast<int>(send(handleOf(filterList), CB_GETITEMDATA, i)));
  }
  EXPECT_THAT(values, ElementsAre(-2, -1, 1, 4));
}

TEST_F(MonitorWindowOnWindows, EndsLinesAsWindowsDoes) {
  EXPECT_EQ(textOf(handleOf(view)),
            L"Monitoring is OFF.\r\nSelect 'All' or a rule to start monitoring.");
  filterList.choose(2);
  sendThrough("AB\r\nC");
  ASSERT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \nAB\nC\n"));
  const std::wstring text = textOf(handleOf(view));
  EXPECT_THAT(text, testing::HasSubstr(L"[UDP] C->S  \r\nAB\r\nC\r\n"));
  EXPECT_EQ(std::ranges::count(text, L'\r'), std::ranges::count(text, L'\n'));
}

TEST_F(MonitorWindowOnWindows, LogsAChoiceOfTheSameFilterAgain) {
  filterList.choose(1);
  filterList.choose(2);
  filterList.choose(0);
  filterList.choose(0);
  EXPECT_EQ(view.text(), kOffNotice);
  const auto messages = files.logMessages();
  ASSERT_GE(messages.size(), 4U);
  EXPECT_THAT(
      std::vector(messages.end() - 4, messages.end()),
      ElementsAre(L"Monitor turned ON.", L"Monitor turned ON.",
                  L"Monitor turned OFF (None selected).", L"Monitor turned OFF (None selected)."));
}

TEST_F(MonitorWindowOnWindows, TurnsOffWhenNoEntryIsSelected) {
  filterList.choose(1);
  filterList.choose(-1);
  EXPECT_EQ(view.text(), kOffNotice);
  EXPECT_EQ(files.logMessages().back(), L"Monitor turned OFF (None selected).");
}

TEST_F(MonitorWindowOnWindows, IgnoresOtherNotificationsOfItsLists) {
  send(handleOf(filterList), CB_SETCURSEL, 1);
  send(handleOf(formatList), CB_SETCURSEL, 1);
  for (const int code : {0, CBN_SETFOCUS, CBN_DROPDOWN, CBN_SELENDOK}) {
    sendCommand(handleOf(window), 6001, code);
    sendCommand(handleOf(window), 6004, code);
  }
  EXPECT_EQ(view.text(), kOffNotice);
  EXPECT_EQ(files.countInLog(L"Monitor turned ON."), 0U);
}

TEST_F(MonitorWindowOnWindows, ClearsOnAnyNotificationOfTheButton) {
  sendCommand(handleOf(window), IDC_MON_CLEAR, 0x1234);
  EXPECT_EQ(view.text(), kOffNotice);
  EXPECT_EQ(files.logMessages().back(), L"Monitor buffers cleared.");
}

TEST_F(MonitorWindowOnWindows, KeepsTheLastOf500LinesInSight) {
  filterList.choose(1);
  for (int i = 1; i <= 300; ++i) sendThrough(std::to_string(i));
  // The line below the last line feed is the last one; it is in sight.
  ASSERT_TRUE(eventually([&] { return view.text().ends_with(L"\n300\n"); }));
  ASSERT_TRUE(eventually([&] { return send(handleOf(view), EM_GETLINECOUNT) == 500; }));
  const LRESULT first = send(handleOf(view), EM_GETFIRSTVISIBLELINE);
  EXPECT_GT(first, 400);
  EXPECT_LT(first, 500);
}

}  // namespace
}  // namespace quillgate::test
