#include "CommonLib/Clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace Varnholt::CommonLib {
namespace {

TEST(ClockTest, DeadlineOfNowElapsesOnlyAfterItPasses) {
  Clock clock;
  const int64_t deadline = clock.Now();
  EXPECT_FALSE(clock.HasElapsed(deadline + 1000));
  clock.Sleep(3);
  EXPECT_TRUE(clock.HasElapsed(deadline));
}

TEST(ClockTest, RemainingCountsDownAndStopsAtZero) {
  Clock clock;
  EXPECT_EQ(clock.Remaining(clock.Now() - 5), 0);
  const int64_t remaining = clock.Remaining(clock.DeadlineAfter(60'000));
  EXPECT_GT(remaining, 59'000);
  EXPECT_LE(remaining, 60'000);
}

TEST(ClockTest, NowIsLocalTimeInMilliseconds) {
  Clock clock;
  const std::time_t utc = std::time(nullptr);
  std::tm local{};
  localtime_r(&utc, &local);
  const int64_t expected_ms = (static_cast<int64_t>(utc) + local.tm_gmtoff) * 1000;
  EXPECT_NEAR(static_cast<double>(clock.Now()), static_cast<double>(expected_ms), 2000.0);
  EXPECT_EQ(clock.TicksPerSecond(), 1000);
}

}  // namespace
}  // namespace Varnholt::CommonLib
