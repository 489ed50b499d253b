// SPDX-License-Identifier: Apache-2.0
//
// The Unix socket through which a tool controls the process's tracing.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_CONTROLSOCKET_H
#define TRACINGIMPL_SRC_TRACINGIMPL_CONTROLSOCKET_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <poll.h>
#include <zelbase/time.h>

#include "Fork.h"
#include "RemoteTarget.h"
#include "Watchers.h"

namespace tracing {
namespace impl {

/// Serves one tool after another, and some at the same time, in a thread of its own. Only tools of
/// the process's own user, and of the system's administrator, are served.
class ControlSocket
{
public:
    /// Tools that are connected at the same time.
    static constexpr std::size_t MAX_CONNECTIONS = 8;

    /// `target` is not owned and must outlive this object.
    ControlSocket(RemoteTarget& target, std::shared_ptr<Watchers> watchers);
    /// Hangs up and removes the socket.
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    /// Makes the socket, with access for the owner alone, and begins to serve. One that nobody
    /// serves any more is replaced. Call once.
    /// Returns false if that fails; `reason` tells why.
    bool open(const std::string& path, std::string& reason);

private:
    /// A tool, and the beginning of its next request.
    struct Connection
    {
        int fd;
        std::string request;
        bool isWatching;
    };

    bool bindTo(const std::string& path);
    bool start();
    bool makeWakeUp();
    /// The end, new tools, then the connections.
    using Events = std::array<pollfd, 2 + MAX_CONNECTIONS>;

    void serve();
    bool serveOnce();
    bool waitForWork(Events& events);
    int pause() const;
    void accept();
    bool sendAll(int fd, std::string_view text) const;
    bool waitForRoom(int fd, const zelbase::TimePoint& deadline) const;
    bool receive(Connection& connection);
    bool endOf(const Connection& connection) const;
    bool answer(Connection& connection, const std::string& request);
    void hangUp(std::size_t place);
    void hangUpAll();
    void wakeUp();

    RemoteTarget& m_target;
    const std::shared_ptr<Watchers> m_watchers;
    std::string m_path;
    /// The socket's file, so that nobody else's is removed.
    std::uint64_t m_device = 0;
    std::uint64_t m_inode = 0;
    int m_listening = -1;
    /// Written to when the thread is to end.
    int m_wakeUp[2] = {-1, -1};
    std::vector<Connection> m_connections;
    /// Whether the system could not give the last tool a descriptor.
    bool m_isCrowded = false;
    std::unique_ptr<std::thread> m_thread;
    const OwnProcess m_process;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_CONTROLSOCKET_H
