// The log cleared while other threads write to it, and while somebody has its file open.
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "core/event_log.h"
#include "core/text.h"
#include "tests/support/deadline.h"
#include "tests/support/fake_notifier.h"
#include "tests/support/temp_folder.h"

namespace quillgate {
namespace {

class LogClear : public testing::Test {
 protected:
  LogClear() { log.setLogFilePath(path); }

  std::vector<std::wstring> listed() {
    std::vector<std::wstring> lines;
    log.openView(kMaxLogLines, [&](const std::wstring& line) { lines.push_back(line); });
    return lines;
  }

  // The file as it has to be with these lines in it.
  static std::string fileOf(const std::vector<std::wstring>& lines) {
    std::vector<std::byte> bytes;
    for (const auto& line : lines) appendUtf16le(line + L"\r\n", bytes);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  test::FakeNotifier notifier;
  EventLog log{notifier};
  test::TempFolder folder;
  const std::wstring path = folder.file(L"MonitorServer.log");
};

// On Windows a file cannot be deleted while somebody has it open who does not allow that.
TEST_F(LogClear, DeletesAFileThatSomebodyHasOpenForAMoment) {
  constexpr int kRounds = 3;  // in one, a busy machine may make the moment too long
  bool isDeleted = false;
  for (int round = 0; round < kRounds && !isDeleted; ++round) {
    log.write(L"before");
    std::ifstream reader(test::pathOf(path));
    ASSERT_TRUE(reader);
    std::thread owner([&reader] {
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      reader.close();
    });
    log.clear();
    owner.join();
    isDeleted = folder.names().empty();
  }
  EXPECT_TRUE(isDeleted);
}

// A line that comes between the emptying of the list and the deletion of the file stays in the list
// alone. So the file holds the newest lines of the list, and all that came after the clear.
TEST_F(LogClear, LeavesTheNewestLinesOfTheListInTheFileWhileOthersWrite) {
  constexpr int kWriters = 4;
  constexpr int kClears = 10;
  constexpr std::size_t kLinesBetween = 200;
  std::atomic<std::size_t> written = 0;
  std::atomic<bool> isOver = false;
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      for (int i = 0; !isOver; ++i) {
        log.write(std::to_wstring(w) + L"/" + std::to_wstring(i));
        ++written;
      }
    });
  }
  for (int i = 0; i < kClears; ++i) {
    const std::size_t before = written;
    EXPECT_TRUE(test::eventually([&] { return written >= before + kLinesBetween; }));
    log.clear();
  }
  log.write(L"after the last clear");
  isOver = true;
  for (auto& writer : writers) writer.join();

  const std::string all = fileOf(listed());
  const std::string file = test::contentOf(path).value_or("");
  EXPECT_TRUE(all.ends_with(file)) << file.size() << " bytes of " << all.size();
  EXPECT_NE(file.find(fileOf({L"after the last clear"})), std::string::npos);
}

}  // namespace
}  // namespace quillgate
