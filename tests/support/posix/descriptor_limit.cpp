// The tests have both ends of every session in one process, and the program leaves itself fewer
// descriptors than the system allows: they take all.
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace quillgate::test {
namespace {

class DescriptorLimitListener final : public testing::EmptyTestEventListener {
 public:
  void OnEnvironmentsSetUpEnd(const testing::UnitTest&) override {
    rlimit limit{};
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  }
};

[[maybe_unused]] const bool kLimitRegistered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new DescriptorLimitListener);
  return true;
}();

}  // namespace
}  // namespace quillgate::test
