// SPDX-License-Identifier: Apache-2.0

#include "Watchers.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include <sys/socket.h>

#include "LineFormat.h"

namespace tracing {
namespace impl {

void Watchers::add(int fd, std::string_view greeting)
{
    const zel::ScopedLock lock(m_mutex);
    m_watchers.push_back({fd, 0, {}});
    m_count.store(m_watchers.size(), std::memory_order_relaxed);
    send(m_watchers.back(), greeting);
}

void Watchers::remove(int fd)
{
    const zel::ScopedLock lock(m_mutex);
    const auto isMeant = [fd](const Watcher& watcher) { return watcher.fd == fd; };
    m_watchers.erase(std::remove_if(m_watchers.begin(), m_watchers.end(), isMeant),
                     m_watchers.end());
    m_count.store(m_watchers.size(), std::memory_order_relaxed);
}

void Watchers::show(std::string_view line)
{
    const zel::ScopedLock lock(m_mutex);
    for (Watcher& watcher : m_watchers)
        show(watcher, line);
}

void Watchers::catchUp()
{
    const zel::ScopedLock lock(m_mutex);
    for (Watcher& watcher : m_watchers)
        catchUp(watcher);
}

void Watchers::show(Watcher& watcher, std::string_view line)
{
    if (catchUp(watcher))
        send(watcher, line);
    else
        ++watcher.missed;
}

/// Sends the rest of the last line, and how many were missed since. Returns whether the watcher has
/// taken it all.
bool Watchers::catchUp(Watcher& watcher)
{
    const std::string rest = std::exchange(watcher.rest, {});
    if (!send(watcher, rest)) return false;
    const std::uint64_t missed = std::exchange(watcher.missed, 0);
    return missed == 0 || send(watcher, "(" + std::to_string(missed) + " messages missed)\n");
}

/// Sends `text`, of which a part that the socket does not take is kept for later. Returns whether
/// it took all. Who has hung up takes all: the connection's owner notices.
bool Watchers::send(Watcher& watcher, std::string_view text)
{
    if (text.empty()) return true;
    const ssize_t count = ::send(watcher.fd, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count == -1 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) return true;
    watcher.rest = text.substr(count == -1 ? 0 : static_cast<std::size_t>(count));
    return watcher.rest.empty();
}

void WatchSink::write(const Message& message)
{
    if (!m_watchers->isEmpty()) m_watchers->show(lineOf(message, m_zones));
}

} // namespace impl
} // namespace tracing
