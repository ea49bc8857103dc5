// Where the program's files lie on a POSIX system: it follows the environment.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/system.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_engine.h"

namespace quillgate {
namespace {

// Puts an environment variable back as it was.
class VariableGuard {
 public:
  explicit VariableGuard(const char* name) : name_(name) {
    if (const char* value = getenv(name)) value_ = value;
  }
  VariableGuard(const VariableGuard&) = delete;
  VariableGuard& operator=(const VariableGuard&) = delete;
  ~VariableGuard() {
    if (value_.empty()) {
      unsetenv(name_);
    } else {
      setenv(name_, value_.c_str(), 1);
    }
  }

 private:
  const char* name_;
  std::string value_;
};

class DataFolderTest : public testing::Test {
 protected:
  [[nodiscard]] std::string path(const std::string& name) const {
    return std::filesystem::path(folder.path()).string() + "/" + name;
  }

  VariableGuard dataHome{"XDG_DATA_HOME"};
  VariableGuard home{"HOME"};
  test::TempFolder folder;
  test::TestEngine engine;
};

TEST_F(DataFolderTest, IsCreatedUnderTheUsersDataFolder) {
  setenv("XDG_DATA_HOME", path("data").c_str(), 1);
  prepareDataFolder(engine.state());
  EXPECT_EQ(engine.state().paths.baseDir, folder.file(L"data/Quillgate"));
  EXPECT_EQ(engine.state().paths.configPath, folder.file(L"data/Quillgate/config.xml"));
  EXPECT_EQ(engine.state().paths.logPath, folder.file(L"data/Quillgate/MonitorServer.log"));
  EXPECT_TRUE(std::filesystem::is_directory(path("data/Quillgate")));
  engine.state().log.write(L"to the file");
  EXPECT_TRUE(std::filesystem::exists(path("data/Quillgate/MonitorServer.log")));
}

TEST_F(DataFolderTest, FollowsTheHomeFolderWhenNoDataFolderIsNamed) {
  unsetenv("XDG_DATA_HOME");
  setenv("HOME", path("home").c_str(), 1);
  prepareDataFolder(engine.state());
  EXPECT_EQ(engine.state().paths.baseDir, folder.file(L"home/.local/share/Quillgate"));
  EXPECT_TRUE(std::filesystem::is_directory(path("home/.local/share/Quillgate")));
}

TEST_F(DataFolderTest, IsCreatedUnderTheCurrentFolderWhenThereIsNoOther) {
  unsetenv("XDG_DATA_HOME");
  unsetenv("HOME");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(std::filesystem::path(folder.path()));
  prepareDataFolder(engine.state());
  std::filesystem::current_path(before);
  EXPECT_EQ(engine.state().paths.baseDir, L"./Quillgate");
  EXPECT_EQ(engine.state().paths.configPath, L"./Quillgate/config.xml");
  EXPECT_TRUE(std::filesystem::is_directory(path("Quillgate")));
}

}  // namespace
}  // namespace quillgate
