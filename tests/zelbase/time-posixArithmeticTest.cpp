// SPDX-License-Identifier: Apache-2.0
//
// Arithmetic, comparison and conversion of points of time and spans.

#include <zelbase/time.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>
#include <ratio>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace {

using zelbase::Duration;
using zelbase::TimePoint;

static_assert(sizeof(Duration) == 8 && sizeof(TimePoint) == 8);
static_assert(std::is_trivially_copyable_v<Duration> && std::is_trivially_copyable_v<TimePoint>);
static_assert(std::is_trivially_destructible_v<Duration>);
static_assert(std::is_trivially_destructible_v<TimePoint>);

// Nothing becomes a span or a point by itself, and no span that would lose digits does at all.
static_assert(!std::is_convertible_v<std::int64_t, Duration>);
static_assert(!std::is_convertible_v<std::uint64_t, TimePoint>);
static_assert(!std::is_convertible_v<std::chrono::milliseconds, Duration>);
static_assert(!std::is_convertible_v<Duration, std::int64_t>);
static_assert(!std::is_constructible_v<Duration, std::chrono::microseconds>);
static_assert(!std::is_constructible_v<Duration, std::chrono::nanoseconds>);
static_assert(!std::is_constructible_v<Duration, std::chrono::duration<double>>);
static_assert(!std::is_constructible_v<Duration, std::chrono::duration<int, std::ratio<1, 3>>>);
static_assert(!std::is_constructible_v<Duration, std::chrono::duration<double, std::milli>>);
static_assert(!std::is_constructible_v<TimePoint, std::chrono::milliseconds>);

// Points differ by spans; neither is added to its like nor compared with the other.
template <typename Left, typename Right, typename = void>
constexpr bool CAN_ADD = false;
template <typename Left, typename Right>
constexpr bool
    CAN_ADD<Left, Right, std::void_t<decltype(std::declval<Left>() + std::declval<Right>())>> =
        true;
static_assert(CAN_ADD<TimePoint, Duration> && CAN_ADD<Duration, Duration>);
static_assert(!CAN_ADD<TimePoint, TimePoint> && !CAN_ADD<Duration, TimePoint>);
static_assert(
    std::is_same_v<Duration, decltype(std::declval<TimePoint>() - std::declval<TimePoint>())>);
static_assert(
    std::is_same_v<TimePoint, decltype(std::declval<TimePoint>() - std::declval<Duration>())>);

// All of it works at compile time.
constexpr Duration LEAST(std::numeric_limits<std::int64_t>::min());
constexpr Duration LONGEST(std::numeric_limits<std::int64_t>::max());
constexpr TimePoint LATEST(std::numeric_limits<std::uint64_t>::max());
static_assert(Duration().milliseconds() == 0 && TimePoint().milliseconds() == 0);
static_assert(LONGEST + Duration(1) == LONGEST && -LEAST == LONGEST);
static_assert(LATEST + Duration(1) == LATEST && TimePoint(1) - LONGEST == TimePoint(0));
static_assert(LATEST - TimePoint(0) == LONGEST && TimePoint(0) - LATEST == LEAST);
static_assert(TimePoint::fromTimespec(TimePoint(5123).toTimespec()) == TimePoint(5123));
static_assert(Duration(Duration(7).toChrono()) == Duration(7));

constexpr Duration sumInPlace(Duration span, const Duration& other)
{
    return span += other;
}
static_assert(sumInPlace(Duration(2), Duration(3)) == Duration(5));

TEST(Duration, AddsAndSubtracts)
{
    EXPECT_EQ(12, (Duration(5) + Duration(7)).milliseconds());
    EXPECT_EQ(-2, (Duration(5) - Duration(7)).milliseconds());
    EXPECT_EQ(-2, (Duration(5) + Duration(-7)).milliseconds());
    EXPECT_EQ(12, (Duration(5) - Duration(-7)).milliseconds());
}

TEST(Duration, Negates)
{
    EXPECT_EQ(-5, (-Duration(5)).milliseconds());
    EXPECT_EQ(5, (-Duration(-5)).milliseconds());
    EXPECT_EQ(0, (-Duration(0)).milliseconds());
}

TEST(Duration, ChangesInPlace)
{
    Duration span(5);
    EXPECT_EQ(&span, &(span += Duration(7)));
    EXPECT_EQ(12, span.milliseconds());
    EXPECT_EQ(&span, &(span -= Duration(20)));
    EXPECT_EQ(-8, span.milliseconds());
}

