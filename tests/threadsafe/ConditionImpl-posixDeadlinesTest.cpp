// SPDX-License-Identifier: Apache-2.0
//
// What the deadline of a timed wait becomes on its way to the system. The timed wait of the system
// is replaced in a copy of the unit.

#include <threadsafe/MutexImpl-posix.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

timespec s_deadline{};

int notedTimedWait(pthread_cond_t*, pthread_mutex_t*, const timespec* deadline)
{
    s_deadline = *deadline;
    return ETIMEDOUT;
}

} // namespace

#define pthread_cond_timedwait notedTimedWait
#include <threadsafe/ConditionImpl-posix.cpp>
#undef pthread_cond_timedwait

namespace {

using threadsafe::ConditionBase;
using threadsafe::ConditionImpl;
using threadsafe::MutexImpl;
using zelbase::TimePoint;

void expectDeadline(time_t seconds, long nanoseconds, const TimePoint& deadline)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    s_deadline = {-7, -7};
    EXPECT_EQ(ConditionBase::TIMEOUT, condition.wait_timeout(deadline));
    EXPECT_EQ(seconds, s_deadline.tv_sec);
    EXPECT_EQ(nanoseconds, s_deadline.tv_nsec);
}

TEST(ConditionDeadline, SecondsAndNanoseconds)
{
    expectDeadline(0, 0, TimePoint(0));
    expectDeadline(0, 1000000, TimePoint(1));
    expectDeadline(12, 345000000, TimePoint(12345));
    expectDeadline(12, 999000000, TimePoint(12999));
    expectDeadline(13, 0, TimePoint(13000));
}

TEST(ConditionDeadline, TheLastSecondOf32Bits)
{
    expectDeadline(2147483647, 999000000, TimePoint(2147483647999U));
#ifdef __LP64__
    expectDeadline(2147483648, 1000000, TimePoint(2147483648001U));
    expectDeadline(4294967297, 0, TimePoint(4294967297000U));
#else
    expectDeadline(-2147483647 - 1, 1000000, TimePoint(2147483648001U));
    expectDeadline(1, 0, TimePoint(4294967297000U));
#endif
}

// Kept: the microseconds of points near the end of the range wrap. 2^64 of them are 584542 years.
TEST(ConditionDeadline, TheLastWhoseMicrosecondsDoNotWrap)
{
#ifdef __LP64__
    expectDeadline(18446744073709, 551000000, TimePoint(18446744073709551U));
#else
    expectDeadline(-140462611, 551000000, TimePoint(18446744073709551U));
#endif
}

// The remainders that decide are 384, 768, 496 and 504: they are multiples of 8, so no half occurs.
TEST(ConditionDeadline, Wrapped_RemainderBelowAHalf_IsDropped)
{
    expectDeadline(0, 0, TimePoint(18446744073709552U));
    expectDeadline(0, 1000000, TimePoint(18446744073709553U));
    expectDeadline(0, 0, TimePoint(1272825341085959062U));
    expectDeadline(1, 999000000, TimePoint(1272825341085961061U));
}

TEST(ConditionDeadline, Wrapped_RemainderAboveAHalf_RoundsUp)
{
    expectDeadline(0, 1000000, TimePoint(36893488147419104U));
    expectDeadline(0, 1000000, TimePoint(1033017668127734891U));
    expectDeadline(2, 0, TimePoint(1033017668127736890U));
}

TEST(ConditionDeadline, TheLongestSpanFromNow_WrapsToTheMillisecondBefore)
{
    expectDeadline(12, 344000000, TimePoint(12345) + zelbase::Duration::MAX);
}

TEST(ConditionDeadline, Max_Wraps)
{
#ifdef __LP64__
    expectDeadline(18446744073709, 551000000, TimePoint::MAX);
    expectDeadline(18446744073709, 550000000, TimePoint(18446744073709551614U));
#else
    expectDeadline(-140462611, 551000000, TimePoint::MAX);
    expectDeadline(-140462611, 550000000, TimePoint(18446744073709551614U));
#endif
}

} // namespace
