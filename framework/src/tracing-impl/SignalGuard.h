// SPDX-License-Identifier: Apache-2.0
//
// Keeps the program's signals away from the threads of this library.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_SIGNALGUARD_H
#define TRACINGIMPL_SRC_TRACINGIMPL_SIGNALGUARD_H

#include <csignal>

namespace tracing {
namespace impl {

/// Holds all signals but those of faults back from the calling thread, and from the threads that it
/// starts meanwhile.
class SignalGuard
{
public:
    SignalGuard()
    {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
            sigdelset(&all, fault);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalGuard() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

private:
    sigset_t m_before;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_SIGNALGUARD_H
