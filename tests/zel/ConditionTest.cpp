// SPDX-License-Identifier: Apache-2.0
//
// The condition for applications among threads. What becomes of failures is in
// ConditionReactionsTest.cpp.

#include <zel/Condition.h>

#include <csignal>
#include <deque>
#include <future>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"
#include "support/HoldingThread.h"
#include "support/MutexMisuse.h"

namespace {

using zel::Condition;
using zel::Mutex;
using zel::ScopedLock;
using zelbase::Duration;
using zelbase::TimePoint;

static_assert(!std::is_copy_constructible_v<Condition> && !std::is_copy_assignable_v<Condition>);
static_assert(!std::is_move_constructible_v<Condition>);
static_assert(!noexcept(std::declval<Condition&>().wait()), "a cancelled thread unwinds it");
static_assert(!noexcept(std::declval<Condition&>().wait_timeout(TimePoint())));

/// Whether a thread of its own gets `mutex`, which it then unlocks.
bool isFree(Mutex& mutex)
{
    return support::onAnotherThread([&mutex] {
        if (!mutex.try_lock()) return false;
        mutex.unlock();
        return true;
    });
}

/// A deadline that no test reaches.
TimePoint farAway()
{
    return TimePoint::now() + Duration(600000);
}

/// A flag that another thread sets, and signals, as soon as it gets the mutex.
struct Flag
{
    void setOnAnotherThread()
    {
        setter = std::thread([this] {
            const ScopedLock lock(mutex);
            isSet = true;
            changed.signal_one();
        });
    }

    Mutex mutex;
    Condition changed{mutex};
    bool isSet = false;
    std::thread setter;
};

TEST(Condition, Wait_ReleasesTheMutexAndTakesItAgain)
{
    Flag flag;
    flag.mutex.lock();
    flag.setOnAnotherThread();
    while (!flag.isSet)
        flag.changed.wait();
    EXPECT_FALSE(isFree(flag.mutex));
    flag.mutex.unlock();
    flag.setter.join();
}

TEST(Condition, Wait_WithPredicate)
{
    Flag flag;
    flag.mutex.lock();
    flag.setOnAnotherThread();
    flag.changed.wait([&flag] { return flag.isSet; });
    EXPECT_TRUE(flag.isSet);
    EXPECT_FALSE(isFree(flag.mutex));
    flag.mutex.unlock();
    flag.setter.join();
}

TEST(Condition, TimedWait_IsWokenBeforeTheDeadline)
{
    Flag flag;
    flag.mutex.lock();
    flag.setOnAnotherThread();
    const TimePoint deadline = farAway();
    while (!flag.isSet)
        EXPECT_TRUE(flag.changed.wait_timeout(deadline));
    flag.mutex.unlock();
    flag.setter.join();
}

TEST(Condition, TimedWait_WithPredicate_IsWokenBeforeTheDeadline)
{
    Flag flag;
    flag.mutex.lock();
    flag.setOnAnotherThread();
    EXPECT_TRUE(flag.changed.wait_timeout(farAway(), [&flag] { return flag.isSet; }));
    EXPECT_FALSE(isFree(flag.mutex));
    flag.mutex.unlock();
    flag.setter.join();
}

TEST(Condition, TimedWait_DeadlinePassed)
{
    Mutex mutex;
    Condition condition(mutex);
    const ScopedLock lock(mutex);
    EXPECT_FALSE(condition.wait_timeout(TimePoint(0)));
    EXPECT_FALSE(condition.wait_timeout(TimePoint::now() - Duration(1)));
    EXPECT_FALSE(isFree(mutex));
}

TEST(Condition, TimedWait_WithPredicate_DeadlinePassed)
{
    Mutex mutex;
    Condition condition(mutex);
    const ScopedLock lock(mutex);
    EXPECT_FALSE(condition.wait_timeout(TimePoint(0), [] { return false; }));
    EXPECT_TRUE(condition.wait_timeout(TimePoint(0), [] { return true; }));
    EXPECT_FALSE(isFree(mutex));
}

TEST(Condition, TimedWait_WithPredicate_DoesNotEndEarly)
{
    Mutex mutex;
    Condition condition(mutex);
    const ScopedLock lock(mutex);
    const TimePoint deadline = TimePoint::now() + Duration(30);
    EXPECT_FALSE(condition.wait_timeout(deadline, [] { return false; }));
    EXPECT_LE(deadline, TimePoint::now());
}

#ifndef __LP64__
// Kept: the seconds that are cut out of it are in the past.
TEST(Condition, TimedWait_Max_EndsAtOnce)
{
    Mutex mutex;
    Condition condition(mutex);
    const ScopedLock lock(mutex);
    EXPECT_FALSE(condition.wait_timeout(TimePoint::MAX));
    EXPECT_FALSE(condition.wait_timeout(TimePoint::MAX, [] { return false; }));
}
#endif

/// Lets `waiter` wait on another thread and wakes it twice, for the first time in vain. Returns how
/// often it called the predicate.
template <typename Waiter>
int callsOfPredicate(Waiter waiter)
{
    Mutex mutex;
    Condition condition(mutex);
    Condition called(mutex);
    bool done = false;
    int calls = 0;
    std::thread thread([&] {
        const ScopedLock lock(mutex);
        waiter(condition, [&] {
            ++calls;
            called.signal_one();
            return done;
        });
    });
    {
        const ScopedLock lock(mutex);
        called.wait([&calls] { return calls >= 1; });
        condition.signal_all();
        called.wait([&calls] { return calls >= 2; });
        done = true;
        condition.signal_all();
    }
    thread.join();
    return calls;
}

TEST(Condition, Wait_WithPredicate_WokenTooSoon_WaitsOn)
{
    EXPECT_LE(3, callsOfPredicate(
                     [](Condition& condition, auto predicate) { condition.wait(predicate); }));
}

TEST(Condition, TimedWait_WithPredicate_WokenTooSoon_WaitsOn)
{
    EXPECT_LE(3, callsOfPredicate([](Condition& condition, auto predicate) {
                  EXPECT_TRUE(condition.wait_timeout(farAway(), predicate));
              }));
}

/// Starts `number` threads that wait for an item each, and lets them wait. Then puts so many items
/// and calls `wake`. Returns how many items were taken.
template <typename Wake>
int takenBy(int number, Wake wake)
{
    Mutex mutex;
    Condition filled(mutex);
    Condition waits(mutex);
    int waiting = 0;
    int items = 0;
    int taken = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < number; ++thread)
        threads.emplace_back([&] {
            const ScopedLock lock(mutex);
            ++waiting;
            waits.signal_one();
            filled.wait([&items] { return items > 0; });
            --items;
            ++taken;
        });
    {
        const ScopedLock lock(mutex);
        waits.wait([&] { return waiting == number; });
        items = number;
        wake(filled);
    }
    for (std::thread& thread : threads)
        thread.join();
    return taken;
}

