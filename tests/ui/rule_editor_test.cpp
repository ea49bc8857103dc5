// The rule editor: its grid, and what Save and Cancel do.
#include <gmock/gmock.h>

#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr COLORREF kWhite = RGB(255, 255, 255);

class RuleEditor : public EditorTest {};

struct Expected {
  int id;
  const wchar_t* className;
  const wchar_t* text;
  DWORD style;
  DWORD exStyle;
  Box place;
};

TEST_F(RuleEditor, HasItsControlsInTheirPlaces) {
  start();
  openEditor();
  const int width = clientSize(editor).width;
  std::vector<Expected> expected = {
      {0, L"Static", L"Port Forwarding Rules:", 0, 0, {10, 10, 400, 20}},
      {0, L"Static", L"On", 0, 0, {10, 36, 40, 18}},
      {0, L"Static", L"Proto", 0, 0, {70, 36, 70, 18}},
      {0, L"Static", L"Local Port", 0, 0, {150, 36, 100, 18}},
      {0, L"Static", L"Target IP", 0, 0, {260, 36, 240, 18}},
      {0, L"Static", L"Target Port", 0, 0, {520, 36, 100, 18}},
  };
  for (int r = 0; r < 10; ++r) {
    const int y = 58 + 28 * r;
    // The closed list is as high as the system makes it.
    const int listHeight = clientSize(control(r, IDC_RULE_PROTO)).height;
    const int id = 4000 + 10 * r;
    expected.insert(
        expected.end(),
        {{id, L"Button", L"", BS_AUTOCHECKBOX, 0, {10, y + 4, 40, 20}},
         {id + 1, L"ComboBox", L"TCP", CBS_DROPDOWNLIST, 0, {70, y, 70, listHeight}},
         {id + 2, L"Edit", L"0", ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, {150, y, 90, 22}},
         {id + 3, L"Edit", L"127.0.0.1", ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, {260, y, 250, 22}},
         {id + 4, L"Edit", L"0", ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, {520, y, 90, 22}}});
  }
  expected.insert(expected.end(),
                  {{3004, L"Button", L"Import XML", BS_PUSHBUTTON, 0, {10, 356, 120, 30}},
                   {3003, L"Button", L"Export XML", BS_PUSHBUTTON, 0, {140, 356, 120, 30}},
                   {3001, L"Button", L"Save", BS_PUSHBUTTON, 0, {width - 220, 356, 90, 30}},
                   {3002, L"Button", L"Cancel", BS_PUSHBUTTON, 0, {width - 120, 356, 90, 30}}});

  const std::vector<HWND> controls = childrenOf(editor);
  ASSERT_EQ(controls.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(expected[i].id);
    EXPECT_EQ(GetDlgCtrlID(controls[i]), expected[i].id);
    EXPECT_EQ(classOf(controls[i]), expected[i].className);
    EXPECT_EQ(textOf(controls[i]), expected[i].text);
    EXPECT_EQ(styleOf(controls[i]) & ~static_cast<DWORD>(WS_CLIPSIBLINGS),
              WS_CHILD | WS_VISIBLE | expected[i].style);
    EXPECT_EQ(exStyleOf(controls[i]), expected[i].exStyle);
    EXPECT_EQ(placeOf(controls[i]), expected[i].place);
  }
}

TEST_F(RuleEditor, OffersTcpAndUdpInAListWithRoom) {
  start();
  openEditor();
  const HWND list = control(0, IDC_RULE_PROTO);
  EXPECT_THAT(itemsOf(list), ElementsAre(L"TCP", L"UDP"));
  RECT opened{};
  send(list, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&opened));
  EXPECT_NEAR(opened.bottom - opened.top, 400, 30) << "with or without the closed list";
}

TEST_F(RuleEditor, ShowsItsTextsInTheProgramsFont) {
  start();
  openEditor();
  for (const HWND child : childrenOf(editor)) {
    if (classOf(child) == L"Static" || textOf(child) == L"Save") {
      EXPECT_EQ(screenInk(child), inkOfText(textOf(child))) << textOf(child);
    }
  }
}

