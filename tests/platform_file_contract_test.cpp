#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "tests/support/bytes.h"
#include "tests/support/child_process.h"
#include "tests/support/deadline.h"
#include "tests/support/file_rights.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/temp_folder.h"

namespace quillgate::platform {
namespace {

namespace fs = std::filesystem;

using test::bytesOf;
using test::ChildProcess;
using test::contentOf;
using test::pathOf;
using test::TempFolder;
using test::writeFile;

std::optional<std::string> readText(const std::wstring& path, std::size_t maxBytes = SIZE_MAX) {
  const auto bytes = readFile(path, maxBytes);
  if (!bytes) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size());
}

// Every byte value, in no order a text conversion would leave alone.
std::string awkwardBytes(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 167 + i / 256);
  return bytes;
}

TEST(PlatformFile, KnowsWhetherThereIsAFileOrAFolder) {
  const TempFolder folder;
  EXPECT_TRUE(pathExists(folder.path()));
  EXPECT_FALSE(pathExists(folder.file(L"file")));
  writeFile(folder.file(L"file"), "");
  EXPECT_TRUE(pathExists(folder.file(L"file")));
  EXPECT_FALSE(pathExists(L""));
}

TEST(PlatformFile, ReadsEveryByteOfAFile) {
  const TempFolder folder;
  for (const std::size_t size :
       std::vector<std::size_t>{0, 1, 16 * 1024 - 1, 16 * 1024, 16 * 1024 + 1, 100'000}) {
    const std::string content = awkwardBytes(size);
    writeFile(folder.file(L"file"), content);
    EXPECT_EQ(readText(folder.file(L"file")), content);
  }
}

TEST(PlatformFile, ReadsNoFileBeyondTheLimit) {
  const TempFolder folder;
  for (const std::size_t size : std::vector<std::size_t>{1, 5, 16 * 1024, 50'000}) {
    const std::string content = awkwardBytes(size);
    writeFile(folder.file(L"file"), content);
    EXPECT_EQ(readText(folder.file(L"file"), size), content);
    EXPECT_EQ(readText(folder.file(L"file"), size - 1), std::nullopt);
  }
}

TEST(PlatformFile, ReadsNothingWhereNoFileIs) {
  const TempFolder folder;
  EXPECT_EQ(readText(folder.file(L"file")), std::nullopt);
  EXPECT_EQ(readText(folder.path()), std::nullopt);
  EXPECT_EQ(readText(L""), std::nullopt);
}

TEST(PlatformFile, AppendsAndCreatesWhatIsMissing) {
  const TempFolder folder;
  const std::string content = awkwardBytes(1000);
  EXPECT_TRUE(appendToFile(folder.file(L"log"), bytesOf(content)));
  EXPECT_EQ(contentOf(folder.file(L"log")), content);
  EXPECT_TRUE(appendToFile(folder.file(L"log"), bytesOf("\r\n")));
  EXPECT_TRUE(appendToFile(folder.file(L"log"), bytesOf("")));
  EXPECT_EQ(contentOf(folder.file(L"log")), content + "\r\n");
}

TEST(PlatformFile, AppendsWhileOthersReadTheFile) {
  const TempFolder folder;
  writeFile(folder.file(L"log"), "a");
  std::ifstream reader(pathOf(folder.file(L"log")), std::ios::binary);
  EXPECT_EQ(reader.get(), 'a');
  EXPECT_TRUE(appendToFile(folder.file(L"log"), bytesOf("b")));
  EXPECT_EQ(reader.get(), 'b');
}

TEST(PlatformFile, AppendsNothingWhereNoFileCanBe) {
  const TempFolder folder;
  EXPECT_FALSE(appendToFile(folder.path(), bytesOf("a")));
  EXPECT_FALSE(appendToFile(folder.file(L"missing/log"), bytesOf("a")));
  EXPECT_TRUE(folder.names().empty());
}

TEST(PlatformFile, KeepsLinesWholeThatTwoThreadsAppend) {
  constexpr int kLines = 200;
  const TempFolder folder;
  const auto path = folder.file(L"log");
  const auto append = [&path](char letter) {
    const std::string line = std::string(500, letter) + "\n";
    for (int i = 0; i < kLines; ++i) {
      // Where only one may have the file open for writing, the other is told so.
      EXPECT_TRUE(test::eventually([&] { return appendToFile(path, bytesOf(line)); }));
    }
  };
  std::thread other(append, 'b');
  append('a');
  other.join();

  std::ifstream file{pathOf(path)};
  std::string line;
  int lines = 0;
  while (std::getline(file, line)) {
    ++lines;
    EXPECT_TRUE(line == std::string(500, 'a') || line == std::string(500, 'b')) << line;
  }
  EXPECT_EQ(lines, 2 * kLines);
}

TEST(PlatformFile, ReplacesTheWholeContentAndLeavesNoOtherFile) {
  const TempFolder folder;
  const auto path = folder.file(L"config.xml");
  for (const std::size_t size : std::vector<std::size_t>{10, 5000, 0, 2'000'000, 3}) {
    const std::string content = awkwardBytes(size);
    EXPECT_TRUE(replaceFile(path, bytesOf(content)));
    EXPECT_EQ(contentOf(path), content);
    EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"config.xml"});
  }
}

