// Prepares the platform before the first test and ends it after the last one.
#include <gtest/gtest.h>

#include "platform/system.h"

namespace quillgate::test {
namespace {

class PlatformEnvironment final : public testing::Environment {
 public:
  void SetUp() override { ASSERT_TRUE(platform::startPlatform()); }
  void TearDown() override { platform::stopPlatform(); }
};

[[maybe_unused]] testing::Environment* const kEnvironment =
    testing::AddGlobalTestEnvironment(new PlatformEnvironment);

}  // namespace
}  // namespace quillgate::test
