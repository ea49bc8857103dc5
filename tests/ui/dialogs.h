// The system's file dialogs and message boxes that the program shows, as a test answers them.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/ui/program.h"

namespace quillgate::test {

// Waits for a dialog owned by `owner`, with this title unless it is empty; null when none comes.
[[nodiscard]] HWND waitForDialog(const Program& program, HWND owner,
                                 const std::wstring& title = L"");

// Presses a button of `window` that shows a dialog with this title; null when none comes.
[[nodiscard]] HWND openDialog(const Program& program, HWND window, int button,
                              const std::wstring& title);

// Waits until no dialog blocks the window any more and what the dialog was for is done.
[[nodiscard]] bool isEnabledAgain(HWND window);

// Waits until the dialog is gone.
[[nodiscard]] bool waitUntilClosed(HWND dialog);

// The text of a message box.
[[nodiscard]] std::wstring messageOf(HWND box);

// Whether a message box has an error icon and one button, to accept it.
[[nodiscard]] bool hasErrorIconAndOneButton(HWND box);

// Presses the button of a dialog.
void press(HWND dialog, int button);

// A file dialog: what stands in its name field; the types it offers, with "> " before the selected
// one; typing a name and confirming it.
[[nodiscard]] std::wstring nameIn(HWND fileDialog);
[[nodiscard]] std::vector<std::wstring> typesIn(HWND fileDialog);
void confirmName(HWND fileDialog, const std::wstring& name);

}  // namespace quillgate::test
