// SPDX-License-Identifier: Apache-2.0
//
// The mutex for applications in the standard's lock classes and in its own. What becomes of
// failures is in MutexReactionsTest.cpp.

#include <zel/Mutex.h>

#include <csignal>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/HoldingThread.h"
#include "support/MutexMisuse.h"

namespace {

using zel::Mutex;
using zel::ScopedLock;
using zelbase::Duration;

static_assert(!std::is_copy_constructible_v<Mutex> && !std::is_copy_assignable_v<Mutex>);
static_assert(!std::is_move_constructible_v<Mutex> && !std::is_move_assignable_v<Mutex>);
static_assert(!std::is_copy_constructible_v<ScopedLock>);
static_assert(!std::is_copy_assignable_v<ScopedLock>);
static_assert(!std::is_move_constructible_v<ScopedLock>);
static_assert(!std::is_convertible_v<Mutex&, ScopedLock>);
static_assert(sizeof(Mutex) == sizeof(pthread_mutex_t));
static_assert(!noexcept(std::declval<Mutex&>().lock()), "a cancelled thread unwinds it");
static_assert(std::is_same_v<bool, decltype(std::declval<Mutex&>().try_lock())>);
static_assert(std::is_same_v<void, decltype(std::declval<Mutex&>().lock())>);

/// Whether a thread of its own gets `mutex`, which it then unlocks.
bool isFree(Mutex& mutex)
{
    return support::onAnotherThread([&mutex] {
        if (!mutex.try_lock()) return false;
        mutex.unlock();
        return true;
    });
}

TEST(Mutex, LockAndUnlock)
{
    Mutex mutex;
    EXPECT_TRUE(isFree(mutex));
    mutex.lock();
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, IsPlainUnlessSaidOtherwise)
{
    Mutex mutex;
    mutex.lock();
    EXPECT_FALSE(mutex.try_lock());
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, Recursive_TwoLocksNeedTwoUnlocks)
{
    Mutex mutex(true);
    mutex.lock();
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, TryLock_TellsWhetherItIsLocked)
{
    Mutex mutex;
    EXPECT_TRUE(mutex.try_lock());
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    const support::HoldingThread holder(mutex);
    EXPECT_FALSE(mutex.try_lock());
}

TEST(Mutex, TryLockFor_TellsWhetherItIsLocked)
{
    Mutex mutex;
    EXPECT_TRUE(mutex.try_lock_for(Duration(1000)));
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    const support::HoldingThread holder(mutex);
    EXPECT_FALSE(mutex.try_lock_for(Duration(0)));
    EXPECT_FALSE(mutex.try_lock_for(Duration(1)));
    EXPECT_FALSE(mutex.try_lock_for(Duration(-60000)));
}

TEST(Mutex, TryLockFor_GetsWhatIsUnlockedInTime)
{
    Mutex mutex;
    std::future<bool> waiter;
    {
        const support::HoldingThread holder(mutex);
        waiter = std::async(std::launch::async, [&mutex] {
            const bool got = mutex.try_lock_for(Duration(600000));
            if (got) mutex.unlock();
            return got;
        });
    }
    EXPECT_TRUE(waiter.get());
}

TEST(Mutex, Misses_ReportNothing)
{
    const support::ChildResult result = support::runInChild([] {
        Mutex mutex;
        mutex.lock();
        EXPECT_FALSE(mutex.try_lock());
        EXPECT_FALSE(mutex.try_lock_for(Duration(0)));
        mutex.unlock();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(Mutex, ScopedLock_HoldsWhileItLives)
{
    Mutex mutex;
    {
        const ScopedLock lock(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, ScopedLock_Twice_OnARecursiveMutex)
{
    Mutex mutex(true);
    const ScopedLock outer(mutex);
    {
        const ScopedLock inner(mutex);
    }
    EXPECT_FALSE(isFree(mutex));
}

TEST(Mutex, InLockGuard)
{
    Mutex mutex;
    {
        const std::lock_guard<Mutex> lock(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, InLockGuard_AdoptsALock)
{
    Mutex mutex;
    mutex.lock();
    {
        const std::lock_guard<Mutex> lock(mutex, std::adopt_lock);
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, InScopedLock_TwoAtOnce)
{
    Mutex first;
    Mutex second;
    {
        const std::scoped_lock<Mutex, Mutex> lock(first, second);
        EXPECT_FALSE(isFree(first));
        EXPECT_FALSE(isFree(second));
    }
    EXPECT_TRUE(isFree(first));
    EXPECT_TRUE(isFree(second));
}

TEST(Mutex, InScopedLock_OppositeOrders_DoNotBlockEachOther)
{
    Mutex first;
    Mutex second;
    int count = 0;
    const auto add = [&count](Mutex& one, Mutex& other) {
        for (int done = 0; done < 1000; ++done) {
            const std::scoped_lock<Mutex, Mutex> lock(one, other);
            ++count;
        }
    };
    std::thread there([&] { add(first, second); });
    std::thread back([&] { add(second, first); });
    there.join();
    back.join();
    EXPECT_EQ(2000, count);
}

TEST(Mutex, InUniqueLock)
{
    Mutex mutex;
    std::unique_lock<Mutex> lock(mutex);
    EXPECT_TRUE(lock.owns_lock());
    EXPECT_FALSE(isFree(mutex));
    lock.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, InUniqueLock_TryToLock_Free)
{
    Mutex mutex;
    const std::unique_lock<Mutex> lock(mutex, std::try_to_lock);
    EXPECT_TRUE(lock.owns_lock());
    EXPECT_FALSE(isFree(mutex));
}

TEST(Mutex, InUniqueLock_TryToLock_Held)
{
    Mutex mutex;
    const support::HoldingThread holder(mutex);
    const std::unique_lock<Mutex> lock(mutex, std::try_to_lock);
    EXPECT_FALSE(lock.owns_lock());
}

TEST(Mutex, InUniqueLock_DeferLock)
{
    Mutex mutex;
    std::unique_lock<Mutex> lock(mutex, std::defer_lock);
    EXPECT_FALSE(lock.owns_lock());
    EXPECT_TRUE(isFree(mutex));
    EXPECT_TRUE(lock.try_lock());
    EXPECT_FALSE(isFree(mutex));
}

TEST(Mutex, InTheStandardsTryLock_NamesTheOneThatIsHeld)
{
    Mutex first;
    Mutex second;
    const support::HoldingThread holder(second);
    EXPECT_EQ(1, std::try_lock(first, second));
    EXPECT_TRUE(isFree(first));
}

TEST(Mutex, Contention)
{
    Mutex mutex;
    int count = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 16; ++thread)
        threads.emplace_back([&] {
            for (int done = 0; done < 1000; ++done) {
                const ScopedLock lock(mutex);
                ++count;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(16000, count);
}

TEST(Mutex, DestroyedLocked_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::s_disable_abort = true; // does not reach as far as here
        Mutex mutex;
        mutex.lock();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("pthread_mutex_destroy failed with EBUSY in "
              "framework/src/threadsafe/MutexImpl-posix:56, ~MutexImpl\n",
              result.err);
}

// The unlock that the system itself refuses.
TEST(Mutex, UnlockWithoutLock_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        Mutex mutex(true);
        mutex.unlock();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(support::reportTitle("Abort was called", result) +
                  "Location: include/zel/Mutex:40, unlock()\n"
                  "No error context set\n"
                  "Reason: \"zel::Mutex inconsistency detected\"\n",
              result.err);
}

} // namespace
