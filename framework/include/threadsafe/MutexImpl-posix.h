// SPDX-License-Identifier: Apache-2.0
//
// threadsafe::MutexImpl is a POSIX mutex with priority inheritance, recursive or not as each is
// built. Its operations return null on success or an error constant, never a bool: code that wants
// the standard's lock classes takes zel::Mutex.
//
//     if (const char* error = mutex.try_lock(zelbase::Duration(20)))
//         return error == threadsafe::MutexBase::NO_LUCK ? busy() : broken(error);

#ifndef ZELCOMMON_THREADSAFE_MUTEXIMPL_POSIX_H
#define ZELCOMMON_THREADSAFE_MUTEXIMPL_POSIX_H

#include <mutex>
#include <pthread.h>
#include <type_traits>

#include <zel/attributes.h>
#include <zelbase/time.h>

namespace threadsafe {

/// The error constants of `MutexImpl`. They are compared by pointer identity, never by text; the
/// text is for printing.
class ZEL_EXPORT MutexBase
{
public:
    /// "Unknown zel::Mutex error"
    static const char* const ERROR;
    /// "zel::Mutex inconsistency detected"
    static const char* const ERROR_INCONSISTENCY;
    /// "Didn't get zel::Mutex (not an error)"
    static const char* const NO_LUCK;
};

/// A mutex of which a waiting thread of higher priority boosts the owner.
///
/// Every operation returns null on success, `ERROR_INCONSISTENCY` if the system finds the mutex
/// misused, and `ERROR` on any other failure; after a failure the mutex is as the system left it.
/// Any thread. No call is a cancellation point. A thread that ends while it holds the mutex leaves
/// it locked for ever; a child process may use only the mutexes that the forking thread held or
/// nobody did.
class ZEL_EXPORT MutexImpl final : public MutexBase
{
public:
    /// Builds the mutex. Ends the process if a step of that fails.
    MutexImpl(bool recursive);
    /// Requires that nobody holds the mutex or waits for it. Ends the process if somebody does, or
    /// if destroying fails otherwise.
    ~MutexImpl();
    MutexImpl(const MutexImpl&) = delete;
    MutexImpl& operator=(const MutexImpl&) = delete;

    /// Locks; blocks until that succeeds. A plain mutex that the calling thread itself holds blocks
    /// for ever.
    const char* lock()
    {
        const int result = pthread_mutex_lock(&m_mutex);
        return result == 0 ? nullptr : lockError(result);
    }

    /// Unlocks. A recursive mutex is free after as many unlocks as it was locked.
    const char* unlock()
    {
        const int result = pthread_mutex_unlock(&m_mutex);
        return result == 0 ? nullptr : unlockError(result);
    }

    /// Locks if that is possible at once. Never blocks.
    /// Returns `NO_LUCK` if another thread holds the mutex, or, for a plain one, this thread
    /// itself.
    const char* try_lock()
    {
        const int result = pthread_mutex_trylock(&m_mutex);
        return result == 0 ? nullptr : tryLockError(result);
    }

    /// Locks if that is possible within `timeout`, which the real-time clock measures: setting that
    /// clock moves the end. Blocks until then. A timeout of 0 asks once.
    /// Returns `NO_LUCK` if the mutex could not be had in time.
    /// Returns `ERROR_INCONSISTENCY` for most negative timeouts if the mutex cannot be had at once.
    /// The end is cut to the width of `time_t`: on a 32-bit target it must lie before January 2038.
    /// Returns `ERROR` if the clock cannot be read; the mutex is untouched then.
    const char* try_lock(const zelbase::Duration& timeout);

private:
    ZEL_COLD static const char* lockError(int result);
    ZEL_COLD static const char* unlockError(int result);
    ZEL_COLD static const char* tryLockError(int result);

    /// First, so that the object is the POSIX mutex to POSIX calls.
    pthread_mutex_t m_mutex;
};

static_assert(std::is_standard_layout_v<MutexImpl> && sizeof(MutexImpl) == sizeof(pthread_mutex_t),
              "a mutex is the POSIX mutex alone");

} // namespace threadsafe

/// Does not exist: `try_lock` answers null for success, which `std::unique_lock` would read as "not
/// locked". Use `std::unique_lock<zel::Mutex>`.
template <>
class std::unique_lock<threadsafe::MutexImpl>;

#endif // ZELCOMMON_THREADSAFE_MUTEXIMPL_POSIX_H
