// SPDX-License-Identifier: Apache-2.0
//
// The calls follow a script and note what they are asked; without one they work.

#include "zelposix/Descriptor.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <initializer_list>
#include <string>

#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace {

using posixcore::OTHER;
using posixcore::PIPE;
using posixcore::SOCKET;
using posixcore::Transfer;

constexpr int FD = 7; // of scripted calls

/// What one call returns; -1 comes with a value of `errno`.
struct Answer
{
    ssize_t result;
    int error;
};

Answer gives(ssize_t result)
{
    return {result, 0};
}

Answer fails(int error)
{
    return {-1, error};
}

/// Answers the calls while it exists, but for those of signals, which are noted and work.
class Script
{
public:
    Script(std::initializer_list<Answer> script) : answers(script) { s_current = this; }
    ~Script()
    {
        s_current = nullptr;
        EXPECT_EQ(0U, answers.size()) << "answers that nobody asked for";
    }

    static bool runs() { return s_current != nullptr; }
    static bool interrupts() { return runs() && s_current->interruptions-- > 0; }
    static void note(const std::string& call)
    {
        if (s_current == nullptr) return;
        s_current->calls += (s_current->calls.empty() ? "" : " ") + call;
    }

    /// Answers `call` on `fd`. Behind the end of the script each fails with what ends any loop.
    static ssize_t answer(int fd, const std::string& call)
    {
        note(fd == FD ? call : call + "elsewhere");
        Answer next = fails(ENOTRECOVERABLE);
        if (s_current != nullptr && !s_current->answers.empty()) {
            next = s_current->answers.front();
            s_current->answers.pop_front();
        }
        if (next.result == -1) errno = next.error;
        return next.result;
    }

    std::deque<Answer> answers;
    /// The calls that there were: "write(abc) poll(out)".
    std::string calls;
    /// How often taking a signal is interrupted.
    int interruptions = 0;

private:
    static inline Script* s_current = nullptr;
};

/// Whether the calling thread holds the signal back.
bool isHeld(int signal)
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

bool isPending(int signal)
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
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

extern "C" {

ssize_t interposed_read(int fd, void*, size_t size)
{
    return Script::answer(fd, "read(" + std::to_string(size) + ")");
}

ssize_t interposed_write(int fd, const void* data, size_t size)
{
    if (!Script::runs()) return write(fd, data, size);
    const std::string held = isHeld(SIGPIPE) ? ",held" : "";
    return Script::answer(fd, "write(" + dataText(data, size) + held + ")");
}

ssize_t interposed_send(int fd, const void* data, size_t size, int flags)
{
    if (!Script::runs()) return send(fd, data, size, flags);
    const std::string flag = flags == MSG_NOSIGNAL ? "nosignal" : std::to_string(flags);
    return Script::answer(fd, "send(" + dataText(data, size) + "," + flag + ")");
}

int interposed_poll(pollfd* polled, nfds_t count, int milliseconds)
{
    const std::string events = pollText(polled, count, milliseconds);
    return static_cast<int>(Script::answer(polled->fd, "poll(" + events + ")"));
}

int interposed_fsync(int fd)
{
    return static_cast<int>(Script::answer(fd, "fsync"));
}

int interposed_close(int fd)
{
    return static_cast<int>(Script::answer(fd, "close"));
}

int interposed_fstat(int fd, struct stat* status) noexcept
{
    if (!Script::runs()) return fstat(fd, status);
    status->st_mode = S_IFSOCK; // of no worth if the call fails
    return static_cast<int>(Script::answer(fd, "fstat"));
}

int interposed_pthread_sigmask(int how, const sigset_t* mask, sigset_t* before) noexcept
{
    Script::note(how == SIG_BLOCK ? "hold" : how == SIG_SETMASK ? "restore" : "strange");
    return pthread_sigmask(how, mask, before);
}

int interposed_sigpending(sigset_t* pending) noexcept
{
    Script::note("pending");
    return sigpending(pending);
}

int interposed_sigtimedwait(const sigset_t* signals, siginfo_t* info, const timespec* timeout)
{
    const bool isAtOnce = timeout->tv_sec == 0 && timeout->tv_nsec == 0;
    const bool isPipe = sigismember(signals, SIGPIPE) == 1 && sigismember(signals, SIGINT) == 0;
    Script::note(isAtOnce && isPipe ? "take" : "strange");
    if (!Script::interrupts()) return sigtimedwait(signals, info, timeout);
    errno = EINTR;
    return -1;
}

} // extern "C"

