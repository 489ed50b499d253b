// SPDX-License-Identifier: Apache-2.0
//
// zelbase::TimePoint and zelbase::Duration count whole milliseconds on the system's monotonic
// clock, which does not jump when the wall clock is set. Arithmetic saturates instead of wrapping.
//
//     const zelbase::TimePoint deadline = zelbase::TimePoint::now() + zelbase::Duration(250);
//     while (!ready() && zelbase::TimePoint::now() < deadline) poll();

#ifndef ZELCOMMON_ZELBASE_TIME_H
#define ZELCOMMON_ZELBASE_TIME_H

#include <chrono>
#include <cstdint>
#include <ctime>
#include <limits>
#include <ratio>
#include <type_traits>

#include <zel/attributes.h>

namespace zelbase {

/// A signed span of time in milliseconds. Results that leave the range end at the least value or at
/// `MAX`.
class Duration
{
public:
    /// A span of that length; a negative one leads back.
    explicit constexpr Duration(std::int64_t milliseconds = 0) : m_milliseconds(milliseconds) {}

    /// From any `std::chrono` span of whole units that converts to milliseconds without loss, hours
    /// for example.
    template <typename Rep, typename Period,
              typename = std::enable_if_t<
                  std::is_integral_v<Rep> &&
                  std::is_convertible_v<std::chrono::duration<Rep, Period>,
                                        std::chrono::duration<std::int64_t, std::milli>>>>
    explicit constexpr Duration(std::chrono::duration<Rep, Period> span) : m_milliseconds(0)
    {
        constexpr std::int64_t factor = std::ratio_divide<Period, std::milli>::num;
        if (__builtin_mul_overflow(span.count(), factor, &m_milliseconds))
            *this = limit(span.count() > 0);
    }

    /// Returns the length, negative for a span that leads back.
    constexpr std::int64_t milliseconds() const { return m_milliseconds; }

    /// Returns the same span for the standard's clocks and timed waits.
    constexpr std::chrono::duration<std::int64_t, std::milli> toChrono() const
    {
        return std::chrono::duration<std::int64_t, std::milli>(m_milliseconds);
    }

    /// Sums and differences end at the limits of the range; the negative of the least span is
    /// `MAX`.
    /// @{
    constexpr Duration operator+(const Duration& other) const
    {
        std::int64_t sum = 0;
        if (!__builtin_add_overflow(m_milliseconds, other.m_milliseconds, &sum))
            return Duration(sum);
        return limit(m_milliseconds > 0);
    }

    constexpr Duration operator-(const Duration& other) const
    {
        std::int64_t difference = 0;
        if (!__builtin_sub_overflow(m_milliseconds, other.m_milliseconds, &difference))
            return Duration(difference);
        return limit(other.m_milliseconds < 0);
    }

    constexpr Duration operator-() const { return Duration() - *this; }
    constexpr Duration& operator+=(const Duration& other) { return *this = *this + other; }
    constexpr Duration& operator-=(const Duration& other) { return *this = *this - other; }
    /// @}

    /// Compare the lengths with their signs.
    /// @{
    constexpr bool operator==(const Duration& other) const
    {
        return m_milliseconds == other.m_milliseconds;
    }
    constexpr bool operator<(const Duration& other) const
    {
        return m_milliseconds < other.m_milliseconds;
    }
    constexpr bool operator!=(const Duration& other) const { return !(*this == other); }
    constexpr bool operator>(const Duration& other) const { return other < *this; }
    constexpr bool operator<=(const Duration& other) const { return !(other < *this); }
    constexpr bool operator>=(const Duration& other) const { return !(*this < other); }
    /// @}

    /// The span that never ends: 9223372036854775807 ms. An ordinary object, for reading only.
    static ZEL_EXPORT Duration MAX;

private:
    static constexpr Duration limit(bool upper)
    {
        return Duration(upper ? std::numeric_limits<std::int64_t>::max()
                              : std::numeric_limits<std::int64_t>::min());
    }

    std::int64_t m_milliseconds;
};

/// A point on the monotonic clock, in milliseconds since that clock's own, unspecified origin.
/// Results that leave the range end at 0 or at `MAX`.
class TimePoint
{
public:
    /// The point that long after the clock's origin.
    explicit constexpr TimePoint(std::uint64_t milliseconds = 0) : m_milliseconds(milliseconds) {}

