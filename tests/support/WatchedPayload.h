// SPDX-License-Identifier: Apache-2.0
//
// `WatchedText` for programs that also ask for arrays that may fail: those must come from where
// array delete brings them back to. For one source of a test.

#ifndef ZELCOMMON_TESTS_SUPPORT_WATCHEDPAYLOAD_H
#define ZELCOMMON_TESTS_SUPPORT_WATCHEDPAYLOAD_H

#include "support/WatchedText.h"

#ifndef SUPPORT_FIXED_OPERATORS

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size);
}

#endif

#endif // ZELCOMMON_TESTS_SUPPORT_WATCHEDPAYLOAD_H
