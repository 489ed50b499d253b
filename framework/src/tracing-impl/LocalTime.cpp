// SPDX-License-Identifier: Apache-2.0

#include "LocalTime.h"

#include <atomic>
#include <cstdio>
#include <limits>

#include "Fork.h"

namespace tracing {
namespace impl {

namespace {

constexpr long long MINUTE = 60;
constexpr long long HOUR = 60 * MINUTE;
constexpr long long DAY = 24 * HOUR;
/// Offsets change at such times alone.
constexpr long long STEP = 15 * MINUTE;

constexpr long UNKNOWN = std::numeric_limits<long>::min();
/// The step of which the offset is known, counted from 1970, and the offset in seconds. They may
/// belong to different steps for a moment: then an hour is wrong for one line, once in half a year.
std::atomic<long> s_step{UNKNOWN};
std::atomic<long> s_offset{0};

/// Rounds down, also below 0.
long long dividedBy(long long seconds, long long unit)
{
    return seconds / unit - (seconds % unit < 0 ? 1 : 0);
}

long offsetAt(std::time_t now)
{
    static const OwnProcess s_process;
    const auto step = static_cast<long>(dividedBy(now, STEP));
    if (s_process.isForked() || s_step.load(std::memory_order_relaxed) == step) return s_offset;
    std::tm fields = {};
    if (localtime_r(&now, &fields) == nullptr) return s_offset;
    s_offset = fields.tm_gmtoff;
    s_step = step;
    return fields.tm_gmtoff;
}

} // namespace

long long localSeconds(std::time_t now)
{
    return static_cast<long long>(now) + offsetAt(now);
}

void forgetLocalOffset()
{
    tzset();
    s_step = UNKNOWN;
    offsetAt(std::time(nullptr)); // or a child would be the first to ask
}

/// The proleptic Gregorian calendar in eras of 400 years that begin on the first of March.
void appendDate(std::string& out, long long seconds)
{
    constexpr long long DAYS_OF_ERA = 146097;
    constexpr long long FIRST_ERA = 719468; // days from March of the year 0 to 1970
    const long long day = dividedBy(seconds, DAY) + FIRST_ERA;
    const long long era = dividedBy(day, DAYS_OF_ERA);
    const long long dayOfEra = day - era * DAYS_OF_ERA;
    const long long yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (DAYS_OF_ERA - 1)) / 365;
    const long long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long long monthFromMarch = (5 * dayOfYear + 2) / 153;
    const long long month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const long long year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    char text[64];
    std::snprintf(text, sizeof text, "%04lld-%02lld-%02lld", year, month,
                  dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    out += text;
}

void appendClock(std::string& out, long long seconds)
{
    const long long ofDay = seconds - dividedBy(seconds, DAY) * DAY;
    char text[32];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", ofDay / HOUR, ofDay / MINUTE % 60,
                  ofDay % 60);
    out += text;
}

} // namespace impl
} // namespace tracing