TEST(PlatformFile, ReplacesAFileNamedInAnyScript) {
  const TempFolder folder;
  const std::wstring name = L"r\u00e8gles \u89c4\u5219 \U0001F600.xml";
  EXPECT_TRUE(replaceFile(folder.file(name), bytesOf("rules")));
  EXPECT_TRUE(appendToFile(folder.file(name), bytesOf("+")));
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{name});
  EXPECT_TRUE(pathExists(folder.file(name)));
  EXPECT_EQ(readText(folder.file(name)), "rules+");
  EXPECT_TRUE(removeFile(folder.file(name)));
  EXPECT_TRUE(folder.names().empty());
}

TEST(PlatformFile, ReplacesAFileInTheCurrentFolder) {
  const TempFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(pathOf(folder.path()));
  EXPECT_TRUE(replaceFile(L"file", bytesOf("old")));
  EXPECT_TRUE(replaceFile(L"file", bytesOf("new")));
  fs::current_path(before);
  EXPECT_EQ(contentOf(folder.file(L"file")), "new");
}

TEST(PlatformFile, ReplacesNothingWhereNoFileCanBe) {
  const TempFolder folder;
  fs::create_directory(pathOf(folder.file(L"folder")));
  EXPECT_FALSE(replaceFile(folder.file(L"folder"), bytesOf("a")));
  EXPECT_FALSE(replaceFile(folder.file(L"missing/file"), bytesOf("a")));
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"folder"});
}

TEST(PlatformFile, LeavesAFileAloneThatMayNotBeWritten) {
  const TempFolder folder;
  fs::permissions(pathOf(folder.path()), fs::perms::all);
  const auto path = folder.file(L"file");
  writeFile(path, "old");
  fs::permissions(pathOf(path),
                  fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  EXPECT_FALSE(test::holdsForOrdinaryUser([&] { return replaceFile(path, bytesOf("new")); }));
  EXPECT_EQ(contentOf(path), "old");
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"file"});
  fs::permissions(pathOf(path), fs::perms::all);
}

// On Windows the rights are the access list; the attributes, the streams and the time of creation
// stay there, too. Wine has only the first two, and of those what Linux can hold.
TEST(PlatformFile, KeepsTheRightsOfTheFileItReplaces) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  writeFile(path, "old");
  const std::string usual = test::rightsOf(path);
  EXPECT_TRUE(replaceFile(path, bytesOf("newer")));
  EXPECT_EQ(test::rightsOf(path), usual);
  test::makeUnusual(path);
  const std::string before = test::rightsOf(path);
  ASSERT_NE(before, usual);
  EXPECT_TRUE(replaceFile(path, bytesOf("new")));
  EXPECT_EQ(contentOf(path), "new");
  EXPECT_EQ(test::rightsOf(path), before);
}