namespace {

#define EXPECT_TRANSFER(expectedCount, expectedError, call)                                        \
    do {                                                                                           \
        const Transfer transfer = call;                                                            \
        EXPECT_EQ(expectedCount, transfer.count);                                                  \
        EXPECT_EQ(expectedError, transfer.error);                                                  \
    } while (false)

Transfer readFive(bool waits = true)
{
    char data[5];
    return posixcore::readSome(FD, data, sizeof data, waits);
}

Transfer writeFive(posixcore::DescriptorKind kind = OTHER, bool waits = true)
{
    return posixcore::writeSome(kind, FD, "abcde", 5, waits);
}

TEST(Read, GivesWhatThereIs)
{
    Script script{gives(3)};
    EXPECT_TRANSFER(3U, 0, readFive());
    EXPECT_EQ("read(5)", script.calls);
}

TEST(Read, TheEnd_IsNoneAndNoError)
{
    Script script{gives(0), gives(0)};
    EXPECT_TRANSFER(0U, 0, readFive(true));
    EXPECT_TRANSFER(0U, 0, readFive(false));
}

TEST(Read, Interrupted_IsMadeAgain)
{
    Script script{fails(EINTR), fails(EINTR), fails(EINTR), gives(5), fails(EINTR), gives(1)};
    EXPECT_TRANSFER(5U, 0, readFive(true));
    EXPECT_TRANSFER(1U, 0, readFive(false));
    EXPECT_EQ("read(5) read(5) read(5) read(5) read(5) read(5)", script.calls);
}

TEST(Read, Unready_WaitsForBytes)
{
    Script script{fails(EAGAIN), gives(1), fails(EAGAIN), gives(1), gives(2)};
    EXPECT_TRANSFER(2U, 0, readFive());
    EXPECT_EQ("read(5) poll(in) read(5) poll(in) read(5)", script.calls);
}

TEST(Read, Unready_WithoutWaitingFails)
{
    Script script{fails(EAGAIN)};
    EXPECT_TRANSFER(0U, EAGAIN, readFive(false));
    EXPECT_EQ("read(5)", script.calls);
}

TEST(Read, Wait_MayBeInterruptedOrFail)
{
    Script script{fails(EAGAIN), fails(EINTR), fails(EAGAIN), fails(ENOMEM)};
    EXPECT_TRANSFER(0U, ENOMEM, readFive());
    EXPECT_EQ("read(5) poll(in) read(5) poll(in)", script.calls);
}

TEST(Read, OtherErrors_Fail)
{
    Script script{fails(EIO), fails(ECONNRESET), fails(EBADF)};
    EXPECT_TRANSFER(0U, EIO, readFive(true));
    EXPECT_TRANSFER(0U, ECONNRESET, readFive(true));
    EXPECT_TRANSFER(0U, EBADF, readFive(false));
    EXPECT_EQ("read(5) read(5) read(5)", script.calls);
}

TEST(Write, TakenAtOnce)
{
    Script script{gives(5), gives(5)};
    EXPECT_TRANSFER(5U, 0, writeFive(OTHER, true));
    EXPECT_TRANSFER(5U, 0, writeFive(OTHER, false));
    EXPECT_EQ("write(abcde) write(abcde)", script.calls);
}

TEST(Write, OfNothing_MakesNoCall)
{
    Script script{};
    EXPECT_TRANSFER(0U, 0, posixcore::writeSome(OTHER, FD, "", 0, true));
    EXPECT_TRANSFER(0U, 0, posixcore::writeSome(PIPE, FD, nullptr, 0, false));
    EXPECT_EQ("", script.calls);
}

TEST(Write, InParts_GoesOnWithTheRest)
{
    Script script{gives(2), gives(1), gives(2)};
    EXPECT_TRANSFER(5U, 0, writeFive());
    EXPECT_EQ("write(abcde) write(cde) write(de)", script.calls);
}

TEST(Write, Interrupted_IsMadeAgain)
{
    Script script{fails(EINTR), fails(EINTR), gives(2), fails(EINTR), gives(3)};
    EXPECT_TRANSFER(5U, 0, writeFive());
    EXPECT_EQ("write(abcde) write(abcde) write(abcde) write(cde) write(cde)", script.calls);
}

TEST(Write, WithoutWaiting_IsOneCallThatIsNotInterrupted)
{
    Script script{fails(EINTR), fails(EINTR), gives(2), fails(EINTR), fails(EAGAIN)};
    EXPECT_TRANSFER(2U, 0, writeFive(OTHER, false));
    EXPECT_TRANSFER(0U, EAGAIN, writeFive(OTHER, false));
    EXPECT_EQ("write(abcde) write(abcde) write(abcde) write(abcde) write(abcde)", script.calls);
}

TEST(Write, Unready_WaitsForRoom)
{
    Script script{gives(2), fails(EAGAIN), gives(1), fails(EAGAIN), gives(1), gives(3)};
    EXPECT_TRANSFER(5U, 0, writeFive());
    EXPECT_EQ("write(abcde) write(cde) poll(out) write(cde) poll(out) write(cde)", script.calls);
}

TEST(Write, Wait_MayBeInterruptedOrFail)
{
    Script script{gives(4), fails(EAGAIN), fails(EINTR), fails(EAGAIN), fails(EINVAL)};
    EXPECT_TRANSFER(4U, EINVAL, writeFive());
    EXPECT_EQ("write(abcde) write(e) poll(out) write(e) poll(out)", script.calls);
}

TEST(Write, ErrorOnTheWay_TellsWhatIsOut)
{
    Script script{gives(1), gives(2), fails(ENOSPC), fails(EIO)};
    EXPECT_TRANSFER(3U, ENOSPC, writeFive());
    EXPECT_TRANSFER(0U, EIO, writeFive());
    EXPECT_EQ("write(abcde) write(bcde) write(de) write(abcde)", script.calls);
}

TEST(Write, NothingTaken_IsAnError)
{
    Script script{gives(3), gives(0), gives(0)};
    EXPECT_TRANSFER(3U, EIO, writeFive(OTHER, true));
    EXPECT_TRANSFER(0U, EIO, writeFive(OTHER, false));
    EXPECT_EQ("write(abcde) write(de) write(abcde)", script.calls);
}

#ifdef __LP64__
TEST(Size, OfAllBits_IsOneCall)
{
    Script script{gives(4294967295), gives(4294967295)};
    char data[1] = {};
    EXPECT_TRANSFER(4294967295U, 0, posixcore::readSome(FD, data, 4294967295U, true));
    EXPECT_TRANSFER(4294967295U, 0, posixcore::writeSome(OTHER, FD, data, 4294967295U, true));
    EXPECT_EQ("read(4294967295) write(4294967295)", script.calls);
}
#else
TEST(Size, OfARead_IsWhatItsResultCanTell)
{
    Script script{gives(2147483647), gives(2147483647)};
    char data[1] = {};
    EXPECT_TRANSFER(2147483647U, 0, posixcore::readSome(FD, data, 2147483648U, true));
    EXPECT_TRANSFER(2147483647U, 0, posixcore::readSome(FD, data, 4294967295U, true));
    EXPECT_EQ("read(2147483647) read(2147483647)", script.calls);
}

TEST(Size, OfAWrite_IsWhatItsResultCanTell)
{
    Script script{gives(2147483647), gives(2147483647), fails(EIO)};
    char data[1] = {};
    EXPECT_TRANSFER(4294967294U, EIO, posixcore::writeSome(SOCKET, FD, data, 4294967295U, true));
    EXPECT_EQ("send(2147483647,nosignal) send(2147483647,nosignal) ", script.calls.substr(0, 52));
}
#endif

TEST(Socket, EachSendHasTheFlag)
{
    Script script{gives(2), fails(EINTR), fails(EAGAIN), gives(1), fails(EPIPE)};
    EXPECT_TRANSFER(2U, EPIPE, writeFive(SOCKET));
    EXPECT_EQ("send(abcde,nosignal) send(cde,nosignal) send(cde,nosignal) poll(out)"
              " send(cde,nosignal)",
              script.calls);
}

TEST(Pipe, HoldsTheSignalBackAroundEachWrite)
{
    Script script{gives(3), gives(2)};
    EXPECT_TRANSFER(5U, 0, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) restore hold write(de,held) restore", script.calls);
    EXPECT_FALSE(isHeld(SIGPIPE));
}

TEST(Pipe, DoesNotHoldItBackWhileItWaits)
{
    Script script{fails(EAGAIN), gives(1), gives(5)};
    EXPECT_TRANSFER(5U, 0, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) restore poll(out) hold write(abcde,held) restore",
              script.calls);
}

