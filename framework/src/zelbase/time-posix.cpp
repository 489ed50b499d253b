// SPDX-License-Identifier: Apache-2.0

#include <zelbase/time.h>

#include <cerrno>

#include <zelbase/abort.h>

#include "constantInit.h"

namespace zelbase {

namespace {

// Parts of a text that users see, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/src/zelbase/time-posix";
constexpr int LINE_NOW = 31;

} // namespace

// Kept: writable objects, as they are part of the binary interface, though nothing writes them.
ZELCOMMON_CONSTANT_INIT Duration Duration::MAX(std::numeric_limits<std::int64_t>::max());
ZELCOMMON_CONSTANT_INIT TimePoint TimePoint::MAX(std::numeric_limits<std::uint64_t>::max());

TimePoint TimePoint::now()
{
    timespec reading{};
    if (clock_gettime(CLOCK_MONOTONIC, &reading) != 0)
        zelbase::abort(FILE_NAME, LINE_NOW, "now", "clock_gettime failed, errno=%d", errno);
    return fromTimespec(reading);
}

} // namespace zelbase
