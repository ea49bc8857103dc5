#include "tests/support/ordinary_user.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillgate::test {
namespace {

constexpr unsigned kNobody = 65534;
enum ExitCode { kHolds = 0, kDoesNotHold = 1, kNotStarted = 2 };

}  // namespace

bool holdsForOrdinaryUser(const std::function<bool()>& check) {
  if (::geteuid() != 0) return check();
  const pid_t child = ::fork();
  EXPECT_GE(child, 0);
  if (child == 0) {
    if (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(kNotStarted);
    ::_exit(check() ? kHolds : kDoesNotHold);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != kNotStarted);
  return WIFEXITED(status) && WEXITSTATUS(status) == kHolds;
}

}  // namespace quillgate::test
