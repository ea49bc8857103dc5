// "Save TXT" of the monitor window: the dialog, the file, and what goes wrong.
#include <gmock/gmock.h>

#include "tests/ui/dialogs.h"
#include "tests/ui/monitor_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class MonitorExport : public MonitorTest {
 protected:
  [[nodiscard]] HWND saveDialog() const {
    return openDialog(*program, window, IDC_MON_SAVE, L"Save As");
  }
  void saveTo(const std::wstring& path) const {
    confirmName(saveDialog(), path);
    ASSERT_TRUE(isEnabledAgain(window));
  }

  // The text of a UTF-16LE file without its byte-order mark and without the records' time stamps.
  [[nodiscard]] static std::wstring exported(const std::wstring& path) {
    const std::string bytes = contentOf(path).value_or("");
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
    return withoutStamps(utf16leText(bytes.substr(std::min<std::size_t>(bytes.size(), 2))));
  }
  [[nodiscard]] static std::wstring header(const std::wstring& format, const std::wstring& filter,
                                           int items) {
    return L"Quillgate Monitor Export\r\nFormat: " + format + L"\r\nFilter: " + filter +
           L"\r\nItems:  " + std::to_wstring(items) + L"\r\n" + std::wstring(60, L'-') +
           L"\r\n\r\n";
  }

  TempFolder exports;
};

TEST_F(MonitorExport, WritesTheRecordsOfTheSelectedRule) {
  choose(filterList, 2);
  sendThrough("AB");
  const std::wstring path = exports.file(L"rule.txt");
  saveTo(path);
  EXPECT_EQ(exported(path),
            header(L"ASCII", L"Rule 2", 2) + newClientLine() + L"[UDP] C->S  \r\nAB\r\n");
  EXPECT_EQ(files.logMessages().back(), L"Monitor saved to: " + path);
}

TEST_F(MonitorExport, WritesTheFormatThatIsChosen) {
  choose(formatList, 1);
  choose(filterList, 1);
  sendThrough("AB");
  const std::wstring path = exports.file(L"all.txt");
  saveTo(path);
  EXPECT_EQ(exported(path),
            header(L"HEX", L"All", 2) + newClientLine() + L"[UDP] C->S  \r\n41 42 \r\n");
}

TEST_F(MonitorExport, WritesWhatWasCapturedBeforeMonitoringWasSwitchedOff) {
  choose(filterList, 1);
  sendThrough("AB");
  choose(filterList, 0);
  const std::wstring path = exports.file(L"off.txt");
  saveTo(path);
  EXPECT_EQ(exported(path), header(L"ASCII", L"None (monitoring off)", 2) + newClientLine() +
                                L"[UDP] C->S  \r\nAB\r\n");
}

TEST_F(MonitorExport, FollowsTheSelectionOfTheListAndNotTheFilter) {
  choose(filterList, 1);
  sendThrough("AB");
  send(filterList, CB_SETCURSEL, 3);  // without the notification
  const std::wstring path = exports.file(L"rule.txt");
  saveTo(path);
  EXPECT_EQ(exported(path), header(L"ASCII", L"Rule 5", 0));
}

TEST_F(MonitorExport, ProposesMonitorTxtAndDoesNothingWhenCancelled) {
  const std::vector<std::wstring> messages = files.logMessages();
  const HWND dialog = saveDialog();
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(nameIn(dialog), L"monitor.txt");
  EXPECT_THAT(typesIn(dialog), ElementsAre(L"> Text files (*.txt)", L"All files (*.*)"));
  press(dialog, IDCANCEL);
  EXPECT_TRUE(isEnabledAgain(window));
  EXPECT_EQ(files.logMessages(), messages);
}

TEST_F(MonitorExport, AddsTheExtensionToAName) {
  saveTo(exports.file(L"records"));
  EXPECT_THAT(exports.names(), ElementsAre(L"records.txt"));
}

TEST_F(MonitorExport, AsksBeforeItReplacesAFile) {
  const std::wstring path = exports.file(L"records.txt");
  writeFile(path, std::string(5000, 'x'));
  const HWND dialog = saveDialog();
  confirmName(dialog, path);
  const HWND question = waitForDialog(*program, dialog);
  ASSERT_NE(question, nullptr);
  press(question, IDNO);
  ASSERT_TRUE(waitUntilClosed(question));
  EXPECT_EQ(contentOf(path), std::string(5000, 'x'));

  confirmName(dialog, path);
  press(waitForDialog(*program, dialog), IDYES);
  ASSERT_TRUE(isEnabledAgain(window));
  EXPECT_EQ(exported(path), header(L"ASCII", L"None (monitoring off)", 0));
}

TEST_F(MonitorExport, ReportsAFileThatCannotBeWrittenAndLogsNothing) {
  const std::wstring path = exports.file(L"records.txt");
  writeFile(path, "former");
  const HANDLE inUse = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  const std::vector<std::wstring> messages = files.logMessages();
  const HWND dialog = saveDialog();
  confirmName(dialog, path);
  press(waitForDialog(*program, dialog), IDYES);
  const HWND box = waitForDialog(*program, window, L"Error");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(messageOf(box), L"Save failed.");
  EXPECT_TRUE(hasErrorIconAndOneButton(box));
  press(box, IDOK);
  ASSERT_TRUE(isEnabledAgain(window));
  CloseHandle(inUse);
  EXPECT_EQ(contentOf(path), "former");
  EXPECT_EQ(files.logMessages(), messages);
}

TEST_F(MonitorExport, ShowsWhatIsCapturedWhileTheDialogIsOpen) {
  choose(filterList, 2);
  const HWND dialog = saveDialog();
  sendThrough("AB");
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \r\nAB\r\n"));
  press(dialog, IDCANCEL);
  EXPECT_TRUE(isEnabledAgain(window));
}

}  // namespace
}  // namespace quillgate::test