// A folder with the name of the file beside keeps that file from being created.
void blockTheFileBeside(const std::wstring& path) {
  fs::create_directory(pathOf(path + L".quillgate-new"));
}

TEST(PlatformFile, WritesInPlaceWhereNoFileCanBeCreatedBeside) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  writeFile(path, "the old content");
  blockTheFileBeside(path);
  EXPECT_TRUE(replaceFile(path, bytesOf("new")));
  EXPECT_EQ(contentOf(path), "new");
  EXPECT_TRUE(replaceFile(path, bytesOf("longer than the new")));
  EXPECT_EQ(contentOf(path), "longer than the new");
}

TEST(PlatformFile, CreatesTheFileItselfWhereNoneCanBeCreatedBeside) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  blockTheFileBeside(path);
  EXPECT_TRUE(replaceFile(path, bytesOf("new")));
  EXPECT_EQ(contentOf(path), "new");
  EXPECT_EQ(folder.names(), (std::vector<std::wstring>{L"file", L"file.quillgate-new"}));
}

// The system's limit is one of the name or of the whole path.
std::wstring longestNameIn(const TempFolder& folder) {
  std::wstring name(300, L'n');
  while (!std::ofstream(pathOf(folder.file(name)))) name.pop_back();
  fs::remove(pathOf(folder.file(name)));
  return name;
}

TEST(PlatformFile, ReplacesAFileWhoseNameLeavesNoRoomForOneBeside) {
  const TempFolder folder;
  std::wstring name = longestNameIn(folder);
  for (std::size_t room = 0; room <= std::string_view(".quillgate-new").size(); ++room) {
    EXPECT_TRUE(replaceFile(folder.file(name), bytesOf("old"))) << "room for " << room;
    EXPECT_EQ(contentOf(folder.file(name)), "old");
    EXPECT_TRUE(replaceFile(folder.file(name), bytesOf("new"))) << "room for " << room;
    EXPECT_EQ(contentOf(folder.file(name)), "new");
    EXPECT_EQ(folder.names(), std::vector<std::wstring>{name});
    EXPECT_TRUE(removeFile(folder.file(name)));
    name.pop_back();
  }
}

TEST(PlatformFile, WritesInPlaceInAFolderThatTakesNoNewFile) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  writeFile(path, "old");
  fs::permissions(pathOf(path), fs::perms::all);
  fs::permissions(pathOf(folder.path()), fs::perms::owner_read | fs::perms::owner_exec |
                                             fs::perms::others_read | fs::perms::others_exec);
  EXPECT_TRUE(test::holdsForOrdinaryUser([&] { return replaceFile(path, bytesOf("new")); }));
  EXPECT_EQ(contentOf(path), "new");
  fs::permissions(pathOf(folder.path()), fs::perms::all);
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"file"});
}

TEST(PlatformFile, UsesTheFileBesideThatAnEndedProcessLeft) {
  const TempFolder folder;
  const auto path = folder.file(L"file");
  writeFile(path, "old");
  writeFile(path + L".quillgate-new", "half of something much longer");
  EXPECT_TRUE(replaceFile(path, bytesOf("new")));
  EXPECT_EQ(contentOf(path), "new");
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"file"});
}

// Versions of a file in which mixed or cut content shows.
std::string version(std::size_t number) {
  const auto letter = static_cast<char>('a' + number % 26);
  return std::string(20'000 + number % 26 * 1'000, letter);
}

bool isWholeVersion(const std::string& content) {
  return !content.empty() && content == version(static_cast<std::size_t>(content[0] - 'a'));
}

