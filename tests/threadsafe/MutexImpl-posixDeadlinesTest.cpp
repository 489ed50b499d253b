// SPDX-License-Identifier: Apache-2.0
//
// The deadlines that timeouts become, to the nanosecond. The clock and the timed lock of the system
// are replaced in a copy of the unit.

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <limits>
#include <mutex>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "support/HoldingThread.h"

namespace {

// What the clock reads, unless it fails.
timespec s_reading{};
int s_clockError = 0;
clockid_t s_clock = CLOCK_MONOTONIC;

// What the timed lock was given, and whether it only notes that.
const void* s_mutex = nullptr;
timespec s_deadline{};
int s_timedLocks = 0;
bool s_notesOnly = false;

int scriptedClock(clockid_t clock, timespec* reading)
{
    s_clock = clock;
    *reading = s_reading;
    if (s_clockError == 0) return 0;
    errno = s_clockError;
    return -1;
}

int notedTimedLock(pthread_mutex_t* mutex, const timespec* deadline)
{
    ++s_timedLocks;
    s_mutex = mutex;
    s_deadline = *deadline;
    return s_notesOnly ? ETIMEDOUT : pthread_mutex_timedlock(mutex, deadline);
}

} // namespace

#define clock_gettime scriptedClock
#define pthread_mutex_timedlock notedTimedLock
#include <threadsafe/MutexImpl-posix.cpp>
#undef clock_gettime
#undef pthread_mutex_timedlock

namespace {

using threadsafe::MutexBase;
using threadsafe::MutexImpl;
using zelbase::Duration;

/// The deadline of a timed lock that is asked for at `reading`.
timespec deadlineOf(timespec reading, const Duration& timeout)
{
    s_reading = reading;
    s_deadline = {-7, -7};
    s_notesOnly = true;
    MutexImpl mutex(false);
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock(timeout));
    s_notesOnly = false;
    return s_deadline;
}

void expectDeadline(time_t seconds, long nanoseconds, timespec reading, std::int64_t timeout)
{
    const timespec deadline = deadlineOf(reading, Duration(timeout));
    EXPECT_EQ(seconds, deadline.tv_sec);
    EXPECT_EQ(nanoseconds, deadline.tv_nsec);
}

TEST(MutexDeadline, IsOnTheRealTimeClock)
{
    s_clock = CLOCK_MONOTONIC;
    deadlineOf({10, 0}, Duration(5));
    EXPECT_EQ(CLOCK_REALTIME, s_clock);
}

TEST(MutexDeadline, IsForThisMutex)
{
    s_reading = {10, 0};
    MutexImpl mutex(false);
    const int before = s_timedLocks;
    EXPECT_EQ(nullptr, mutex.try_lock(Duration(5)));
    mutex.unlock();
    EXPECT_EQ(before + 1, s_timedLocks);
    EXPECT_EQ(static_cast<const void*>(&mutex), s_mutex);
}

TEST(MutexDeadline, CarriesIntoTheSeconds)
{
    expectDeadline(12, 100000000, {10, 600000000}, 1500);
    expectDeadline(11, 998999999, {10, 999999999}, 999);
}

TEST(MutexDeadline, CarriesIntoTheSecondsPastTheirWidth)
{
    constexpr time_t LAST = std::numeric_limits<std::int32_t>::max();
    const time_t next = static_cast<time_t>(std::int64_t{LAST} + 1);
    expectDeadline(next, 0, {LAST, 600000000}, 400);
}

TEST(MutexDeadline, WithoutCarry)
{
    expectDeadline(10, 605000123, {10, 600000123}, 5);
    expectDeadline(13, 600000000, {10, 600000000}, 3000);
    expectDeadline(13, 601000000, {10, 600000000}, 3001);
}

TEST(MutexDeadline, AtTheEndOfASecond)
{
    expectDeadline(10, 999999999, {10, 600999999}, 399);
    expectDeadline(11, 0, {10, 601000000}, 399);
    expectDeadline(11, 1, {10, 601000001}, 399);
}

TEST(MutexDeadline, Zero_IsTheReading)
{
    expectDeadline(10, 600000000, {10, 600000000}, 0);
    expectDeadline(0, 0, {0, 0}, 0);
}

