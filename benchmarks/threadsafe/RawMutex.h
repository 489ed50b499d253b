// SPDX-License-Identifier: Apache-2.0
//
// The POSIX mutex that our mutex is.

#ifndef ZELCOMMON_BENCHMARKS_THREADSAFE_RAWMUTEX_H
#define ZELCOMMON_BENCHMARKS_THREADSAFE_RAWMUTEX_H

#include <pthread.h>

namespace bench {

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

    pthread_mutex_t* native() { return &m_mutex; }

private:
    pthread_mutex_t m_mutex;
};

} // namespace bench

#endif // ZELCOMMON_BENCHMARKS_THREADSAFE_RAWMUTEX_H
