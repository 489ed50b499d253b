// SPDX-License-Identifier: Apache-2.0
//
// zel::Mutex and zel::ScopedLock: the mutex for application code. It works with the standard's lock
// classes, and clang's thread-safety analysis (-Wthread-safety) checks what it guards.
//
//     zel::Mutex m_mutex;
//     int m_level ZEL_GUARDED_BY(m_mutex) = 0;
//     void raise() { const zel::ScopedLock lock(m_mutex); ++m_level; }

#ifndef ZELCOMMON_ZEL_MUTEX_H
#define ZELCOMMON_ZEL_MUTEX_H

#include <algorithm>
#include <chrono>

#include <common/error/GlobalErrorHandler.h>
#include <threadsafe/MutexImpl-posix.h>
#include <zel/attributes.h>
#include <zelbase/time.h>

namespace zel {

class Condition;

/// A mutex with priority inheritance. Not copyable. Any thread.
///
/// A failure other than not getting the mutex goes to `GlobalErrorHandler::doAbort` with the text
/// of the error constant as reason. Where that returns, the call returns as well, `lock` without
/// the lock. Construction and destruction end the process on failure; so does destroying a locked
/// mutex.
class ZEL_CAPABILITY("mutex") Mutex
{
public:
    /// A `recursive` mutex may be locked again by the thread that holds it.
    Mutex(bool recursive = false) : m_mutex(recursive) {}

    /// Locks; blocks until that succeeds.
    void lock() ZEL_ACQUIRE() { checked(m_mutex.lock(), LINE_LOCK, "lock"); }

    /// Unlocks. Requires that the calling thread holds the mutex.
    void unlock() ZEL_RELEASE() { checked(m_mutex.unlock(), LINE_UNLOCK, "unlock"); }

    /// Locks if that is possible at once. Returns whether the mutex is locked now.
    bool try_lock() ZEL_TRY_ACQUIRE(true)
    {
        return checked(m_mutex.try_lock(), LINE_TRY, "try_lock");
    }

    /// Locks if that is possible within `timeout`, which the real-time clock measures; blocks until
    /// then. A timeout of 0 or less asks once. Returns whether the mutex is locked now.
    bool try_lock_for(const zelbase::Duration& timeout) ZEL_TRY_ACQUIRE(true)
    {
        zelbase::Duration rest = std::max(timeout, zelbase::Duration());
        for (;;) {
            const zelbase::Duration part = std::min(rest, LONGEST_TRY);
            const char* const error = m_mutex.try_lock(part);
            if (error != threadsafe::MutexBase::NO_LUCK || part == rest)
                return checked(error, LINE_TRY_FOR, "try_lock_for");
            rest -= part;
        }
    }

private:
    friend class Condition;

    // Parts of texts that users see, fixed whatever becomes of the code.
    static constexpr const char* FILE_NAME = "framework/include/zel/Mutex";
    static constexpr int LINE_LOCK = 37;
    static constexpr int LINE_UNLOCK = 40;
    static constexpr int LINE_TRY = 43;
    static constexpr int LINE_TRY_FOR = 49;

    /// Longer timeouts are waited for in parts, as the end of each has to fit a 32-bit `time_t`.
    static constexpr zelbase::Duration LONGEST_TRY{std::chrono::hours(24)};

    /// Reports `error`, if there is one other than a miss. Returns whether there is none.
    static bool checked(const char* error, int line, const char* function)
    {
        if (error == nullptr) return true;
        if (error != threadsafe::MutexBase::NO_LUCK)
            std::GlobalErrorHandler::doAbort(FILE_NAME, line, function, "%s", error);
        return false;
    }

    threadsafe::MutexImpl m_mutex;
};

/// Holds a mutex for as long as it lives. Not copyable. Where a failed `lock` returns, the object
/// lives on without the lock, and its `unlock` is reported as well.
class ZEL_SCOPED_CAPABILITY ScopedLock
{
public:
    /// Locks `mutex`, which must outlive this object.
    explicit ScopedLock(Mutex& mutex) ZEL_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~ScopedLock() ZEL_RELEASE() { m_mutex.unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Mutex& m_mutex;
};

} // namespace zel

#endif // ZELCOMMON_ZEL_MUTEX_H