TEST_F(RuleEditor, LeavesItsControlsInPlaceWhenItIsResized) {
  start();
  openEditor();
  std::vector<Box> before;
  for (const HWND child : childrenOf(editor)) before.push_back(placeOf(child));
  setClientSize(editor, 900, 600);
  std::vector<Box> after;
  for (const HWND child : childrenOf(editor)) after.push_back(placeOf(child));
  EXPECT_EQ(after, before);
}

TEST_F(RuleEditor, PaintsDisabledFieldsAndCheckBoxesWhite) {
  start();
  openEditor();
  for (const int id : {IDC_RULE_LOCAL_PORT, IDC_RULE_TARGET_IP}) {
    EnableWindow(control(0, id), FALSE);
    InvalidateRect(control(0, id), nullptr, TRUE);
    EXPECT_TRUE(eventually([&] { return screenPixel(control(0, id), 80, 12) == kWhite; }));
  }
  EXPECT_EQ(screenPixel(control(0, IDC_RULE_ENABLED), 30, 10), kWhite);
}

TEST_F(RuleEditor, ShowsTheRules) {
  startWith(someRules());
  EXPECT_THAT(row(0), ElementsAre(L"off", L"TCP", L"8080", L"10.0.0.1", L"80"));
  EXPECT_THAT(row(1), ElementsAre(L"off", L"TCP", L"0", L"127.0.0.1", L"0"));
  EXPECT_THAT(row(4), ElementsAre(L"on", L"UDP", L"0", L"10.0.0.2", L"53"));
  EXPECT_THAT(row(9), ElementsAre(L"off", L"UDP", L"65535", L"server.example", L"1"));
}

TEST_F(RuleEditor, SavesWhatItsRowsSay) {
  start();
  openEditor();
  click(control(2, IDC_RULE_ENABLED));
  fillRow(2, L"UDP", L"  8080\t", L" 10.0.0.3 ", L"70000");
  fillRow(3, L"TCP", L"99999", L"", L"x");
  fillRow(4, L"TCP", L"-1", L" \t", L"80x");
  sendCommand(editor, IDC_CFG_SAVE);
  EXPECT_FALSE(editorIsOpen());

  RuleSet expected;
  expected[2] = {true, Protocol::udp, 8080, L"10.0.0.3", 65535};
  expected[3] = {false, Protocol::tcp, 65535, L"127.0.0.1", 0};
  expected[4] = {false, Protocol::tcp, 0, L"127.0.0.1", 80};
  EXPECT_EQ(config(), configBytes(expected));

  openEditor();
  EXPECT_THAT(row(2), ElementsAre(L"on", L"UDP", L"8080", L"10.0.0.3", L"65535"));
  EXPECT_THAT(row(3), ElementsAre(L"off", L"TCP", L"65535", L"127.0.0.1", L"0"));
}

TEST_F(RuleEditor, TakesATypedCheckBackAndAnUnselectedProtocolForTcp) {
  startWith(someRules());
  click(control(4, IDC_RULE_ENABLED));
  send(control(4, IDC_RULE_PROTO), CB_SETCURSEL, static_cast<WPARAM>(-1));
  sendCommand(editor, IDC_CFG_SAVE);
  RuleSet expected = someRules();
  expected[4].enabled = false;
  expected[4].proto = Protocol::tcp;
  EXPECT_EQ(config(), configBytes(expected));
}

TEST_F(RuleEditor, SavingRestartsARunningServer) {
  start();
  openEditor();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::size_t before = files.logMessages().size();
  sendCommand(editor, IDC_CFG_SAVE);
  std::vector<std::wstring> messages = files.logMessages();
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  EXPECT_THAT(messages, ElementsAre(L"Saved XML: " + files.configPath, L"Stopping server...",
                                    L"Server stopped.", L"Starting server...", L"Server started.",
                                    L"Config saved and applied."));
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Stop server");
}

TEST_F(RuleEditor, SavingLeavesAStoppedServerStopped) {
  startStopped();
  sendCommand(editor, IDC_CFG_SAVE);
  const std::vector<std::wstring> messages = files.logMessages();
  ASSERT_GE(messages.size(), 3U);
  EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
              ElementsAre(L"Server stopped.", L"Saved XML: " + files.configPath,
                          L"Config saved and applied."));
  EXPECT_EQ(textOf(mainControl(IDC_START_STOP)), L"Start server");
  EXPECT_TRUE(eventually([&] { return screenPixel(indicator(), 10, 10) == RGB(200, 0, 0); }));
}

