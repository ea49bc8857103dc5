// The rule editor's export and import: the dialogs, the files, and what goes wrong.
#include <gmock/gmock.h>

#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

class RuleExchange : public EditorTest {};

TEST_F(RuleExchange, ExportsWhatItsRowsSayAndNothingElse) {
  startWith(someRules());
  type(0, Field::localPort, L"9090");
  const std::wstring path = exports.file(L"rules.xml");
  exportTo(path);

  RuleSet exported = someRules();
  exported[0].localPort = 9090;
  EXPECT_EQ(contentOf(path), configBytes(exported));
  EXPECT_EQ(config(), configBytes(someRules()));
  const std::vector<std::wstring> messages = files.logMessages();
  EXPECT_THAT(std::vector(messages.end() - 2, messages.end()),
              ElementsAre(L"Saved XML: " + path, L"Exported settings to: " + path));
  EXPECT_TRUE(editorIsOpen());

  pressButton(L"Cancel");
  openEditor();
  EXPECT_THAT(row(0), ElementsAre(L"off", L"TCP", L"8080", L"10.0.0.1", L"80"));
}

TEST_F(RuleExchange, ProposesConfigXmlForAnExport) {
  start();
  openEditor();
  const Window dialog = openDialog(editor, L"Export XML", L"Save As");
  ASSERT_TRUE(dialog.isThere());
  EXPECT_TRUE(proposes(dialog, L"config.xml"));
  EXPECT_THAT(typesIn(dialog), ElementsAre(L"> XML files (*.xml)", L"All files (*.*)"));
  press(dialog, Answer::cancel);
  EXPECT_TRUE(waitUntilClosed(dialog));
  EXPECT_TRUE(isUsableAgain(editor));
  EXPECT_EQ(files.logMessages().back(), L"Server started.");
}

TEST_F(RuleExchange, KeepsItsFilesWhereTheyAreAfterAnExport) {
  const TempFolder working;
  start(launchWithoutDataFolder(working.path()));
  openEditor();
  exportTo(exports.file(L"rules.xml"));
  pressButton(L"Save");
  EXPECT_THAT(ProgramFiles(working.path()).logMessages(), Contains(L"Config saved and applied."));
  EXPECT_THAT(exports.names(), ElementsAre(L"rules.xml"));
  EXPECT_EQ(program->close(), 0);  // before its folder goes
}

TEST_F(RuleExchange, AddsTheExtensionToTheNameOfAnExport) {
  start();
  openEditor();
  exportTo(exports.file(L"rules"));
  EXPECT_THAT(exports.names(), ElementsAre(L"rules.xml"));
}

TEST_F(RuleExchange, AsksBeforeAnExportOverwritesAFile) {
  start();
  openEditor();
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, "former");
  const Window dialog = openDialog(editor, L"Export XML", L"Save As");
  confirmName(dialog, path);
  const Window question = waitForDialog(dialog);
  ASSERT_TRUE(question.isThere());
  press(question, Answer::no);
  ASSERT_TRUE(waitUntilClosed(question));
  EXPECT_EQ(contentOf(path), "former");

  confirmName(dialog, path);
  press(waitForDialog(dialog), Answer::yes);
  ASSERT_TRUE(waitUntilClosed(dialog));
  EXPECT_TRUE(files.waitForLog(L"Exported settings to: " + path));
  EXPECT_EQ(contentOf(path), configBytes(RuleSet{}));
}

