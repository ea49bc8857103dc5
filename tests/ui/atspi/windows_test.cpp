// The windows as the window manager, the keyboard and screen readers find them on Linux.
#include <gmock/gmock.h>

#include <algorithm>
#include <utility>

#include "tests/ui/atspi/native.h"
#include "tests/ui/editor_test.h"

namespace quillgate::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

// A control as a screen reader tells it: its role and its name.
using Told = std::pair<AtspiRole, std::wstring>;

class WindowsOnLinux : public EditorTest {
 protected:
  // What is shown in a window, in the order of the tree, without areas that only hold others and
  // scroll bars.
  [[nodiscard]] static std::vector<Told> told(const Window& window) {
    std::vector<Told> found;
    tell(accessibleOf(window), found);
    return found;
  }

  // The names of what gets the focus with Tab, one after the other, until all are through.
  [[nodiscard]] static std::vector<std::wstring> tabOrder(const Window& window) {
    EXPECT_TRUE(eventually([&] { return window.isActive() && focused(window) != Accessible(); }));
    std::vector<std::wstring> names;
    const Accessible first = focused(window);
    Accessible current = first;
    do {
      names.push_back(current.name());
      typeKeys({Key::tab});
      EXPECT_TRUE(eventually([&] {
        const Accessible next = focused(window);
        return next != Accessible() && next != current;
      }));
      current = focused(window);
    } while (current != first && names.size() < 100);
    return names;
  }

  [[nodiscard]] static std::vector<std::string> allowedActions(const Window& window) {
    return x11::names(idOf(window), "_NET_WM_ALLOWED_ACTIONS");
  }

 private:
  static void tell(const Accessible& parent, std::vector<Told>& found) {
    for (const Accessible& child : parent.children()) {
      if (!child.is(ATSPI_STATE_SHOWING)) continue;
      const AtspiRole role = child.role();
      const bool isArea = role == ATSPI_ROLE_FILLER || role == ATSPI_ROLE_SCROLL_BAR;
      if (!isArea) found.emplace_back(role, child.name());
      const bool hasEntries = role == ATSPI_ROLE_LIST || role == ATSPI_ROLE_COMBO_BOX;
      if (!hasEntries) tell(child, found);
    }
  }

  [[nodiscard]] static Accessible focused(const Window& window) {
    return focusedInside(accessibleOf(window));
  }
  [[nodiscard]] static Accessible focusedInside(const Accessible& parent) {
    for (const Accessible& child : parent.children()) {
      if (child.is(ATSPI_STATE_FOCUSED)) return child;
      if (child.role() == ATSPI_ROLE_COMBO_BOX || child.role() == ATSPI_ROLE_LIST) continue;
      Accessible found = focusedInside(child);
      if (found != Accessible()) return found;
    }
    return {};
  }
};

TEST_F(WindowsOnLinux, BelongToTheEntryOfTheDesktopsMenu) {
  start();
  const std::vector<Window> windows{mainWindow, open(L"Config"), open(L"Monitor"), open(L"Log")};
  for (const Window& window : windows) EXPECT_EQ(x11::classOf(idOf(window)), "quillgate");
}

TEST_F(WindowsOnLinux, HaveTheirSizes) {
  start();
  EXPECT_EQ(mainWindow.clientSize(), (Box{0, 0, 680, 50}));
  EXPECT_EQ(open(L"Config").clientSize(), (Box{0, 0, 684, 391}));
  EXPECT_EQ(open(L"Monitor").clientSize(), (Box{0, 0, 964, 521}));
  EXPECT_EQ(open(L"Log").clientSize(), (Box{0, 0, 884, 481}));
}

TEST_F(WindowsOnLinux, CanBeResizedButForTheMainWindow) {
  start();
  EXPECT_THAT(allowedActions(mainWindow), Contains("_NET_WM_ACTION_MINIMIZE"));
  EXPECT_THAT(allowedActions(mainWindow), Contains("_NET_WM_ACTION_CLOSE"));
  EXPECT_THAT(allowedActions(mainWindow), Not(Contains("_NET_WM_ACTION_RESIZE")));
  EXPECT_THAT(allowedActions(mainWindow), Not(Contains("_NET_WM_ACTION_MAXIMIZE_VERT")));
  for (const wchar_t* title : {L"Config", L"Monitor", L"Log"}) {
    const Window window = open(title);
    EXPECT_TRUE(eventually([&] { return !allowedActions(window).empty(); }));
    for (const char* action :
         {"_NET_WM_ACTION_RESIZE", "_NET_WM_ACTION_MINIMIZE", "_NET_WM_ACTION_MAXIMIZE_VERT"}) {
      EXPECT_THAT(allowedActions(window), Contains(action));
    }
    EXPECT_EQ(x11::ownerOf(idOf(window)), idOf(mainWindow));
  }
}

TEST_F(WindowsOnLinux, TellScreenReadersTheControlsOfTheMainWindow) {
  start();
  EXPECT_EQ(accessibleOf(mainWindow).role(), ATSPI_ROLE_FRAME);
  const std::vector<Told> strip = {
      {ATSPI_ROLE_LABEL, L"Server running"}, {ATSPI_ROLE_PUSH_BUTTON, L"Stop server"},
      {ATSPI_ROLE_PUSH_BUTTON, L"Config"},   {ATSPI_ROLE_PUSH_BUTTON, L"Monitor"},
      {ATSPI_ROLE_PUSH_BUTTON, L"Log"},      {ATSPI_ROLE_PUSH_BUTTON, L"Status"}};
  EXPECT_EQ(told(mainWindow), strip);

  startStop().press();
  mainControl(L"Status").press();
  std::vector<Told> withPanel = strip;
  withPanel[0].second = L"Server stopped";
  withPanel[1].second = L"Start server";
  withPanel.emplace_back(ATSPI_ROLE_TEXT, L"Status report");
  EXPECT_EQ(told(mainWindow), withPanel);

  startStop().press();
  mainControl(L"Status").press();
  EXPECT_EQ(told(mainWindow), strip);
}

