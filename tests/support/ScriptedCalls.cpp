// SPDX-License-Identifier: Apache-2.0

#include "support/ScriptedCalls.h"

#include <cerrno>
#include <csignal>
#include <cstddef>

#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace support {

namespace {

ScriptedCalls* s_current = nullptr;

/// Without a script, which no test does on purpose, the calls fail as behind its end.
ssize_t answer(int fd, const std::string& call)
{
    if (s_current != nullptr) return s_current->answer(fd, call);
    errno = ENOTRECOVERABLE;
    return -1;
}

void note(const std::string& call)
{
    if (s_current != nullptr) s_current->note(call);
}

/// Short data as they are, others as their number.
std::string dataText(const void* data, std::size_t size)
{
    return size <= 16 ? std::string(static_cast<const char*>(data), size) : std::to_string(size);
}

std::string pollText(const pollfd* polled, nfds_t count, int milliseconds)
{
    if (count != 1 || milliseconds != -1) return "strange";
    if (polled->events == POLLIN) return "in";
    return polled->events == POLLOUT ? "out" : std::to_string(polled->events);
}

} // namespace

ScriptedCalls::ScriptedCalls(std::initializer_list<Answer> script) : m_answers(script)
{
    s_current = this;
}

ScriptedCalls::~ScriptedCalls()
{
    s_current = nullptr;
    EXPECT_EQ(0U, m_answers.size()) << "answers that nobody asked for";
}

void ScriptedCalls::note(const std::string& call)
{
    calls += (calls.empty() ? "" : " ") + call;
}

ssize_t ScriptedCalls::answer(int fd, const std::string& call)
{
    note(fd == SCRIPTED_FD ? call : call + "elsewhere");
    Answer next = fails(ENOTRECOVERABLE);
    if (!m_answers.empty()) {
        next = m_answers.front();
        m_answers.pop_front();
    }
    if (next.result == -1) errno = next.error;
    return next.result;
}

bool isHeld(int signal)
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

} // namespace support

extern "C" {

ssize_t interposed_read(int fd, void*, size_t size)
{
    return support::answer(fd, "read(" + std::to_string(size) + ")");
}

ssize_t interposed_write(int fd, const void* data, size_t size)
{
    const std::string held = support::isHeld(SIGPIPE) ? ",held" : "";
    return support::answer(fd, "write(" + support::dataText(data, size) + held + ")");
}

ssize_t interposed_send(int fd, const void* data, size_t size, int flags)
{
    const std::string flag = flags == MSG_NOSIGNAL ? "nosignal" : std::to_string(flags);
    return support::answer(fd, "send(" + support::dataText(data, size) + "," + flag + ")");
}

int interposed_poll(pollfd* polled, nfds_t count, int milliseconds)
{
    const std::string events = support::pollText(polled, count, milliseconds);
    return static_cast<int>(support::answer(polled->fd, "poll(" + events + ")"));
}

int interposed_fsync(int fd)
{
    return static_cast<int>(support::answer(fd, "fsync"));
}

int interposed_close(int fd)
{
    return static_cast<int>(support::answer(fd, "close"));
}

// With _FILE_OFFSET_BITS=64 the system's header has a name of its own for this one on 32 bits,
// which would not be replaced: the unit that is compiled for the test is without, unlike the one of
// the library. DescriptorKindTest.cpp asks that one.
int interposed_fstat(int fd, struct stat* status) noexcept
{
    status->st_mode = S_IFSOCK; // of no worth if the call fails
    return static_cast<int>(support::answer(fd, "fstat"));
}

int interposed_pthread_sigmask(int how, const sigset_t* mask, sigset_t* before) noexcept
{
    support::note(how == SIG_BLOCK ? "hold" : how == SIG_SETMASK ? "restore" : "strange");
    return pthread_sigmask(how, mask, before);
}

int interposed_sigpending(sigset_t* pending) noexcept
{
    support::note("pending");
    return sigpending(pending);
}

int interposed_sigtimedwait(const sigset_t* signals, siginfo_t* info, const timespec* timeout)
{
    const bool isAtOnce = timeout->tv_sec == 0 && timeout->tv_nsec == 0;
    const bool isPipe = sigismember(signals, SIGPIPE) == 1 && sigismember(signals, SIGINT) == 0;
    support::note(isAtOnce && isPipe ? "take" : "strange");
    support::ScriptedCalls* const script = support::s_current;
    if (script == nullptr || script->interruptions-- <= 0)
        return sigtimedwait(signals, info, timeout);
    errno = EINTR;
    return -1;
}

} // extern "C"
