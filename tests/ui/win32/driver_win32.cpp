#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "tests/support/deadline.h"
#include "tests/ui/driver.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"
#include "ui/log_view.h"
#include "ui/main_view.h"
#include "ui/monitor_layout.h"
#include "ui/rule_grid.h"
#include "ui/win32/control_ids.h"

namespace quillgate::test {

struct NativeControl {
  HWND handle;
};

namespace {

bool isA(HWND control, const wchar_t* className) { return classOf(control) == className; }

// The number of a control that screen readers know by a name that no message gives.
std::optional<int> idOfNamed(const std::wstring& name) {
  static const std::pair<const wchar_t*, int> kNames[] = {{kStatusPanelName, IDC_STATUS_TEXT},
                                                          {kFilterListName, IDC_MON_FILTER},
                                                          {kFormatListName, IDC_MON_FORMAT},
                                                          {kMonitorViewName, IDC_MON_VIEW},
                                                          {kLogListName, IDC_LOG_LIST}};
  for (const auto& [known, id] : kNames) {
    if (name == known) return id;
  }
  for (std::size_t rule = 0; rule < kRuleCount; ++rule) {
    for (std::size_t field = 0; field < std::size(kFieldNames); ++field) {
      if (name == accessibleName(rule, field)) {
        return IDC_RULE_ENABLED + static_cast<int>(kRuleRowStep * rule + field);
      }
    }
  }
  return std::nullopt;
}

WORD virtualKey(Key key) {
  static const std::pair<Key, WORD> kKeys[] = {
      {Key::tab, VK_TAB},         {Key::enter, VK_RETURN},  {Key::escape, VK_ESCAPE},
      {Key::space, VK_SPACE},     {Key::left, VK_LEFT},     {Key::right, VK_RIGHT},
      {Key::up, VK_UP},           {Key::down, VK_DOWN},     {Key::home, VK_HOME},
      {Key::end, VK_END},         {Key::shift, VK_SHIFT},   {Key::alt, VK_MENU},
      {Key::control, VK_CONTROL}, {Key::insert, VK_INSERT},
  };
  for (const auto& [known, code] : kKeys) {
    if (key == known) return code;
  }
  // Digits and capital letters stand for their keys.
  const char character = static_cast<char>(key);
  return static_cast<WORD>(character >= 'a' ? character - 'a' + 'A' : character);
}

std::vector<WORD> virtualKeys(const std::vector<Key>& keys) {
  std::vector<WORD> codes(keys.size());
  std::ranges::transform(keys, codes.begin(), virtualKey);
  return codes;
}

}  // namespace

HWND handleOf(const Control& control) {
  return control.native() == nullptr ? nullptr : control.native()->handle;
}

Window windowOf(HWND window) {
  return window == nullptr ? Window()
                           : Window(std::make_shared<NativeControl>(NativeControl{window}));
}

bool Control::operator==(const Control& other) const { return handleOf(*this) == handleOf(other); }

bool Control::isThere() const { return IsWindow(handleOf(*this)) != 0; }

bool Control::isShown() const { return IsWindowVisible(handleOf(*this)) != 0; }

bool Control::isEnabled() const { return IsWindowEnabled(handleOf(*this)) != 0; }

bool Control::isChecked() const { return send(handleOf(*this), BM_GETCHECK) == BST_CHECKED; }

bool Control::hasFocus() const { return test::hasFocus(handleOf(*this)); }

std::wstring Control::text() const {
  std::wstring text = textOf(handleOf(*this));
  std::erase(text, L'\r');
  return text;
}

std::vector<std::wstring> Control::entries() const {
  const HWND list = handleOf(*this);
  return isA(list, L"ListBox") ? linesOf(list) : itemsOf(list);
}

std::size_t Control::lineCount() const {
  return static_cast<std::size_t>(send(handleOf(*this), LB_GETCOUNT));
}

std::wstring Control::lastLine() const {
  const std::vector<std::wstring> lines = linesOf(handleOf(*this));
  return lines.empty() ? std::wstring() : lines.back();
}

Box Control::place() const { return placeOf(handleOf(*this)); }

Box Control::screenPlace() const { return test::screenPlace(handleOf(*this)); }

void Control::press() const { click(handleOf(*this)); }

void Control::setText(const std::wstring& text) const {
  send(handleOf(*this), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void Control::choose(int entry) const {
  const HWND list = handleOf(*this);
  send(list, CB_SETCURSEL, static_cast<WPARAM>(entry));
  sendCommand(GetParent(list), GetDlgCtrlID(list), CBN_SELCHANGE);
}

int Control::firstLineInSight() const {
  return static_cast<int>(send(handleOf(*this), LB_GETTOPINDEX));
}

int Control::linesInSight() const {
  const HWND list = handleOf(*this);
  return test::clientSize(list).height / static_cast<int>(send(list, LB_GETITEMHEIGHT));
}

void Control::scrollToTop() const { send(handleOf(*this), LB_SETTOPINDEX, 0); }

void Control::scrollToEnd() const {
  const HWND list = handleOf(*this);
  send(list, LB_SETTOPINDEX, static_cast<WPARAM>(send(list, LB_GETCOUNT) - linesInSight()));
}

bool Control::showsItsEnd() const {
  const HWND view = handleOf(*this);
  const auto lastLine = static_cast<WPARAM>(send(view, EM_GETLINECOUNT) - 1);
  const auto held = static_cast<WPARAM>(send(view, EM_LINEINDEX, lastLine));
  const LRESULT position = send(view, EM_POSFROMCHAR, held - 1);
  const int y = static_cast<short>(HIWORD(position));
  return position != -1 && y >= 0 && y < test::clientSize(view).height;
}

Control Window::control(const std::wstring& name) const {
  const HWND window = handleOf(*this);
  const std::optional<int> id = idOfNamed(name);
  if (id) return windowOf(GetDlgItem(window, *id));
  if (name == indicatorName(true) || name == indicatorName(false)) {
    return windowOf(FindWindowExW(window, nullptr, L"QuillgateIndicator", nullptr));
  }
  for (const HWND child : childrenOf(window)) {
    if ((isA(child, L"Button") || isA(child, L"Static")) && textOf(child) == name) {
      return windowOf(child);
    }
  }
  return {};
}

Box Window::clientSize() const { return test::clientSize(handleOf(*this)); }

void Window::setClientSize(int width, int height) const {
  test::setClientSize(handleOf(*this), width, height);
}

void Window::moveTo(Point corner) const {
  SetWindowPos(handleOf(*this), nullptr, corner.x, corner.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
}

bool Window::isActive() const { return GetForegroundWindow() == handleOf(*this); }

void Window::activate() const { bringToFront(handleOf(*this)); }

Window::State Window::state() const {
  const HWND window = handleOf(*this);
  if (IsIconic(window)) return State::minimized;
  return IsZoomed(window) ? State::maximized : State::normal;
}

void Window::minimize() const { ShowWindow(handleOf(*this), SW_MINIMIZE); }

void Window::maximize() const { ShowWindow(handleOf(*this), SW_MAXIMIZE); }

void Window::restore() const { ShowWindow(handleOf(*this), SW_RESTORE); }

Window Window::owner() const { return windowOf(GetWindow(handleOf(*this), GW_OWNER)); }

void Window::close() const { PostMessageW(handleOf(*this), WM_SYSCOMMAND, SC_CLOSE, 0); }

bool isShownScaled(const Window& window) { return isShownScaled(handleOf(window)); }

Color screenPixel(const Control& control, Point point) {
  const COLORREF color = screenPixel(handleOf(control), point.x, point.y);
  return {GetRValue(color), GetGValue(color), GetBValue(color)};
}

void clickWithMouse(const Control& control) { clickWithMouse(handleOf(control)); }

void typeKeys(const std::vector<Key>& keys) { typeKeys(virtualKeys(keys)); }

void typeChord(const std::vector<Key>& keys) { typeChord(virtualKeys(keys)); }

// Looks at the text only when there is something new: the program leaves the clipboard alone while
// somebody else uses it.
Clipboard::Clipboard() : former_(GetClipboardSequenceNumber()) {}

bool Clipboard::hasNews() const { return GetClipboardSequenceNumber() != former_; }

std::optional<std::wstring> Clipboard::text() const {
  std::optional<std::wstring> text = clipboardText();
  if (text) std::erase(*text, L'\r');
  return text;
}

}  // namespace quillgate::test
