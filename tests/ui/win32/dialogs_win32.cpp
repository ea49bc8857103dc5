#include <windows.h>

#include "tests/ui/dialogs.h"
// After windows.h.
#include <dlgs.h>

#include <array>
#include <functional>

#include "tests/support/deadline.h"
#include "tests/ui/win32/controls.h"
#include "tests/ui/win32/program.h"

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

int idOf(Answer answer) {
  switch (answer) {
    case Answer::cancel:
      return IDCANCEL;
    case Answer::yes:
      return IDYES;
    case Answer::no:
      return IDNO;
    default:
      return IDOK;
  }
}

}  // namespace

Window waitForDialog(const Window& owner, const std::wstring& title) {
  const HWND window = handleOf(owner);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  HWND found = nullptr;
  static_cast<void>(eventually([&] {
    for (const HWND dialog : topLevelWindows(process, L"#32770", nullptr)) {
      if (IsWindowVisible(dialog) && GetWindow(dialog, GW_OWNER) == window &&
          (title.empty() || titleOf(dialog) == title)) {
        found = dialog;
      }
    }
    return found != nullptr;
  }));
  return windowOf(found);
}

Window openDialog(const Window& window, const std::wstring& button, const std::wstring& title) {
  PostMessageW(handleOf(window.control(button)), BM_CLICK, 0, 0);
  return waitForDialog(window, title);
}

bool isUsableAgain(const Window& window) {
  const bool enabled = eventually([&] { return window.isEnabled(); });
  send(handleOf(window), WM_NULL);
  return enabled;
}

bool waitUntilClosed(const Window& dialog) {
  return eventually([&] { return !dialog.isThere(); });
}

Control buttonOf(const Window& dialog, Answer answer) {
  return windowOf(GetDlgItem(handleOf(dialog), idOf(answer)));
}

void press(const Window& dialog, Answer answer) {
  PostMessageW(handleOf(dialog), WM_COMMAND, MAKEWPARAM(idOf(answer), 0), 0);
}

std::wstring messageOf(const Window& box) {
  constexpr int kText = 0xFFFF;
  return textOf(GetDlgItem(handleOf(box), kText));
}

bool hasErrorIconAndOneButton(const Window& box) {
  int errorIcons = 0;
  std::vector<int> buttons;
  for (const HWND child : childrenOf(handleOf(box))) {
    if (classOf(child) == L"Button") buttons.push_back(GetDlgCtrlID(child));
    const bool icon = classOf(child) == L"Static" && (styleOf(child) & SS_TYPEMASK) == SS_ICON;
    if (icon && eventually([&] { return showsRed(child); })) ++errorIcons;
  }
  return errorIcons == 1 && buttons == std::vector<int>{IDOK};
}

Control nameField(const Window& fileDialog) { return windowOf(nameField(handleOf(fileDialog))); }

std::wstring nameIn(const Window& fileDialog) { return nameField(fileDialog).text(); }

std::vector<std::wstring> typesIn(const Window& fileDialog) {
  const HWND list = typeList(handleOf(fileDialog));
  std::vector<std::wstring> types = itemsOf(list);
  types.at(static_cast<std::size_t>(send(list, CB_GETCURSEL))).insert(0, L"> ");
  return types;
}

void confirmName(const Window& fileDialog, const std::wstring& name) {
  nameField(fileDialog).setText(name);
  press(fileDialog, Answer::accept);
}

}  // namespace quillgate::test
