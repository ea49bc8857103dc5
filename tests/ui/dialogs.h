// The file dialogs and message boxes that the program shows, as a test answers them.
#pragma once

#include <string>
#include <vector>

#include "tests/ui/driver.h"

namespace quillgate::test {

// Waits for a dialog that belongs to `owner`, with this title unless it is empty; none when none
// comes.
[[nodiscard]] Window waitForDialog(const Window& owner, const std::wstring& title = L"");

// Presses a button of `window` that shows a dialog with this title; none when none comes.
[[nodiscard]] Window openDialog(const Window& window, const std::wstring& button,
                                const std::wstring& title);

// Waits until no dialog blocks the window any more and what the dialog was for is done.
[[nodiscard]] bool isUsableAgain(const Window& window);

// Waits until the dialog is gone.
[[nodiscard]] bool waitUntilClosed(const Window& dialog);

enum class Answer { accept, cancel, yes, no };

// The button of a dialog, and pressing it. "Accept" is OK, Save or Open.
[[nodiscard]] Control buttonOf(const Window& dialog, Answer answer);
void press(const Window& dialog, Answer answer);

// The text of a message box, and whether it has an error icon and one button, to accept it.
[[nodiscard]] std::wstring messageOf(const Window& box);
[[nodiscard]] bool hasErrorIconAndOneButton(const Window& box);

// A file dialog: its name field; whether this stands in it, which may lack the extension where the
// system hides those; the types it offers, with "> " before the selected one; typing a name and
// confirming it.
[[nodiscard]] Control nameField(const Window& fileDialog);
[[nodiscard]] bool proposes(const Window& fileDialog, const std::wstring& name);
[[nodiscard]] std::vector<std::wstring> typesIn(const Window& fileDialog);
void confirmName(const Window& fileDialog, const std::wstring& name);

// Whether a dialog that asks for a file to save to opens it and complains itself where it cannot be
// written.
[[nodiscard]] bool dialogsOpenTheirFile();

}  // namespace quillgate::test
