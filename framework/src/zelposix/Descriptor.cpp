// SPDX-License-Identifier: Apache-2.0

#include "Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <ctime>

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace posixcore {

namespace {

/// Bytes of a transfer beyond which its count might not fit the result of the call.
constexpr std::size_t MOST = SSIZE_MAX;

constexpr int FOR_EVER = -1;

bool isUnready(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

/// Waits until a call on `fd` makes sense: that call tells what came of it. Returns 0 or a value of
/// `errno`.
int await(int fd, short events)
{
    pollfd waited{fd, events, 0};
    return poll(&waited, 1, FOR_EVER) == -1 && errno != EINTR ? errno : 0;
}

/// Holds SIGPIPE back from the calling thread, which alone is sent it by its own write.
class PipeSignalGuard
{
public:
    PipeSignalGuard()
    {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
        m_wasPending = isPending();
    }
    ~PipeSignalGuard() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    PipeSignalGuard(const PipeSignalGuard&) = delete;
    PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;

    /// Takes the signal of a write that did not go through, if there is one; one that was there
    /// before stays.
    void takeSignal()
    {
        if (m_wasPending) return;
        const timespec atOnce{0, 0};
        while (sigtimedwait(&m_pipe, nullptr, &atOnce) == -1 && errno == EINTR) {}
    }

private:
    /// Returns whether the signal waits, which it can only if the caller holds it back already.
    bool isPending() const
    {
        if (sigismember(&m_before, SIGPIPE) == 0) return false;
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        return sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t m_pipe;
    sigset_t m_before;
    bool m_wasPending;
};

ssize_t writeToPipe(int fd, const void* data, std::size_t size)
{
    PipeSignalGuard guard;
    const ssize_t count = write(fd, data, size);
    const int error = errno;
    // A reader that goes while bytes are on their way gives both a count and the signal.
    const bool isShort = count >= 0 && count < static_cast<ssize_t>(size);
    if (isShort || (count == -1 && error == EPIPE)) guard.takeSignal();
    errno = error;
    return count;
}

ssize_t writeOnce(DescriptorKind kind, int fd, const void* data, std::size_t size)
{
    size = std::min(size, MOST);
    if (kind == PIPE) return writeToPipe(fd, data, size);
    if (kind == SOCKET) return send(fd, data, size, MSG_NOSIGNAL);
    return write(fd, data, size);
}

} // namespace

DescriptorKind kindOf(int fd)
{
    struct stat status;
    // One that cannot be asked may be a pipe or a socket: a write as to a pipe suits all.
    if (fstat(fd, &status) != 0) return errno == EBADF ? OTHER : PIPE;
    if (S_ISSOCK(status.st_mode)) return SOCKET;
    return S_ISFIFO(status.st_mode) ? PIPE : OTHER;
}

Transfer readSome(int fd, void* data, unsigned int size, bool waits)
{
    for (;;) {
        const ssize_t count = read(fd, data, std::min<std::size_t>(size, MOST));
        if (count >= 0) return {static_cast<unsigned int>(count), 0};
        if (errno == EINTR) continue;
        if (!waits || !isUnready(errno)) return {0, errno};
        const int error = await(fd, POLLIN);
        if (error != 0) return {0, error};
    }
}

Transfer writeSome(DescriptorKind kind, int fd, const void* data, unsigned int size, bool waits)
{
    const char* const bytes = static_cast<const char*>(data);
    unsigned int done = 0;
    while (done != size) {
        const ssize_t count = writeOnce(kind, fd, bytes + done, size - done);
        if (count > 0) {
            done += static_cast<unsigned int>(count);
            if (!waits) break;
            continue;
        }
        if (count == 0)
            return {done, EIO}; // or a device that takes nothing would be asked for ever
        if (errno == EINTR) continue;
        if (!waits || !isUnready(errno)) return {done, errno};
        const int error = await(fd, POLLOUT);
        if (error != 0) return {done, error};
    }
    return {done, 0};
}

int sync(int fd)
{
    while (fsync(fd) == -1) {
        if (errno == EINTR) continue;
        return errno == EINVAL || errno == EROFS ? 0 : errno;
    }
    return 0;
}

int closeOnce(int fd)
{
    // An interrupted one has closed, too: a second might hit a descriptor of somebody else.
    return close(fd) == -1 && errno != EINTR ? errno : 0;
}

} // namespace posixcore
