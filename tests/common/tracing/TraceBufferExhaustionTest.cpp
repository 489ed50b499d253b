// SPDX-License-Identifier: Apache-2.0
//
// Trace buffers while every allocation of the thread fails.

#include <common/tracing/TraceBuffer.h>

#include <string>

#include <common/tracing/Channel.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"
#include "support/RecordingClient.h"

namespace {

using support::attemptsOf;
using support::ChildResult;
using support::RecordingClient;
using support::runInChild;
using tracing::Channel;
using tracing::TraceBuffer;

constexpr const char* LONG = "longer than any string that fits into the string object";

/// A line on a channel whose client notes what is sent.
class TraceBufferExhaustion : public testing::Test
{
protected:
    TraceBufferExhaustion() : channel("net", 0, 0), line(&channel)
    {
        channel.m_client = &client;
        channel.setFilterLevel(2);
    }

    /// Prints the line. Returns what arrived.
    std::string printed()
    {
        line.print();
        return client.calls();
    }

    RecordingClient client;
    Channel channel;
    TraceBuffer line;
};

TEST_F(TraceBufferExhaustion, Append_DropsThePieceAndItsLevel)
{
    line.append(3, "kept");
    attemptsOf([&] { line.append(LONG); });
    attemptsOf([&] { line.appendf("%s", LONG); });
    attemptsOf([&] { line.append(4, LONG); });
    attemptsOf([&] { line.appendf(5, "%s", LONG); });
    EXPECT_EQ(0, attemptsOf([&] { line.append("!"); }));
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=kept!", printed());
}

TEST_F(TraceBufferExhaustion, Set_DropsThePieceAndItsLevel)
{
    channel.setFilterLevel(0);
    line.append(3, "old");
    attemptsOf([&] { line.set(4, LONG); });
    line.append("new");
    EXPECT_EQ("string channel=net level=0 modifiers=0 text=new", printed());
    line.append(3, "old");
    attemptsOf([&] { line.setf(4, "%s", LONG); });
    line.append("new");
    EXPECT_EQ("string channel=net level=0 modifiers=0 text=new", printed());
}

TEST_F(TraceBufferExhaustion, Print_DropsTheLineAndResets)
{
    line.append(3, LONG);
    attemptsOf([&] { line.print(); });
    EXPECT_EQ("", client.calls());
    EXPECT_EQ("", printed());
    line.append(3, "new");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=new", printed());
}

TEST_F(TraceBufferExhaustion, WithoutChannel_IsReported)
{
    const ChildResult result =
        runInChild([] { EXPECT_EQ(0, attemptsOf([] { const TraceBuffer none(nullptr); })); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(support::reportTitle("Assert failed", result) +
                  "Location: src/common/tracing/TraceBuffer:13, TraceBuffer()\n"
                  "Condition: \"m_channel\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

} // namespace
