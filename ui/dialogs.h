// What the file dialogs and the error boxes say. The boxes and dialogs themselves are the
// toolkit's: modal, owned by the window that asks; a box has the error icon and one button.
#pragma once

#include <array>

namespace quillgate {

struct FileFilter {
  const wchar_t* name;
  const wchar_t* pattern;
};

struct FileDialog {
  std::array<FileFilter, 2> filters;  // the first one is selected
  const wchar_t* fileName;            // the proposed name
  const wchar_t* extension;           // added to a name typed without one; null: none
};

inline constexpr FileFilter kXmlFiles{L"XML files (*.xml)", L"*.xml"};
inline constexpr FileFilter kTextFiles{L"Text files (*.txt)", L"*.txt"};
inline constexpr FileFilter kAllFiles{L"All files (*.*)", L"*.*"};

inline constexpr FileDialog kExportRulesDialog{{kXmlFiles, kAllFiles}, L"config.xml", L"xml"};
inline constexpr FileDialog kImportRulesDialog{{kXmlFiles, kAllFiles}, L"", nullptr};
inline constexpr FileDialog kSaveMonitorDialog{{kTextFiles, kAllFiles}, L"monitor.txt", L"txt"};

inline constexpr const wchar_t* kErrorTitle = L"Error";
inline constexpr const wchar_t* kNoSocketsError = L"WSAStartup failed.";
inline constexpr const wchar_t* kExportRulesError = L"Export failed.";
inline constexpr const wchar_t* kImportRulesError = L"Import failed (XML parse/read).";
inline constexpr const wchar_t* kSaveMonitorError = L"Save failed.";

}  // namespace quillgate
