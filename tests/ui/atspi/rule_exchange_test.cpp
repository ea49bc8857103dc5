// The rule editor's export and import in Qt's file dialogs.
#include <gmock/gmock.h>

#include "tests/ui/atspi/native.h"
#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class RuleExchangeOnLinux : public EditorTest {};

TEST_F(RuleExchangeOnLinux, ReportsAnExportIntoAFolderThatIsNotThere) {
  start();
  openEditor();
  const std::wstring path = exports.file(L"missing/rules.xml");
  const Window dialog = openDialog(editor, L"Export XML", L"Save As");
  confirmName(dialog, path);
  const Window box = waitForDialog(editor, L"Error");
  ASSERT_TRUE(box.isThere());
  EXPECT_EQ(messageOf(box), L"Export failed.");
  EXPECT_TRUE(hasErrorIconAndOneButton(box));
  press(box, Answer::accept);
  ASSERT_TRUE(waitUntilClosed(box));
  EXPECT_TRUE(isUsableAgain(editor));
  const std::vector<std::wstring> messages = files.logMessages();
  EXPECT_THAT(std::vector(messages.end() - 2, messages.end()),
              ElementsAre(L"Failed to save XML: " + path, L"Export failed: " + path));
  EXPECT_THAT(exports.names(), ElementsAre());
}

TEST_F(RuleExchangeOnLinux, KeepsTheEditorOpenWhileItAsks) {
  start();
  openEditor();
  const Window dialog = openDialog(editor, L"Import XML", L"Open");
  ASSERT_TRUE(dialog.isThere());
  editor.close();
  // Who goes to the editor gets the dialog; by then, the editor has been asked.
  editor.activate();
  EXPECT_TRUE(eventually([&] { return dialog.isActive(); }));
  EXPECT_TRUE(editorIsOpen());
  EXPECT_FALSE(editor.control(L"Save").isEnabled());
  press(dialog, Answer::cancel);
  EXPECT_TRUE(isUsableAgain(editor));
  EXPECT_TRUE(editor.control(L"Save").isEnabled());
  editor.close();
  EXPECT_TRUE(eventually([&] { return !editorIsOpen(); }));
}

TEST_F(RuleExchangeOnLinux, OffersNoImportOfAFileThatIsNotThere) {
  start();
  openEditor();
  const Window dialog = openDialog(editor, L"Import XML", L"Open");
  writeFile(exports.file(L"rules.xml"), "");
  nameField(dialog).setText(exports.file(L"rules.xml"));
  EXPECT_TRUE(eventually([&] { return buttonOf(dialog, Answer::accept).isEnabled(); }));
  nameField(dialog).setText(exports.file(L"missing.xml"));
  EXPECT_TRUE(eventually([&] { return !buttonOf(dialog, Answer::accept).isEnabled(); }));
  press(dialog, Answer::cancel);
  EXPECT_TRUE(waitUntilClosed(dialog));
}

TEST_F(RuleExchangeOnLinux, ComplainsAboutATypedNameThatIsNotThereAndGoesOnAsking) {
  start();
  openEditor();
  const Window dialog = openDialog(editor, L"Import XML", L"Open");
  ASSERT_TRUE(eventually([&] { return dialog.isActive(); }));
  nameField(dialog).setText(exports.file(L"missing.xml"));
  typeKeys({Key::enter});
  const Window complaint = waitForDialog(dialog);
  ASSERT_TRUE(complaint.isThere());
  EXPECT_EQ(messageOf(complaint), L"missing.xml\nFile not found.");
  press(complaint, Answer::accept);
  ASSERT_TRUE(waitUntilClosed(complaint));
  EXPECT_TRUE(dialog.isShown());
  press(dialog, Answer::cancel);
  EXPECT_TRUE(waitUntilClosed(dialog));
}

}  // namespace
}  // namespace quillgate::test
