// SPDX-License-Identifier: Apache-2.0
//
// Writing to a pipe or a socket whose reader is gone: an error, and nothing of the signal that
// comes with it. Each in a process of its own, which that signal would end.

#include <zelposix/FdOutputStream.h>

#include <csignal>
#include <ctime>
#include <functional>
#include <string>
#include <thread>

#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/ChildProcess.h"
#include "support/Descriptors.h"
#include "support/ErrorChain.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using support::OpenStorage;
using support::Pair;
using support::Pipe;
using support::Sockets;
using support::takeChain;
using support::writeText;

constexpr const char* BROKEN = "StreamError 0: the binary i/o stream is broken\n"
                               "PosixError 0: write failed: Broken pipe (errno 32)\n";

/// The numbers of the signals in `set`: "10 13 ".
std::string numbers(const sigset_t& set)
{
    std::string text;
    for (int number = 1; number < SIGRTMIN; ++number)
        if (sigismember(&set, number) == 1) text += std::to_string(number) + " ";
    return text;
}

/// The signals that the calling thread holds back.
std::string heldBack()
{
    sigset_t set;
    pthread_sigmask(SIG_BLOCK, nullptr, &set);
    return numbers(set);
}

/// The signals that wait for the calling thread.
std::string pending()
{
    sigset_t set;
    sigpending(&set);
    return numbers(set);
}

void holdBack(int number)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

/// Runs `body` in a child that signals treat as they treat a program by default, and that must
/// survive.
void runAlone(const std::function<void()>& body)
{
    const support::ChildResult result = support::runInChild([&] {
        signal(SIGPIPE, SIG_DFL);
        const OpenStorage errors;
        body();
    });
    EXPECT_EQ(0, result.signal);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ClosedPipe, IsAnErrorAndNoSignal)
{
    runAlone([] {
        Pipe pipe;
        zel::FdOutputStream output(pipe.writer, 0);
        EXPECT_EQ("1 3", writeText(output, "abc"));
        pipe.reader.close();
        EXPECT_EQ("-1 0", writeText(output, "def"));
        EXPECT_FALSE(zel::wouldBlock());
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("-1 0", writeText(output, "def"));
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("", pending());
        EXPECT_EQ("", heldBack());
    });
}

TEST(ClosedSocket, IsAnErrorAndNoSignal)
{
    runAlone([] {
        Sockets sockets;
        zel::FdOutputStream output(sockets.writer, 0);
        EXPECT_EQ("1 3", writeText(output, "abc"));
        EXPECT_EQ("abc", sockets.reader.take());
        sockets.reader.close();
        EXPECT_EQ("-1 0", writeText(output, "def"));
        EXPECT_FALSE(zel::wouldBlock());
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("", pending());
        EXPECT_EQ("", heldBack());
    });
}

TEST(ClosedSocket, OwnSideThatIsShut)
{
    runAlone([] {
        const Sockets sockets;
        shutdown(sockets.writer, SHUT_WR);
        zel::FdOutputStream output(sockets.writer, 0);
        EXPECT_EQ("-1 0", writeText(output, "abc"));
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("", pending());
    });
}

TEST(ClosedPipe, NotBlocking)
{
    runAlone([] {
        Pipe pipe(O_NONBLOCK);
        pipe.reader.close();
        zel::FdOutputStream output(pipe.writer, 0, false);
        EXPECT_EQ("-1 0", writeText(output, "abc"));
        EXPECT_FALSE(zel::wouldBlock());
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("", pending());
    });
}

TEST(ClosedPipe, FailedFlush_KeepsTheBytes)
{
    runAlone([] {
        Pipe closed;
        const Pipe open;
        closed.reader.close();
        zel::FdOutputStream output(closed.writer);
        EXPECT_EQ("1 3", writeText(output, "abc"));
        EXPECT_TRUE(output.flush(false));
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_TRUE(output.flush(true));
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_NE(-1, dup2(open.writer, closed.writer));
        EXPECT_FALSE(output.flush(true));
        EXPECT_EQ("abc", open.reader.take());
    });
}

TEST(ClosedPipe, Destruction_SaysThatBytesAreLost)
{
    runAlone([] {
        Pipe pipe;
        pipe.reader.close();
        {
            zel::FdOutputStream output(pipe.writer);
            EXPECT_EQ("1 3", writeText(output, "abc"));
        }
        EXPECT_TRUE(std::ErrorStorage::isError(true));
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("", pending());
    });
}

