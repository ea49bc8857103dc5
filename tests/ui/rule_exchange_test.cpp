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
  type(0, IDC_RULE_LOCAL_PORT, L"9090");
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

  sendCommand(editor, IDC_CFG_CANCEL);
  openEditor();
  EXPECT_THAT(row(0), ElementsAre(L"off", L"TCP", L"8080", L"10.0.0.1", L"80"));
}

TEST_F(RuleExchange, ProposesConfigXmlForAnExport) {
  start();
  openEditor();
  const HWND dialog = dialogBehind(IDC_CFG_EXPORT, L"Save As");
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(nameIn(dialog), L"config.xml");
  EXPECT_THAT(typesIn(dialog), ElementsAre(L"> XML files (*.xml)", L"All files (*.*)"));
  press(dialog, IDCANCEL);
  EXPECT_TRUE(waitUntilClosed(dialog));
  send(editor, WM_NULL);
  EXPECT_EQ(files.logMessages().back(), L"Server started.");
}

TEST_F(RuleExchange, KeepsItsFilesWhereTheyAreAfterAnExport) {
  const TempFolder working;
  start({.localAppData = folder.path() + L"\\missing", .workingFolder = working.path()});
  openEditor();
  exportTo(exports.file(L"rules.xml"));
  sendCommand(editor, IDC_CFG_SAVE);
  EXPECT_THAT(ProgramFiles(working.path()).logMessages(), Contains(L"Config saved and applied."));
  EXPECT_THAT(exports.names(), ElementsAre(L"rules.xml"));
  EXPECT_EQ(program->close(), 0u);  // before its folder goes
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
  const HWND dialog = dialogBehind(IDC_CFG_EXPORT, L"Save As");
  confirmName(dialog, path);
  const HWND question = waitForDialog(*program, dialog);
  ASSERT_NE(question, nullptr);
  press(question, IDNO);
  ASSERT_TRUE(waitUntilClosed(question));
  EXPECT_EQ(contentOf(path), "former");

  confirmName(dialog, path);
  press(waitForDialog(*program, dialog), IDYES);
  ASSERT_TRUE(waitUntilClosed(dialog));
  EXPECT_TRUE(files.waitForLog(L"Exported settings to: " + path));
  EXPECT_EQ(contentOf(path), configBytes(RuleSet{}));
}

TEST_F(RuleExchange, ReportsAFailedExport) {
  start();
  openEditor();
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, "former");
  const HANDLE inUse = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  const HWND dialog = dialogBehind(IDC_CFG_EXPORT, L"Save As");
  confirmName(dialog, path);
  press(waitForDialog(*program, dialog), IDYES);
  const HWND box = waitForDialog(*program, editor, L"Error");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(messageOf(box), L"Export failed.");
  EXPECT_TRUE(hasErrorIconAndOneButton(box));
  press(box, IDOK);
  ASSERT_TRUE(waitUntilClosed(box));
  const std::vector<std::wstring> messages = files.logMessages();
  EXPECT_THAT(std::vector(messages.end() - 2, messages.end()),
              ElementsAre(L"Failed to save XML: " + path, L"Export failed: " + path));
  CloseHandle(inUse);
  EXPECT_EQ(contentOf(path), "former");
}

TEST_F(RuleExchange, ImportsAFileAndStaysOpen) {
  start();
  openEditor();
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, configBytes(someRules()));
  type(1, IDC_RULE_TARGET_IP, L"not saved");
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
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Start server");
  EXPECT_THAT(files.logMessages(), Contains(L"Imported config and restarted server sockets."));
  EXPECT_EQ(files.countInLog(L"Server started."), 1U);
}

TEST_F(RuleExchange, OffersXmlFilesForAnImport) {
  startWith(someRules());
  const HWND dialog = dialogBehind(IDC_CFG_IMPORT, L"Open");
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(nameIn(dialog), L"");
  EXPECT_THAT(typesIn(dialog), ElementsAre(L"> XML files (*.xml)", L"All files (*.*)"));
  press(dialog, IDCANCEL);
  EXPECT_TRUE(waitUntilClosed(dialog));
  send(editor, WM_NULL);
  EXPECT_EQ(config(), configBytes(someRules()));
}

TEST_F(RuleExchange, RefusesToImportAFileThatIsNotThere) {
  start();
  openEditor();
  const HWND dialog = dialogBehind(IDC_CFG_IMPORT, L"Open");
  confirmName(dialog, exports.file(L"missing.xml"));
  const HWND complaint = waitForDialog(*program, dialog);
  ASSERT_NE(complaint, nullptr);
  press(complaint, IDOK);
  ASSERT_TRUE(waitUntilClosed(complaint));
  EXPECT_TRUE(IsWindow(dialog));
  press(dialog, IDCANCEL);
  EXPECT_TRUE(waitUntilClosed(dialog));
}

TEST_F(RuleExchange, ReportsAFailedImportAndChangesNothing) {
  startWith(someRules());
  const std::wstring path = exports.file(L"rules.xml");
  writeFile(path, "<config><rules>");
  type(0, IDC_RULE_LOCAL_PORT, L"1");
  const HWND dialog = dialogBehind(IDC_CFG_IMPORT, L"Open");
  confirmName(dialog, path);
  const HWND box = waitForDialog(*program, editor, L"Error");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(messageOf(box), L"Import failed (XML parse/read).");
  EXPECT_TRUE(hasErrorIconAndOneButton(box));
  press(box, IDOK);
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