TEST_F(RuleExchange, ImportsAFileAndStaysOpen) {
  start();
  openEditor();
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, configBytes(someRules()));
  type(1, Field::targetIp, L"not saved");
  const std::size_t before = files.logMessages().size();
  importFrom(path);

  EXPECT_TRUE(editorIsOpen());
  EXPECT_THAT(row(0), ElementsAre(L"off", L"TCP", L"8080", L"10.0.0.1", L"80"));
  EXPECT_THAT(row(1), ElementsAre(L"off", L"TCP", L"0", L"127.0.0.1", L"0"));
  EXPECT_THAT(row(4), ElementsAre(L"on", L"UDP", L"0", L"10.0.0.2", L"53"));
  EXPECT_EQ(config(), configBytes(someRules()));
  std::vector<std::wstring> messages = files.logMessages();
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  EXPECT_THAT(messages,
              ElementsAre(L"Loaded XML successfully: " + path, L"Saved XML: " + files.configPath,
                          L"Stopping server...", L"Server stopped.", L"Starting server...",
                          L"Server started.", L"Imported config and restarted server sockets.",
                          L"Imported settings from: " + path));
}

TEST_F(RuleExchange, ImportsWithTheServerStopped) {
  startStopped();
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, configBytes(someRules()));
  importFrom(path);
  EXPECT_EQ(startStop().text(), L"Start server");
  EXPECT_THAT(files.logMessages(), Contains(L"Imported config and restarted server sockets."));
  EXPECT_EQ(files.countInLog(L"Server started."), 1U);
}

TEST_F(RuleExchange, OffersXmlFilesForAnImport) {
  startWith(someRules());
  const Window dialog = openDialog(editor, L"Import XML", L"Open");
  ASSERT_TRUE(dialog.isThere());
  EXPECT_TRUE(proposes(dialog, L""));
  EXPECT_THAT(typesIn(dialog), ElementsAre(L"> XML files (*.xml)", L"All files (*.*)"));
  press(dialog, Answer::cancel);
  EXPECT_TRUE(waitUntilClosed(dialog));
  EXPECT_TRUE(isUsableAgain(editor));
  EXPECT_EQ(config(), configBytes(someRules()));
}

TEST_F(RuleExchange, LeavesTheOtherWindowsUsableWhileItAsks) {
  start();
  openEditor();
  const Window dialog = openDialog(editor, L"Import XML", L"Open");
  ASSERT_TRUE(dialog.isThere());
  startStop().press();
  EXPECT_EQ(startStop().text(), L"Start server");
  EXPECT_TRUE(open(L"Log").isThere());
  EXPECT_TRUE(dialog.isShown());
  press(dialog, Answer::cancel);
  EXPECT_TRUE(waitUntilClosed(dialog));
  EXPECT_TRUE(isUsableAgain(editor));
}

TEST_F(RuleExchange, LeavesADialogOnEscape) {
  start();
  openEditor();
  const Window dialog = openDialog(editor, L"Export XML", L"Save As");
  ASSERT_TRUE(eventually([&] { return dialog.isActive(); }));
  typeKeys({Key::escape});
  EXPECT_TRUE(waitUntilClosed(dialog));
  EXPECT_TRUE(isUsableAgain(editor));
  EXPECT_TRUE(editorIsOpen());
  EXPECT_EQ(files.logMessages().back(), L"Server started.");
}

TEST_F(RuleExchange, ReportsAFailedImportAndChangesNothing) {
  startWith(someRules());
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, "<config><rules>");
  type(0, Field::localPort, L"1");
  const Window dialog = openDialog(editor, L"Import XML", L"Open");
  confirmName(dialog, path);
  const Window box = waitForDialog(editor, L"Error");
  ASSERT_TRUE(box.isThere());
  EXPECT_EQ(messageOf(box), L"Import failed (XML parse/read).");
  EXPECT_TRUE(hasErrorIconAndOneButton(box));
  press(box, Answer::accept);
  ASSERT_TRUE(waitUntilClosed(box));
  EXPECT_EQ(files.logMessages().back(),
            L"Failed to load XML (parse error) -> defaults used. Path=" + path);
  EXPECT_THAT(row(0), ElementsAre(L"off", L"TCP", L"1", L"10.0.0.1", L"80"));
  EXPECT_EQ(config(), configBytes(someRules()));
  EXPECT_THAT(exports.names(), ElementsAre(L"rules.xml"));
  EXPECT_EQ(contentOf(files.configPath + L".bad"), std::nullopt);
}

}  // namespace
}  // namespace quillgate::test