TEST(PlatformFile, ShowsAReaderOneWholeVersionWhileTwoReplaceIt) {
  constexpr std::size_t kVersions = 40;
  const TempFolder folder;
  const auto path = folder.file(L"file");
  ASSERT_TRUE(replaceFile(path, bytesOf(version(0))));
  std::atomic<int> working{2};
  const auto work = [&](std::size_t first) {
    for (std::size_t i = 0; i < kVersions; ++i) {
      EXPECT_TRUE(replaceFile(path, bytesOf(version(first + i))));
    }
    --working;
  };
  std::jthread one(work, 0);
  std::jthread two(work, 13);
  int reads = 0;
  while (working > 0) {
    const auto content = readText(path);
    ASSERT_TRUE(content.has_value());
    EXPECT_TRUE(isWholeVersion(*content)) << content->size() << " bytes";
    ++reads;
  }
  one.join();
  two.join();
  EXPECT_GT(reads, 0);
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"file"});
}

[[noreturn]] void replaceForEver(const std::wstring& path) {
  for (std::size_t i = 0;; ++i) {
    if (!replaceFile(path, bytesOf(version(i)))) std::abort();
  }
}

TEST(PlatformFile, HoldsOneWholeVersionWhenAProcessIsKilledWhileReplacing) {
  if (const auto path = test::childTask()) replaceForEver(*path);
  constexpr int kKills = 20;
  constexpr std::size_t kVersionsSeen = 10;  // before each kill: 200 in all
  const TempFolder folder;
  const auto path = folder.file(L"file");
  std::mt19937 random(20240507);
  std::uniform_int_distribution microseconds(0, 3000);
  for (int kill = 0; kill < kKills; ++kill) {
    ASSERT_TRUE(replaceFile(path, bytesOf("a"))) << "after " << kill << " kills";
    ChildProcess child(path);
    std::set<std::string> seen;
    ASSERT_TRUE(test::eventually([&] {
      seen.insert(readText(path).value());
      return seen.size() > kVersionsSeen;
    }));
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
    child.kill();
    const auto content = contentOf(path);
    ASSERT_TRUE(content.has_value());
    EXPECT_TRUE(isWholeVersion(*content)) << content->size() << " bytes after kill " << kill;
  }
  EXPECT_TRUE(replaceFile(path, bytesOf("the end")));
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"file"});
}

TEST(PlatformFile, WritesAFileAnewFromItsParts) {
  const TempFolder folder;
  const auto path = folder.file(L"export.txt");
  const std::string content = awkwardBytes(3'000'000);
  EXPECT_TRUE(writeFileAnew(path, {bytesOf("\xFF\xFE"), bytesOf(content)}));
  EXPECT_EQ(contentOf(path), "\xFF\xFE" + content);
  EXPECT_TRUE(writeFileAnew(path, {bytesOf("a"), {}, bytesOf("b")}));
  EXPECT_EQ(contentOf(path), "ab");
  EXPECT_TRUE(writeFileAnew(path, {}));
  EXPECT_EQ(contentOf(path), "");
}

TEST(PlatformFile, WritesNothingAnewWhereNoFileCanBe) {
  const TempFolder folder;
  EXPECT_FALSE(writeFileAnew(folder.path(), {bytesOf("a")}));
  EXPECT_FALSE(writeFileAnew(folder.file(L"missing/file"), {bytesOf("a")}));
  EXPECT_TRUE(folder.names().empty());
}

TEST(PlatformFile, DeletesAFileButNoFolder) {
  const TempFolder folder;
  writeFile(folder.file(L"file"), "content");
  fs::create_directory(pathOf(folder.file(L"folder")));
  EXPECT_TRUE(removeFile(folder.file(L"file")));
  EXPECT_FALSE(removeFile(folder.file(L"file")));
  EXPECT_FALSE(removeFile(folder.file(L"folder")));
  EXPECT_EQ(folder.names(), std::vector<std::wstring>{L"folder"});
}

}  // namespace
}  // namespace quillgate::platform
