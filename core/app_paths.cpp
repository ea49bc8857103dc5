#include "core/app_paths.h"

#include "platform/system.h"

namespace quillgate {

AppPaths appPathsUnder(const std::wstring& localAppData) {
  AppPaths paths;
  paths.baseDir = localAppData.empty() ? L"." : localAppData;
  paths.baseDir += platform::kPathSeparator;
  paths.baseDir += L"Quillgate";
  paths.configPath = paths.baseDir + platform::kPathSeparator + L"config.xml";
  paths.logPath = paths.baseDir + platform::kPathSeparator + L"MonitorServer.log";
  return paths;
}

}  // namespace quillgate
