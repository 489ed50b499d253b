// SPDX-License-Identifier: Apache-2.0
//
// Shared channels while every allocation of the thread fails.

#include <common/tracing/SharedChannelMap.h>

#include <optional>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <gtest/gtest.h>

#include "support/FailingMalloc.h"
#include "support/RegisteredChannels.h"

namespace {

using support::attemptsOf;
using support::FailingMalloc;
using support::registeredPaths;
using tracing::Channel;
using tracing::ChannelList;
using tracing::SharedChannelMap;
using tracing::SharedChannelPtr;

constexpr const char* LONG = "longer than any string that fits into the string object";

TEST(SharedChannelMapExhaustion, MapChannel_WithoutItsEntryIsNoUse)
{
    SharedChannelMap& map = *SharedChannelMap::getInstance();
    const std::string name("net");
    Channel* channel = map.mapChannel("other");
    attemptsOf([&] { channel = map.mapChannel(name); });
    EXPECT_EQ(nullptr, channel);
    EXPECT_NE(nullptr, map.mapChannel(name));
    EXPECT_EQ("[other][net]", registeredPaths());
    map.unmapChannel(name);
    EXPECT_EQ("[other]", registeredPaths());
    map.unmapChannel("other");
}

/// Takes the memory away between the making of a channel and that of its entry.
struct ExhaustingListener : support::LastChannel
{
    void channelRegistered(Channel* channel) override
    {
        registered = channel;
        exhausted.emplace();
    }

    std::optional<FailingMalloc> exhausted;
};

TEST(SharedChannelMapExhaustion, MapChannel_WithoutItsEntryLeavesNoChannel)
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

TEST(SharedChannelMapExhaustion, MapChannel_FurtherUseNeedsNoMemory)
{
    SharedChannelMap& map = *SharedChannelMap::getInstance();
    const std::string name(LONG);
    Channel* const channel = map.mapChannel(name);
    Channel* again = nullptr;
    EXPECT_EQ(0, attemptsOf([&] { again = map.mapChannel(name); }));
    EXPECT_EQ(channel, again);
    EXPECT_EQ(0, attemptsOf([&] { map.unmapChannel(name); }));
    EXPECT_EQ("[longer than any string that fits into the string object]", registeredPaths());
    EXPECT_EQ(0, attemptsOf([&] { map.unmapChannel(name); }));
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelMapExhaustion, Handle_WithoutItsNameTakesNoUseOfAnother)
{
    const std::string name(LONG);
    const SharedChannelPtr other(name);
    const SharedChannelPtr unnamed("");
    std::optional<SharedChannelPtr> handle;
    attemptsOf([&] { handle.emplace(name); });
    EXPECT_EQ(nullptr, handle->get());
    handle.reset();
    EXPECT_EQ("[longer than any string that fits into the string object][]", registeredPaths());
}

TEST(SharedChannelMapExhaustion, Handle_WithoutItsEntryTakesNoUseOfALaterOne)
{
    const std::string name("net");
    std::optional<SharedChannelPtr> handle;
    attemptsOf([&] { handle.emplace(name); });
    EXPECT_EQ(nullptr, handle->get());
    const SharedChannelPtr later(name);
    EXPECT_NE(nullptr, later.get());
    handle.reset();
    EXPECT_EQ("[net]", registeredPaths());
}

TEST(SharedChannelMapExhaustion, Handle_SharesUnderAShortNameWithoutMemory)
{
    const std::string name("net");
    const SharedChannelPtr other(name);
    std::optional<SharedChannelPtr> handle;
    EXPECT_EQ(0, attemptsOf([&] { handle.emplace(name); }));
    EXPECT_EQ(other.get(), handle->get());
    handle.reset();
    EXPECT_EQ("[net]", registeredPaths());
}

} // namespace
