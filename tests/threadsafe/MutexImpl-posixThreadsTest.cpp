// SPDX-License-Identifier: Apache-2.0
//
// Locking as threads see it.

#include <threadsafe/MutexImpl-posix.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/HoldingThread.h"
#include "support/MutexMisuse.h"

namespace {

using threadsafe::MutexBase;
using threadsafe::MutexImpl;
using zelbase::Duration;

/// Whether a thread of its own gets `mutex`, which it then unlocks.
bool isFree(MutexImpl& mutex)
{
    return support::onAnotherThread([&mutex] {
        if (mutex.try_lock() != nullptr) return false;
        return mutex.unlock() == nullptr;
    });
}

TEST(MutexThreads, LockAndUnlock)
{
    MutexImpl mutex(false);
    EXPECT_TRUE(isFree(mutex));
    EXPECT_EQ(nullptr, mutex.lock());
    EXPECT_FALSE(isFree(mutex));
    EXPECT_EQ(nullptr, mutex.unlock());
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexThreads, TryLock_Free)
{
    MutexImpl mutex(false);
    EXPECT_EQ(nullptr, mutex.try_lock());
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
}

TEST(MutexThreads, TryLock_HeldByAnotherThread)
{
    MutexImpl mutex(false);
    {
        const support::HoldingThread holder(mutex);
        EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock());
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexThreads, TryLock_RecursiveHeldByAnotherThread)
{
    MutexImpl mutex(true);
    const support::HoldingThread holder(mutex);
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock());
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock(Duration(0)));
}

TEST(MutexThreads, TryLock_PlainHeldByThisThread)
{
    MutexImpl mutex(false);
    mutex.lock();
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock());
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock(Duration(0)));
    EXPECT_EQ(nullptr, mutex.unlock());
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexThreads, Recursive_TwoLocksNeedTwoUnlocks)
{
    MutexImpl mutex(true);
    EXPECT_EQ(nullptr, mutex.lock());
    EXPECT_EQ(nullptr, mutex.lock());
    EXPECT_EQ(nullptr, mutex.unlock());
    EXPECT_FALSE(isFree(mutex));
    EXPECT_EQ(nullptr, mutex.unlock());
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexThreads, Recursive_EveryFormCounts)
{
    MutexImpl mutex(true);
    EXPECT_EQ(nullptr, mutex.lock());
    EXPECT_EQ(nullptr, mutex.try_lock());
    EXPECT_EQ(nullptr, mutex.try_lock(Duration(0)));
    mutex.unlock();
    mutex.unlock();
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexThreads, Recursive_UnlockWithoutLock)
{
    MutexImpl mutex(true);
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, mutex.unlock());
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexThreads, Recursive_UnlockByAnotherThread)
{
    MutexImpl mutex(true);
    const support::HoldingThread holder(mutex);
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, mutex.unlock());
    EXPECT_FALSE(isFree(mutex));
}

TEST(MutexThreads, TimedLock_FreeMutexWhateverTheTimeout)
{
    MutexImpl mutex(false);
    EXPECT_EQ(nullptr, mutex.try_lock(Duration(1000)));
    EXPECT_FALSE(isFree(mutex));
    mutex.unlock();
    EXPECT_EQ(nullptr, mutex.try_lock(Duration(0)));
    mutex.unlock();
    EXPECT_EQ(nullptr, mutex.try_lock(Duration(-5000)));
    mutex.unlock();
    EXPECT_EQ(nullptr, mutex.try_lock(Duration::MAX));
    mutex.unlock();
}

TEST(MutexThreads, TimedLock_EndedBeforeItBegan)
{
    MutexImpl mutex(false);
    const support::HoldingThread holder(mutex);
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock(Duration(0)));
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock(Duration(-60000)));
}

/// Milliseconds of the clock that measures timeouts, rounded down.
long long realTime()
{
    timespec reading{};
    clock_gettime(CLOCK_REALTIME, &reading);
    return reading.tv_sec * 1000LL + reading.tv_nsec / 1000000;
}

TEST(MutexThreads, TimedLock_DoesNotEndEarly)
{
    MutexImpl mutex(false);
    const support::HoldingThread holder(mutex);
    const long long start = realTime();
    EXPECT_EQ(MutexBase::NO_LUCK, mutex.try_lock(Duration(30)));
    EXPECT_LE(start + 30, realTime());
}

