// SPDX-License-Identifier: Apache-2.0
//
// Readings of the clock, and the two constants. See time-posixArithmeticTest.cpp for the rest.

#include <zelbase/time.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <type_traits>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

// What the interposed clock answers instead of working; null and 0 let it work.
const timespec* s_reading = nullptr;
int s_error = 0;
clockid_t s_clock = CLOCK_REALTIME;
int s_readings = 0;

} // namespace

extern "C" int interposed_clock_gettime(clockid_t clock, timespec* reading) noexcept
{
    s_clock = clock;
    ++s_readings;
    if (s_error != 0) {
        errno = s_error;
        return -1;
    }
    if (s_reading == nullptr) return clock_gettime(clock, reading);
    *reading = *s_reading;
    return 0;
}

namespace {

using zelbase::Duration;
using zelbase::TimePoint;

#ifndef __LP64__
static_assert(sizeof(time_t) == 4, "the target is built with a 32-bit time_t");
#endif
static_assert(!std::is_const_v<decltype(TimePoint::MAX)>);
static_assert(!std::is_const_v<decltype(Duration::MAX)>);

/// Built before any initialiser of the library could have run.
struct Early
{
    const std::uint64_t latest = TimePoint::MAX.milliseconds();
    const std::int64_t longest = Duration::MAX.milliseconds();
};
const Early s_early __attribute__((init_priority(101)));

/// What `now()` makes of a reading of the clock.
std::uint64_t nowAt(time_t seconds, long nanoseconds)
{
    const timespec reading{seconds, nanoseconds};
    s_reading = &reading;
    const TimePoint now = TimePoint::now();
    s_reading = nullptr;
    return now.milliseconds();
}

/// A reading of the real clock.
TimePoint monotonic()
{
    timespec reading{};
    EXPECT_EQ(0, clock_gettime(CLOCK_MONOTONIC, &reading));
    return TimePoint::fromTimespec(reading);
}

TEST(TimePoint, Max_HasEveryBitSet)
{
    EXPECT_EQ(18446744073709551615U, TimePoint::MAX.milliseconds());
}

TEST(Duration, Max_IsTheGreatestSigned)
{
    EXPECT_EQ(9223372036854775807, Duration::MAX.milliseconds());
    EXPECT_GT(Duration::MAX, Duration(0));
}

TEST(TimePoint, Max_IsThereBeforeAnyInitialiser)
{
    EXPECT_EQ(18446744073709551615U, s_early.latest);
}

TEST(Duration, Max_IsThereBeforeAnyInitialiser)
{
    EXPECT_EQ(9223372036854775807, s_early.longest);
}

TEST(TimePoint, Max_IsWritable)
{
    const support::ChildResult result = support::runInChild([] {
        TimePoint::MAX = TimePoint(7);
        Duration::MAX = Duration(9);
        EXPECT_EQ(TimePoint(7), TimePoint::MAX);
        EXPECT_EQ(Duration(9), Duration::MAX);
    });
    EXPECT_EQ(0, result.signal);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(TimePoint, Now_ReadsTheMonotonicClockOnce)
{
    s_clock = CLOCK_REALTIME;
    const int before = s_readings;
    nowAt(5, 0);
    EXPECT_EQ(CLOCK_MONOTONIC, s_clock);
    EXPECT_EQ(before + 1, s_readings);
}

TEST(TimePoint, Now_CountsMilliseconds)
{
    EXPECT_EQ(0U, nowAt(0, 0));
    EXPECT_EQ(5000U, nowAt(5, 0));
    EXPECT_EQ(5123U, nowAt(5, 123000000));
    EXPECT_EQ(5999U, nowAt(5, 999000000));
}

TEST(TimePoint, Now_RoundsHalvesUpwards)
{
    EXPECT_EQ(5000U, nowAt(5, 499999));
    EXPECT_EQ(5001U, nowAt(5, 500000));
    EXPECT_EQ(5001U, nowAt(5, 500001));
    EXPECT_EQ(5001U, nowAt(5, 1499999));
    EXPECT_EQ(5002U, nowAt(5, 1500000));
}

TEST(TimePoint, Now_RoundsUpIntoTheNextSecond)
{
    EXPECT_EQ(5999U, nowAt(5, 999499999));
    EXPECT_EQ(6000U, nowAt(5, 999500000));
    EXPECT_EQ(6000U, nowAt(5, 999999999));
}

TEST(TimePoint, Now_CountsIn64Bits)
{
    EXPECT_EQ(4294968000U, nowAt(4294968, 0));
    EXPECT_EQ(2147483647999U, nowAt(2147483647, 999000000));
    EXPECT_EQ(2147483648000U, nowAt(2147483647, 999500000));
}

TEST(TimePoint, Now_NegativeSeconds_AreWidenedWithTheirSign)
{
    EXPECT_EQ(18446744073709550616U, nowAt(-1, 0));
    EXPECT_EQ(18446744073709550867U, nowAt(-1, 250500000));
}

TEST(TimePoint, Now_LiesBetweenTwoReadings)
{
    const TimePoint before = monotonic();
    const TimePoint now = TimePoint::now();
    const TimePoint after = monotonic();
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
}

TEST(TimePoint, Now_IsBeforeMax)
{
    EXPECT_LT(TimePoint::now(), TimePoint::MAX);
    EXPECT_GT(TimePoint::MAX, TimePoint(nowAt(2147483647, 999999999)));
}

TEST(TimePoint, Now_RaisesNothing)
{
    TimePoint::now();
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

TEST(TimePoint, Now_ClockFails_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        s_error = EINVAL;
        TimePoint::now();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("clock_gettime failed, errno=22 in framework/src/zelbase/time-posix:31, now\n",
              result.err);
}

TEST(TimePoint, Now_ClockFails_NamesTheError)
{
    const support::ChildResult result = support::runInChild([] {
        s_error = EPERM;
        TimePoint::now();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("clock_gettime failed, errno=1 in framework/src/zelbase/time-posix:31, now\n",
              result.err);
}

} // namespace
