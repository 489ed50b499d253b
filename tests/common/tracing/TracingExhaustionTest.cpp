// SPDX-License-Identifier: Apache-2.0
//
// Channels and what is logged on them while every allocation of the thread fails.

#include <cstdio>
#include <optional>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <common/tracing/SharedChannelMap.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"
#include "support/RecordingClient.h"
#include "support/RegisteredChannels.h"

namespace {

using support::attemptsOf;
using support::ChildResult;
using support::LastChannel;
using support::RecordingClient;
using support::registeredPaths;
using support::runInChild;
using tracing::Channel;
using tracing::ChannelList;
using tracing::SharedChannelPtr;

constexpr const char* LONG = "longer than any string that fits into the string object";

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
        attemptsOf([&] { body(channel); });
        std::printf("strings=%d raws=%d buffers=%d", client.strings, client.raws, client.buffers);
    });
    EXPECT_EQ(0, result.exitCode);
    return result.out + result.err;
}

/// The list is asked for while there is no memory, before anything else in the process made it.
const ChildResult s_noList = runInChild([] {
    attemptsOf([] { ChannelList::getInstance(); });
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
    attemptsOf([&] {
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

TEST(TracingExhaustion, ChannelWithoutName_IsRegisteredWithTheListener)
{
    const std::string name(LONG);
    LastChannel listener;
    ChannelList::getInstance()->setListener(&listener);
    std::optional<Channel> channel;
    attemptsOf([&] { channel.emplace(name, 3, 2U); });
    EXPECT_EQ(&*channel, listener.registered);
    EXPECT_EQ(2U, channel->m_flags);
    EXPECT_EQ(nullptr, listener.unregistered);
    attemptsOf([&] { channel.reset(); });
    EXPECT_EQ(listener.registered, listener.unregistered);
    ChannelList::getInstance()->setListener(nullptr);
}

TEST(TracingExhaustion, Registration_WithoutMemoryTheChannelIsNotListed)
{
    const Channel before("before", 0, 2);
    std::optional<Channel> channel;
    const std::string name("net");
    attemptsOf([&] { channel.emplace(name, 3, 2U); });
    EXPECT_EQ("[before]", registeredPaths());
    EXPECT_EQ("net", channel->m_path); // fits into the string object
    channel.reset();
    EXPECT_EQ("[before]", registeredPaths());
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
    attemptsOf([&] { tree.leaf.fillPathString(out); });
    EXPECT_EQ("path: ", out);
    EXPECT_EQ(0, attemptsOf([&] { tree.middle.fillPathString(out); }));
    EXPECT_EQ("path: net", out);
}

TEST(TracingExhaustion, DeterminePathString_LeavesThePathAsItWas)
{
    Tree tree;
    tree.leaf.m_path = "old";
    attemptsOf([&] { tree.leaf.determinePathString(); });
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
    EXPECT_EQ(0, attemptsOf([&] { channel.log(5, LONG); }));
    channel.m_client = nullptr;
    EXPECT_EQ(0, attemptsOf([&] { channel.logC(5, LONG); }));
    EXPECT_EQ(0, attemptsOf([&] { channel.logCV(5, "%s", LONG); }));
    EXPECT_EQ(0, client.strings);
}

TEST(TracingExhaustion, DummyHelper_AllocatesNothing)
{
    const ChildResult result = runInChild([] {
        tracing::DummyHelper helper;
        const std::string name(LONG);
        bool answer = true;
        EXPECT_EQ(0, attemptsOf([&] { answer = helper.init(name); }));
        EXPECT_FALSE(answer);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("FW_Tracing: init() called but no client instance available for process longer than "
              "any string that fits into the string object. Probably you forgot to link against "
              "tracing-impl?\n",
              result.err);
}

} // namespace
