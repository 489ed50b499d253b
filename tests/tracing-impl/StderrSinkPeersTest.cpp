// SPDX-License-Identifier: Apache-2.0
//
// The sink for standard error as a process is given it, with readers that are slow or gone.

#include <tracing-impl/StderrSink.h>

#include <cstdlib>
#include <string>
#include <thread>

#include <common/tracing/Levels.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <tracing-impl/LocalTime.h>
#include <tracing-impl/Sinks.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/ControlTool.h"
#include "support/Descriptors.h"
#include "support/InterruptedThread.h"

namespace {

using support::ChildResult;
using support::Pipe;
using support::Sockets;
using tracing::Levels;
using tracing::impl::Message;
using tracing::impl::Sink;
using tracing::impl::SinkPtr;
using tracing::impl::SinkSettings;
using tracing::impl::StderrSink;

/// More than the pipe takes.
constexpr int LINES = 500;
constexpr int PIPE_SIZE = 4096;

class StderrSinkPeers : public testing::Test
{
protected:
    StderrSinkPeers()
    {
        setenv("TZ", "UTC", 1);
        tracing::impl::forgetLocalOffset();
    }

    SinkPtr make()
    {
        std::string reason;
        return tracing::impl::makeSink({SinkSettings::STDERR, "stderr", "", 0, 0},
                                       {m_name, m_zones, m_target}, reason);
    }

    const std::string m_name = "pump";
    tracing::impl::TimeZones m_zones;
    support::RecordingTarget m_target;
};

void write(Sink& sink, short level, const std::string& text)
{
    Message message = {};
    message.path = "net_tcp";
    message.level = level;
    message.payload = text;
    message.time = {1795262400, 123456789};
    message.threadId = 7;
    sink.write(message);
}

void writeMany(Sink& sink)
{
    for (int i = 0; i < LINES; ++i)
        write(sink, Levels::LevelINFO, "message " + std::to_string(i));
}

std::string manyLines()
{
    std::string lines;
    for (int i = 0; i < LINES; ++i)
        lines += "2026-11-21 12:00:00.123456 info net_tcp [7] message " + std::to_string(i) + "\n";
    return lines;
}

/// All bytes up to the end.
std::string readAll(int fd)
{
    std::string bytes;
    char block[1000];
    for (ssize_t count = 0; (count = read(fd, block, sizeof block)) > 0;)
        bytes.append(block, static_cast<std::size_t>(count));
    return bytes;
}

/// Returns as soon as the pipe has no room for another line.
void waitUntilFull(const Pipe& pipe)
{
    constexpr int LONGEST_LINE = 100;
    for (int size = 0; size < PIPE_SIZE - LONGEST_LINE; std::this_thread::yield())
        if (ioctl(pipe.reader, FIONREAD, &size) != 0) std::abort();
}

/// Makes a small pipe standard error.
void redirectTo(const Pipe& pipe)
{
    ASSERT_NE(-1, fcntl(pipe.writer, F_SETPIPE_SZ, PIPE_SIZE));
    dup2(pipe.writer, STDERR_FILENO);
}

TEST_F(StderrSinkPeers, ReaderIsGone_ProgramGoesOn)
{
    const ChildResult child = support::runInChild([this] {
        Pipe pipe;
        pipe.reader.close();
        redirectTo(pipe);
        const SinkPtr sink = make();
        write(*sink, Levels::LevelERROR, "lost");
        write(*sink, Levels::LevelERROR, "lost");
        sink->flush();
    });
    EXPECT_EQ(0, child.signal);
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST_F(StderrSinkPeers, FullAndNotBlocking_EveryLineArrives)
{
    const ChildResult child = support::runInChild([this] {
        Pipe pipe;
        redirectTo(pipe);
        fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
        std::thread writer([this, &pipe] {
            writeMany(*make());
            close(STDERR_FILENO);
            pipe.writer.close();
        });
        waitUntilFull(pipe);
        EXPECT_EQ(manyLines(), readAll(pipe.reader));
        writer.join();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST_F(StderrSinkPeers, SignalsWhileWriting_EveryLineArrives)
{
    const ChildResult child = support::runInChild([this] {
        Pipe pipe;
        redirectTo(pipe);
        support::InterruptedThread writer([this, &pipe] {
            writeMany(*make());
            close(STDERR_FILENO);
            pipe.writer.close();
        });
        waitUntilFull(pipe);
        writer.interrupt(1000);
        EXPECT_EQ(manyLines(), readAll(pipe.reader));
        writer.join();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

/// What comes with one write.
std::string takePacket(int fd)
{
    char bytes[1000];
    const ssize_t count = recv(fd, bytes, sizeof bytes, MSG_DONTWAIT);
    return count == -1 ? "nothing" : std::string(bytes, static_cast<std::size_t>(count));
}

TEST_F(StderrSinkPeers, Line_IsOneWrite)
{
    const Sockets sockets(SOCK_SEQPACKET);
    const ChildResult child = support::runInChild([&] {
        dup2(sockets.writer, STDERR_FILENO);
        const SinkPtr sink = make();
        write(*sink, Levels::LevelWARN, "late");
        write(*sink, Levels::LevelFATAL, "gone");
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("2026-11-21 12:00:00.123456 warning net_tcp [7] late\n", takePacket(sockets.reader));
    EXPECT_EQ("2026-11-21 12:00:00.123456 fatal net_tcp [7] gone\n", takePacket(sockets.reader));
    EXPECT_EQ("nothing", takePacket(sockets.reader));
}

TEST_F(StderrSinkPeers, ColouredLine_IsOneWrite)
{
    const Sockets sockets(SOCK_SEQPACKET);
    const ChildResult child = support::runInChild([&] {
        dup2(sockets.writer, STDERR_FILENO);
        StderrSink sink(m_zones, true);
        write(sink, Levels::LevelWARN, "late");
        write(sink, Levels::LevelFATAL, "gone");
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("2026-11-21 12:00:00.123456 \x1b[33m\x1b[1mwarning\x1b[m net_tcp [7] late\n",
              takePacket(sockets.reader));
    EXPECT_EQ("2026-11-21 12:00:00.123456 \x1b[1m\x1b[41mfatal\x1b[m net_tcp [7] gone\n",
              takePacket(sockets.reader));
    EXPECT_EQ("nothing", takePacket(sockets.reader));
}

} // namespace
