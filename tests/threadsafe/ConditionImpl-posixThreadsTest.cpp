// SPDX-License-Identifier: Apache-2.0
//
// Waiting and waking as threads see it.

#include <threadsafe/ConditionImpl-posix.h>

#include <chrono>
#include <ctime>
#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"
#include "support/HoldingThread.h"
#include "support/MutexMisuse.h"

namespace {

using threadsafe::ConditionBase;
using threadsafe::ConditionImpl;
using threadsafe::MutexImpl;
using zelbase::Duration;
using zelbase::TimePoint;

/// Whether a thread of its own gets `mutex`, which it then unlocks.
bool isFree(MutexImpl& mutex)
{
    return support::onAnotherThread([&mutex] {
        if (mutex.try_lock() != nullptr) return false;
        return mutex.unlock() == nullptr;
    });
}

/// A deadline that no test reaches.
TimePoint farAway()
{
    return TimePoint::now() + Duration(600000);
}

/// Threads that take tokens, and wait while there are none.
class Takers
{
public:
    explicit Takers(int number)
    {
        for (int thread = 0; thread < number; ++thread)
            m_threads.emplace_back([this] { take(); });
        m_mutex.lock();
        while (m_waiting < number)
            m_changed.wait();
        m_mutex.unlock();
    }
    ~Takers()
    {
        for (std::thread& thread : m_threads)
            thread.join();
    }
    Takers(const Takers&) = delete;
    Takers& operator=(const Takers&) = delete;

    void put(int tokens)
    {
        m_mutex.lock();
        m_tokens += tokens;
        m_mutex.unlock();
    }

    /// Waits until so many threads have got a token. Returns how many then wait on.
    int waitingAfter(int taken)
    {
        m_mutex.lock();
        while (m_taken < taken)
            m_changed.wait();
        const int waiting = m_waiting;
        m_mutex.unlock();
        return waiting;
    }

    ConditionImpl& filled() { return m_filled; }

private:
    void take()
    {
        m_mutex.lock();
        ++m_waiting;
        m_changed.signal_all();
        while (m_tokens == 0)
            m_filled.wait();
        --m_tokens;
        --m_waiting;
        ++m_taken;
        m_changed.signal_all();
        m_mutex.unlock();
    }

    MutexImpl m_mutex{false};
    ConditionImpl m_filled{m_mutex};
    ConditionImpl m_changed{m_mutex};
    int m_tokens = 0;
    int m_waiting = 0;
    int m_taken = 0;
    std::vector<std::thread> m_threads;
};

TEST(ConditionThreads, SignalOne_WakesOne)
{
    Takers takers(4);
    takers.put(1);
    EXPECT_EQ(nullptr, takers.filled().signal_one());
    EXPECT_EQ(3, takers.waitingAfter(1));
    takers.put(3);
    takers.filled().signal_all();
}

TEST(ConditionThreads, SignalOne_OnceForEach_WakesAll)
{
    Takers takers(3);
    takers.put(3);
    takers.filled().signal_one();
    takers.filled().signal_one();
    takers.filled().signal_one();
    EXPECT_EQ(0, takers.waitingAfter(3));
}

TEST(ConditionThreads, SignalAll_WakesAll)
{
    Takers takers(16);
    takers.put(16);
    EXPECT_EQ(nullptr, takers.filled().signal_all());
    EXPECT_EQ(0, takers.waitingAfter(16));
}

TEST(ConditionThreads, SignalWithoutWaiters_IsLost)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    EXPECT_EQ(nullptr, condition.signal_one());
    EXPECT_EQ(nullptr, condition.signal_all());
    mutex.lock();
    EXPECT_EQ(ConditionBase::TIMEOUT, condition.wait_timeout(TimePoint::now() + Duration(1)));
    mutex.unlock();
}

TEST(ConditionThreads, Wait_ReleasesTheMutexAndTakesItAgain)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    bool signalled = false;
    mutex.lock();
    std::thread signaller([&] {
        mutex.lock();
        signalled = true;
        condition.signal_one();
        mutex.unlock();
    });
    while (!signalled)
        EXPECT_EQ(nullptr, condition.wait());
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    signaller.join();
}

TEST(ConditionThreads, TimedWait_IsWokenBeforeTheDeadline)
{
    MutexImpl mutex(true);
    ConditionImpl condition(mutex);
    bool signalled = false;
    mutex.lock();
    std::thread signaller([&] {
        mutex.lock();
        signalled = true;
        condition.signal_all();
        mutex.unlock();
    });
    const TimePoint deadline = farAway();
    while (!signalled)
        EXPECT_EQ(nullptr, condition.wait_timeout(deadline));
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    signaller.join();
}

TEST(ConditionThreads, TimedWait_DeadlinePassed)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    mutex.lock();
    EXPECT_EQ(ConditionBase::TIMEOUT, condition.wait_timeout(TimePoint(0)));
    EXPECT_EQ(ConditionBase::TIMEOUT, condition.wait_timeout(TimePoint::now() - Duration(5)));
    EXPECT_FALSE(isFree(mutex));
    EXPECT_EQ(nullptr, mutex.unlock());
    EXPECT_TRUE(isFree(mutex));
}