TEST(Duration, Sum_EndsAtMax)
{
    EXPECT_EQ(9223372036854775807, (Duration(9223372036854775806) + Duration(1)).milliseconds());
    EXPECT_EQ(9223372036854775807, (Duration(9223372036854775806) + Duration(2)).milliseconds());
    EXPECT_EQ(9223372036854775807, (LONGEST + LONGEST).milliseconds());
    EXPECT_EQ(-1, (LONGEST + LEAST).milliseconds());
}

TEST(Duration, Sum_EndsAtTheLeast)
{
    EXPECT_EQ(LEAST, Duration(-9223372036854775807) + Duration(-1));
    EXPECT_EQ(LEAST, Duration(-9223372036854775807) + Duration(-2));
    EXPECT_EQ(LEAST, LEAST + LEAST);
    EXPECT_EQ(-9223372036854775807, (LEAST + Duration(1)).milliseconds());
}

TEST(Duration, Difference_EndsAtMax)
{
    EXPECT_EQ(9223372036854775807, (Duration(9223372036854775806) - Duration(-1)).milliseconds());
    EXPECT_EQ(9223372036854775807, (Duration(9223372036854775806) - Duration(-2)).milliseconds());
    EXPECT_EQ(9223372036854775807, (Duration(-1) - LEAST).milliseconds());
    EXPECT_EQ(9223372036854775807, (Duration(0) - LEAST).milliseconds());
}

TEST(Duration, Difference_EndsAtTheLeast)
{
    EXPECT_EQ(LEAST, Duration(-9223372036854775807) - Duration(1));
    EXPECT_EQ(LEAST, Duration(-9223372036854775807) - Duration(2));
    EXPECT_EQ(LEAST, Duration(-1) - LONGEST);
    EXPECT_EQ(LEAST, Duration(-2) - LONGEST);
    EXPECT_EQ(-9223372036854775807, (Duration(0) - LONGEST).milliseconds());
}

TEST(Duration, NegationOfTheLeast_IsMax)
{
    EXPECT_EQ(9223372036854775807, (-LEAST).milliseconds());
    EXPECT_EQ(-9223372036854775807, (-LONGEST).milliseconds());
}

TEST(Duration, ChangeInPlace_EndsAtTheLimits)
{
    Duration span = LONGEST;
    span += Duration(1);
    EXPECT_EQ(LONGEST, span);
    span = LEAST;
    span -= Duration(1);
    EXPECT_EQ(LEAST, span);
}

TEST(Duration, Compares_SmallerWithGreater)
{
    const Duration small(-1);
    const Duration great(0);
    EXPECT_TRUE(small < great && small <= great && small != great);
    EXPECT_TRUE(great > small && great >= small && great != small);
    EXPECT_FALSE(small > great || small >= great || small == great);
    EXPECT_FALSE(great < small || great <= small || great == small);
}

TEST(Duration, Compares_Equal)
{
    const Duration one(-4294967297);
    const Duration other(-4294967297);
    EXPECT_TRUE(one == other && one <= other && one >= other);
    EXPECT_FALSE(one != other || one < other || one > other);
}

TEST(Duration, Compares_AllBitsAndTheSign)
{
    EXPECT_LT(LEAST, LONGEST);
    EXPECT_NE(Duration(1), Duration(4294967297));
    EXPECT_LT(Duration(2), Duration(4294967297));
}

TEST(Duration, FromChrono)
{
    EXPECT_EQ(7200000, Duration(std::chrono::hours(2)).milliseconds());
    EXPECT_EQ(-3000, Duration(std::chrono::seconds(-3)).milliseconds());
    EXPECT_EQ(15, Duration(std::chrono::milliseconds(15)).milliseconds());
    EXPECT_EQ(60, Duration(std::chrono::duration<short, std::ratio<1, 50>>(3)).milliseconds());
}

