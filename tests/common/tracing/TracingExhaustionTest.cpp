// SPDX-License-Identifier: Apache-2.0
//
// The tracing family while every allocation of the thread fails.

#include <cstdio>
#include <optional>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/TraceBuffer.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"
#include "support/RecordingClient.h"

namespace {

using support::ChildResult;
using support::FailingMalloc;
using support::RecordingClient;
using support::runInChild;
using tracing::Channel;
using tracing::ChannelList;
using tracing::SharedChannelMap;
using tracing::SharedChannelPtr;
using tracing::TraceBuffer;

constexpr const char* LONG = "longer than any string that fits into the string object";

/// Runs `body` while every allocation of the thread fails. Returns how many it attempted.
template <typename Body>
int callsDuring(Body body)
{
    const FailingMalloc exhausted;
    body();
    return exhausted.calls();
}

/// The paths of the channels that are registered, each in brackets.
std::string listed()
{
    std::string paths;
    for (const Channel* channel : ChannelList::getInstance()->getChannels())
        paths += "[" + channel->m_path + "]";
    return paths;
}

/// Counts what arrives, and allocates nothing.
struct CountingClient : tracing::IClient
{
    void logMessage(const Channel&, short, short, const std::string&) override { ++strings; }
    void logMessage(const Channel&, short, short, short, const void*, unsigned int) override
    {
        ++raws;
    }
    void logMessage(const Channel&, short, short, char* text, bool takeOwnership) override
    {
        ++buffers;
        if (takeOwnership) delete[] text;
    }
    void logMessage(const Channel&, short, short, long long, char* text,
                    bool takeOwnership) override
    {
        ++buffers;
        if (takeOwnership) delete[] text;
    }

    int strings = 0;
    int raws = 0;
    int buffers = 0;
};

/// Logs with `body` in an exhausted child. Returns what arrived and what was printed.
template <typename Body>
std::string arrived(Body body)
{
    const ChildResult result = runInChild([&] {
        CountingClient client;
        Channel channel("net", 0, 0);
        channel.m_client = &client;
        callsDuring([&] { body(channel); });
        std::printf("strings=%d raws=%d buffers=%d", client.strings, client.raws, client.buffers);
    });
    EXPECT_EQ(0, result.exitCode);
    return result.out + result.err;
}

/// The list is asked for while there is no memory, before anything else in the process made it.
const ChildResult s_noList = runInChild([] {
    callsDuring([] { ChannelList::getInstance(); });
    EXPECT_EQ(nullptr, ChannelList::getInstance());
    RecordingClient client;
    {
        Channel channel("net", 0, Channel::FLAG_REGISTER);
        channel.m_client = &client;
        channel.logC(3, "up");
        EXPECT_EQ(2U, channel.m_flags);
    }
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=up", client.calls());
    const SharedChannelPtr handle("usb");
    EXPECT_TRUE(static_cast<bool>(handle));
    EXPECT_EQ(nullptr, ChannelList::getInstance());
});

TEST(TracingExhaustion, ChannelList_IsNullForGoodAndChannelsWork)
{
    EXPECT_EQ(0, s_noList.exitCode) << s_noList.out;
    EXPECT_EQ("", s_noList.err);
}

TEST(TracingExhaustion, Channel_LongNameStaysEmpty)
{
    const std::string name(LONG);
    std::optional<Channel> path;
    std::optional<Channel> local;
    callsDuring([&] {
        path.emplace(name, 3, 0U);
        local.emplace(name, 4, 1U);
    });
    EXPECT_EQ("", path->m_path + path->m_name + local->m_path + local->m_name);
    EXPECT_EQ(3, path->m_initialLevel);
    EXPECT_EQ(6, path->m_filterLevel);
    EXPECT_EQ(-1, path->m_channelId);
    EXPECT_EQ(4, local->m_initialLevel);
    EXPECT_EQ(1U, local->m_flags);
}

/// Remembers the last channel that it was told of.
struct Listener : tracing::IChannelListListener
{
    void channelRegistered(Channel* channel) override { registered = channel; }
    void channelUnregistered(Channel* channel) override { unregistered = channel; }

