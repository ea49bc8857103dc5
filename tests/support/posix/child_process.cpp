#include "tests/support/child_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "platform/posix/text.h"

namespace quillgate::test {
namespace {

constexpr const char* kTaskVariable = "QUILLGATE_TEST_CHILD_TASK";

}  // namespace

std::optional<std::wstring> childTask() {
  const char* task = std::getenv(kTaskVariable);
  if (task == nullptr) return std::nullopt;
  return platform::toWide(task);
}

ChildProcess::ChildProcess(const std::wstring& task) {
  const auto* self = testing::UnitTest::GetInstance()->current_test_info();
  const std::string filter =
      std::string("--gtest_filter=") + self->test_suite_name() + "." + self->name();
  const std::string taskBytes = platform::toBytes(task);
  const pid_t child = ::fork();
  EXPECT_GE(child, 0);
  if (child < 0) return;
  if (child == 0) {
    ::setenv(kTaskVariable, taskBytes.c_str(), 1);
    ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
    ::execl("/proc/self/exe", "quillgate_tests", filter.c_str(), nullptr);
    ::_exit(127);
  }
  native_ = static_cast<std::uintptr_t>(child);
}

void ChildProcess::kill() {
  if (native_ == 0) return;
  const auto child = static_cast<pid_t>(std::exchange(native_, std::uintptr_t{0}));
  EXPECT_EQ(::kill(child, SIGKILL), 0);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status)) << "the child ended by itself with " << WEXITSTATUS(status);
}

}  // namespace quillgate::test
