// SPDX-License-Identifier: Apache-2.0
//
// What is said of a stream implementation that fails without raising an error. Two ways, kept apart
// on purpose: tools match both.

#ifndef ZELCOMMON_SRC_COMMON_STREAMREPORT_H
#define ZELCOMMON_SRC_COMMON_STREAMREPORT_H

#include <cstdio>

#include <common/IBinStreamBase.h>
#include <common/error/ErrorStorage.h>
#include <common/error/GlobalErrorHandler.h>

#include "error/ReportGuard.h"
#include "error/Site.h"

namespace streamcore {

/// The status of a transfer.
constexpr char MOVED = 1;
constexpr char NOTHING = 0;
constexpr char FAILED = static_cast<char>(-1);

inline bool hasRaised()
{
    return std::ErrorStorage::isA(std::IBinStreamBase::StreamError);
}

/// Prints the warning of `operation`, unless an error is pending.
inline void printUnlessRaised(const char* operation)
{
    if (hasRaised()) return;
    const errorcore::ReportGuard guard;
    std::fprintf(stderr,
                 "%s| Warning: stream implementation indicated failure but didn't raise a "
                 "StreamError!\n",
                 operation);
    std::fflush(stderr);
}

/// Reports a warning from `site`, unless an error is pending.
inline void warnUnlessRaised(const errorcore::Site& site, const char* text)
{
    if (hasRaised()) return;
    std::GlobalErrorHandler::doWarning(site.file, site.line, site.function, "%s", text);
}

} // namespace streamcore

#endif // ZELCOMMON_SRC_COMMON_STREAMREPORT_H
