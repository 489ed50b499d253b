// SPDX-License-Identifier: Apache-2.0
//
// What every report keeps: the caller's errno, and the thread until the report is whole.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_REPORTGUARD_H
#define ZELCOMMON_SRC_COMMON_ERROR_REPORTGUARD_H

#include <pthread.h>

#include "ErrnoKeeper.h"

namespace errorcore {

/// Gives `errno` back its value and puts off the thread's cancellation for as long as it lives.
/// Every write to a stream is a cancellation point: without this a thread could leave a fatal
/// report before the process ends, or be cancelled inside a destructor that asserts.
class ReportGuard
{
public:
    ReportGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState); }
    ~ReportGuard() { pthread_setcancelstate(m_cancelState, nullptr); }
    ReportGuard(const ReportGuard&) = delete;
    ReportGuard& operator=(const ReportGuard&) = delete;

private:
    const ErrnoKeeper m_errnoKeeper;
    int m_cancelState = PTHREAD_CANCEL_ENABLE;
};

} // namespace errorcore

#endif // ZELCOMMON_SRC_COMMON_ERROR_REPORTGUARD_H