TEST(Duration, FromChrono_EndsAtTheLimits)
{
    EXPECT_EQ(LONGEST, Duration(std::chrono::hours::max()));
    EXPECT_EQ(LEAST, Duration(std::chrono::hours::min()));
    EXPECT_EQ(LONGEST, Duration(std::chrono::seconds(9223372036854776)));
    EXPECT_EQ(9223372036854775000, Duration(std::chrono::seconds(9223372036854775)).milliseconds());
    EXPECT_EQ(LEAST, Duration(std::chrono::seconds(-9223372036854776)));
    EXPECT_EQ(-9223372036854775000,
              Duration(std::chrono::seconds(-9223372036854775)).milliseconds());
    using Unsigned = std::chrono::duration<std::uint64_t, std::milli>;
    EXPECT_EQ(LONGEST, Duration(Unsigned::max()));
    EXPECT_EQ(LONGEST, Duration(Unsigned(9223372036854775807)));
    EXPECT_EQ(9223372036854775806, Duration(Unsigned(9223372036854775806)).milliseconds());
}

TEST(Duration, ToChrono)
{
    EXPECT_EQ(std::chrono::seconds(5), Duration(5000).toChrono());
    EXPECT_EQ(9223372036854775807, LONGEST.toChrono().count());
    EXPECT_EQ(std::numeric_limits<std::int64_t>::min(), LEAST.toChrono().count());
}

TEST(TimePoint, AddsAndSubtractsSpans)
{
    EXPECT_EQ(12U, (TimePoint(5) + Duration(7)).milliseconds());
    EXPECT_EQ(3U, (TimePoint(5) + Duration(-2)).milliseconds());
    EXPECT_EQ(3U, (TimePoint(5) - Duration(2)).milliseconds());
    EXPECT_EQ(7U, (TimePoint(5) - Duration(-2)).milliseconds());
    EXPECT_EQ(5U, (TimePoint(5) + Duration(0)).milliseconds());
}

TEST(TimePoint, ChangesInPlace)
{
    TimePoint point(5);
    EXPECT_EQ(&point, &(point += Duration(7)));
    EXPECT_EQ(12U, point.milliseconds());
    EXPECT_EQ(&point, &(point -= Duration(10)));
    EXPECT_EQ(2U, point.milliseconds());
}

TEST(TimePoint, Sum_EndsAtMax)
{
    EXPECT_EQ(18446744073709551614U, (LATEST + Duration(-1) + Duration(0)).milliseconds());
    EXPECT_EQ(LATEST, TimePoint(18446744073709551614U) + Duration(1));
    EXPECT_EQ(LATEST, TimePoint(18446744073709551614U) + Duration(2));
    EXPECT_EQ(LATEST, LATEST + LONGEST);
    EXPECT_EQ(9223372036854775808U, (TimePoint(1) + LONGEST).milliseconds());
}

TEST(TimePoint, Sum_EndsAtZero)
{
    EXPECT_EQ(1U, (TimePoint(5) + Duration(-4)).milliseconds());
    EXPECT_EQ(0U, (TimePoint(5) + Duration(-5)).milliseconds());
    EXPECT_EQ(0U, (TimePoint(5) + Duration(-6)).milliseconds());
    EXPECT_EQ(0U, (TimePoint(5) + LEAST).milliseconds());
}

TEST(TimePoint, Difference_EndsAtZero)
{
    EXPECT_EQ(1U, (TimePoint(5) - Duration(4)).milliseconds());
    EXPECT_EQ(0U, (TimePoint(5) - Duration(5)).milliseconds());
    EXPECT_EQ(0U, (TimePoint(5) - Duration(6)).milliseconds());
    EXPECT_EQ(0U, (TimePoint(5) - LONGEST).milliseconds());
}

TEST(TimePoint, Difference_EndsAtMax)
{
    EXPECT_EQ(LATEST, LATEST - Duration(-1));
    EXPECT_EQ(18446744073709551614U, (TimePoint(9223372036854775806U) - LEAST).milliseconds());
    EXPECT_EQ(18446744073709551615U, (TimePoint(9223372036854775807U) - LEAST).milliseconds());
    EXPECT_EQ(18446744073709551615U, (TimePoint(9223372036854775808U) - LEAST).milliseconds());
}

TEST(TimePoint, LeastSpan_IsCountedWhole)
{
    EXPECT_EQ(9223372036854775808U, (TimePoint(0) - LEAST).milliseconds());
    EXPECT_EQ(0U, (TimePoint(9223372036854775808U) + LEAST).milliseconds());
    EXPECT_EQ(1U, (TimePoint(9223372036854775809U) + LEAST).milliseconds());
    EXPECT_EQ(9223372036854775807U, (LATEST + LEAST).milliseconds());
}