    /// Returns the present time, rounded to the nearest millisecond.
    /// Ends the process if the clock cannot be read ("clock_gettime failed, errno=%d").
    static ZEL_EXPORT TimePoint now();

    /// Returns a reading of the monotonic clock rounded to the nearest millisecond, halves upwards.
    /// Requires 0 <= `reading.tv_nsec` < 1000000000.
    static ZEL_ALWAYS_INLINE constexpr TimePoint fromTimespec(const timespec& reading)
    {
        const auto seconds = static_cast<std::int64_t>(reading.tv_sec);
        const auto nanoseconds = static_cast<std::uint64_t>(reading.tv_nsec);
        return TimePoint(static_cast<std::uint64_t>(seconds) * 1000 +
                         (nanoseconds + 500000) / 1000000);
    }

    /// Returns the point as seconds and the remaining nanoseconds. Seconds that the platform's
    /// `time_t` cannot hold are cut to its width.
    ZEL_ALWAYS_INLINE constexpr timespec toTimespec() const
    {
        timespec point{};
        point.tv_sec = static_cast<time_t>(m_milliseconds / 1000);
        point.tv_nsec = static_cast<long>(m_milliseconds % 1000 * 1000000);
        return point;
    }

    /// Returns the distance from the clock's origin.
    constexpr std::uint64_t milliseconds() const { return m_milliseconds; }

    /// Moved by the span, which may be negative; ends at 0 and at `MAX`.
    /// @{
    constexpr TimePoint operator+(const Duration& span) const
    {
        return moved(span.milliseconds() >= 0, magnitude(span));
    }
    constexpr TimePoint operator-(const Duration& span) const
    {
        return moved(span.milliseconds() < 0, magnitude(span));
    }
    constexpr TimePoint& operator+=(const Duration& span) { return *this = *this + span; }
    constexpr TimePoint& operator-=(const Duration& span) { return *this = *this - span; }
    /// @}

    /// Returns the span from `earlier` to this point, negative if this point is the earlier one.
    constexpr Duration operator-(const TimePoint& earlier) const
    {
        std::int64_t difference = 0;
        if (!__builtin_sub_overflow(m_milliseconds, earlier.m_milliseconds, &difference))
            return Duration(difference);
        return Duration(m_milliseconds > earlier.m_milliseconds
                            ? std::numeric_limits<std::int64_t>::max()
                            : std::numeric_limits<std::int64_t>::min());
    }

    /// Compare the points: an earlier one is less.
    /// @{
    constexpr bool operator==(const TimePoint& other) const
    {
        return m_milliseconds == other.m_milliseconds;
    }
    constexpr bool operator<(const TimePoint& other) const
    {
        return m_milliseconds < other.m_milliseconds;
    }
    constexpr bool operator!=(const TimePoint& other) const { return !(*this == other); }
    constexpr bool operator>(const TimePoint& other) const { return other < *this; }
    constexpr bool operator<=(const TimePoint& other) const { return !(other < *this); }
    constexpr bool operator>=(const TimePoint& other) const { return !(*this < other); }
    /// @}

    /// The deadline that never passes: 18446744073709551615 ms. Not a deadline for
    /// `wait_timeout`, see there. An ordinary object, for reading only.
    static ZEL_EXPORT TimePoint MAX;

private:
    /// The size of a span, which for the least one does not fit its own type.
    static constexpr std::uint64_t magnitude(const Duration& span)
    {
        const auto value = static_cast<std::uint64_t>(span.milliseconds());
        return span.milliseconds() < 0 ? 0 - value : value;
    }

    constexpr TimePoint moved(bool later, std::uint64_t distance) const
    {
        std::uint64_t result = 0;
        if (later) {
            if (!__builtin_add_overflow(m_milliseconds, distance, &result))
                return TimePoint(result);
            return TimePoint(std::numeric_limits<std::uint64_t>::max());
        }
        return TimePoint(m_milliseconds > distance ? m_milliseconds - distance : 0);
    }

    std::uint64_t m_milliseconds;
};

static_assert(sizeof(Duration) == 8 && sizeof(TimePoint) == 8, "64-bit counts, nothing beside");

} // namespace zelbase

#endif // ZELCOMMON_ZELBASE_TIME_H
