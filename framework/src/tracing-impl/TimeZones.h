// SPDX-License-Identifier: Apache-2.0
//
// Clocks beside the local one, each a number of seconds ahead of it, as those of other computers of
// a device.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_TIMEZONES_H
#define TRACINGIMPL_SRC_TRACINGIMPL_TIMEZONES_H

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include <zel/Mutex.h>
#include <zel/attributes.h>

namespace tracing {
namespace impl {

/// The zones of the process. Any thread.
class TimeZones
{
public:
    /// Zones that there can be: each takes room in every line.
    static constexpr std::size_t MAX_ZONES = 8;

    /// Adds a zone, or gives the one of that name another offset. Returns its id, or -1 if there
    /// are too many, or no memory.
    int add(const std::string& name, long long seconds) ZEL_EXCLUDES(m_mutex);
    /// Changes the offset of a zone; nothing for an id that is none.
    void update(int id, long long seconds) ZEL_EXCLUDES(m_mutex);

    /// Appends the time of each zone, as " gps 12:00:18", at `seconds` of the local time.
    void append(std::string& out, long long seconds) const ZEL_EXCLUDES(m_mutex);

private:
    struct Zone
    {
        std::string name;
        long long seconds;
    };

    /// Read without the lock: who has no zones needs none, also where a fork has left it locked.
    std::atomic<bool> m_hasZones{false};
    mutable zel::Mutex m_mutex;
    std::vector<Zone> m_zones ZEL_GUARDED_BY(m_mutex);
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_TIMEZONES_H
