// SPDX-License-Identifier: Apache-2.0
//
// zel::Condition: the condition variable for application code, on the monotonic clock.
//
//     const zel::ScopedLock lock(m_mutex);
//     const auto filled = [this]() ZEL_REQUIRES(m_mutex) { return !m_queue.empty(); };
//     if (!m_filled.wait_timeout(deadline, filled)) return false;

#ifndef ZELCOMMON_ZEL_CONDITION_H
#define ZELCOMMON_ZEL_CONDITION_H

#include <common/error/GlobalErrorHandler.h>
#include <threadsafe/ConditionImpl-posix.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>
#include <zelbase/time.h>

namespace zel {

/// A condition variable, tied for life to one mutex. Not copyable. Any thread.
///
/// A failure other than a time-out goes to `GlobalErrorHandler::doAbort` with the text of the error
/// constant as reason; where that returns, the wait is over. Waits may also end without a signal,
/// so those without a predicate belong in a loop. A predicate that reads guarded fields says so, as
/// above. The waits block and are cancellation points; each requires that the calling thread holds
/// the mutex once. Destruction requires that nobody waits: it blocks as long as somebody does.
class Condition
{
public:
    /// A condition on `mutex`, which is not owned and must outlive it.
    Condition(Mutex& mutex) : m_condition(mutex.m_mutex) {}

    /// Waits for a signal.
    void wait() { checked(m_condition.wait(), LINE_WAIT, "wait"); }

    /// Waits until `predicate`, called with the mutex held, is true.
    template <typename Predicate>
    void wait(Predicate predicate) ZEL_NO_THREAD_SAFETY_ANALYSIS
    {
        while (!predicate())
            if (!checked(m_condition.wait(), LINE_WAIT, "wait")) return;
    }

    /// Waits for a signal no longer than until `deadline`, which may not be `TimePoint::MAX` or
    /// near it, see `ConditionImpl`.
    /// Returns false at the deadline, and where `doAbort` returns.
    bool wait_timeout(const zelbase::TimePoint& deadline)
    {
        const char* const error = m_condition.wait_timeout(deadline);
        if (error == threadsafe::ConditionBase::TIMEOUT) return false;
        return checked(error, LINE_WAIT_TIMEOUT, "wait_timeout");
    }

    /// Waits until `predicate`, called with the mutex held, is true, no longer than until
    /// `deadline`. Returns the predicate's last value.
    template <typename Predicate>
    bool wait_timeout(const zelbase::TimePoint& deadline,
                      Predicate predicate) ZEL_NO_THREAD_SAFETY_ANALYSIS
    {
        while (!predicate())
            if (!wait_timeout(deadline)) return predicate();
        return true;
    }

    /// Wakes at least one thread of those that wait.
    void signal_one() { checked(m_condition.signal_one(), LINE_SIGNAL_ONE, "signal_one"); }
    /// Wakes all threads that wait.
    void signal_all() { checked(m_condition.signal_all(), LINE_SIGNAL_ALL, "signal_all"); }

private:
    // Parts of texts that users see, fixed whatever becomes of the code.
    static constexpr const char* FILE_NAME = "framework/include/zel/Condition";
    static constexpr int LINE_WAIT = 34;
    static constexpr int LINE_WAIT_TIMEOUT = 52;
    static constexpr int LINE_SIGNAL_ONE = 68;
    static constexpr int LINE_SIGNAL_ALL = 70;

    /// Reports `error`, if there is one. Returns whether there is none.
    static bool checked(const char* error, int line, const char* function)
    {
        if (error == nullptr) return true;
        std::GlobalErrorHandler::doAbort(FILE_NAME, line, function, "%s", error);
        return false;
    }

    threadsafe::ConditionImpl m_condition;
};

} // namespace zel

#endif // ZELCOMMON_ZEL_CONDITION_H
