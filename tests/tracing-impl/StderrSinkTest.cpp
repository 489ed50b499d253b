// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/StderrSink.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include <common/tracing/Levels.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <tracing-impl/LocalTime.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/Descriptors.h"

namespace {

using support::ChildResult;
using support::Pipe;
using support::runInChild;
using tracing::impl::complain;
using tracing::impl::writeToStderr;

TEST(StderrSink, Message_IsALine)
{
    const ChildResult child = runInChild([] {
        setenv("TZ", "UTC", 1);
        tracing::impl::forgetLocalOffset();
        const tracing::impl::TimeZones zones;
        tracing::impl::StderrSink sink(zones);
        tracing::impl::Message message = {};
        message.path = "net_tcp";
        message.level = tracing::Levels::LevelFATAL;
        message.payload = "a\nb";
        message.threadId = 4711;
        message.time = {1795262400, 5000};
        sink.write(message);
    });
    EXPECT_EQ("2026-11-21 12:00:00.000005 fatal net_tcp [4711] a\\nb\n", child.err);
}

TEST(StderrSink, Complaint_IsALine)
{
    const ChildResult child = runInChild([] { complain("no such level"); });
    EXPECT_EQ("tracing: no such level\n", child.err);
}

TEST(StderrSink, Closed_IsNoMatter)
{
    const ChildResult child = runInChild([] {
        close(STDERR_FILENO);
        errno = E2BIG;
        writeToStderr("lost\n");
        EXPECT_EQ(E2BIG, errno);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(StderrSink, ReaderIsGone_NobodyIsSentASignal)
{
    const ChildResult child = runInChild([] {
        Pipe pipe;
        pipe.reader.close();
        dup2(pipe.writer, STDERR_FILENO);
        writeToStderr("lost\n");
        writeToStderr("lost\n");
    });
    EXPECT_EQ(0, child.signal);
    EXPECT_EQ(0, child.exitCode) << child.out;
}

/// All bytes up to the end.
std::string readAll(int fd)
{
    std::string bytes;
    char block[4096];
    for (ssize_t count = 0; (count = read(fd, block, sizeof block)) > 0;)
        bytes.append(block, static_cast<std::size_t>(count));
    return bytes;
}

TEST(StderrSink, FullAndNotBlocking_Waits)
{
    const ChildResult child = runInChild([] {
        Pipe pipe;
        fcntl(pipe.writer, F_SETFL, O_NONBLOCK);
        dup2(pipe.writer, STDERR_FILENO);
        const std::string text(1024 * 1024, 'x');
        std::string got;
        std::thread reader([&] { got = readAll(pipe.reader); });
        writeToStderr(text);
        close(STDERR_FILENO);
        pipe.writer.close();
        reader.join();
        EXPECT_TRUE(got == text) << got.size();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

} // namespace
