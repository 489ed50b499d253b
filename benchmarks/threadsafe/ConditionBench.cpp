// SPDX-License-Identifier: Apache-2.0
//
// What a condition costs, beside the POSIX calls that it wraps.

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <thread>

#include <pthread.h>

#include <zelcommon.h>

#include <support/Cases.h>

#include "RawMutex.h"

namespace {

/// The POSIX condition that ours is.
class RawCondition
{
public:
    explicit RawCondition(bench::RawMutex& mutex) : m_mutex(mutex)
    {
        pthread_condattr_t attributes;
        pthread_condattr_init(&attributes);
        pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        pthread_cond_init(&m_condition, &attributes);
        pthread_condattr_destroy(&attributes);
    }
    ~RawCondition() { pthread_cond_destroy(&m_condition); }
    RawCondition(const RawCondition&) = delete;
    RawCondition& operator=(const RawCondition&) = delete;

    int wait() { return pthread_cond_wait(&m_condition, m_mutex.native()); }
    int waitUntil(const timespec& deadline)
    {
        return pthread_cond_timedwait(&m_condition, m_mutex.native(), &deadline);
    }
    int signalOne() { return pthread_cond_signal(&m_condition); }
    int signalAll() { return pthread_cond_broadcast(&m_condition); }

private:
    bench::RawMutex& m_mutex;
    pthread_cond_t m_condition;
};

/// A ball that lies on side 0 or 1, guarded by our mutex and condition.
class ZelTable
{
public:
    void put(int side)
    {
        const zel::ScopedLock lock(m_mutex);
        m_side = side;
        m_moved.signal_all();
    }

    int awaitOther(int side)
    {
        const zel::ScopedLock lock(m_mutex);
        while (m_side == side)
            m_moved.wait();
        return m_side;
    }

private:
    zel::Mutex m_mutex;
    zel::Condition m_moved{m_mutex};
    int m_side ZEL_GUARDED_BY(m_mutex) = 0;
};

/// The same with POSIX calls.
class RawTable
{
public:
    void put(int side)
    {
        m_mutex.lock();
        m_side = side;
        m_moved.signalAll();
        m_mutex.unlock();
    }

    int awaitOther(int side)
    {
        m_mutex.lock();
        while (m_side == side)
            m_moved.wait();
        const int other = m_side;
        m_mutex.unlock();
        return other;
    }

private:
    bench::RawMutex m_mutex{PTHREAD_MUTEX_NORMAL};
    RawCondition m_moved{m_mutex};
    int m_side = 0;
};

/// The same with the standard's.
class StdTable
{
public:
    void put(int side)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_side = side;
        m_moved.notify_all();
    }

    int awaitOther(int side)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (m_side == side)
            m_moved.wait(lock);
        return m_side;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_moved;
    int m_side = 0;
};

/// Two threads that hand the ball to each other.
template <typename Table>
void pingPong(benchmark::State& state)
{
    constexpr int OVER = 2;
    Table table;
    std::thread partner([&table] {
        while (table.awaitOther(0) != OVER)
            table.put(0);
    });
    for (auto _ : state) {
        table.put(1);
        table.awaitOther(1);
    }
    table.put(OVER);
    partner.join();
}

void signalOurs(benchmark::State& state)
{
    zel::Mutex mutex;
    zel::Condition condition(mutex);
    for (auto _ : state) {
        condition.signal_one();
        benchmark::ClobberMemory();
    }
}

void signalRaw(benchmark::State& state)
{
    bench::RawMutex mutex(PTHREAD_MUTEX_NORMAL);
    RawCondition condition(mutex);
    for (auto _ : state)
        benchmark::DoNotOptimize(condition.signalOne());
}

// A wait whose deadline is over.

void waitOurs(benchmark::State& state)
{
    zel::Mutex mutex;
    zel::Condition condition(mutex);
    const zel::ScopedLock lock(mutex);
    const zelbase::TimePoint deadline(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(condition.wait_timeout(deadline));
}

void waitRaw(benchmark::State& state)
{
    bench::RawMutex mutex(PTHREAD_MUTEX_NORMAL);
    RawCondition condition(mutex);
    mutex.lock();
    const timespec deadline = {0, 1000000};
    for (auto _ : state)
        benchmark::DoNotOptimize(condition.waitUntil(deadline));
    mutex.unlock();
}

} // namespace

void bench::registerCases()
{
    add("signal", {{"ours", signalOurs}, {"POSIX", signalRaw}});
    add("waitTimeout", {{"ours", waitOurs}, {"POSIX", waitRaw}});
    addInRealTime(
        "pingPong",
        {{"ours", pingPong<ZelTable>}, {"POSIX", pingPong<RawTable>}, {"std", pingPong<StdTable>}});
}
