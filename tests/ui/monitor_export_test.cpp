// "Save TXT" of the monitor window: the dialog, the file, and what goes wrong.
#include <gmock/gmock.h>

#include "tests/support/unwritable_file.h"
#include "tests/ui/dialogs.h"
#include "tests/ui/monitor_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class MonitorExport : public MonitorTest {
 protected:
  [[nodiscard]] Window saveDialog() const { return openDialog(window, L"Save TXT", L"Save As"); }
  void saveTo(const std::wstring& path) const {
    confirmName(saveDialog(), path);
    ASSERT_TRUE(isUsableAgain(window));
  }

  // The text of a UTF-16LE file without its byte-order mark and without the records' time stamps;
  // its lines end as on Windows everywhere.
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

  [[nodiscard]] std::wstring newClientInFile() const {
    std::wstring line = newClientLine();
    return line.insert(line.size() - 1, L"\r");
  }

  TempFolder exports;
};

TEST_F(MonitorExport, WritesTheRecordsOfTheSelectedRule) {
  filterList.choose(2);
  sendThrough("AB");
  const std::wstring path = exports.file(L"rule.txt");
  saveTo(path);
  EXPECT_EQ(exported(path),
            header(L"ASCII", L"Rule 2", 2) + newClientInFile() + L"[UDP] C->S  \r\nAB\r\n");
  EXPECT_EQ(files.logMessages().back(), L"Monitor saved to: " + path);
}

TEST_F(MonitorExport, WritesTheFormatThatIsChosen) {
  formatList.choose(1);
  filterList.choose(1);
  sendThrough("AB");
  const std::wstring path = exports.file(L"all.txt");
  saveTo(path);
  EXPECT_EQ(exported(path),
            header(L"HEX", L"All", 2) + newClientInFile() + L"[UDP] C->S  \r\n41 42 \r\n");
}

TEST_F(MonitorExport, WritesWhatWasCapturedBeforeMonitoringWasSwitchedOff) {
  filterList.choose(1);
  sendThrough("AB");
  filterList.choose(0);
  const std::wstring path = exports.file(L"off.txt");
  saveTo(path);
  EXPECT_EQ(exported(path), header(L"ASCII", L"None (monitoring off)", 2) + newClientInFile() +
                                L"[UDP] C->S  \r\nAB\r\n");
}

TEST_F(MonitorExport, ProposesMonitorTxtAndDoesNothingWhenCancelled) {
  const std::vector<std::wstring> messages = files.logMessages();
  const Window dialog = saveDialog();
  ASSERT_TRUE(dialog.isThere());
  EXPECT_TRUE(proposes(dialog, L"monitor.txt"));
  EXPECT_THAT(typesIn(dialog), ElementsAre(L"> Text files (*.txt)", L"All files (*.*)"));
  press(dialog, Answer::cancel);
  EXPECT_TRUE(isUsableAgain(window));
  EXPECT_EQ(files.logMessages(), messages);
}

TEST_F(MonitorExport, AddsTheExtensionToAName) {
  saveTo(exports.file(L"records"));
  EXPECT_THAT(exports.names(), ElementsAre(L"records.txt"));
}

TEST_F(MonitorExport, AsksBeforeItReplacesAFile) {
  const std::wstring path = exports.file(L"records.txt");
  writeFile(path, std::string(5000, 'x'));
  const Window dialog = saveDialog();
  confirmName(dialog, path);
  const Window question = waitForDialog(dialog);
  ASSERT_TRUE(question.isThere());
  press(question, Answer::no);
  ASSERT_TRUE(waitUntilClosed(question));
  EXPECT_EQ(contentOf(path), std::string(5000, 'x'));

  confirmName(dialog, path);
  press(waitForDialog(dialog), Answer::yes);
  ASSERT_TRUE(isUsableAgain(window));
  EXPECT_EQ(exported(path), header(L"ASCII", L"None (monitoring off)", 0));
}

TEST_F(MonitorExport, ReportsAFileThatCannotBeWrittenAndLogsNothing) {
  if (dialogsOpenTheirFile()) GTEST_SKIP() << "the dialog itself refuses such a file";
  const std::wstring path = exports.file(L"records.txt");
  writeFile(path, "former");
  const UnwritableFile unwritable(path);
  const std::vector<std::wstring> messages = files.logMessages();
  const Window dialog = saveDialog();
  confirmName(dialog, path);
  press(waitForDialog(dialog), Answer::yes);
  const Window box = waitForDialog(window, L"Error");
  ASSERT_TRUE(box.isThere());
  EXPECT_EQ(messageOf(box), L"Save failed.");
  EXPECT_TRUE(hasErrorIconAndOneButton(box));
  press(box, Answer::accept);
  ASSERT_TRUE(isUsableAgain(window));
  EXPECT_EQ(files.logMessages(), messages);
}

TEST_F(MonitorExport, ShowsWhatIsCapturedWhileTheDialogIsOpen) {
  filterList.choose(2);
  const Window dialog = saveDialog();
  sendThrough("AB");
  EXPECT_TRUE(viewShows(newClientLine() + L"[UDP] C->S  \nAB\n"));
  press(dialog, Answer::cancel);
  EXPECT_TRUE(isUsableAgain(window));
}

}  // namespace
}  // namespace quillgate::test
