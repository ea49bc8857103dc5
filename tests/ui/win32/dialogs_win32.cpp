#include <windows.h>

#include "tests/ui/dialogs.h"
// After windows.h.
#include <commctrl.h>
#include <dlgs.h>
#include <shlobj.h>

#include <array>
#include <functional>

#include "tests/support/deadline.h"
#include "tests/support/wine.h"
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

// Whether the dialog may be the one that is waited for. The system's own have titles in its
// language.
bool isTitled(HWND dialog, const std::wstring& title) {
  const bool isOfSystem = title == L"Open" || title == L"Save As";
  const bool isEnglish = PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_ENGLISH;
  return title.empty() || titleOf(dialog) == title || (isOfSystem && !isEnglish);
}

// Questions and complaints of newer file dialogs, whose buttons have no numbers.
bool isTaskDialog(HWND dialog) {
  return FindWindowExW(dialog, nullptr, L"DirectUIHWND", nullptr) != nullptr;
}

// Whether the system shows the names of files without their extensions.
bool hidesExtensions() {
  SHELLFLAGSTATE state{};
  SHGetSettings(&state, SSF_SHOWEXTENSIONS);
  return state.fShowExtensions == 0;
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
          isTitled(dialog, title)) {
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
  const HWND window = handleOf(dialog);
  const HWND button = GetDlgItem(window, idOf(answer));
  // On Windows the only button of a message box has the number of "Cancel", for the sake of Escape.
  const bool isOnlyButton = button == nullptr && answer == Answer::accept && !runsUnderWine();
  return windowOf(isOnlyButton ? GetDlgItem(window, IDCANCEL) : button);
}

void press(const Window& dialog, Answer answer) {
  const HWND window = handleOf(dialog);
  if (isTaskDialog(window)) {
    PostMessageW(window, TDM_CLICK_BUTTON, static_cast<WPARAM>(idOf(answer)), 0);
    return;
  }
  const HWND button = handleOf(buttonOf(dialog, answer));
  PostMessageW(window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(button), BN_CLICKED),
               reinterpret_cast<LPARAM>(button));
}

std::wstring messageOf(const Window& box) {
  constexpr int kText = 0xFFFF;
  return textOf(GetDlgItem(handleOf(box), kText));
}

bool hasErrorIconAndOneButton(const Window& box) {
  int errorIcons = 0;
  std::vector<HWND> buttons;
  for (const HWND child : childrenOf(handleOf(box))) {
    if (classOf(child) == L"Button") buttons.push_back(child);
    const bool icon = classOf(child) == L"Static" && (styleOf(child) & SS_TYPEMASK) == SS_ICON;
    if (icon && eventually([&] { return showsRed(child); })) ++errorIcons;
  }
  return errorIcons == 1 && buttons == std::vector{handleOf(buttonOf(box, Answer::accept))};
}

Control nameField(const Window& fileDialog) { return windowOf(nameField(handleOf(fileDialog))); }

bool proposes(const Window& fileDialog, const std::wstring& name) {
  const std::wstring base = name.substr(0, name.rfind(L'.'));
  return eventually([&] {
    const Control field = nameField(fileDialog);
    const std::wstring proposed = field.text();
    return field.isThere() && (proposed == name || (hidesExtensions() && proposed == base));
  });
}

std::vector<std::wstring> typesIn(const Window& fileDialog) {
  const HWND list = typeList(handleOf(fileDialog));
  std::vector<std::wstring> types = itemsOf(list);
  types.at(static_cast<std::size_t>(send(list, CB_GETCURSEL))).insert(0, L"> ");
  return types;
}

void confirmName(const Window& fileDialog, const std::wstring& name) {
  // A dialog may be shown before all of it is there.
  static_cast<void>(eventually([&] {
    nameField(fileDialog).setText(name);
    return nameField(fileDialog).text() == name;
  }));
  press(fileDialog, Answer::accept);
}

// Without the flag OFN_SHAREAWARE, Windows' do.
bool dialogsOpenTheirFile() { return !runsUnderWine(); }

}  // namespace quillgate::test
