// Where the program keeps its files.
#pragma once

#include <string>

namespace quillgate {

// Fixed at start-up and only read afterwards, so any thread may read it then.
struct AppPaths {
  std::wstring baseDir;     // the data folder
  std::wstring configPath;  // the rules
  std::wstring logPath;     // the event log
};

// The paths below `localAppData`, or below the current folder when it is empty. Plain
// concatenation.
[[nodiscard]] AppPaths appPathsUnder(const std::wstring& localAppData);

}  // namespace quillgate
