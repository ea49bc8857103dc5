// What screen readers call the controls that have no caption.
#include <gtest/gtest.h>

// After gtest.h.
#include <windows.h>
// After windows.h.
#include <oleacc.h>

#include <optional>
#include <string>

#include "tests/support/wine.h"
#include "tests/ui/ui_test.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/rule_grid.h"

namespace quillgate::test {
namespace {

// The name that screen readers get from the system's service.
std::wstring systemNameOf(const Control& control) {
  IAccessible* object = nullptr;
  AccessibleObjectFromWindow(handleOf(control), static_cast<DWORD>(OBJID_CLIENT), IID_IAccessible,
                             reinterpret_cast<void**>(&object));
  if (object == nullptr) return {};
  VARIANT self{};
  self.vt = VT_I4;
  self.lVal = CHILDID_SELF;
  BSTR text = nullptr;
  object->get_accName(self, &text);
  std::wstring name(text, SysStringLen(text));
  SysFreeString(text);
  object->Release();
  return name;
}

// The name that a control was given, which is that for screen readers: wine, whose service takes no
// names, has the one of the tests instead.
std::wstring nameOf(const Control& control) {
  if (!runsUnderWine()) return systemNameOf(control);
  const HANDLE atom = GetPropW(handleOf(control), L"AccessibleName");
  std::wstring name(64, L'\0');
  name.resize(GlobalGetAtomNameW(static_cast<ATOM>(reinterpret_cast<INT_PTR>(atom)), name.data(),
                                 static_cast<int>(name.size())));
  return name;
}

class AccessibleNames : public UiTest {
 protected:
  void SetUp() override {
    if (runsUnderWine()) {
      nameService_.emplace(
          HKEY_LOCAL_MACHINE,
          L"Software\\Classes\\CLSID\\{B5F8350B-0548-48B1-A6EE-88BD00B4A5E7}\\InProcServer32", L"",
          fakeLibrary(L"name_service"));
    }
    start();
  }

 private:
  std::optional<RegistrySetting> nameService_;
};

TEST_F(AccessibleNames, AreTheCaptionsOfButtons) {
  for (const wchar_t* caption : {L"Stop server", L"Config", L"Monitor", L"Log", L"Status"}) {
    EXPECT_EQ(systemNameOf(mainControl(caption)), caption);
  }
}

TEST_F(AccessibleNames, TellWhetherTheServerRuns) {
  EXPECT_EQ(nameOf(indicator()), L"Server running");
  startStop().press();
  EXPECT_EQ(nameOf(indicator()), L"Server stopped");
  startStop().press();
  EXPECT_EQ(nameOf(indicator()), L"Server running");
}

TEST_F(AccessibleNames, AreThoseOfTheControlsWithoutACaption) {
  mainControl(L"Status").press();
  const std::pair<Window, std::wstring> controls[] = {{mainWindow, L"Status report"},
                                                      {open(L"Monitor"), L"Filter"},
                                                      {open(L"Monitor"), L"Format"},
                                                      {open(L"Monitor"), L"Captured traffic"},
                                                      {open(L"Log"), L"Log lines"}};
  for (const auto& [window, name] : controls) EXPECT_EQ(nameOf(window.control(name)), name);
}

TEST_F(AccessibleNames, AreThoseOfTheFieldsOfEachRule) {
  const Window editor = open(L"Config");
  for (std::size_t rule = 0; rule < kRuleCount; ++rule) {
    for (std::size_t field = 0; field < std::size(kFieldNames); ++field) {
      const std::wstring name = accessibleName(rule, field);
      EXPECT_EQ(nameOf(editor.control(name)), name);
    }
  }
}

TEST_F(AccessibleNames, GoWithTheirControls) {
  if (!runsUnderWine()) GTEST_SKIP() << "the service of Windows does not say which names it holds";
  mainControl(L"Status").press();
  for (const wchar_t* title : {L"Config", L"Monitor", L"Log"}) {
    ASSERT_TRUE(open(title).isThere());
  }
  EXPECT_NE(GlobalFindAtomW(L"Log lines"), 0);
  EXPECT_EQ(program->close(), 0);
  for (const wchar_t* name : {L"Server running", L"Server stopped", L"Status report", L"Filter",
                              L"Format", L"Captured traffic", L"Log lines", L"Rule 3 target IP"}) {
    EXPECT_EQ(GlobalFindAtomW(name), 0) << "a name outlives its control";
  }
}

}  // namespace
}  // namespace quillgate::test