TEST(ConditionThreads, TimedWait_DoesNotEndEarly)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    mutex.lock();
    const TimePoint deadline = TimePoint::now() + Duration(30);
    const char* result = nullptr;
    while (result == nullptr)
        result = condition.wait_timeout(deadline);
    EXPECT_EQ(ConditionBase::TIMEOUT, result);
    EXPECT_LE(deadline, TimePoint::now());
    mutex.unlock();
}

#ifndef __LP64__
// Kept: the seconds that are cut out of it are in the past.
TEST(ConditionThreads, TimedWait_Max_EndsAtOnce)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    mutex.lock();
    EXPECT_EQ(ConditionBase::TIMEOUT, condition.wait_timeout(TimePoint::MAX));
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
}
#endif

TEST(ConditionThreads, Wait_MutexNotHeld)
{
    MutexImpl mutex(true);
    ConditionImpl condition(mutex);
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, condition.wait());
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, condition.wait_timeout(farAway()));
}

/// What a thread that is to be cancelled waits for, and what it finds while it is unwound.
struct Cancelled
{
    struct Unwound
    {
        explicit Unwound(Cancelled& owner) : test(owner) {}
        ~Unwound()
        {
            test.heldDuringCleanup = !isFree(test.mutex);
            test.mutex.unlock();
        }
        Cancelled& test;
    };

    static void* run(void* test)
    {
        auto& self = *static_cast<Cancelled*>(test);
        self.mutex.lock();
        const Unwound unwound(self);
        self.waits.set_value();
        for (;;)
            self.timed ? self.condition.wait_timeout(farAway()) : self.condition.wait();
    }

    explicit Cancelled(bool waitsWithDeadline) : timed(waitsWithDeadline) {}

    /// Returns whether the thread was cancelled while it waited.
    bool isCancelled()
    {
        pthread_t thread;
        EXPECT_EQ(0, pthread_create(&thread, nullptr, run, this));
        waits.get_future().wait();
        mutex.lock(); // had as soon as the thread waits
        pthread_cancel(thread);
        mutex.unlock();
        void* result = nullptr;
        pthread_join(thread, &result);
        return result == PTHREAD_CANCELED;
    }

    const bool timed;
    bool heldDuringCleanup = false;
    MutexImpl mutex{false};
    ConditionImpl condition{mutex};
    std::promise<void> waits;
};

TEST(ConditionThreads, Wait_Cancelled_HoldsTheMutexDuringCleanup)
{
    Cancelled test(false);
    EXPECT_TRUE(test.isCancelled());
    EXPECT_TRUE(test.heldDuringCleanup);
    EXPECT_TRUE(isFree(test.mutex));
}

TEST(ConditionThreads, TimedWait_Cancelled_HoldsTheMutexDuringCleanup)
{
    Cancelled test(true);
    EXPECT_TRUE(test.isCancelled());
    EXPECT_TRUE(test.heldDuringCleanup);
    EXPECT_TRUE(isFree(test.mutex));
}

// Kept: a wait releases one level of the lock.
TEST(ConditionThreads, Wait_RecursiveHeldTwice_KeepsTheMutex)
{
    MutexImpl mutex(true);
    ConditionImpl condition(mutex);
    std::promise<void> held;
    std::promise<const char*> answer;
    std::thread waiter([&] {
        mutex.lock();
        mutex.lock();
        held.set_value();
        const TimePoint deadline = TimePoint::now() + Duration(30);
        const char* result = nullptr;
        while (result == nullptr)
            result = condition.wait_timeout(deadline);
        answer.set_value(result);
        mutex.unlock();
        mutex.unlock();
    });
    held.get_future().wait();
    std::future<const char*> waited = answer.get_future();
    bool stolen = false;
    while (waited.wait_for(std::chrono::seconds(0)) != std::future_status::ready && !stolen)
        stolen = mutex.try_lock() == nullptr;
    // A lock can be had by right once the answer is there.
    EXPECT_TRUE(!stolen || waited.wait_for(std::chrono::seconds(0)) == std::future_status::ready);
    if (stolen) mutex.unlock();
    waiter.join();
    EXPECT_EQ(ConditionBase::TIMEOUT, waited.get());
}

TEST(ConditionThreads, Contention_EveryItemArrivesOnce)
{
    MutexImpl mutex(false);
    ConditionImpl changed(mutex);
    bool full = false;
    int arrived = 0;
    const auto pass = [&](bool puts) {
        for (int count = 0; count < 200; ++count) {
            mutex.lock();
            while (full == puts)
                changed.wait();
            full = puts;
            arrived += puts ? 0 : 1;
            changed.signal_all();
            mutex.unlock();
        }
    };
    std::vector<std::thread> threads;
    for (int pair = 0; pair < 8; ++pair) {
        threads.emplace_back(pass, true);
        threads.emplace_back(pass, false);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1600, arrived);
    EXPECT_FALSE(full);
}

} // namespace