    Channel* registered = nullptr;
    Channel* unregistered = nullptr;
};

TEST(TracingExhaustion, ChannelWithoutName_IsRegisteredWithTheListener)
{
    const std::string name(LONG);
    Listener listener;
    ChannelList::getInstance()->setListener(&listener);
    std::optional<Channel> channel;
    callsDuring([&] { channel.emplace(name, 3, 2U); });
    EXPECT_EQ(&*channel, listener.registered);
    EXPECT_EQ(2U, channel->m_flags);
    EXPECT_EQ(nullptr, listener.unregistered);
    callsDuring([&] { channel.reset(); });
    EXPECT_EQ(listener.registered, listener.unregistered);
    ChannelList::getInstance()->setListener(nullptr);
}

TEST(TracingExhaustion, Registration_WithoutMemoryTheChannelIsNotListed)
{
    const Channel before("before", 0, 2);
    std::optional<Channel> channel;
    const std::string name("net");
    callsDuring([&] { channel.emplace(name, 3, 2U); });
    EXPECT_EQ("[before]", listed());
    EXPECT_EQ("net", channel->m_path); // fits into the string object
    channel.reset();
    EXPECT_EQ("[before]", listed());
}

/// A channel two levels below a root, with a name that fits and one that does not.
struct Tree
{
    Tree() : root("root", 0, 1), middle("net", 0, 1), leaf(LONG, 0, 1)
    {
        middle.m_parent = &root;
        leaf.m_parent = &middle;
    }

    Channel root;
    Channel middle;
    Channel leaf;
};

TEST(TracingExhaustion, FillPathString_LeavesTheTextAsItWas)
{
    const Tree tree;
    std::string out = "path: ";
    callsDuring([&] { tree.leaf.fillPathString(out); });
    EXPECT_EQ("path: ", out);
    EXPECT_EQ(0, callsDuring([&] { tree.middle.fillPathString(out); }));
    EXPECT_EQ("path: net", out);
}

TEST(TracingExhaustion, DeterminePathString_LeavesThePathAsItWas)
{
    Tree tree;
    tree.leaf.m_path = "old";
    callsDuring([&] { tree.leaf.determinePathString(); });
    EXPECT_EQ("old", tree.leaf.m_path);
    tree.leaf.determinePathString();
    EXPECT_EQ("net_longer than any string that fits into the string object", tree.leaf.m_path);
}

TEST(TracingExhaustion, Texts_AreDroppedWithoutReport)
{
    EXPECT_EQ("strings=0 raws=0 buffers=0", arrived([](Channel& channel) {
                  channel.logC(5, LONG);
                  channel.logC(5, 1, LONG);
                  channel.logCV(5, "%s", LONG);
                  channel.logCV(5, short{1}, "%s", LONG);
              }));
}

TEST(TracingExhaustion, BuffersOfTheirOwn_AreDroppedWithoutReport)
{
    EXPECT_EQ("strings=0 raws=0 buffers=0", arrived([](Channel& channel) {
                  channel.logCVN(5, 10U, "%d", 1);
                  channel.logCVN(5, short{1}, 10U, "%d", 1);
                  channel.logCVN(5, short{1}, 2LL, 0U, "%d", 1);
                  channel.logRawV(5, 2, static_cast<const void*>("abc"), 3U, nullptr);
                  channel.logRawV(5, 2, short{1}, static_cast<const void*>("abc"), 3U, nullptr);
                  channel.logRawV(5, 2, nullptr);
              }));
}

TEST(TracingExhaustion, WhatNeedsNoMemoryIsSent)
{
    EXPECT_EQ("strings=2 raws=1 buffers=1", arrived([](Channel& channel) {
                  channel.logC(5, "short");
                  channel.logCV(5, "%s", "short");
                  channel.logRaw(5, 2, LONG, 10);
                  channel.logCV(5, short{1}, 2LL, "%s", LONG);
              }));
}

TEST(TracingExhaustion, SuppressedMessage_NeedsNoMemory)
{
    CountingClient client;
    Channel channel("net", 0, 0);
    channel.m_client = &client;
    EXPECT_EQ(0, callsDuring([&] { channel.log(5, LONG); }));
    channel.m_client = nullptr;
    EXPECT_EQ(0, callsDuring([&] { channel.logC(5, LONG); }));
    EXPECT_EQ(0, callsDuring([&] { channel.logCV(5, "%s", LONG); }));
    EXPECT_EQ(0, client.strings);
}

TEST(TracingExhaustion, MapChannel_WithoutItsEntryIsNoUse)
{
    SharedChannelMap& map = *SharedChannelMap::getInstance();
    const std::string name("net");
    Channel* channel = map.mapChannel("other");
    callsDuring([&] { channel = map.mapChannel(name); });
    EXPECT_EQ(nullptr, channel);
    EXPECT_NE(nullptr, map.mapChannel(name));
    EXPECT_EQ("[other][net]", listed());
    map.unmapChannel(name);
    EXPECT_EQ("[other]", listed());
    map.unmapChannel("other");
}

/// Takes the memory away between the making of a channel and that of its entry.
struct ExhaustingListener : Listener
{
    void channelRegistered(Channel* channel) override
    {
        registered = channel;
        exhausted.emplace();
    }