TEST_F(RuleEditor, SavingRewritesAShownStatusReport) {
  start();
  sendCommand(mainWindow, IDC_STATUS);
  openEditor();
  fillRow(0, L"UDP", L"53", L"10.0.0.1", L"5353");
  sendCommand(editor, IDC_CFG_SAVE);
  EXPECT_THAT(textOf(mainControl(IDC_STATUS_TEXT)),
              testing::HasSubstr(L"  1)   OFF  UDP  local 53  ->  10.0.0.1:5353  [thread:no]\r\n"));
}

TEST_F(RuleEditor, CancelAndCloseLeaveTheRulesAlone) {
  startWith(someRules());
  const std::vector<std::wstring> messages = files.logMessages();
  type(0, IDC_RULE_LOCAL_PORT, L"1");
  sendCommand(editor, IDC_CFG_CANCEL);
  EXPECT_FALSE(editorIsOpen());
  openEditor();
  EXPECT_THAT(row(0), ElementsAre(L"off", L"TCP", L"8080", L"10.0.0.1", L"80"));

  type(0, IDC_RULE_LOCAL_PORT, L"1");
  send(editor, WM_CLOSE);
  EXPECT_FALSE(editorIsOpen());
  EXPECT_EQ(config(), configBytes(someRules()));
  EXPECT_EQ(files.logMessages(), messages);
}

TEST_F(RuleEditor, IgnoresWhatItsFieldsReport) {
  startWith(someRules());
  for (const int id : {4000, 4001, 4002, 4003, 4004, 4094}) {
    EXPECT_EQ(sendCommand(editor, id, EN_CHANGE), 0);
  }
  EXPECT_TRUE(editorIsOpen());
  EXPECT_EQ(config(), configBytes(someRules()));
}

TEST_F(RuleEditor, SavesOnAnyNotificationOfItsButton) {
  start();
  openEditor();
  EXPECT_EQ(sendCommand(editor, IDC_CFG_SAVE, 0x4321), 0);
  EXPECT_FALSE(editorIsOpen());
  EXPECT_THAT(files.logMessages(), Contains(L"Config saved and applied."));
}

// The name that a control has from the name service of the tests.
std::wstring nameOf(HWND control) {
  const HANDLE atom = GetPropW(control, L"AccessibleName");
  std::wstring name(64, L'\0');
  name.resize(GlobalGetAtomNameW(static_cast<ATOM>(reinterpret_cast<INT_PTR>(atom)), name.data(),
                                 static_cast<int>(name.size())));
  return name;
}

TEST_F(RuleEditor, NamesItsFieldsForScreenReaders) {
  const RegistrySetting nameService(
      HKEY_LOCAL_MACHINE,
      L"Software\\Classes\\CLSID\\{B5F8350B-0548-48B1-A6EE-88BD00B4A5E7}\\InProcServer32", L"",
      fakeLibrary(L"name_service"));
  start();
  openEditor();
  for (int rule = 0; rule < 10; ++rule) {
    const std::wstring start = L"Rule " + std::to_wstring(rule + 1) + L" ";
    EXPECT_EQ(nameOf(control(rule, IDC_RULE_ENABLED)), start + L"enabled");
    EXPECT_EQ(nameOf(control(rule, IDC_RULE_PROTO)), start + L"protocol");
    EXPECT_EQ(nameOf(control(rule, IDC_RULE_LOCAL_PORT)), start + L"local port");
    EXPECT_EQ(nameOf(control(rule, IDC_RULE_TARGET_IP)), start + L"target IP");
    EXPECT_EQ(nameOf(control(rule, IDC_RULE_TARGET_PORT)), start + L"target port");
  }
  EXPECT_EQ(program->close(), 0u);
  EXPECT_EQ(GlobalFindAtomW(L"Rule 3 target IP"), 0) << "the name outlives its field";
}

}  // namespace
}  // namespace quillgate::test
