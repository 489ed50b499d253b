// SPDX-License-Identifier: Apache-2.0
//
// The connections that are shown messages as they come.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_WATCHERS_H
#define TRACINGIMPL_SRC_TRACINGIMPL_WATCHERS_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include <zel/Mutex.h>
#include <zel/attributes.h>

#include "Sink.h"
#include "TimeZones.h"

namespace tracing {
namespace impl {

/// Any thread. The sockets belong to whoever adds them.
class Watchers
{
public:
    /// Shows `greeting` on the socket `fd`, and messages from now on, until `remove`.
    void add(int fd, std::string_view greeting = {}) ZEL_EXCLUDES(m_mutex);
    void remove(int fd) ZEL_EXCLUDES(m_mutex);

    bool isEmpty() const { return m_count.load(std::memory_order_relaxed) == 0; }

    /// Sends `line` to all. Waits for nobody: who does not keep up misses lines, and is told how
    /// many.
    void show(std::string_view line) ZEL_EXCLUDES(m_mutex);

    /// Sends those who keep up again what they were not sent before.
    void catchUp() ZEL_EXCLUDES(m_mutex);

private:
    struct Watcher
    {
        int fd;
        /// Lines that did not go out since the last one that did.
        std::uint64_t missed;
        /// What of the last line did not go out yet.
        std::string rest;
    };

    static bool send(Watcher& watcher, std::string_view text);
    static void show(Watcher& watcher, std::string_view line);
    static bool catchUp(Watcher& watcher);

    zel::Mutex m_mutex;
    std::vector<Watcher> m_watchers ZEL_GUARDED_BY(m_mutex);
    std::atomic<std::size_t> m_count{0};
};

/// The sink of the watchers.
class WatchSink : public Sink
{
public:
    /// `zones` is not owned and must outlive the sink.
    WatchSink(std::shared_ptr<Watchers> watchers, const TimeZones& zones)
        : m_watchers(std::move(watchers)), m_zones(zones)
    {}

    void write(const Message& message) override;
    void flush() override { m_watchers->catchUp(); }

private:
    const std::shared_ptr<Watchers> m_watchers;
    const TimeZones& m_zones;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_WATCHERS_H
