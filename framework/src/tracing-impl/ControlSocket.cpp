// SPDX-License-Identifier: Apache-2.0

#include "ControlSocket.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "ControlProtocol.h"
#include "CurrentThread.h"
#include "SignalGuard.h"
#include "StandardDescriptors.h"

namespace tracing {
namespace impl {

namespace {

constexpr mode_t OWNER_ALONE = S_IRUSR | S_IWUSR;
constexpr int NOBODY = -1;
/// A tool that has not taken its answer after so long is hung up on.
constexpr zelbase::Duration PATIENCE{1000};
constexpr int FOR_EVER = -1;
/// Milliseconds until the system is asked again for a descriptor that it did not have.
constexpr int CROWDED_PAUSE = 100;
/// Milliseconds until tools that watch are looked after again, which may have missed messages.
constexpr int WATCH_PAUSE = 1000;

/// Fills the address of a socket's path. Returns false if the path is too long.
bool addressOf(const std::string& path, sockaddr_un& address)
{
    address = {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

int makeSocket()
{
    return awayFromStandard(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/// Returns whether there is a socket of the process's user that nobody serves.
bool isAbandoned(const sockaddr_un& address)
{
    struct stat status;
    if (lstat(address.sun_path, &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
    if (status.st_uid != geteuid()) return false;
    const int fd = makeSocket();
    const bool isRefused =
        connect(fd, generic(address), sizeof address) != 0 && errno == ECONNREFUSED;
    close(fd);
    return isRefused;
}

/// Closes a descriptor of this library, if it is one.
void closeOwn(int fd)
{
    if (fd == NOBODY) return;
    forgetInChildren(fd);
    close(fd);
}

/// Returns whether the tool at the other end may control the process.
bool isAllowed(int fd)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
    return peer.uid == geteuid() || peer.uid == 0;
}

} // namespace

ControlSocket::ControlSocket(RemoteTarget& target, std::shared_ptr<Watchers> watchers)
    : m_target(target), m_watchers(std::move(watchers))
{
    m_connections.reserve(MAX_CONNECTIONS);
}

ControlSocket::~ControlSocket()
{
    if (m_process.isForked()) {
        static_cast<void>(m_thread.release()); // it is not in this process, which has closed all
        return;
    }
    if (m_thread != nullptr) {
        wakeUp();
        m_thread->join();
    }
    struct stat status;
    const bool isThere = m_inode != 0 && lstat(m_path.c_str(), &status) == 0;
    if (isThere && status.st_dev == m_device && status.st_ino == m_inode) unlink(m_path.c_str());
    for (const int fd : {m_listening, m_wakeUp[0], m_wakeUp[1]})
        closeOwn(fd);
}

/// Ends the thread's wait. Where no byte can be sent, the end of the pipe does that.
void ControlSocket::wakeUp()
{
    const char byte = 0;
    ssize_t count = -1;
    do
        count = write(m_wakeUp[1], &byte, 1);
    while (count == -1 && errno == EINTR);
    if (count != 1) closeOwn(std::exchange(m_wakeUp[1], NOBODY));
}

bool ControlSocket::open(const std::string& path, std::string& reason)
{
    if (bindTo(path) && start()) return true;
    const int error = errno;
    closeOwn(m_listening);
    m_listening = NOBODY;
    reason = std::generic_category().message(error);
    return false;
}

bool ControlSocket::bindTo(const std::string& path)
{
    sockaddr_un address;
    if (!addressOf(path, address)) {
        errno = ENAMETOOLONG;
        return false;
    }
    m_listening = makeSocket();
    if (m_listening == NOBODY) return false;
    closeInChildren(m_listening); // so that tools notice when this process has gone
    if (fchmod(m_listening, OWNER_ALONE) != 0) return false; // before anybody can connect
    if (isAbandoned(address)) unlink(address.sun_path);
    m_path = path; // may throw, so before there is a file
    if (bind(m_listening, generic(address), sizeof address) != 0) return false;
    struct stat status;
    if (lstat(address.sun_path, &status) != 0) {
        const int error = errno;
        unlink(address.sun_path); // nobody could tell later whose it is
        errno = error;
        return false;
    }
    m_device = status.st_dev;
    m_inode = status.st_ino;
    return listen(m_listening, MAX_CONNECTIONS) == 0;
}

bool ControlSocket::start()
{
    if (!makeWakeUp()) return false;
    const SignalGuard guard;
    try {
        m_thread = std::make_unique<std::thread>([this] { serve(); });
    } catch (const std::system_error& error) {
        errno = error.code().value();
        return false;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
    return true;
}

bool ControlSocket::makeWakeUp()
{
    if (pipe2(m_wakeUp, O_CLOEXEC) != 0) return false;
    for (int& fd : m_wakeUp) {
        fd = awayFromStandard(fd);
        closeInChildren(fd);
    }
    return m_wakeUp[0] != NOBODY && m_wakeUp[1] != NOBODY;
}

void ControlSocket::serve()
{
    const OwnThread mark;
    for (;;) {
        try {
            if (!serveOnce()) break;
        } catch (const std::exception&) { // no memory, or a callback's
            hangUpAll();
        }
    }
    // Here, or tools would wait for a thread that cannot wait for them.
    closeOwn(std::exchange(m_listening, NOBODY));
    hangUpAll();
}

/// Waits for work and does it. Returns false for the end.
bool ControlSocket::serveOnce()
{
    Events events;
    if (!waitForWork(events)) return false;
    for (std::size_t place = m_connections.size(); place-- > 0;)
        if (events[place + 2].revents != 0 && !receive(m_connections[place])) hangUp(place);
    if (events[1].revents != 0) accept();
    return true;
}

/// Waits for the end, a new tool, or one that sends. Returns false for the end.
bool ControlSocket::waitForWork(Events& events)
{
    const bool isFull = m_connections.size() == MAX_CONNECTIONS;
    events.fill({NOBODY, 0, 0});
    events[0] = {m_wakeUp[0], POLLIN, 0};
    events[1] = {isFull || m_isCrowded ? NOBODY : m_listening, POLLIN, 0};
    for (std::size_t place = 0; place < m_connections.size(); ++place)
        events[place + 2] = {m_connections[place].fd, POLLIN, 0};
    const nfds_t used = 2 + m_connections.size(); // a process may not ask for more than it may open
    while (poll(events.data(), used, pause()) == -1)
        if (errno != EINTR) return false;
    m_isCrowded = false;
    m_watchers->catchUp();
    return events[0].revents == 0;
}

/// Returns for how many milliseconds to wait for work at most.
int ControlSocket::pause() const
{
    if (m_isCrowded) return CROWDED_PAUSE;
    return m_watchers->isEmpty() ? FOR_EVER : WATCH_PAUSE;
}

void ControlSocket::accept()
{
    const int fd =
        awayFromStandard(accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (fd == NOBODY) {
        m_isCrowded = errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS;
        return;
    }
    closeInChildren(fd);
    if (isAllowed(fd))
        m_connections.push_back({fd, {}, false});
    else
        closeOwn(fd);
}

/// Sends all of `text`. Returns whether the tool has taken it in time, and nobody ends the thread.
bool ControlSocket::sendAll(int fd, std::string_view text) const
{
    const zelbase::TimePoint deadline = zelbase::TimePoint::now() + PATIENCE;
    while (!text.empty()) {
        const ssize_t count = send(fd, text.data(), text.size(), MSG_NOSIGNAL);
        if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
        if (count > 0 || (count == -1 && errno == EINTR)) continue;
        if (count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) return false;
        if (!waitForRoom(fd, deadline)) return false;
    }
    return true;
}

/// Returns whether the tool takes something before the deadline, and nobody ends the thread.
bool ControlSocket::waitForRoom(int fd, const zelbase::TimePoint& deadline) const
{
    pollfd waited[] = {{fd, POLLOUT, 0}, {m_wakeUp[0], POLLIN, 0}};
    for (;;) {
        const zelbase::Duration rest = deadline - zelbase::TimePoint::now();
        if (rest <= zelbase::Duration()) return false;
        const int count = poll(waited, 2, static_cast<int>(rest.milliseconds()));
        if (count == -1 && errno == EINTR) continue;
        return count > 0 && waited[1].revents == 0;
    }
}

/// Takes what the tool has sent, and answers the requests in it. Returns whether to go on.
bool ControlSocket::receive(Connection& connection)
{
    char bytes[MAX_REQUEST];
    const ssize_t count = recv(connection.fd, bytes, sizeof bytes, MSG_DONTWAIT);
    if (count == -1) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    if (count == 0) return endOf(connection);
    connection.request.append(bytes, static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = connection.request.find('\n')) != std::string::npos;) {
        const std::string request = connection.request.substr(0, end);
        connection.request.erase(0, end + 1);
        if (!answer(connection, request)) return false;
    }
    if (connection.request.size() <= MAX_REQUEST) return true;
    sendAll(connection.fd, ANSWER_TOO_LONG);
    return false;
}

/// Answers a request that was cut off, if there is one. Returns whether to go on: no.
bool ControlSocket::endOf(const Connection& connection) const
{
    if (!connection.request.empty()) sendAll(connection.fd, ANSWER_CUT_OFF);
    return false;
}

bool ControlSocket::answer(Connection& connection, const std::string& request)
{
    if (connection.isWatching) { // whoever watches has no more to ask
        m_watchers->remove(connection.fd);
        sendAll(connection.fd, ANSWER_BEHIND_WATCH);
        return false;
    }
    if (request != WATCH_REQUEST) return sendAll(connection.fd, answerTo(request, m_target));
    if (!waitForRoom(connection.fd, zelbase::TimePoint::now() + PATIENCE)) return false;
    connection.isWatching = true;
    m_watchers->add(connection.fd, ANSWER_OK); // nothing comes in between
    return true;
}

void ControlSocket::hangUpAll()
{
    while (!m_connections.empty())
        hangUp(m_connections.size() - 1);
}

void ControlSocket::hangUp(std::size_t place)
{
    const int fd = m_connections[place].fd;
    m_watchers->remove(fd);
    closeOwn(fd);
    m_connections.erase(m_connections.begin() + static_cast<std::ptrdiff_t>(place));
}

} // namespace impl
} // namespace tracing
