// Says of each skipped test why it was, in one line that a plain search finds in the output.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>

namespace quillgate::test {
namespace {

class SkipListener final : public testing::EmptyTestEventListener {
 public:
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (!result.skipped()) return;
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string reason = result.message();
    while (reason.ends_with('\n')) reason.pop_back();
    std::ranges::replace(reason, '\n', ' ');
    std::cout << "[  REASON  ] " << test->test_suite_name() << "." << test->name() << ": " << reason
              << std::endl;
  }
};

[[maybe_unused]] const bool kSkipListenerRegistered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new SkipListener);
  return true;
}();

}  // namespace
}  // namespace quillgate::test