TEST(MutexThreads, TimedLock_GetsWhatIsUnlockedInTime)
{
    MutexImpl mutex(false);
    std::future<const char*> waiter;
    {
        const support::HoldingThread holder(mutex);
        waiter = std::async(std::launch::async, [&mutex] {
            const char* const error = mutex.try_lock(Duration(600000));
            if (error == nullptr) mutex.unlock();
            return error;
        });
    }
    EXPECT_EQ(nullptr, waiter.get());
}

/// Adds to a count a thousand times on each of 16 threads. `add` returns whether it did so.
template <typename Add>
void addOnThreads(Add add)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 16; ++thread)
        threads.emplace_back([&add] {
            for (int done = 0; done < 1000;)
                done += add() ? 1 : 0;
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(MutexThreads, Contention_Lock)
{
    MutexImpl mutex(false);
    int count = 0;
    addOnThreads([&] {
        if (mutex.lock() != nullptr) return false;
        ++count;
        return mutex.unlock() == nullptr;
    });
    EXPECT_EQ(16000, count);
}

TEST(MutexThreads, Contention_AllForms)
{
    MutexImpl mutex(true);
    int count = 0;
    addOnThreads([&] {
        if (mutex.try_lock() != nullptr && mutex.try_lock(Duration(60000)) != nullptr) return false;
        mutex.lock();
        ++count;
        mutex.unlock();
        return mutex.unlock() == nullptr;
    });
    EXPECT_EQ(16000, count);
}

TEST(MutexThreads, DestroyedLocked_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        MutexImpl mutex(false);
        mutex.lock();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("pthread_mutex_destroy failed with EBUSY in "
              "framework/src/threadsafe/MutexImpl-posix:56, ~MutexImpl\n",
              result.err);
}

TEST(MutexThreads, DestroyedLocked_RecursiveOnceUnlocked_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        MutexImpl mutex(true);
        mutex.lock();
        mutex.lock();
        mutex.unlock();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("pthread_mutex_destroy failed with EBUSY in "
              "framework/src/threadsafe/MutexImpl-posix:56, ~MutexImpl\n",
              result.err);
}

// Kept: no error tells of it. A timer ends the process that hangs.
TEST(MutexThreads, PlainMutexLockedTwice_BlocksForEver)
{
    const support::ChildResult result = support::runInChild([] {
        MutexImpl mutex(false);
        mutex.lock();
        const itimerval soon{{0, 0}, {0, 100000}};
        setitimer(ITIMER_REAL, &soon, nullptr);
        mutex.lock();
        std::puts("went on");
    });
    EXPECT_EQ(SIGALRM, result.signal);
    EXPECT_EQ("", result.out);
}

/// The kernel's priority of a thread of this process: at least 0 for one of the normal class, and
/// -2 and less for one of the real-time classes.
int priorityOf(long thread)
{
    const std::string name = "/proc/self/task/" + std::to_string(thread) + "/stat";
    std::FILE* const file = std::fopen(name.c_str(), "r");
    if (file == nullptr) return 0;
    int priority = 0;
    // The 18th field; the second, in parentheses, may hold blanks.
    const int read = std::fscanf(
        file, "%*d (%*[^)]) %*c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %d",
        &priority);
    std::fclose(file);
    return read == 1 ? priority : 0;
}

TEST(MutexThreads, WaiterOfHigherPriority_BoostsTheOwner)
{
    MutexImpl mutex(false);
    mutex.lock();
    const long owner = syscall(SYS_gettid);
    std::promise<int> refusal;
    std::thread waiter([&] {
        const sched_param urgent{10};
        const int result = pthread_setschedparam(pthread_self(), SCHED_FIFO, &urgent);
        refusal.set_value(result);
        if (result == 0 && mutex.lock() == nullptr) mutex.unlock();
    });
    const int refused = refusal.get_future().get();
    const zelbase::TimePoint end = zelbase::TimePoint::now() + Duration(20000);
    while (refused == 0 && priorityOf(owner) >= 0 && zelbase::TimePoint::now() < end)
        sched_yield();
    const int boosted = priorityOf(owner);
    mutex.unlock();
    waiter.join();
    if (refused != 0) GTEST_SKIP() << "no real-time scheduling: " << std::strerror(refused);
    EXPECT_EQ(-11, boosted);
    EXPECT_LE(0, priorityOf(owner));
}

} // namespace
