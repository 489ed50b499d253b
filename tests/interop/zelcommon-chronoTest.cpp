// SPDX-License-Identifier: Apache-2.0

#include <zelcommon-chrono.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <limits>
#include <mutex>
#include <ratio>
#include <type_traits>

#include <gtest/gtest.h>
#include <zel/Mutex.h>

namespace {

using zel::Clock;
using zelbase::Duration;
using zelbase::TimePoint;

static_assert(Clock::is_steady);
static_assert(std::is_same_v<std::int64_t, Clock::rep>);
static_assert(std::is_same_v<std::milli, Clock::period>);
static_assert(std::is_same_v<std::chrono::milliseconds::period, Clock::duration::period>);
static_assert(std::is_same_v<Clock, Clock::time_point::clock>);
static_assert(std::is_same_v<Clock::duration, Clock::time_point::duration>);
static_assert(std::is_same_v<Clock::time_point, decltype(Clock::now())>);

/// The point `count` milliseconds after the clock's origin.
constexpr Clock::time_point pointAt(std::int64_t count)
{
    return Clock::time_point(Clock::duration(count));
}

static_assert(Clock::toChrono(TimePoint(1500)) == pointAt(1500));
static_assert(Clock::fromChrono(pointAt(1500)) == TimePoint(1500));

TEST(Clock, Now_IsThatOfTimePoint)
{
    const TimePoint before = TimePoint::now();
    const Clock::time_point between = Clock::now();
    const TimePoint after = TimePoint::now();
    EXPECT_LT(TimePoint(0), before);
    EXPECT_LE(before, Clock::fromChrono(between));
    EXPECT_LE(Clock::fromChrono(between), after);
}

TEST(Clock, ToChrono_SaturatesAtTheLastPoint)
{
    EXPECT_EQ(pointAt(0), Clock::toChrono(TimePoint(0)));
    EXPECT_EQ(pointAt(4294967296), Clock::toChrono(TimePoint(4294967296)));
    EXPECT_EQ(pointAt(9223372036854775806), Clock::toChrono(TimePoint(9223372036854775806u)));
    EXPECT_EQ(pointAt(9223372036854775807), Clock::toChrono(TimePoint(9223372036854775807u)));
    EXPECT_EQ(pointAt(9223372036854775807), Clock::toChrono(TimePoint(9223372036854775808u)));
    EXPECT_EQ(Clock::time_point::max(), Clock::toChrono(TimePoint::MAX));
}

TEST(Clock, FromChrono_SaturatesAtTheOrigin)
{
    EXPECT_EQ(TimePoint(0), Clock::fromChrono(pointAt(0)));
    EXPECT_EQ(TimePoint(1), Clock::fromChrono(pointAt(1)));
    EXPECT_EQ(TimePoint(0), Clock::fromChrono(pointAt(-1)));
    EXPECT_EQ(TimePoint(0), Clock::fromChrono(Clock::time_point::min()));
    EXPECT_EQ(TimePoint(9223372036854775807u), Clock::fromChrono(Clock::time_point::max()));
}

TEST(Clock, SpansConvertToTheStandardOnes)
{
    const Clock::duration span = pointAt(2500) - pointAt(1000);
    EXPECT_EQ(std::chrono::microseconds(1500000), span);
    EXPECT_EQ(Duration(1500), Duration(span));
    EXPECT_EQ(pointAt(62500), pointAt(2500) + std::chrono::minutes(1));
}

TEST(Clock, WaitUntil_APointThatIsOver)
{
    std::condition_variable_any condition;
    zel::Mutex mutex;
    const std::lock_guard<zel::Mutex> lock(mutex);
    const auto deadline = Clock::toChrono(TimePoint::now() - Duration(1));
    EXPECT_EQ(std::cv_status::timeout, condition.wait_until(mutex, deadline));
}

TEST(Clock, WaitUntil_APointToCome)
{
    std::condition_variable_any condition;
    zel::Mutex mutex;
    const std::lock_guard<zel::Mutex> lock(mutex);
    const TimePoint deadline = TimePoint::now() + Duration(20);
    EXPECT_FALSE(condition.wait_until(mutex, Clock::toChrono(deadline), [] { return false; }));
    EXPECT_LE(deadline, TimePoint::now());
}

} // namespace