TEST(PipeSignal, MaskIsAsBefore)
{
    runAlone([] {
        holdBack(SIGUSR1);
        Pipe pipe;
        zel::FdOutputStream output(pipe.writer, 0);
        EXPECT_EQ("1 3", writeText(output, "abc"));
        EXPECT_EQ("10 ", heldBack());
        pipe.reader.close();
        EXPECT_EQ("-1 0", writeText(output, "abc"));
        EXPECT_EQ("10 ", heldBack());
        EXPECT_EQ("", pending());
    });
}

void writeToClosedPipe()
{
    Pipe pipe;
    pipe.reader.close();
    zel::FdOutputStream output(pipe.writer, 0);
    EXPECT_EQ("-1 0", writeText(output, "abc"));
    EXPECT_EQ(BROKEN, takeChain());
}

TEST(PipeSignal, HeldBackByTheCaller_StaysSoAndNoneIsAdded)
{
    runAlone([] {
        holdBack(SIGPIPE);
        writeToClosedPipe();
        EXPECT_EQ("13 ", heldBack());
        EXPECT_EQ("", pending());
    });
}

/// Takes the SIGPIPE that waits.
void takePending()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    const timespec atOnce{0, 0};
    EXPECT_EQ(SIGPIPE, sigtimedwait(&set, nullptr, &atOnce));
}

/// Writes to a closed pipe while the signal waits already.
void expectToStayPending()
{
    EXPECT_EQ("13 ", pending());
    writeToClosedPipe();
    EXPECT_EQ("13 ", heldBack());
    EXPECT_EQ("13 ", pending());
}

TEST(PipeSignal, PendingOfTheThread_StaysPending)
{
    runAlone([] {
        holdBack(SIGPIPE);
        pthread_kill(pthread_self(), SIGPIPE);
        expectToStayPending();
        takePending();
        EXPECT_EQ("", pending());
    });
}

TEST(PipeSignal, PendingOfTheProcess_StaysPending)
{
    runAlone([] {
        holdBack(SIGPIPE);
        kill(getpid(), SIGPIPE);
        expectToStayPending();
    });
}

TEST(PipeSignal, Ignored)
{
    runAlone([] {
        signal(SIGPIPE, SIG_IGN);
        writeToClosedPipe();
        EXPECT_EQ("", heldBack());
        EXPECT_EQ("", pending());
    });
}

volatile sig_atomic_t s_signals = 0;

TEST(PipeSignal, HandlerIsNotCalled)
{
    runAlone([] {
        signal(SIGPIPE, [](int) { s_signals = s_signals + 1; });
        writeToClosedPipe();
        EXPECT_EQ(0, s_signals);
        raise(SIGPIPE);
        EXPECT_EQ(1, s_signals);
    });
}

/// Writes more than `pair` holds while a thread reads one byte and goes: the call that has moved
/// bytes by then is the one that the signal comes with. Returns the status and the count.
std::string writeWhileTheReaderGoes(zel::FdOutputStream& output, Pair& pair)
{
    std::thread reader([&] {
        char byte;
        EXPECT_EQ(1, read(pair.reader, &byte, 1));
        pair.reader.close();
    });
    std::string result = writeText(output, std::string(4000000, 'a'));
    reader.join();
    EXPECT_EQ("", pending());
    EXPECT_EQ("", heldBack());
    return result;
}

TEST(ReaderThatGoesMeanwhile, Pipe)
{
    runAlone([] {
        Pipe pipe;
        zel::FdOutputStream output(pipe.writer, 0);
        const std::string written = writeWhileTheReaderGoes(output, pipe);
        EXPECT_EQ("-1 ", written.substr(0, 3));
        EXPECT_NE("-1 0", written);
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("-1 0", writeText(output, "abc"));
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("", pending());
    });
}

TEST(ReaderThatGoesMeanwhile, Pipe_BufferedIsTheFailureOfTheNextCall)
{
    runAlone([] {
        Pipe pipe;
        zel::FdOutputStream output(pipe.writer, 16);
        EXPECT_EQ("1 ", writeWhileTheReaderGoes(output, pipe).substr(0, 2));
        EXPECT_EQ("", takeChain());
        EXPECT_TRUE(output.flush(false));
        EXPECT_EQ(BROKEN, takeChain());
        EXPECT_EQ("", pending());
    });
}

TEST(ReaderThatGoesMeanwhile, Socket)
{
    runAlone([] {
        Sockets sockets;
        zel::FdOutputStream output(sockets.writer, 0);
        const std::string written = writeWhileTheReaderGoes(output, sockets);
        EXPECT_EQ("-1 ", written.substr(0, 3));
        EXPECT_NE("-1 0", written);
        EXPECT_EQ("StreamError 0: the binary i/o stream is broken", takeChain().substr(0, 46));
        EXPECT_EQ("-1 0", writeText(output, "abc"));
        EXPECT_EQ("", pending());
    });
}

} // namespace