TEST(Pipe, TakesTheSignalAfterABrokenPipeOnly)
{
    Script script{fails(EIO), fails(EPIPE)};
    EXPECT_TRANSFER(0U, EIO, writeFive(PIPE));
    EXPECT_TRANSFER(0U, EPIPE, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) restore hold write(abcde,held) take restore", script.calls);
}

TEST(Pipe, TakingIsInterrupted_TakesAgain)
{
    Script script{gives(2), fails(EPIPE)};
    script.interruptions = 2;
    EXPECT_TRANSFER(2U, EPIPE, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) restore hold write(cde,held) take take take restore",
              script.calls);
}

TEST(Others, LeaveTheSignalAlone)
{
    Script script{fails(EPIPE)};
    EXPECT_TRANSFER(0U, EPIPE, writeFive(OTHER));
    EXPECT_EQ("write(abcde)", script.calls);
}

/// The writing end of a pipe whose reading end is closed.
int brokenPipe()
{
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    close(ends[0]);
    return ends[1];
}

void hold(int signal)
{
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, signal);
    pthread_sigmask(SIG_BLOCK, &mask, nullptr);
}

/// Runs `body` in a child, which no signal must end.
void expectWhole(void (*body)())
{
    const support::ChildResult result = support::runInChild(body);
    EXPECT_EQ(0, result.signal);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(BrokenPipe, GivesAnErrorAndNoSignal)
{
    expectWhole([] {
        hold(SIGUSR1);
        EXPECT_TRANSFER(0U, EPIPE, posixcore::writeSome(PIPE, brokenPipe(), "abc", 3, true));
        EXPECT_FALSE(isHeld(SIGPIPE));
        EXPECT_TRUE(isHeld(SIGUSR1));
    });
}

TEST(BrokenPipe, SignalHeldBackBefore_IsTakenAndStaysHeld)
{
    expectWhole([] {
        hold(SIGPIPE);
        EXPECT_TRANSFER(0U, EPIPE, posixcore::writeSome(PIPE, brokenPipe(), "abc", 3, false));
        EXPECT_TRUE(isHeld(SIGPIPE));
        EXPECT_FALSE(isPending(SIGPIPE));
    });
}

TEST(BrokenPipe, SignalPendingBefore_Stays)
{
    expectWhole([] {
        hold(SIGPIPE);
        raise(SIGPIPE);
        EXPECT_TRANSFER(0U, EPIPE, posixcore::writeSome(PIPE, brokenPipe(), "abc", 3, true));
        EXPECT_TRUE(isHeld(SIGPIPE));
        EXPECT_TRUE(isPending(SIGPIPE));
    });
}

TEST(BrokenPipe, SignalIgnored_IsNotWaitedFor)
{
    expectWhole([] {
        signal(SIGPIPE, SIG_IGN);
        EXPECT_TRANSFER(0U, EPIPE, posixcore::writeSome(PIPE, brokenPipe(), "abc", 3, true));
    });
}

TEST(BrokenSocket, GivesAnErrorAndNoSignal)
{
    expectWhole([] {
        int ends[2];
        ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
        close(ends[0]);
        EXPECT_TRANSFER(0U, EPIPE, posixcore::writeSome(SOCKET, ends[1], "abc", 3, true));
    });
}

TEST(Kind, OfEachKind)
{
    int pipes[2];
    int sockets[2];
    ASSERT_EQ(0, pipe(pipes));
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, sockets));
    std::FILE* const file = std::tmpfile();
    EXPECT_EQ(PIPE, posixcore::kindOf(pipes[1]));
    EXPECT_EQ(SOCKET, posixcore::kindOf(sockets[1]));
    EXPECT_EQ(OTHER, posixcore::kindOf(fileno(file)));
    std::fclose(file);
    for (const int fd : {pipes[0], pipes[1], sockets[0], sockets[1]})
        close(fd);
}

