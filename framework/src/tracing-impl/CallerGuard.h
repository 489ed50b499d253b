// SPDX-License-Identifier: Apache-2.0
//
// What a call of the program's threads leaves as it was.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_CALLERGUARD_H
#define TRACINGIMPL_SRC_TRACINGIMPL_CALLERGUARD_H

#include <cerrno>

#include <pthread.h>

namespace tracing {
namespace impl {

/// Gives `errno` back its value, and puts the thread's cancellation off meanwhile: it may wait
/// where the standard allows no way out.
class CallerGuard
{
public:
    CallerGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState); }
    ~CallerGuard()
    {
        pthread_setcancelstate(m_cancelState, nullptr);
        errno = m_error;
    }
    CallerGuard(const CallerGuard&) = delete;
    CallerGuard& operator=(const CallerGuard&) = delete;

private:
    const int m_error = errno;
    int m_cancelState = PTHREAD_CANCEL_ENABLE;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_CALLERGUARD_H
