#include "core/time_stamp.h"

#include <gtest/gtest.h>

namespace quillgate {
namespace {

TEST(TimeStamp, PadsEveryFieldAndEndsInTwoBlanks) {
  EXPECT_EQ(TimeStamp({2024, 5, 7, 14, 3, 9, 42}).text(), L"2024-05-07 14:03:09.042  ");
  EXPECT_EQ(TimeStamp({1999, 12, 31, 23, 59, 59, 999}).text(), L"1999-12-31 23:59:59.999  ");
  EXPECT_EQ(TimeStamp({2000, 1, 1, 0, 0, 0, 0}).text(), L"2000-01-01 00:00:00.000  ");
}

TEST(TimeStamp, HasTheLengthItSays) {
  EXPECT_EQ(TimeStamp(platform::localTime()).text().size(), kTimeStampLength);
}

}  // namespace
}  // namespace quillgate
