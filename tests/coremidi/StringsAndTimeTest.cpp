// Host time. Strings, their ASCII reading and their census are what the endpoint directory's
// naming table ("non-ASCII names read as empty") checks through the Xtra.
#include <gtest/gtest.h>

#include "HostTime.h"

namespace {

TEST(HostTimeTest, TicksAreNotNanosecondsAndConvertBothWays) {
  const UInt64 oneSecond = 1000000000;
  const UInt64 ticks = AudioConvertNanosToHostTime(oneSecond);
  EXPECT_NE(ticks, oneSecond);
  EXPECT_EQ(AudioConvertHostTimeToNanos(ticks), oneSecond);
  // Large values (years of uptime) must not overflow.
  const UInt64 tenYears = oneSecond * 60 * 60 * 24 * 365 * 10;
  EXPECT_EQ(AudioConvertHostTimeToNanos(AudioConvertNanosToHostTime(tenYears)), tenYears);
}

}  // namespace
