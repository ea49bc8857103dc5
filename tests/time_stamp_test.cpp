#include "core/time_stamp.h"

#include <gtest/gtest.h>

namespace quillgate {
namespace {

TEST(TimeStamp, PadsEveryFieldAndEndsInTwoBlanks) {
  EXPECT_EQ(formatTimeStamp({2024, 5, 7, 14, 3, 9, 42}), L"2024-05-07 14:03:09.042  ");
  EXPECT_EQ(formatTimeStamp({1999, 12, 31, 23, 59, 59, 999}), L"1999-12-31 23:59:59.999  ");
  EXPECT_EQ(formatTimeStamp({2000, 1, 1, 0, 0, 0, 0}), L"2000-01-01 00:00:00.000  ");
}

TEST(TimeStamp, HasTheLengthItSays) {
  EXPECT_EQ(formatTimeStamp(platform::localTime()).size(), kTimeStampLength);
}

}  // namespace
}  // namespace quillgate