TEST(MutexDeadline, Negative)
{
    expectDeadline(9, 100000000, {10, 600000000}, -1500);
    expectDeadline(9, 600000000, {10, 600000000}, -1000);
    expectDeadline(10, 599000000, {10, 600000000}, -1);
    expectDeadline(9, 0, {10, 600000000}, -1600);
}

TEST(MutexDeadline, Negative_LeavesNegativeNanosecondsAsTheyAre)
{
    expectDeadline(9, -100000000, {10, 600000000}, -1700);
    expectDeadline(10, -1000000, {10, 0}, -1);
    expectDeadline(9, -999000000, {10, 0}, -1999);
}

TEST(MutexDeadline, TheLongest)
{
#ifdef __LP64__
    expectDeadline(9223372036854786, 407000000, {10, 600000000}, 9223372036854775807);
#else
    expectDeadline(-1511828478, 407000000, {10, 600000000}, 9223372036854775807);
#endif
}

TEST(MutexDeadline, TheLeast)
{
    const std::int64_t least = std::numeric_limits<std::int64_t>::min();
#ifdef __LP64__
    expectDeadline(-9223372036854765, -208000000, {10, 600000000}, least);
#else
    expectDeadline(1511828499, -208000000, {10, 600000000}, least);
#endif
}

TEST(MutexDeadline, SecondsAreCutToTheWidthOfTheClock)
{
#ifdef __LP64__
    expectDeadline(4294967306, 600000000, {10, 600000000}, 4294967296000);
    expectDeadline(2147483648, 0, {2147483647, 0}, 1000);
#else
    expectDeadline(10, 600000000, {10, 600000000}, 4294967296000);
    expectDeadline(std::numeric_limits<time_t>::min(), 0, {2147483647, 0}, 1000);
#endif
}

TEST(MutexDeadline, ClockFails_LeavesTheMutexAlone)
{
    MutexImpl mutex(false);
    const int before = s_timedLocks;
    for (const int code : {EINVAL, EPERM, EXDEV}) {
        s_clockError = code;
        const char* const error = mutex.try_lock(Duration(5));
        s_clockError = 0;
        EXPECT_EQ(MutexBase::ERROR, error) << code;
    }
    EXPECT_EQ(before, s_timedLocks);
    EXPECT_EQ(nullptr, mutex.try_lock());
    mutex.unlock();
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

TEST(MutexDeadline, ClockFails_HeldMutexStaysHeld)
{
    MutexImpl mutex(true);
    mutex.lock();
    s_clockError = EINVAL;
    EXPECT_EQ(MutexBase::ERROR, mutex.try_lock(Duration(5)));
    s_clockError = 0;
    EXPECT_EQ(nullptr, mutex.unlock());
    EXPECT_EQ(nullptr, support::onAnotherThread([&] {
                  const char* const error = mutex.try_lock();
                  if (error == nullptr) mutex.unlock();
                  return error;
              }));
}

TEST(MutexDeadline, Past_HeldByAnotherThread_IsMissed)
{
    s_reading = {10, 600000000};
    MutexImpl mutex(false);
    const support::HoldingThread holder(mutex);
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock(Duration(-1500)));
}

TEST(MutexDeadline, NegativeNanoseconds_HeldByAnotherThread_AreRefused)
{
    s_reading = {10, 0};
    MutexImpl mutex(false);
    const support::HoldingThread holder(mutex);
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, mutex.try_lock(Duration(-1)));
}

TEST(MutexDeadline, NegativeNanoseconds_FreeMutexIsLocked)
{
    s_reading = {10, 0};
    MutexImpl mutex(false);
    EXPECT_EQ(nullptr, mutex.try_lock(Duration(-1)));
    EXPECT_EQ(nullptr, mutex.unlock());
}

#ifndef __LP64__
// The cut leaves negative seconds.
TEST(MutexDeadline, TheLongest_HeldByAnotherThread_IsRefused)
{
    s_reading = {10, 600000000};
    MutexImpl mutex(false);
    const support::HoldingThread holder(mutex);
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, mutex.try_lock(Duration::MAX));
}
#endif

} // namespace