TEST(Condition, SignalAll_WakesAll)
{
    EXPECT_EQ(16, takenBy(16, [](Condition& filled) { filled.signal_all(); }));
}

TEST(Condition, SignalOne_OnceForEach_WakesAll)
{
    EXPECT_EQ(3, takenBy(3, [](Condition& filled) {
                  filled.signal_one();
                  filled.signal_one();
                  filled.signal_one();
              }));
}

TEST(Condition, Queue_DeliversInOrder)
{
    Mutex mutex;
    Condition changed(mutex);
    std::deque<int> queue;
    std::thread producer([&] {
        for (int item = 0; item < 500; ++item) {
            const ScopedLock lock(mutex);
            changed.wait([&queue] { return queue.size() < 3; });
            queue.push_back(item);
            changed.signal_all();
        }
    });
    int inOrder = 0;
    for (int expected = 0; expected < 500; ++expected) {
        const ScopedLock lock(mutex);
        EXPECT_TRUE(changed.wait_timeout(farAway(), [&queue] { return !queue.empty(); }));
        inOrder += queue.front() == expected ? 1 : 0;
        queue.pop_front();
        changed.signal_all();
    }
    producer.join();
    EXPECT_EQ(500, inOrder);
}

/// A thread that waits until it is cancelled.
struct Sleeper
{
    explicit Sleeper(void (*form)(Condition&)) : wait(form) {}

    static void* run(void* argument)
    {
        auto& self = *static_cast<Sleeper*>(argument);
        const ScopedLock lock(self.mutex);
        self.waits.set_value();
        for (;;)
            self.wait(self.never);
    }

    void (*wait)(Condition&);
    Mutex mutex;
    Condition never{mutex};
    std::promise<void> waits;
};

void expectFreeAfterCancelled(void (*wait)(Condition&))
{
    Sleeper sleeper(wait);
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, Sleeper::run, &sleeper));
    sleeper.waits.get_future().wait();
    sleeper.mutex.lock(); // had as soon as the thread waits
    pthread_cancel(thread);
    sleeper.mutex.unlock();
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(PTHREAD_CANCELED, result);
    EXPECT_TRUE(isFree(sleeper.mutex));
}

TEST(Condition, Wait_Cancelled_LeavesTheMutexFree)
{
    expectFreeAfterCancelled([](Condition& never) { never.wait(); });
    expectFreeAfterCancelled([](Condition& never) { never.wait([] { return false; }); });
}

TEST(Condition, TimedWait_Cancelled_LeavesTheMutexFree)
{
    expectFreeAfterCancelled([](Condition& never) { never.wait_timeout(farAway()); });
    expectFreeAfterCancelled(
        [](Condition& never) { never.wait_timeout(farAway(), [] { return false; }); });
}

// The wait that the system itself refuses.
TEST(Condition, WaitWithoutTheMutex_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        Mutex mutex(true);
        Condition condition(mutex);
        condition.wait();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(support::reportTitle("Abort was called", result) +
                  "Location: include/zel/Condition:34, wait()\n"
                  "No error context set\n"
                  "Reason: \"zel::Condition inconsistency detected\"\n",
              result.err);
}

} // namespace
