// What of the monitor's export only Windows has.
#include <gtest/gtest.h>

#include "tests/ui/dialogs.h"
#include "tests/ui/monitor_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {
namespace {

class MonitorExportOnWindows : public MonitorTest {
 protected:
  [[nodiscard]] Window saveDialog() const { return openDialog(window, L"Save TXT", L"Save As"); }

  TempFolder exports;
};

TEST_F(MonitorExportOnWindows, FollowsTheSelectionOfTheListAndNotTheFilter) {
  filterList.choose(1);
  sendThrough("AB");
  send(handleOf(filterList), CB_SETCURSEL, 3);  // without the notification
  const std::wstring path = exports.file(L"rule.txt");
  confirmName(saveDialog(), path);
  ASSERT_TRUE(isUsableAgain(window));
  EXPECT_EQ(utf16leText(contentOf(path).value_or("")),
            L"\xFEFFQuillgate Monitor Export\r\nFormat: ASCII\r\nFilter: Rule 5\r\nItems:  0\r\n" +
                std::wstring(60, L'-') + L"\r\n\r\n");
}

TEST_F(MonitorExportOnWindows, LeavesAFileThatIsInUseAsItIs) {
  if (dialogsOpenTheirFile()) GTEST_SKIP() << "the dialog itself refuses such a file";
  const std::wstring path = exports.file(L"records.txt");
  writeFile(path, "former");
  const HANDLE inUse = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  const Window dialog = saveDialog();
  confirmName(dialog, path);
  press(waitForDialog(dialog), Answer::yes);
  press(waitForDialog(window, L"Error"), Answer::accept);
  ASSERT_TRUE(isUsableAgain(window));
  CloseHandle(inUse);
  EXPECT_EQ(contentOf(path), "former");
}

}  // namespace
}  // namespace quillgate::test
