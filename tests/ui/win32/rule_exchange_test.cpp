// An export that Windows cannot write because another program uses the file.
#include <gmock/gmock.h>

#include "tests/ui/editor_test.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class RuleExchangeOnWindows : public EditorTest {};

TEST_F(RuleExchangeOnWindows, ReportsAFailedExport) {
  if (dialogsOpenTheirFile()) GTEST_SKIP() << "the dialog itself refuses such a file";
  start();
  openEditor();
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, "former");
  const HANDLE inUse = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  const Window dialog = openDialog(editor, L"Export XML", L"Save As");
  confirmName(dialog, path);
  press(waitForDialog(dialog), Answer::yes);
  const Window box = waitForDialog(editor, L"Error");
  ASSERT_TRUE(box.isThere());
  EXPECT_EQ(messageOf(box), L"Export failed.");
  EXPECT_TRUE(hasErrorIconAndOneButton(box));
  press(box, Answer::accept);
  ASSERT_TRUE(waitUntilClosed(box));
  const std::vector<std::wstring> messages = files.logMessages();
  EXPECT_THAT(std::vector(messages.end() - 2, messages.end()),
              ElementsAre(L"Failed to save XML: " + path, L"Export failed: " + path));
  CloseHandle(inUse);
  EXPECT_EQ(contentOf(path), "former");
}

TEST_F(RuleExchangeOnWindows, RefusesToImportAFileThatIsNotThere) {
  start();
  openEditor();
  const Window dialog = openDialog(editor, L"Import XML", L"Open");
  confirmName(dialog, exports.file(L"missing.xml"));
  const Window complaint = waitForDialog(dialog);
  ASSERT_TRUE(complaint.isThere());
  press(complaint, Answer::accept);
  ASSERT_TRUE(waitUntilClosed(complaint));
  EXPECT_TRUE(dialog.isThere());
  press(dialog, Answer::cancel);
  EXPECT_TRUE(waitUntilClosed(dialog));
}

}  // namespace
}  // namespace quillgate::test
