// What of the rule editor only Windows has: styles, numbers of controls, messages.
#include <gmock/gmock.h>

#include "tests/support/wine.h"
#include "tests/ui/editor_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

class RuleEditorOnWindows : public EditorTest {
 protected:
  [[nodiscard]] HWND handle() const { return handleOf(editor); }
  // The control of a row whose number in the first row is this.
  [[nodiscard]] HWND child(int rule, int firstRowId) const {
    return GetDlgItem(handle(), firstRowId + 10 * rule);
  }
};

struct Expected {
  int id;
  const wchar_t* className;
  const wchar_t* text;
  DWORD style;
  DWORD exStyle;
  Box place;
};

TEST_F(RuleEditorOnWindows, HasItsControlsInTheirPlaces) {
  start();
  openEditor();
  const int width = clientSize(handle()).width;
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
    const int listHeight = clientSize(child(r, IDC_RULE_PROTO)).height;
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

  const std::vector<HWND> controls = childrenOf(handle());
  ASSERT_EQ(controls.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(expected[i].id);
    EXPECT_EQ(GetDlgCtrlID(controls[i]), expected[i].id);
    EXPECT_EQ(classOf(controls[i]), expected[i].className);
    EXPECT_EQ(textOf(controls[i]), expected[i].text);
    EXPECT_EQ(givenStyleOf(controls[i]), WS_CHILD | WS_VISIBLE | expected[i].style);
    EXPECT_EQ(exStyleOf(controls[i]), expected[i].exStyle);
    EXPECT_EQ(placeOf(controls[i]), expected[i].place);
  }
}

TEST_F(RuleEditorOnWindows, OffersTcpAndUdpInAListWithRoom) {
  start();
  openEditor();
  const HWND list = child(0, IDC_RULE_PROTO);
  EXPECT_THAT(itemsOf(list), ElementsAre(L"TCP", L"UDP"));
  RECT opened{};
  send(list, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&opened));
  if (runsUnderWine()) {
    EXPECT_NEAR(opened.bottom - opened.top, 400, 30) << "with or without the closed list";
  } else {
    // There, an opened list is as high as the entries that it shows.
    EXPECT_GT(opened.bottom - opened.top, 3 * send(list, CB_GETITEMHEIGHT));
  }
}

TEST_F(RuleEditorOnWindows, ShowsItsTextsInTheProgramsFont) {
  start();
  openEditor();
  if (isShownScaled(handle())) GTEST_SKIP() << kScaled;
  for (const HWND child : childrenOf(handle())) {
    if (classOf(child) == L"Static" || textOf(child) == L"Save") {
      EXPECT_TRUE(showsItsTextInTheProgramsFont(child)) << textOf(child);
    }
  }
}

TEST_F(RuleEditorOnWindows, PaintsDisabledFieldsAndCheckBoxesWhite) {
  start();
  openEditor();
  for (const int id : {IDC_RULE_LOCAL_PORT, IDC_RULE_TARGET_IP}) {
    EnableWindow(child(0, id), FALSE);
    InvalidateRect(child(0, id), nullptr, TRUE);
    EXPECT_TRUE(
        eventually([&] { return screenPixel(child(0, id), 80, 12) == RGB(255, 255, 255); }));
  }
  EXPECT_TRUE(eventually(
      [&] { return screenPixel(child(0, IDC_RULE_ENABLED), 30, 10) == RGB(255, 255, 255); }));
}

TEST_F(RuleEditorOnWindows, TakesATypedCheckBackAndAnUnselectedProtocolForTcp) {
  startWith(someRules());
  click(child(4, IDC_RULE_ENABLED));
  send(child(4, IDC_RULE_PROTO), CB_SETCURSEL, static_cast<WPARAM>(-1));
  sendCommand(handle(), IDC_CFG_SAVE);
  RuleSet expected = someRules();
  expected[4].enabled = false;
  expected[4].proto = Protocol::tcp;
  EXPECT_EQ(config(), configBytes(expected));
}

TEST_F(RuleEditorOnWindows, IgnoresWhatItsFieldsReport) {
  startWith(someRules());
  for (const int id : {4000, 4001, 4002, 4003, 4004, 4094}) {
    EXPECT_EQ(sendCommand(handle(), id, EN_CHANGE), 0);
  }
  EXPECT_TRUE(editorIsOpen());
  EXPECT_EQ(config(), configBytes(someRules()));
}

TEST_F(RuleEditorOnWindows, SavesOnAnyNotificationOfItsButton) {
  start();
  openEditor();
  EXPECT_EQ(sendCommand(handle(), IDC_CFG_SAVE, 0x4321), 0);
  EXPECT_FALSE(editorIsOpen());
  EXPECT_THAT(files.logMessages(), Contains(L"Config saved and applied."));
}

}  // namespace
}  // namespace quillgate::test
