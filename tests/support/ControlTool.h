// SPDX-License-Identifier: Apache-2.0
//
// What is at both ends of a control socket: a tool, and what it controls.

#ifndef ZELCOMMON_TESTS_SUPPORT_CONTROLTOOL_H
#define ZELCOMMON_TESTS_SUPPORT_CONTROLTOOL_H

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <tracing-impl/RemoteTarget.h>

#include "support/Descriptors.h"

namespace support {

/// Leaves a socket behind that nobody serves.
inline void abandonSocket(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const Descriptor fd(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) std::abort();
}

/// Has the channels "net" and "net_tcp" and the callback "restart"; writes down what it is asked.
class RecordingTarget : public tracing::impl::RemoteTarget
{
public:
    std::vector<tracing::impl::ChannelState> channels() override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_channels;
    }
    bool setLevel(const std::string& path, short level) override
    {
        add("set " + path + ' ' + std::to_string(level));
        return path == "net_tcp" || path == "my net";
    }
    bool call(const std::string& name, std::string bytes) override
    {
        add("call " + name + ' ' + bytes);
        return name == "restart" || name == "re start";
    }

    void setChannels(std::vector<tracing::impl::ChannelState> channels)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_channels = std::move(channels);
    }
    /// Returns the calls since the last time, a line each.
    std::string take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_text, std::string());
    }

private:
    void add(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_text += line + "\n";
    }

    std::mutex m_mutex;
    std::vector<tracing::impl::ChannelState> m_channels{{"net", 1, 2, 2}, {"net_tcp", 2, 7, 2}};
    std::string m_text;
};

/// A connection to a control socket.
class ControlTool
{
public:
    explicit ControlTool(const std::string& path)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        m_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
        m_isConnected = connect(m_fd, generic, sizeof address) == 0;
    }
    ~ControlTool() { hangUp(); }
    ControlTool(const ControlTool&) = delete;
    ControlTool& operator=(const ControlTool&) = delete;

    bool isConnected() const { return m_isConnected; }
    /// Returns whether all of `bytes` was sent.
    bool send(const std::string& bytes) const
    {
        return ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    /// Returns whether there is something to read, or the end, now.
    bool hasAnswer() const
    {
        pollfd waited = {m_fd, POLLIN, 0};
        return poll(&waited, 1, 0) == 1;
    }
    /// Returns the next `count` lines, or what comes before the end, or nothing for a minute.
    std::string lines(int count)
    {
        std::string text;
        while (count > 0 && wait()) {
            char c = 0;
            if (recv(m_fd, &c, 1, 0) != 1) return text + "(end)";
            text += c;
            if (c == '\n') --count;
        }
        return text;
    }
    /// Returns all up to the end.
    std::string rest()
    {
        std::string text;
        while (wait()) {
            char bytes[4096];
            const ssize_t count = recv(m_fd, bytes, sizeof bytes, 0);
            if (count <= 0) return text;
            text.append(bytes, static_cast<std::size_t>(count));
        }
        return text + "(no end)";
    }
    /// Returns the answer, of `count` lines, to `bytes`.
    std::string ask(const std::string& bytes, int count = 1)
    {
        return send(bytes) ? lines(count) : "(not sent)";
    }
    /// Returns whether the process has taken all that was sent, or has hung up.
    bool isTaken() const
    {
        int left = 0;
        return ioctl(m_fd, TIOCOUTQ, &left) != 0 || left == 0;
    }
    /// Returns what there is to read now.
    std::string take() const
    {
        char bytes[4096];
        const ssize_t count = recv(m_fd, bytes, sizeof bytes, MSG_DONTWAIT);
        return std::string(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    /// Tells that there are no more requests; answers still come.
    void endRequests() const { shutdown(m_fd, SHUT_WR); }
    void hangUp()
    {
        if (m_fd != -1) close(m_fd);
        m_fd = -1;
    }

private:
    bool wait() const
    {
        constexpr int PATIENCE = 60000;
        pollfd waited = {m_fd, POLLIN, 0};
        return poll(&waited, 1, PATIENCE) == 1;
    }

    int m_fd;
    bool m_isConnected;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_CONTROLTOOL_H
