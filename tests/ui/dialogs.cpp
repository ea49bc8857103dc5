#include "tests/ui/dialogs.h"

// After windows.h.
#include <dlgs.h>

#include <array>
#include <functional>

#include "tests/support/deadline.h"
#include "tests/ui/controls.h"

namespace quillgate::test {

namespace {

// Looks for a control in a dialog and in all that is inside it.
HWND findInside(HWND dialog, const std::function<bool(HWND)>& isIt) {
  for (const HWND child : childrenOf(dialog)) {
    if (isIt(child)) return child;
    if (const HWND found = findInside(child, isIt)) return found;
  }
  return nullptr;
}

// An edit in a combo box: in one with a known id, or one that has such an id itself. Which it is
// depends on the kind of dialog and on the version of Windows.
HWND nameField(HWND fileDialog) {
  constexpr int kEditOfNewerSaveDialogs = 1001;
  const HWND box = GetDlgItem(fileDialog, cmb13);
  return findInside(box != nullptr ? box : fileDialog, [&](HWND control) {
    return classOf(control) == L"Edit" &&
           (box != nullptr || GetDlgCtrlID(control) == kEditOfNewerSaveDialogs);
  });
}

// The combo box that offers types of files.
HWND typeList(HWND fileDialog) {
  if (const HWND list = GetDlgItem(fileDialog, cmb1)) return list;
  return findInside(fileDialog, [](HWND control) {
    return classOf(control) == L"ComboBox" && (styleOf(control) & 3) == CBS_DROPDOWNLIST;
  });
}

// Whether there is red on the screen where the control is; no icon but that of errors has any.
bool showsRed(HWND control) {
  const Box size = clientSize(control);
  for (int y = 0; y < size.height; y += 2) {
    for (int x = 0; x < size.width; x += 2) {
      const COLORREF color = screenPixel(control, x, y);
      if (GetRValue(color) > 150 && GetGValue(color) < 80 && GetBValue(color) < 80) return true;
    }
  }
  return false;
}

// The title of a window that may go at any moment.
std::wstring titleOf(HWND window) {
  std::array<wchar_t, 256> title{};
  GetWindowTextW(window, title.data(), static_cast<int>(title.size()));
  return title.data();
}

}  // namespace

HWND waitForDialog(const Program& program, HWND owner, const std::wstring& title) {
  HWND found = nullptr;
  static_cast<void>(eventually([&] {
    for (const HWND dialog : program.windows(L"#32770")) {
      if (IsWindowVisible(dialog) && GetWindow(dialog, GW_OWNER) == owner &&
          (title.empty() || titleOf(dialog) == title)) {
        found = dialog;
      }
    }
    return found != nullptr;
  }));
  return found;
}

HWND openDialog(const Program& program, HWND window, int button, const std::wstring& title) {
  PostMessageW(window, WM_COMMAND, MAKEWPARAM(button, 0), 0);
  return waitForDialog(program, window, title);
}

bool isEnabledAgain(HWND window) {
  const bool enabled = eventually([&] { return IsWindowEnabled(window) != 0; });
  send(window, WM_NULL);
  return enabled;
}

bool waitUntilClosed(HWND dialog) {
  return eventually([&] { return IsWindow(dialog) == 0; });
}

std::wstring messageOf(HWND box) { return textOf(GetDlgItem(box, 0xFFFF)); }

bool hasErrorIconAndOneButton(HWND box) {
  int errorIcons = 0;
  std::vector<int> buttons;
  for (const HWND child : childrenOf(box)) {
    if (classOf(child) == L"Button") buttons.push_back(GetDlgCtrlID(child));
    const bool icon = classOf(child) == L"Static" && (styleOf(child) & SS_TYPEMASK) == SS_ICON;
    if (icon && eventually([&] { return showsRed(child); })) ++errorIcons;
  }
  return errorIcons == 1 && buttons == std::vector<int>{IDOK};
}

void press(HWND dialog, int button) { PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(button, 0), 0); }

std::wstring nameIn(HWND fileDialog) { return textOf(nameField(fileDialog)); }

std::vector<std::wstring> typesIn(HWND fileDialog) {
  const HWND list = typeList(fileDialog);
  std::vector<std::wstring> types = itemsOf(list);
  types.at(static_cast<std::size_t>(send(list, CB_GETCURSEL))).insert(0, L"> ");
  return types;
}

void confirmName(HWND fileDialog, const std::wstring& name) {
  send(nameField(fileDialog), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(name.c_str()));
  press(fileDialog, IDOK);
}

}  // namespace quillgate::test
