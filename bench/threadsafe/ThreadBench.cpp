// SPDX-License-Identifier: Apache-2.0
//
// What the thread primitives and the clock cost, beside the POSIX calls that they wrap.

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <thread>

#include <absl/synchronization/mutex.h>
#include <benchmark/benchmark.h>
#include <pthread.h>

#include <zelcommon.h>

namespace {

/// A POSIX mutex with the attributes that ours has.
class RawMutex
{
public:
    explicit RawMutex(int type)
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, type);
        pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
        pthread_mutex_init(&m_mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~RawMutex() { pthread_mutex_destroy(&m_mutex); }
    RawMutex(const RawMutex&) = delete;
    RawMutex& operator=(const RawMutex&) = delete;

    int lock() { return pthread_mutex_lock(&m_mutex); }
    int unlock() { return pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
};

template <typename Mutex>
void lockAndUnlock(benchmark::State& state, Mutex& mutex)
{
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}

void lockZelMutex(benchmark::State& state)
{
    zel::Mutex mutex;
    lockAndUnlock(state, mutex);
}

void lockMutexImpl(benchmark::State& state)
{
    threadsafe::MutexImpl mutex(false);
    lockAndUnlock(state, mutex);
}

void lockRawMutex(benchmark::State& state)
{
    RawMutex mutex(PTHREAD_MUTEX_NORMAL);
    lockAndUnlock(state, mutex);
}

void lockZelMutexRecursive(benchmark::State& state)
{
    zel::Mutex mutex(true);
    lockAndUnlock(state, mutex);
}

void lockRawMutexRecursive(benchmark::State& state)
{
    RawMutex mutex(PTHREAD_MUTEX_RECURSIVE);
    lockAndUnlock(state, mutex);
}

void lockStdMutex(benchmark::State& state)
{
    std::mutex mutex;
    lockAndUnlock(state, mutex);
}

void lockAbslMutex(benchmark::State& state)
{
    absl::Mutex mutex;
    for (auto _ : state) {
        mutex.Lock();
        benchmark::ClobberMemory();
        mutex.Unlock();
    }
}

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

void readTimePoint(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(zelbase::TimePoint::now());
}

void readRawClock(benchmark::State& state)
{
    timespec now{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(clock_gettime(CLOCK_MONOTONIC, &now));
        benchmark::DoNotOptimize(now);
    }
}

void readZelTls(benchmark::State& state)
{
    zel::Tls<int> slot;
    int value = 0;
    slot.set(&value);
    for (auto _ : state)
        benchmark::DoNotOptimize(slot.get());
    slot.set(nullptr);
}

void readRawTls(benchmark::State& state)
{
    pthread_key_t key;
    pthread_key_create(&key, nullptr);
    int value = 0;
    pthread_setspecific(key, &value);
    for (auto _ : state)
        benchmark::DoNotOptimize(pthread_getspecific(key));
    pthread_key_delete(key);
}

BENCHMARK(lockZelMutex);
BENCHMARK(lockMutexImpl);
BENCHMARK(lockRawMutex);
BENCHMARK(lockZelMutexRecursive);
BENCHMARK(lockRawMutexRecursive);
BENCHMARK(lockStdMutex);
BENCHMARK(lockAbslMutex);
BENCHMARK(pingPong<ZelTable>)->UseRealTime();
BENCHMARK(pingPong<StdTable>)->UseRealTime();
BENCHMARK(readTimePoint);
BENCHMARK(readRawClock);
BENCHMARK(readZelTls);
BENCHMARK(readRawTls);

} // namespace
