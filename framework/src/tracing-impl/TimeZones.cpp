// SPDX-License-Identifier: Apache-2.0

#include "TimeZones.h"

#include <algorithm>
#include <new>

#include "LocalTime.h"
#include "Printable.h"

namespace tracing {
namespace impl {

namespace {

/// Seconds. Only the time of the day is shown, so no sum leaves the clock's range.
constexpr long long DAY = 24LL * 60 * 60;

} // namespace

int TimeZones::add(const std::string& name, long long seconds)
{
    const zel::ScopedLock lock(m_mutex);
    const auto isNamed = [&name](const Zone& zone) { return zone.name == name; };
    const auto found = std::find_if(m_zones.begin(), m_zones.end(), isNamed);
    if (found == m_zones.end() && m_zones.size() == MAX_ZONES) return -1;
    const auto place = static_cast<std::size_t>(found - m_zones.begin());
    try {
        if (found == m_zones.end()) m_zones.push_back({name, 0});
    } catch (const std::bad_alloc&) {
        return -1;
    }
    m_zones[place].seconds = seconds % DAY;
    m_hasZones = true;
    return static_cast<int>(place);
}

void TimeZones::update(int id, long long seconds)
{
    const zel::ScopedLock lock(m_mutex);
    const auto place = static_cast<std::size_t>(id);
    if (id < 0 || place >= m_zones.size()) return;
    m_zones[place].seconds = seconds % DAY;
}

void TimeZones::append(std::string& out, long long seconds) const
{
    if (!m_hasZones) return;
    const zel::ScopedLock lock(m_mutex);
    for (const Zone& zone : m_zones) {
        out += ' ';
        appendPrintable(out, zone.name);
        out += ' ';
        appendClock(out, seconds + zone.seconds);
    }
}

} // namespace impl
} // namespace tracing
