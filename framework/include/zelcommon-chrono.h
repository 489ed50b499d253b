// SPDX-License-Identifier: Apache-2.0
//
// The monotonic clock of zelbase::TimePoint as a clock of the standard library, for what waits
// until a point of any clock. Conversions saturate; the arithmetic of std::chrono does not, so
// calculate before.
//
//     const auto deadline = zel::Clock::toChrono(zelbase::TimePoint::now() + patience);
//     filled.wait_until(lock, deadline);          // a std::condition_variable_any

#ifndef ZELCOMMON_ZELCOMMON_CHRONO_H
#define ZELCOMMON_ZELCOMMON_CHRONO_H

#include <chrono>
#include <cstdint>
#include <limits>
#include <ratio>

#include <zelbase/time.h>

namespace zel {

/// The same clock and origin as `zelbase::TimePoint`, in whole milliseconds. Any thread.
struct Clock
{
    /// Counts units.
    using rep = std::int64_t;
    /// The unit.
    using period = std::milli;
    /// A span of this clock; a `zelbase::Duration` converts with its own `toChrono`.
    using duration = std::chrono::duration<rep, period>;
    /// A point of this clock.
    using time_point = std::chrono::time_point<Clock>;

    /// The clock never goes back.
    static constexpr bool is_steady = true;

    /// Returns the present time, as `zelbase::TimePoint::now` rounds it.
    /// Ends the process if the clock cannot be read ("clock_gettime failed, errno=%d").
    static time_point now() { return toChrono(zelbase::TimePoint::now()); }

    /// Returns the point, or the last one of this clock, 9223372036854775807 ms, for a later one.
    static constexpr time_point toChrono(zelbase::TimePoint point)
    {
        constexpr auto last = static_cast<std::uint64_t>(std::numeric_limits<rep>::max());
        const std::uint64_t count = point.milliseconds();
        return time_point(duration(static_cast<rep>(count < last ? count : last)));
    }

    /// Returns the point, or 0 for one before the clock's origin.
    static constexpr zelbase::TimePoint fromChrono(time_point point)
    {
        const rep count = point.time_since_epoch().count();
        return zelbase::TimePoint(count > 0 ? static_cast<std::uint64_t>(count) : 0);
    }
};

} // namespace zel

#endif // ZELCOMMON_ZELCOMMON_CHRONO_H