TEST(Kind, OfNoDescriptor_IsOther)
{
    EXPECT_EQ(OTHER, posixcore::kindOf(-1));
    Script script{gives(0), fails(EOVERFLOW)};
    EXPECT_EQ(SOCKET, posixcore::kindOf(FD));
    EXPECT_EQ(OTHER, posixcore::kindOf(FD));
    EXPECT_EQ("fstat fstat", script.calls);
}

TEST(Sync, Interrupted_IsMadeAgain)
{
    Script script{fails(EINTR), fails(EINTR), gives(0), fails(EINTR), fails(ENOSPC)};
    EXPECT_EQ(0, posixcore::sync(FD));
    EXPECT_EQ(ENOSPC, posixcore::sync(FD));
    EXPECT_EQ("fsync fsync fsync fsync fsync", script.calls);
}

TEST(Sync, UnknownToTheDescriptor_IsNoFailure)
{
    Script script{fails(EINVAL), fails(EROFS)};
    EXPECT_EQ(0, posixcore::sync(FD));
    EXPECT_EQ(0, posixcore::sync(FD));
    EXPECT_EQ("fsync fsync", script.calls);
}

TEST(Sync, OtherErrors_FailOnce)
{
    Script script{fails(EIO), fails(EBADF)};
    EXPECT_EQ(EIO, posixcore::sync(FD));
    EXPECT_EQ(EBADF, posixcore::sync(FD));
    EXPECT_EQ("fsync fsync", script.calls);
}

// A second call might close a descriptor of somebody else.
TEST(Close, IsNeverMadeAgain)
{
    Script script{gives(0), fails(EINTR), fails(EIO), fails(EBADF)};
    EXPECT_EQ(0, posixcore::closeOnce(FD));
    EXPECT_EQ(0, posixcore::closeOnce(FD));
    EXPECT_EQ(EIO, posixcore::closeOnce(FD));
    EXPECT_EQ(EBADF, posixcore::closeOnce(FD));
    EXPECT_EQ("close close close close", script.calls);
}

} // namespace