    std::optional<FailingMalloc> exhausted;
};

TEST(TracingExhaustion, MapChannel_WithoutItsEntryLeavesNoChannel)
{
    SharedChannelMap own;
    ExhaustingListener listener;
    ChannelList::getInstance()->setListener(&listener);
    Channel* const channel = own.mapChannel("net");
    listener.exhausted.reset();
    ChannelList::getInstance()->setListener(nullptr);
    EXPECT_EQ(nullptr, channel);
    EXPECT_NE(nullptr, listener.registered);
    EXPECT_EQ(listener.registered, listener.unregistered);
}

TEST(TracingExhaustion, MapChannel_FurtherUseNeedsNoMemory)
{
    SharedChannelMap& map = *SharedChannelMap::getInstance();
    const std::string name(LONG);
    Channel* const channel = map.mapChannel(name);
    Channel* again = nullptr;
    EXPECT_EQ(0, callsDuring([&] { again = map.mapChannel(name); }));
    EXPECT_EQ(channel, again);
    EXPECT_EQ(0, callsDuring([&] { map.unmapChannel(name); }));
    EXPECT_EQ("[longer than any string that fits into the string object]", listed());
    EXPECT_EQ(0, callsDuring([&] { map.unmapChannel(name); }));
    EXPECT_EQ("", listed());
}

TEST(TracingExhaustion, Handle_WithoutItsNameTakesNoUseOfAnother)
{
    const std::string name(LONG);
    const SharedChannelPtr other(name);
    const SharedChannelPtr unnamed("");
    std::optional<SharedChannelPtr> handle;
    callsDuring([&] { handle.emplace(name); });
    EXPECT_EQ(nullptr, handle->get());
    handle.reset();
    EXPECT_EQ("[longer than any string that fits into the string object][]", listed());
}

TEST(TracingExhaustion, Handle_WithoutItsEntryTakesNoUseOfALaterOne)
{
    const std::string name("net");
    std::optional<SharedChannelPtr> handle;
    callsDuring([&] { handle.emplace(name); });
    EXPECT_EQ(nullptr, handle->get());
    const SharedChannelPtr later(name);
    EXPECT_NE(nullptr, later.get());
    handle.reset();
    EXPECT_EQ("[net]", listed());
}

TEST(TracingExhaustion, Handle_SharesUnderAShortNameWithoutMemory)
{
    const std::string name("net");
    const SharedChannelPtr other(name);
    std::optional<SharedChannelPtr> handle;
    EXPECT_EQ(0, callsDuring([&] { handle.emplace(name); }));
    EXPECT_EQ(other.get(), handle->get());
    handle.reset();
    EXPECT_EQ("[net]", listed());
}

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
    callsDuring([&] { line.append(LONG); });
    callsDuring([&] { line.appendf("%s", LONG); });
    callsDuring([&] { line.append(4, LONG); });
    callsDuring([&] { line.appendf(5, "%s", LONG); });
    EXPECT_EQ(0, callsDuring([&] { line.append("!"); }));
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=kept!", printed());
}

TEST_F(TraceBufferExhaustion, Set_DropsThePieceAndItsLevel)
{
    channel.setFilterLevel(0);
    line.append(3, "old");
    callsDuring([&] { line.set(4, LONG); });
    line.append("new");
    EXPECT_EQ("string channel=net level=0 modifiers=0 text=new", printed());
    line.append(3, "old");
    callsDuring([&] { line.setf(4, "%s", LONG); });
    line.append("new");
    EXPECT_EQ("string channel=net level=0 modifiers=0 text=new", printed());
}

TEST_F(TraceBufferExhaustion, Print_DropsTheLineAndResets)
{
    line.append(3, LONG);
    callsDuring([&] { line.print(); });
    EXPECT_EQ("", client.calls());
    EXPECT_EQ("", printed());
    line.append(3, "new");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=new", printed());
}

TEST(TracingExhaustion, TraceBufferWithoutChannel_IsReported)
{
    const ChildResult result =
        runInChild([] { EXPECT_EQ(0, callsDuring([] { const TraceBuffer line(nullptr); })); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(support::reportTitle("Assert failed", result) +
                  "Location: src/common/tracing/TraceBuffer:13, TraceBuffer()\n"
                  "Condition: \"m_channel\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

TEST(TracingExhaustion, DummyHelper_AllocatesNothing)
{
    const ChildResult result = runInChild([] {
        tracing::DummyHelper helper;
        const std::string name(LONG);
        bool answer = true;
        EXPECT_EQ(0, callsDuring([&] { answer = helper.init(name); }));
        EXPECT_FALSE(answer);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("FW_Tracing: init() called but no client instance available for process longer than "
              "any string that fits into the string object. Probably you forgot to link against "
              "tracing-impl?\n",
              result.err);
}

} // namespace
