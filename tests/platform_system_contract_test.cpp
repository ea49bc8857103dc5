#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>

#include "platform/system.h"
#include "tests/support/deadline.h"
#include "tests/support/temp_folder.h"

namespace quillgate::platform {
namespace {

namespace fs = std::filesystem;

using test::TempFolder;

std::time_t secondsOf(const LocalTime& time) {
  std::tm parts{};
  parts.tm_year = time.year - 1900;
  parts.tm_mon = time.month - 1;
  parts.tm_mday = time.day;
  parts.tm_hour = time.hour;
  parts.tm_min = time.minute;
  parts.tm_sec = time.second;
  parts.tm_isdst = -1;
  return std::mktime(&parts);
}

TEST(PlatformSystem, GivesTheLocalTime) {
  const std::time_t before = std::time(nullptr);
  const LocalTime now = localTime();
  const std::time_t after = std::time(nullptr);
  // The two clocks may be read on different ticks.
  EXPECT_GE(secondsOf(now), before - 1);
  EXPECT_LE(secondsOf(now), after + 1);
  EXPECT_GE(now.millisecond, 0);
  EXPECT_LE(now.millisecond, 999);
}

TEST(PlatformSystem, GivesMillisecondsThatChange) {
  const int first = localTime().millisecond;
  EXPECT_TRUE(test::eventually([first] { return localTime().millisecond != first; }));
}

TEST(PlatformSystem, NamesAnAbsoluteFolderForApplicationData) {
  const std::wstring folder = localAppDataFolder();
  ASSERT_FALSE(folder.empty());
  EXPECT_TRUE(test::pathOf(folder).is_absolute());
  EXPECT_NE(folder.back(), kPathSeparator);
}

TEST(PlatformSystem, CreatesAFolderAndThoseAboveIt) {
  const TempFolder temp;
  const auto inner = temp.file(L"one") + kPathSeparator + L"tw\u00f6" + kPathSeparator + L"three";
  EXPECT_TRUE(createFolders(inner));
  EXPECT_TRUE(fs::is_directory(test::pathOf(inner)));
  EXPECT_TRUE(createFolders(inner));
}

TEST(PlatformSystem, CreatesARelativeFolderInTheCurrentOne) {
  const TempFolder temp;
  const fs::path before = fs::current_path();
  fs::current_path(test::pathOf(temp.path()));
  EXPECT_TRUE(createFolders(std::wstring(L".") + kPathSeparator + L"one"));
  EXPECT_TRUE(createFolders(std::wstring(L"two") + kPathSeparator + L"three"));
  fs::current_path(before);
  EXPECT_TRUE(fs::is_directory(test::pathOf(temp.file(L"one"))));
  EXPECT_TRUE(fs::is_directory(test::pathOf(temp.file(L"two") + kPathSeparator + L"three")));
}

TEST(PlatformSystem, CreatesNoFolderWhereAFileIs) {
  const TempFolder temp;
  test::writeFile(temp.file(L"file"), "");
  EXPECT_FALSE(createFolders(temp.file(L"file")));
  EXPECT_FALSE(createFolders(temp.file(L"file") + kPathSeparator + L"folder"));
  EXPECT_FALSE(createFolders(L""));
  EXPECT_EQ(temp.names(), std::vector<std::wstring>{L"file"});
}

}  // namespace
}  // namespace quillgate::platform
