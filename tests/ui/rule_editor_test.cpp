// The rule editor: its grid, and what Save and Cancel do.
#include <gmock/gmock.h>

#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

using testing::ElementsAre;

class RuleEditor : public EditorTest {
 protected:
  // The places of the fields that have texts, and of the check box.
  [[nodiscard]] std::vector<Box> places() const {
    std::vector<Box> found;
    for (std::size_t rule = 0; rule < kRuleCount; ++rule) {
      for (const Field field :
           {Field::enabled, Field::localPort, Field::targetIp, Field::targetPort}) {
        found.push_back(control(rule, field).place());
      }
    }
    for (const wchar_t* button : {L"Import XML", L"Export XML", L"Save", L"Cancel"}) {
      found.push_back(editor.control(button).place());
    }
    return found;
  }
};

TEST_F(RuleEditor, HasItsLabelsInTheirPlaces) {
  start();
  openEditor();
  EXPECT_EQ(editor.control(L"Port Forwarding Rules:").place(), (Box{10, 10, 400, 20}));
  EXPECT_EQ(editor.control(L"On").place(), (Box{10, 36, 40, 18}));
  EXPECT_EQ(editor.control(L"Proto").place(), (Box{70, 36, 70, 18}));
  EXPECT_EQ(editor.control(L"Local Port").place(), (Box{150, 36, 100, 18}));
  EXPECT_EQ(editor.control(L"Target IP").place(), (Box{260, 36, 240, 18}));
  EXPECT_EQ(editor.control(L"Target Port").place(), (Box{520, 36, 100, 18}));
}

TEST_F(RuleEditor, HasARowForEachRule) {
  start();
  openEditor();
  for (std::size_t rule = 0; rule < 10; ++rule) {
    SCOPED_TRACE(rule);
    const int y = 58 + 28 * static_cast<int>(rule);
    EXPECT_EQ(control(rule, Field::enabled).place(), (Box{10, y + 4, 40, 20}));
    // A closed list is as high as the system makes it.
    const int height = control(rule, Field::proto).place().height;
    EXPECT_EQ(control(rule, Field::proto).place(), (Box{70, y, 70, height}));
    EXPECT_EQ(control(rule, Field::localPort).place(), (Box{150, y, 90, 22}));
    EXPECT_EQ(control(rule, Field::targetIp).place(), (Box{260, y, 250, 22}));
    EXPECT_EQ(control(rule, Field::targetPort).place(), (Box{520, y, 90, 22}));
    EXPECT_THAT(row(rule), ElementsAre(L"off", L"TCP", L"0", L"127.0.0.1", L"0"));
  }
}

TEST_F(RuleEditor, HasItsButtonsInTheirPlaces) {
  start();
  openEditor();
  const int width = editor.clientSize().width;
  EXPECT_EQ(editor.control(L"Import XML").place(), (Box{10, 356, 120, 30}));
  EXPECT_EQ(editor.control(L"Export XML").place(), (Box{140, 356, 120, 30}));
  EXPECT_EQ(editor.control(L"Save").place(), (Box{width - 220, 356, 90, 30}));
  EXPECT_EQ(editor.control(L"Cancel").place(), (Box{width - 120, 356, 90, 30}));
}

TEST_F(RuleEditor, OffersTcpAndUdp) {
  start();
  openEditor();
  EXPECT_THAT(control(0, Field::proto).entries(), ElementsAre(L"TCP", L"UDP"));
}

TEST_F(RuleEditor, LeavesItsControlsInPlaceWhenItIsResized) {
  start();
  openEditor();
  const std::vector<Box> before = places();
  editor.setClientSize(900, 600);
  EXPECT_EQ(places(), before);
}

TEST_F(RuleEditor, PaintsItsFieldsWhite) {
  start();
  openEditor();
  for (const Field field : {Field::localPort, Field::targetIp, Field::targetPort}) {
    EXPECT_TRUE(eventually([&] { return screenPixel(control(9, field), {80, 12}) == kWhite; }));
  }
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
  control(2, Field::enabled).press();
  fillRow(2, L"UDP", L"  8080\t", L" 10.0.0.3 ", L"70000");
  fillRow(3, L"TCP", L"99999", L"", L"x");
  fillRow(4, L"TCP", L"-1", L" \t", L"80x");
  pressButton(L"Save");
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

TEST_F(RuleEditor, TakesACheckBack) {
  startWith(someRules());
  control(4, Field::enabled).press();
  pressButton(L"Save");
  RuleSet expected = someRules();
  expected[4].enabled = false;
  EXPECT_EQ(config(), configBytes(expected));
}

TEST_F(RuleEditor, SavingRestartsARunningServer) {
  start();
  openEditor();
  ASSERT_TRUE(files.waitForLog(L"Server started."));
  const std::size_t before = files.logMessages().size();
  pressButton(L"Save");
  std::vector<std::wstring> messages = files.logMessages();
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  EXPECT_THAT(messages, ElementsAre(L"Saved XML: " + files.configPath, L"Stopping server...",
                                    L"Server stopped.", L"Starting server...", L"Server started.",
                                    L"Config saved and applied."));
  EXPECT_EQ(startStop().text(), L"Stop server");
}

TEST_F(RuleEditor, SavingLeavesAStoppedServerStopped) {
  startStopped();
  pressButton(L"Save");
  const std::vector<std::wstring> messages = files.logMessages();
  ASSERT_GE(messages.size(), 3U);
  EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
              ElementsAre(L"Server stopped.", L"Saved XML: " + files.configPath,
                          L"Config saved and applied."));
  EXPECT_EQ(startStop().text(), L"Start server");
  EXPECT_TRUE(eventually([&] { return screenPixel(indicator(), {10, 10}) == kRed; }));
}

TEST_F(RuleEditor, SavingRewritesAShownStatusReport) {
  start();
  mainControl(L"Status").press();
  openEditor();
  fillRow(0, L"UDP", L"53", L"10.0.0.1", L"5353");
  pressButton(L"Save");
  EXPECT_THAT(mainControl(L"Status report").text(),
              testing::HasSubstr(L"  1)   OFF  UDP  local 53  ->  10.0.0.1:5353  [thread:no]\n"));
}

TEST_F(RuleEditor, CancelAndCloseLeaveTheRulesAlone) {
  startWith(someRules());
  const std::vector<std::wstring> messages = files.logMessages();
  type(0, Field::localPort, L"1");
  pressButton(L"Cancel");
  EXPECT_FALSE(editorIsOpen());
  openEditor();
  EXPECT_THAT(row(0), ElementsAre(L"off", L"TCP", L"8080", L"10.0.0.1", L"80"));

  type(0, Field::localPort, L"1");
  editor.close();
  EXPECT_TRUE(eventually([&] { return !editorIsOpen(); }));
  EXPECT_EQ(config(), configBytes(someRules()));
  EXPECT_EQ(files.logMessages(), messages);
}

}  // namespace
}  // namespace quillgate::test
