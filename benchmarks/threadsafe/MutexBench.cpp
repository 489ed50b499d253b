// SPDX-License-Identifier: Apache-2.0
//
// What a mutex, the clock and a thread's slot cost, beside the POSIX calls that they wrap.

#include <ctime>
#include <mutex>

#include <absl/synchronization/mutex.h>
#include <pthread.h>

#include <zelcommon.h>

#include <support/Cases.h>

#include "RawMutex.h"

namespace {

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
    bench::RawMutex mutex(PTHREAD_MUTEX_NORMAL);
    lockAndUnlock(state, mutex);
}

void lockZelMutexRecursive(benchmark::State& state)
{
    zel::Mutex mutex(true);
    lockAndUnlock(state, mutex);
}

void lockRawMutexRecursive(benchmark::State& state)
{
    bench::RawMutex mutex(PTHREAD_MUTEX_RECURSIVE);
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

} // namespace

void bench::registerCases()
{
    add("mutex", {{"ours", lockZelMutex},
                  {"POSIX", lockRawMutex},
                  {"ours:MutexImpl", lockMutexImpl},
                  {"std", lockStdMutex},
                  {"absl", lockAbslMutex}});
    add("recursiveMutex", {{"ours", lockZelMutexRecursive}, {"POSIX", lockRawMutexRecursive}});
    add("clock", {{"ours", readTimePoint}, {"POSIX", readRawClock}});
    add("threadSlot", {{"ours", readZelTls}, {"POSIX", readRawTls}});
}
