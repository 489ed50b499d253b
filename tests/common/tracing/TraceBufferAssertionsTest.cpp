// SPDX-License-Identifier: Apache-2.0
//
// What a trace buffer goes on with: misuse, which it reports, and a client that does not return.

#include <common/tracing/TraceBuffer.h>

#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>

#include <common/error/GlobalErrorHandler.h>
#include <common/tracing/Channel.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"
#include "support/RecordingClient.h"

namespace {

using support::ChildResult;
using support::RecordingClient;
using support::reportTitle;
using support::runInChild;
using tracing::Channel;
using tracing::TraceBuffer;

/// Not a constant to the compiler, which warns of null formats.
const char* volatile s_none = nullptr;

/// A channel with the given filter level, and a client that notes what it sends.
struct Net
{
    explicit Net(short filterLevel) : channel("net", 0, 0)
    {
        channel.m_client = &client;
        channel.setFilterLevel(filterLevel);
    }

    RecordingClient client;
    Channel channel;
};

/// Runs `body` in a child that prints each failed assertion to standard output.
ChildResult runWithHandler(const std::function<void()>& body)
{
    return runInChild([&] {
        std::GlobalErrorHandler::atAssert(
            [](const char* condition, const char* location, const char* reason) {
                std::printf("[%s] [%s] [%s]\n", condition, location, reason);
            });
        body();
    });
}

/// Runs `body` with a line on a channel that lets everything pass, then sends the line.
ChildResult runWithLine(void (*body)(TraceBuffer& line))
{
    return runWithHandler([&] {
        Net net(0);
        TraceBuffer line(&net.channel);
        line.append(3, "kept");
        body(line);
        line.print();
        std::puts(net.client.calls().c_str());
    });
}

/// The default report.
std::string assertReport(const ChildResult& result, const char* location, const char* condition)
{
    return reportTitle("Assert failed", result) +
           "Location: src/common/tracing/TraceBuffer:" + location + "()\nCondition: \"" +
           condition +
           "\"\n"
           "No reason given\n"
           "No error context set\n";
}

TEST(TraceBufferAssertions, NullChannel_TellsTheHandler)
{
    const ChildResult result = runWithHandler([] {
        const TraceBuffer line(nullptr);
        std::puts("went on");
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("[m_channel] [framework/src/common/tracing/TraceBuffer:13, TraceBuffer()] []\n"
              "went on\n",
              result.out);
}

TEST(TraceBufferAssertions, NullChannel_Report)
{
    const ChildResult result = runInChild([] { const TraceBuffer line(nullptr); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(assertReport(result, "13, TraceBuffer", "m_channel"), result.err);
}

TEST(TraceBufferAssertions, NullChannel_IsAssertedOnceAndNeverUsed)
{
    const ChildResult result = runInChild([] {
        RecordingClient client;
        const support::InstalledClient installed(client);
        {
            TraceBuffer line(nullptr);
            line.append("a");
            line.appendf("%d", 1);
            line.append(3, "b");
            line.appendf(3, "%d", 2);
            line.print();
            line.set(3, "c");
            line.setf(3, "%d", 3);
            line.append(-32768, "d");
            line.reset();
            line.append("e");
        }
        EXPECT_EQ("", client.calls());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(assertReport(result, "13, TraceBuffer", "m_channel"), result.err);
}

TEST(TraceBufferAssertions, NullChannel_LevelIsAssertedToo)
{
    const ChildResult result = runInChild([] {
        TraceBuffer line(nullptr);
        line.append(6, "a");
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(assertReport(result, "13, TraceBuffer", "m_channel") +
                  assertReport(result, "80, append", "level <= Levels::LevelFATAL"),
              result.err);
}

TEST(TraceBufferAssertions, LevelTooHigh_TellsTheHandler)
{
    const ChildResult result = runWithHandler([] {
        Net net(0);
        TraceBuffer line(&net.channel);
        line.append(6, "a");
        line.appendf(7, "%d", 1);
        line.set(8, "b");
        line.setf(32767, "%d", 2);
        line.reset();
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("[level <= Levels::LevelFATAL] "
              "[framework/src/common/tracing/TraceBuffer:80, append()] []\n"
              "[level <= Levels::LevelFATAL] "
              "[framework/src/common/tracing/TraceBuffer:93, appendf()] []\n"
              "[level <= Levels::LevelFATAL] "
              "[framework/src/common/tracing/TraceBuffer:23, set()] []\n"
              "[level <= Levels::LevelFATAL] "
              "[framework/src/common/tracing/TraceBuffer:38, setf()] []\n",
              result.out);
}

TEST(TraceBufferAssertions, LevelTooHigh_Report)
{
    const ChildResult result = runInChild([] {
        Net net(6);
        TraceBuffer line(&net.channel);
        line.append(6, "a");
        line.appendf(6, "%d", 1);
        line.set(6, "b");
        line.setf(6, "%d", 2);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(assertReport(result, "80, append", "level <= Levels::LevelFATAL") +
                  assertReport(result, "93, appendf", "level <= Levels::LevelFATAL") +
                  assertReport(result, "23, set", "level <= Levels::LevelFATAL") +
                  assertReport(result, "38, setf", "level <= Levels::LevelFATAL"),
              result.err);
}

TEST(TraceBufferAssertions, LevelOff_PassesAChannelThatIsOff)
{
    const ChildResult result = runInChild([] {
        Net net(6);
        TraceBuffer line(&net.channel);
        line.append(5, "dropped");
        line.append(6, "a");
        line.appendf(6, "%d", 1);
        line.print();
        EXPECT_EQ("string channel=net level=6 modifiers=0 text=a1", net.client.calls());
        line.set(6, "b");
        line.print();
        EXPECT_EQ("string channel=net level=6 modifiers=0 text=b", net.client.calls());
        line.setf(6, "%d", 2);
        line.print();
        EXPECT_EQ("string channel=net level=6 modifiers=0 text=2", net.client.calls());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(TraceBufferAssertions, LevelOff_IsStillFiltered)
{
    const ChildResult result = runInChild([] {
        Net net(7);
        TraceBuffer line(&net.channel);
        line.append(6, "a");
        net.channel.setFilterLevel(0);
        line.print();
        EXPECT_EQ("", net.client.calls());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(assertReport(result, "80, append", "level <= Levels::LevelFATAL"), result.err);
}

TEST(TraceBufferAssertions, LevelFatal_IsNotAsserted)
{
    const ChildResult result = runWithLine([](TraceBuffer& line) {
        line.set(5, "b");
        line.setf(5, "%d", 2);
        line.append(5, "a");
        line.appendf(5, "%d", 1);
    });
    EXPECT_EQ("string channel=net level=5 modifiers=0 text=2a1\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(TraceBufferAssertions, NegativeLevels_AreNotAsserted)
{
    const ChildResult result = runWithLine([](TraceBuffer& line) {
        line.append(-1, "dropped");
        line.appendf(-32768, "%d", 1);
    });
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=kept\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(TraceBufferAssertions, NullText_TellsTheHandler)
{
    const ChildResult result = runWithLine([](TraceBuffer& line) {
        line.append(s_none);
        line.append(5, s_none);
        line.set(5, s_none);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("[text] [framework/src/common/tracing/TraceBuffer:56, append()] []\n"
              "[text] [framework/src/common/tracing/TraceBuffer:80, append()] []\n"
              "[text] [framework/src/common/tracing/TraceBuffer:23, set()] []\n"
              "string channel=net level=3 modifiers=0 text=kept\n",
              result.out);
}

TEST(TraceBufferAssertions, NullText_Report)
{
    const ChildResult result = runInChild([] {
        Net net(0);
        TraceBuffer line(&net.channel);
        line.append(s_none);
        line.append(5, s_none);
        line.set(5, s_none);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(assertReport(result, "56, append", "text") +
                  assertReport(result, "80, append", "text") +
                  assertReport(result, "23, set", "text"),
              result.err);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

TEST(TraceBufferAssertions, NullFormat_TellsTheHandler)
{
    const ChildResult result = runWithLine([](TraceBuffer& line) {
        line.appendf(s_none);
        line.appendf(5, s_none);
        line.setf(5, s_none);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("[format] [framework/src/common/tracing/TraceBuffer:64, appendf()] []\n"
              "[format] [framework/src/common/tracing/TraceBuffer:93, appendf()] []\n"
              "[format] [framework/src/common/tracing/TraceBuffer:38, setf()] []\n"
              "string channel=net level=3 modifiers=0 text=kept\n",
              result.out);
}

TEST(TraceBufferAssertions, NullFormat_Report)
{
    const ChildResult result = runInChild([] {
        Net net(0);
        TraceBuffer line(&net.channel);
        line.appendf(s_none);
        line.appendf(5, s_none);
        line.setf(5, s_none);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(assertReport(result, "64, appendf", "format") +
                  assertReport(result, "93, appendf", "format") +
                  assertReport(result, "38, setf", "format"),
              result.err);
}

TEST(TraceBufferAssertions, NullTextOnARejectedSet_StillClears)
{
    const ChildResult result = runInChild([] {
        Net net(2);
        TraceBuffer line(&net.channel);
        line.append(3, "a");
        line.set(1, s_none);
        line.append(3, "b");
        line.setf(1, s_none);
        line.print();
        EXPECT_EQ("", net.client.calls());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

#pragma GCC diagnostic pop

/// Refuses each string.
struct ThrowingClient : tracing::IClient
{
    using IClient::logMessage;

    void logMessage(const Channel&, short, short, const std::string&) override
    {
        ++calls;
        throw std::runtime_error("refused");
    }

    int calls = 0;
};

TEST(TraceBufferClient, Throws_PrintLetsItOutAndResets)
{
    Net net(0);
    ThrowingClient throwing;
    net.channel.m_client = &throwing;
    TraceBuffer line(&net.channel);
    line.append(3, "a");
    EXPECT_THROW(line.print(), std::runtime_error);
    EXPECT_NO_THROW(line.print());
    EXPECT_EQ(1, throwing.calls);
    net.channel.m_client = &net.client;
    line.append("b");
    line.print();
    EXPECT_EQ("string channel=net level=0 modifiers=0 text=b", net.client.calls());
}

TEST(TraceBufferClient, Throws_DestructorSwallowsIt)
{
    Net net(0);
    ThrowingClient throwing;
    net.channel.m_client = &throwing;
    {
        TraceBuffer line(&net.channel);
        line.append(3, "a");
    }
    EXPECT_EQ(1, throwing.calls);
}

/// Is where a thread may be cancelled.
struct CancellableClient : tracing::IClient
{
    using IClient::logMessage;

    void logMessage(const Channel&, short, short, const std::string&) override
    {
        pthread_testcancel();
        isThrough = true;
    }

    bool isThrough = false;
};

TEST(TraceBufferClient, IsACancellationPoint_DestructorSendsTheLineFirst)
{
    Net net(0);
    CancellableClient cancellable;
    net.channel.m_client = &cancellable;
    pthread_t thread;
    const auto logAndEnd = [](void* channel) -> void* {
        pthread_cancel(pthread_self());
        TraceBuffer(static_cast<Channel*>(channel)).append("a");
        pthread_testcancel();
        return nullptr;
    };
    ASSERT_EQ(0, pthread_create(&thread, nullptr, logAndEnd, &net.channel));
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(PTHREAD_CANCELED, result);
    EXPECT_TRUE(cancellable.isThrough);
}

} // namespace
