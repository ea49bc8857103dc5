#include "core/app_paths.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/system.h"

namespace quillgate {
namespace {

const std::wstring kSlash(1, platform::kPathSeparator);

TEST(AppPaths, LieInTheProgramsFolderUnderTheApplicationData) {
  const AppPaths paths = appPathsUnder(L"data");
  EXPECT_EQ(paths.baseDir, L"data" + kSlash + L"Quillgate");
  EXPECT_EQ(paths.configPath, L"data" + kSlash + L"Quillgate" + kSlash + L"config.xml");
  EXPECT_EQ(paths.logPath, L"data" + kSlash + L"Quillgate" + kSlash + L"MonitorServer.log");
}

TEST(AppPaths, FallBackToTheCurrentFolder) {
  const AppPaths paths = appPathsUnder(L"");
  EXPECT_EQ(paths.baseDir, L"." + kSlash + L"Quillgate");
  EXPECT_EQ(paths.configPath, L"." + kSlash + L"Quillgate" + kSlash + L"config.xml");
  EXPECT_EQ(paths.logPath, L"." + kSlash + L"Quillgate" + kSlash + L"MonitorServer.log");
}

TEST(AppPaths, AreNotNormalised) {
  EXPECT_EQ(appPathsUnder(L"a//b/../c").baseDir, L"a//b/../c" + kSlash + L"Quillgate");
}

}  // namespace
}  // namespace quillgate