TEST(TimePoint, ChangeInPlace_EndsAtTheLimits)
{
    TimePoint point = LATEST;
    point += Duration(1);
    EXPECT_EQ(LATEST, point);
    point = TimePoint(1);
    point -= Duration(2);
    EXPECT_EQ(TimePoint(0), point);
}

TEST(TimePoint, PointsDifferByASpan)
{
    EXPECT_EQ(7, (TimePoint(12) - TimePoint(5)).milliseconds());
    EXPECT_EQ(-7, (TimePoint(5) - TimePoint(12)).milliseconds());
    EXPECT_EQ(0, (LATEST - LATEST).milliseconds());
    EXPECT_EQ(1, (LATEST - TimePoint(18446744073709551614U)).milliseconds());
}

TEST(TimePoint, PointsTooFarApart_EndAtMax)
{
    EXPECT_EQ(9223372036854775806, (TimePoint(9223372036854775806U) - TimePoint()).milliseconds());
    EXPECT_EQ(9223372036854775807, (TimePoint(9223372036854775807U) - TimePoint()).milliseconds());
    EXPECT_EQ(9223372036854775807, (TimePoint(9223372036854775808U) - TimePoint()).milliseconds());
    EXPECT_EQ(9223372036854775807, (LATEST - TimePoint()).milliseconds());
}

TEST(TimePoint, PointsTooFarApart_EndAtTheLeast)
{
    EXPECT_EQ(-9223372036854775807, (TimePoint() - TimePoint(9223372036854775807U)).milliseconds());
    EXPECT_EQ(LEAST, TimePoint() - TimePoint(9223372036854775808U));
    EXPECT_EQ(LEAST, TimePoint() - TimePoint(9223372036854775809U));
    EXPECT_EQ(LEAST, TimePoint() - LATEST);
}

TEST(TimePoint, Compares_SmallerWithGreater)
{
    const TimePoint early(9223372036854775807U);
    const TimePoint late(9223372036854775808U);
    EXPECT_TRUE(early < late && early <= late && early != late);
    EXPECT_TRUE(late > early && late >= early && late != early);
    EXPECT_FALSE(early > late || early >= late || early == late);
    EXPECT_FALSE(late < early || late <= early || late == early);
}

TEST(TimePoint, Compares_Equal)
{
    const TimePoint one(18446744073709551615U);
    EXPECT_TRUE(one == LATEST && one <= LATEST && one >= LATEST);
    EXPECT_FALSE(one != LATEST || one < LATEST || one > LATEST);
    EXPECT_NE(TimePoint(1), TimePoint(4294967297U));
}

TEST(TimePoint, FromTimespec_Rounds)
{
    EXPECT_EQ(6000U, TimePoint::fromTimespec({5, 999500000}).milliseconds());
    EXPECT_EQ(5999U, TimePoint::fromTimespec({5, 999499999}).milliseconds());
    EXPECT_EQ(0U, TimePoint::fromTimespec({0, 499999}).milliseconds());
    EXPECT_EQ(1U, TimePoint::fromTimespec({0, 500000}).milliseconds());
}

TEST(TimePoint, ToTimespec_IsPlain)
{
    const timespec point = TimePoint(12345).toTimespec();
    EXPECT_EQ(12, point.tv_sec);
    EXPECT_EQ(345000000, point.tv_nsec);
    EXPECT_EQ(999000000, TimePoint(999).toTimespec().tv_nsec);
    EXPECT_EQ(0, TimePoint(1000).toTimespec().tv_nsec);
    EXPECT_EQ(2147483647, TimePoint(2147483647999U).toTimespec().tv_sec);
}

TEST(TimePoint, ToTimespec_CountsUnsignedAndCutsTheSeconds)
{
    const timespec point = LATEST.toTimespec();
    EXPECT_EQ(615000000, point.tv_nsec);
#ifdef __LP64__
    EXPECT_EQ(18446744073709551, point.tv_sec);
    EXPECT_EQ(2147483648, TimePoint(2147483648000U).toTimespec().tv_sec);
#else
    EXPECT_EQ(1271310319, point.tv_sec);
    EXPECT_EQ(std::numeric_limits<time_t>::min(), TimePoint(2147483648000U).toTimespec().tv_sec);
#endif
}

} // namespace
