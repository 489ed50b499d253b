// SPDX-License-Identifier: Apache-2.0
//
// threadsafe::ConditionImpl is a POSIX condition variable on the monotonic clock, tied for life to
// one mutex. Its operations return null on success or an error constant.
//
//     mutex.lock();
//     while (queue.empty() && condition.wait_timeout(deadline) == nullptr) {}
//     mutex.unlock();

#ifndef ZELCOMMON_THREADSAFE_CONDITIONIMPL_POSIX_H
#define ZELCOMMON_THREADSAFE_CONDITIONIMPL_POSIX_H

#include <pthread.h>

#include <threadsafe/MutexImpl-posix.h>
#include <zel/attributes.h>
#include <zelbase/time.h>

namespace threadsafe {

/// The error constants of `ConditionImpl`. They are compared by pointer identity, never by text;
/// the text is for printing.
class ZEL_EXPORT ConditionBase
{
public:
    /// "Unknown zel::Condition error"
    static const char* const ERROR;
    /// "zel::Condition inconsistency detected"
    static const char* const ERROR_INCONSISTENCY;
    /// "Waiting on zel::Condition timed out (not an error)"
    static const char* const TIMEOUT;
};

/// A condition variable.
///
/// Every operation returns null on success, `ERROR_INCONSISTENCY` if the system finds the condition
/// or its mutex misused, and `ERROR` on any other failure. Waits may end without a signal: test
/// what is waited for in a loop. `wait` and `wait_timeout` are cancellation points; a cancelled
/// thread holds the mutex while its cleanup handlers run. Any thread.
class ZEL_EXPORT ConditionImpl : public ConditionBase
{
public:
    /// A condition on `mutex`, which is not owned and must outlive it. Ends the process if a step
    /// of building it fails.
    ConditionImpl(MutexImpl& mutex);
    /// Requires that nobody waits: it blocks as long as somebody does, for ever at the exit of a
    /// process or in a child process whose parent has a waiting thread. Ends the process if
    /// destroying fails.
    ~ConditionImpl();
    ConditionImpl(const ConditionImpl&) = delete;
    ConditionImpl& operator=(const ConditionImpl&) = delete;

    /// Releases the mutex, blocks until a signal, and locks the mutex again. Requires that the
    /// calling thread holds the mutex once.
    const char* wait();

    /// As `wait`, but no longer than until `deadline`.
    /// Returns `TIMEOUT` at the deadline, at once if it has passed; the mutex is locked again.
    ///
    /// No deadline is a wait for ever, `TimePoint::MAX` least of all: deadlines beyond
    /// 18446744073709551 ms wrap, and on a 32-bit target those from 2147483648 s on are cut to
    /// points in the past. Use `wait` for that.
    const char* wait_timeout(const zelbase::TimePoint& deadline);

    /// Wakes at least one thread of those that wait.
    const char* signal_one()
    {
        const int result = pthread_cond_signal(&m_condition);
        return result == 0 ? nullptr : signalError(result);
    }

    /// Wakes all threads that wait.
    const char* signal_all()
    {
        const int result = pthread_cond_broadcast(&m_condition);
        return result == 0 ? nullptr : signalError(result);
    }

private:
    ZEL_COLD static const char* signalError(int result);

    pthread_cond_t m_condition;
    MutexImpl* m_mutex;
};

} // namespace threadsafe

#endif // ZELCOMMON_THREADSAFE_CONDITIONIMPL_POSIX_H
