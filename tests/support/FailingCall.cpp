// SPDX-License-Identifier: Apache-2.0

#include "support/FailingCall.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What one object has fail, while there is a name.
struct Rule
{
    std::atomic<const char*> name{nullptr};
    std::atomic<int> code{0};
    std::atomic<int> count{0};
    std::atomic<int> calls{0};
    std::atomic<bool> isElsewhere{false};
};
Rule s_rules[2];
thread_local int t_made = 0;

/// Counts a call. Returns whether it is to fail, with `errno` set then.
bool fails(const char* name)
{
    for (Rule& rule : s_rules) {
        const char* const failing = rule.name;
        if (failing == nullptr || (t_made != 0) == rule.isElsewhere) continue;
        if (std::strcmp(failing, name) != 0 || rule.calls++ >= rule.count) continue;
        errno = rule.code;
        return true;
    }
    return false;
}

/// Not const: g++ knows of `poll` only that it writes there.
bool isForRoom(pollfd* polled)
{
    return (polled->events & POLLOUT) != 0;
}

/// Makes the system's call `name`, whose type `model` has, unless it is to fail.
template <typename Result, typename... Arguments, typename... Values>
Result call(const char* name, const char* symbol, Result (*)(Arguments...), Values... values)
{
    if (fails(name)) return -1;
    using Function = Result (*)(Arguments...);
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol))(values...);
}

} // namespace

extern "C" {

int open64(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    if (fails("open")) return -1;
    using Function = int (*)(const char*, int, ...);
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "open64"))(path, flags, mode);
}

off64_t lseek64(int fd, off64_t offset, int whence) noexcept
{
    return call("lseek", "lseek64", +lseek64, fd, offset, whence);
}

ssize_t read(int fd, void* data, size_t size)
{
    return call("read", "read", read, fd, data, size);
}

ssize_t write(int fd, const void* data, size_t size)
{
    return call("write", "write", write, fd, data, size);
}

ssize_t send(int fd, const void* data, size_t size, int flags)
{
    return call("send", "send", send, fd, data, size, flags);
}

ssize_t recv(int fd, void* data, size_t size, int flags)
{
    return call("recv", "recv", recv, fd, data, size, flags);
}

int poll(pollfd* polled, nfds_t count, int milliseconds)
{
    if (isForRoom(polled) && fails("poll for room")) return -1;
    return call("poll", "poll", poll, polled, count, milliseconds);
}

int fsync(int fd)
{
    return call("fsync", "fsync", fsync, fd);
}

/// One that fails closes all the same, as the system's does.
int close(int fd)
{
    const bool isFailing = fails("close");
    const int code = errno;
    const auto system = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    const int result = system(fd);
    if (!isFailing) return result;
    errno = code;
    return -1;
}

int fstat64(int fd, struct stat64* status) noexcept
{
    return call("fstat", "fstat64", +fstat64, fd, status);
}

int lstat64(const char* path, struct stat64* status) noexcept
{
    return call("lstat", "lstat64", +lstat64, path, status);
}

int fchmod(int fd, mode_t mode) noexcept
{
    return call("fchmod", "fchmod", +fchmod, fd, mode);
}

int unlink(const char* path) noexcept
{
    return call("unlink", "unlink", +unlink, path);
}

int pipe2(int* ends, int flags) noexcept
{
    return call("pipe2", "pipe2", +pipe2, ends, flags);
}

int socket(int family, int type, int protocol) noexcept
{
    return call("socket", "socket", +socket, family, type, protocol);
}

int bind(int fd, const sockaddr* address, socklen_t size) noexcept
{
    return call("bind", "bind", +bind, fd, address, size);
}

int listen(int fd, int most) noexcept
{
    return call("listen", "listen", +listen, fd, most);
}

int connect(int fd, const sockaddr* address, socklen_t size)
{
    return call("connect", "connect", connect, fd, address, size);
}

int accept4(int fd, sockaddr* address, socklen_t* size, int flags)
{
    return call("accept4", "accept4", accept4, fd, address, size, flags);
}

/// That of the monotonic clock ends the process if it fails: only the time of day does.
int clock_gettime(clockid_t clock, timespec* reading) noexcept
{
    if (clock == CLOCK_REALTIME && fails("clock_gettime")) return -1;
    return call("", "clock_gettime", +clock_gettime, clock, reading);
}

int getsockopt(int fd, int level, int option, void* value, socklen_t* size) noexcept
{
    return call("getsockopt", "getsockopt", +getsockopt, fd, level, option, value, size);
}

} // extern "C"

namespace support {

FailingCall::FailingCall(const char* name, int code, int count)
    : FailingCall(name, code, count, false)
{}

FailingCall::FailingCall(const char* name, int code, int count, bool isElsewhere)
    : m_place(s_rules[0].name == nullptr ? 0 : 1)
{
    Rule& rule = s_rules[m_place];
    if (rule.name != nullptr) std::abort();
    ++t_made;
    rule.isElsewhere = isElsewhere;
    rule.code = code;
    rule.count = count;
    rule.calls = 0;
    rule.name = name;
}

FailingCall::~FailingCall()
{
    s_rules[m_place].name = nullptr;
    --t_made;
}

int FailingCall::calls() const
{
    return s_rules[m_place].calls;
}

} // namespace support
