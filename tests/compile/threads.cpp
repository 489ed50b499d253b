// SPDX-License-Identifier: Apache-2.0
//
// Misuse of the thread primitives that the compiler must refuse, one case at a time; without a case
// it compiles.

#include <mutex>
#include <utility>

#include <zelcommon.h>

void lockThePrimitive(threadsafe::MutexImpl& mutex)
{
#if defined PRIMITIVE_IN_A_UNIQUE_LOCK
    std::unique_lock<threadsafe::MutexImpl> lock(mutex, std::try_to_lock);
#elif defined PRIMITIVES_LOCKED_TOGETHER
    std::lock(mutex, mutex);
#elif defined PRIMITIVES_TRIED_TOGETHER
    std::try_lock(mutex, mutex);
#elif defined PRIMITIVE_LOCKED_WITH_A_MUTEX
    zel::Mutex other;
    std::lock(other, mutex);
#elif defined PRIMITIVE_TRIED_WITH_A_MUTEX
    zel::Mutex other;
    std::try_lock(other, mutex);
#else
    static_cast<void>(mutex);
#endif
}

void copy(zel::Mutex& mutex)
{
#if defined COPIED_MUTEX
    zel::Mutex other(mutex);
#elif defined MOVED_MUTEX
    zel::Mutex other(std::move(mutex));
#elif defined COPIED_LOCK
    zel::ScopedLock lock(mutex);
    zel::ScopedLock other(lock);
#elif defined COPIED_CONDITION
    zel::Condition condition(mutex);
    zel::Condition other(condition);
#else
    zel::ScopedLock lock(mutex);
#endif
}

zelbase::Duration convert()
{
#if defined SPAN_THAT_LOSES
    return zelbase::Duration(std::chrono::microseconds(3));
#elif defined SPAN_FROM_A_NUMBER
    return 3;
#else
    return zelbase::Duration(std::chrono::hours(3));
#endif
}
