// The rule editor's export and import where the desktop's own dialogs ask for the file.
#include "tests/ui/atspi/file_portal.h"

#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

class DialogsOfTheDesktop : public EditorTest {
 protected:
  void SetUp() override {
    start(
        {.dataFolder = dataFolder, .environment = {{"QT_QPA_PLATFORMTHEME", "xdgdesktopportal"}}});
    ASSERT_TRUE(portal.waitUntilKnown());
    openEditor();
  }

  FilePortal portal;
};

TEST_F(DialogsOfTheDesktop, SaveTheFileThatTheyChoose) {
  const std::wstring path = exports.file(L"rules.xml");
  pressButton(L"Export XML");
  ASSERT_EQ(portal.waitForRequest(), "SaveFile");
  EXPECT_FALSE(editor.control(L"Save").isEnabled());
  portal.choose(path);
  EXPECT_TRUE(isUsableAgain(editor));
  EXPECT_EQ(contentOf(path), configBytes({}));
}

TEST_F(DialogsOfTheDesktop, OpenTheFileThatTheyChoose) {
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, configBytes(someRules()));
  pressButton(L"Import XML");
  ASSERT_EQ(portal.waitForRequest(), "OpenFile");
  portal.choose(path);
  EXPECT_TRUE(isUsableAgain(editor));
  EXPECT_EQ(config(), configBytes(someRules()));
}

TEST_F(DialogsOfTheDesktop, LeaveTheEditorUsableWhenTheyAreCancelled) {
  pressButton(L"Export XML");
  ASSERT_EQ(portal.waitForRequest(), "SaveFile");
  portal.cancel();
  EXPECT_TRUE(isUsableAgain(editor));
}

TEST_F(DialogsOfTheDesktop, ComeBackWhenAFileIsNotToBeReplaced) {
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, "former");
  pressButton(L"Export XML");
  ASSERT_EQ(portal.waitForRequest(), "SaveFile");
  portal.choose(path);
  const Window question = program->waitForWindow(L"Save As");
  ASSERT_TRUE(question.isThere());
  EXPECT_EQ(messageOf(question), L"rules.xml already exists.\nDo you want to replace it?");
  press(question, Answer::no);
  ASSERT_EQ(portal.waitForRequest(), "SaveFile");
  EXPECT_TRUE(waitUntilClosed(question));
  EXPECT_EQ(contentOf(path), "former");

  portal.choose(path);
  press(program->waitForWindow(L"Save As"), Answer::yes);
  EXPECT_TRUE(isUsableAgain(editor));
  EXPECT_EQ(contentOf(path), configBytes({}));
}

TEST_F(DialogsOfTheDesktop, ComeBackWhenAFileToOpenIsNotThere) {
  pressButton(L"Import XML");
  ASSERT_EQ(portal.waitForRequest(), "OpenFile");
  portal.choose(exports.file(L"missing.xml"));
  const Window complaint = program->waitForWindow(L"Open");
  ASSERT_TRUE(complaint.isThere());
  EXPECT_EQ(messageOf(complaint), L"missing.xml\nFile not found.");
  press(complaint, Answer::accept);
  ASSERT_EQ(portal.waitForRequest(), "OpenFile");
  portal.cancel();
  EXPECT_TRUE(isUsableAgain(editor));
}

}  // namespace
}  // namespace quillgate::test
