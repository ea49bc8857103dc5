// The local time while the clock jumps and the time zone changes.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "platform/system.h"

namespace quillgate::test {
namespace {

std::optional<timespec> clockShows;  // what it shows instead of the time now

}  // namespace
}  // namespace quillgate::test

// The linker asks for these names.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
decltype(::clock_gettime) __real_clock_gettime;

int __wrap_clock_gettime(clockid_t clock, timespec* time) noexcept {
  if (clock != CLOCK_REALTIME || !quillgate::test::clockShows) {
    return __real_clock_gettime(clock, time);
  }
  *time = *quillgate::test::clockShows;
  return 0;
}
}
// NOLINTEND(readability-identifier-naming)

namespace quillgate::test {
namespace {

using platform::LocalTime;
using platform::localTime;

class Clock : public testing::Test {
 protected:
  void TearDown() override {
    clockShows.reset();
    if (zoneBefore_) {
      setZone(zoneBefore_->c_str());
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }

  static void setZone(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
  }

  static LocalTime timeAt(time_t second, long milliseconds) {
    clockShows = timespec{second, milliseconds * 1'000'000};
    return localTime();
  }

 private:
  static std::optional<std::string> zone() {
    const char* value = std::getenv("TZ");
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
  }

  const std::optional<std::string> zoneBefore_ = zone();
};

constexpr time_t kSecond = 1'715'090'589;  // 2024-05-07 14:03:09 UTC

TEST_F(Clock, ShowsTheSecondToWhichItJumps) {
  setZone("UTC0");
  const LocalTime expected{2024, 5, 7, 14, 3, 9, 42};
  EXPECT_EQ(timeAt(kSecond, 42), expected);
  EXPECT_EQ(timeAt(kSecond, 999), (LocalTime{2024, 5, 7, 14, 3, 9, 999}));
  EXPECT_EQ(timeAt(kSecond + 1, 0), (LocalTime{2024, 5, 7, 14, 3, 10, 0}));
  EXPECT_EQ(timeAt(kSecond - 86400, 7), (LocalTime{2024, 5, 6, 14, 3, 9, 7}));
  EXPECT_EQ(timeAt(kSecond, 42), expected);
  EXPECT_EQ(timeAt(-1, 1), (LocalTime{1969, 12, 31, 23, 59, 59, 1}));
  EXPECT_EQ(timeAt(0, 0), (LocalTime{1970, 1, 1, 0, 0, 0, 0}));
}

TEST_F(Clock, ShowsTheHourThatSummerTimeTakesAndGives) {
  setZone("CET-1CEST,M3.5.0,M10.5.0/3");
  constexpr time_t kSpring = 1'711'846'800;  // 2024-03-31 01:00:00 UTC
  EXPECT_EQ(timeAt(kSpring - 1, 999), (LocalTime{2024, 3, 31, 1, 59, 59, 999}));
  EXPECT_EQ(timeAt(kSpring, 0), (LocalTime{2024, 3, 31, 3, 0, 0, 0}));
  constexpr time_t kAutumn = 1'729'990'800;  // 2024-10-27 01:00:00 UTC
  EXPECT_EQ(timeAt(kAutumn - 1, 999), (LocalTime{2024, 10, 27, 2, 59, 59, 999}));
  EXPECT_EQ(timeAt(kAutumn, 0), (LocalTime{2024, 10, 27, 2, 0, 0, 0}));
}

TEST_F(Clock, ShowsANewTimeZoneFromTheNextSecondOn) {
  setZone("UTC0");
  EXPECT_EQ(timeAt(kSecond, 1), (LocalTime{2024, 5, 7, 14, 3, 9, 1}));
  setZone("IST-5:30");
  EXPECT_EQ(timeAt(kSecond + 1, 2), (LocalTime{2024, 5, 7, 19, 33, 10, 2}));
}

}  // namespace
}  // namespace quillgate::test