TEST_F(WindowsOnLinux, TellScreenReadersTheControlsOfTheRuleEditor) {
  start();
  openEditor();
  std::vector<Told> expected;
  for (const wchar_t* label :
       {L"Port Forwarding Rules:", L"On", L"Proto", L"Local Port", L"Target IP", L"Target Port"}) {
    expected.emplace_back(ATSPI_ROLE_LABEL, label);
  }
  for (int rule = 1; rule <= 10; ++rule) {
    const std::wstring name = L"Rule " + std::to_wstring(rule) + L" ";
    expected.emplace_back(ATSPI_ROLE_CHECK_BOX, name + L"enabled");
    expected.emplace_back(ATSPI_ROLE_COMBO_BOX, name + L"protocol");
    expected.emplace_back(ATSPI_ROLE_TEXT, name + L"local port");
    expected.emplace_back(ATSPI_ROLE_TEXT, name + L"target IP");
    expected.emplace_back(ATSPI_ROLE_TEXT, name + L"target port");
  }
  for (const wchar_t* button : {L"Import XML", L"Export XML", L"Save", L"Cancel"}) {
    expected.emplace_back(ATSPI_ROLE_PUSH_BUTTON, button);
  }
  EXPECT_EQ(told(editor), expected);
}

TEST_F(WindowsOnLinux, TellScreenReadersTheControlsOfMonitorAndLog) {
  start();
  EXPECT_THAT(
      told(open(L"Monitor")),
      ElementsAre(Told{ATSPI_ROLE_COMBO_BOX, L"Filter"}, Told{ATSPI_ROLE_COMBO_BOX, L"Format"},
                  Told{ATSPI_ROLE_PUSH_BUTTON, L"Save TXT"}, Told{ATSPI_ROLE_PUSH_BUTTON, L"Clear"},
                  Told{ATSPI_ROLE_TEXT, L"Captured traffic"}));
  EXPECT_THAT(told(open(L"Log")), ElementsAre(Told{ATSPI_ROLE_PUSH_BUTTON, L"Clear logs"},
                                              Told{ATSPI_ROLE_LIST, L"Log lines"}));
}

TEST_F(WindowsOnLinux, TellScreenReadersTheChosenEntryAsTheValueOfAList) {
  startWith(someRules());
  EXPECT_EQ(control(4, Field::proto).text(), L"UDP");
  EXPECT_EQ(accessibleOf(control(4, Field::proto)).name(), L"Rule 5 protocol");
}

TEST_F(WindowsOnLinux, GiveTheFocusFromLeftToRight) {
  start();
  mainControl(L"Status").press();
  std::vector<std::wstring> order = tabOrder(mainWindow);
  std::rotate(order.begin(), std::ranges::find(order, L"Stop server"), order.end());
  EXPECT_THAT(order, ElementsAre(L"Stop server", L"Config", L"Monitor", L"Log", L"Status",
                                 L"Status report"));
}

TEST_F(WindowsOnLinux, GiveTheFocusAlongEachRowOfTheEditor) {
  start();
  openEditor();
  std::vector<std::wstring> expected;
  for (std::size_t rule = 0; rule < kRuleCount; ++rule) {
    for (std::size_t field = 0; field < std::size(kFieldNames); ++field) {
      expected.push_back(accessibleName(rule, field));
    }
  }
  expected.insert(expected.end(), {L"Import XML", L"Export XML", L"Save", L"Cancel"});
  std::vector<std::wstring> order = tabOrder(editor);
  std::rotate(order.begin(), std::ranges::find(order, L"Rule 1 enabled"), order.end());
  EXPECT_EQ(order, expected);
}

TEST_F(WindowsOnLinux, GiveTheFocusThroughMonitorAndLog) {
  start();
  std::vector<std::wstring> order = tabOrder(open(L"Monitor"));
  std::rotate(order.begin(), std::ranges::find(order, L"Filter"), order.end());
  EXPECT_THAT(order, ElementsAre(L"Filter", L"Format", L"Save TXT", L"Clear", L"Captured traffic"));
  order = tabOrder(open(L"Log"));
  std::rotate(order.begin(), std::ranges::find(order, L"Clear logs"), order.end());
  EXPECT_THAT(order, ElementsAre(L"Clear logs", L"Log lines"));
}

TEST_F(WindowsOnLinux, PressTheButtonWithTheFocusBySpaceAndByReturn) {
  start();
  ASSERT_TRUE(eventually([&] { return mainWindow.isActive(); }));
  ASSERT_TRUE(accessibleOf(startStop()).grabFocus());
  ASSERT_TRUE(eventually([&] { return startStop().hasFocus(); }));
  typeKeys({Key::space});
  EXPECT_TRUE(eventually([&] { return startStop().text() == L"Start server"; }));
  typeKeys({Key::enter});
  EXPECT_TRUE(eventually([&] { return startStop().text() == L"Stop server"; }));
}

}  // namespace
}  // namespace quillgate::test
