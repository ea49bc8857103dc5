#include "ui/win32/dialogs_win32.h"

// After windows.h.
#include <commdlg.h>

#include <cwchar>

namespace quillgate {

namespace {

// Name, pattern, name, pattern, each ended by a zero, and one more zero at the end.
std::wstring filterText(const FileDialog& dialog) {
  std::wstring text;
  for (const FileFilter& filter : dialog.filters) {
    text += filter.name;
    text += L'\0';
    text += filter.pattern;
    text += L'\0';
  }
  return text;
}

// Dialogs change the current folder, which would move data files with a relative path.
class CurrentFolderKept {
 public:
  CurrentFolderKept() : folder_(GetCurrentDirectoryW(0, nullptr), L'\0') {
    GetCurrentDirectoryW(static_cast<DWORD>(folder_.size()), folder_.data());
  }
  ~CurrentFolderKept() { SetCurrentDirectoryW(folder_.c_str()); }
  CurrentFolderKept(const CurrentFolderKept&) = delete;
  CurrentFolderKept& operator=(const CurrentFolderKept&) = delete;

 private:
  std::wstring folder_;
};

std::optional<std::wstring> ask(BOOL(WINAPI* show)(OPENFILENAMEW*), HWND owner,
                                const FileDialog& dialog, DWORD flags) {
  const std::wstring filters = filterText(dialog);
  wchar_t path[260];
  std::wcscpy(path, dialog.fileName);

  OPENFILENAMEW request{};
  request.lStructSize = sizeof request;
  request.hwndOwner = owner;
  request.lpstrFilter = filters.c_str();
  request.nFilterIndex = 1;
  request.lpstrFile = path;
  request.nMaxFile = static_cast<DWORD>(std::size(path));
  request.lpstrDefExt = dialog.extension;
  request.Flags = flags;
  const CurrentFolderKept folderKept;
  if (!show(&request)) return std::nullopt;
  return path;
}

}  // namespace

std::optional<std::wstring> askForSavePath(HWND owner, const FileDialog& dialog) {
  return ask(GetSaveFileNameW, owner, dialog, OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST);
}

std::optional<std::wstring> askForOpenPath(HWND owner, const FileDialog& dialog) {
  return ask(GetOpenFileNameW, owner, dialog, OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST);
}

void showError(HWND owner, const wchar_t* text) {
  MessageBoxW(owner, text, kErrorTitle, MB_OK | MB_ICONERROR);
}

}  // namespace quillgate
