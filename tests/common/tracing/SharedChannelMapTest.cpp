// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/SharedChannelMap.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <type_traits>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/RegisteredChannels.h"

// The thread sanitizer keeps the operators to itself.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define FIXED_OPERATORS
#endif
#endif

#ifndef FIXED_OPERATORS

namespace {

bool s_objectsFail = false;

} // namespace

/// The form of `new` by which channels are made, alone: the nodes of the map come from the other.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (s_objectsFail) return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

#endif

namespace {

using support::ChildResult;
using support::registeredPaths;
using support::runInChild;
using tracing::Channel;
using tracing::ChannelList;
using tracing::SharedChannelEntry;
using tracing::SharedChannelMap;
using tracing::SharedChannelPtr;

static_assert(std::is_same<decltype(SharedChannelEntry::count), std::uint32_t>::value);
static_assert(std::is_same<decltype(SharedChannelEntry::channel), Channel*>::value);
static_assert(offsetof(SharedChannelEntry, count) == 0);

static_assert(!std::is_copy_constructible<SharedChannelPtr>::value);
static_assert(!std::is_copy_assignable<SharedChannelPtr>::value);
static_assert(!std::is_move_constructible<SharedChannelPtr>::value);
static_assert(!std::is_move_assignable<SharedChannelPtr>::value);
static_assert(!std::is_copy_constructible<SharedChannelMap>::value);
static_assert(!std::is_copy_assignable<SharedChannelMap>::value);
static_assert(!std::is_move_constructible<SharedChannelMap>::value);
static_assert(!std::is_move_assignable<SharedChannelMap>::value);

static_assert(!std::is_default_constructible<SharedChannelPtr>::value);
static_assert(std::is_convertible<const std::string&, SharedChannelPtr>::value);
static_assert(!std::is_convertible<const SharedChannelPtr&, bool>::value);
static_assert(std::is_nothrow_destructible<SharedChannelPtr>::value);

SharedChannelMap& shared()
{
    return *SharedChannelMap::getInstance();
}

/// Notes what it is told.
class Listener : public tracing::IChannelListListener
{
public:
    Listener() { ChannelList::getInstance()->setListener(this); }
    ~Listener() override { ChannelList::getInstance()->setListener(nullptr); }

    void channelRegistered(Channel* channel) override { calls += "+" + channel->m_path + " "; }
    void channelUnregistered(Channel* channel) override { calls += "-" + channel->m_path + " "; }

    std::string calls;
};

TEST(SharedChannelMap, FreshChannel_HasItsPathAndIsListed)
{
    Channel* const channel = shared().mapChannel("net_tcp");
    ASSERT_NE(nullptr, channel);
    EXPECT_EQ("", channel->m_name);
    EXPECT_EQ("net_tcp", channel->m_path);
    EXPECT_EQ(7, channel->m_initialLevel);
    EXPECT_EQ(6, channel->m_filterLevel);
    EXPECT_EQ(2U, channel->m_flags);
    EXPECT_EQ("[net_tcp]", registeredPaths());
    shared().unmapChannel("net_tcp");
}

TEST(SharedChannelMap, FreshChannel_IsInNoTreeAndHasNoClient)
{
    Channel* const channel = shared().mapChannel("net_tcp");
    ASSERT_NE(nullptr, channel);
    EXPECT_EQ(nullptr, channel->m_client);
    EXPECT_EQ(nullptr, channel->m_parent);
    EXPECT_TRUE(channel->m_children.empty());
    EXPECT_EQ(-1, channel->m_channelId);
    shared().unmapChannel("net_tcp");
}

TEST(SharedChannelMap, SecondUse_SharesTheChannel)
{
    Channel* const channel = shared().mapChannel("net");
    channel->setFilterLevel(2);
    EXPECT_EQ(channel, shared().mapChannel("net"));
    EXPECT_EQ(2, channel->m_filterLevel);
    EXPECT_EQ("[net]", registeredPaths());
    shared().unmapChannel("net");
    shared().unmapChannel("net");
}

TEST(SharedChannelMap, LastUnmapDestroys)
{
    shared().mapChannel("net");
    shared().mapChannel("net");
    shared().mapChannel("net");
    shared().unmapChannel("net");
    EXPECT_EQ("[net]", registeredPaths());
    shared().unmapChannel("net");
    EXPECT_EQ("[net]", registeredPaths());
    shared().unmapChannel("net");
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelMap, NameIsUnknownAfterTheLastUnmap)
{
    shared().mapChannel("net")->setFilterLevel(2);
    shared().unmapChannel("net");
    shared().unmapChannel("net");
    Channel* const again = shared().mapChannel("net");
    EXPECT_EQ(6, again->m_filterLevel);
    EXPECT_EQ("[net]", registeredPaths());
    shared().unmapChannel("net");
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelMap, UnmapOfAnUnknownName_ChangesNothing)
{
    Channel* const channel = shared().mapChannel("net");
    shared().unmapChannel("nets");
    shared().unmapChannel("ne");
    shared().unmapChannel("Net");
    shared().unmapChannel("");
    EXPECT_EQ("[net]", registeredPaths());
    EXPECT_EQ(channel, shared().mapChannel("net"));
    shared().unmapChannel("net");
    shared().unmapChannel("net");
}

TEST(SharedChannelMap, EmptyName_IsANameLikeAnyOther)
{
    Channel* const channel = shared().mapChannel("");
    ASSERT_NE(nullptr, channel);
    EXPECT_EQ(channel, shared().mapChannel(std::string()));
    EXPECT_EQ("[]", registeredPaths());
    shared().unmapChannel("");
    EXPECT_EQ("[]", registeredPaths());
    shared().unmapChannel("");
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelMap, NamesThatBeginAlike_AreDifferent)
{
    shared().mapChannel("net_tcp");
    shared().mapChannel("net");
    shared().mapChannel("net_");
    EXPECT_EQ("[net_tcp][net][net_]", registeredPaths());
    shared().unmapChannel("net");
    EXPECT_EQ("[net_tcp][net_]", registeredPaths());
    shared().unmapChannel("net_tcp");
    shared().unmapChannel("net_");
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelMap, NameWithATerminator_CountsWhole)
{
    const std::string longer("net\0x", 5);
    shared().mapChannel("net");
    EXPECT_EQ(longer, shared().mapChannel(longer)->m_path);
    shared().unmapChannel(longer);
    EXPECT_EQ("[net]", registeredPaths());
    shared().unmapChannel("net");
}

TEST(SharedChannelMap, UnmapByTheChannelsOwnPath)
{
    const std::string name = "a path that is longer than any short string";
    Channel* const channel = shared().mapChannel(name);
    shared().mapChannel(name);
    shared().unmapChannel(channel->m_path);
    EXPECT_EQ("[a path that is longer than any short string]", registeredPaths());
    shared().unmapChannel(channel->m_path);
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelMap, Listener_HearsOfTheFirstAndTheLastUse)
{
    Listener listener;
    shared().mapChannel("net");
    shared().mapChannel("net");
    EXPECT_EQ("+net ", listener.calls);
    shared().unmapChannel("net");
    EXPECT_EQ("+net ", listener.calls);
    shared().unmapChannel("net");
    EXPECT_EQ("+net -net ", listener.calls);
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelMap, OwnMap_SharesNothingWithTheProcesss)
{
    Channel* const channel = shared().mapChannel("net");
    SharedChannelMap own;
    Channel* const other = own.mapChannel("net");
    EXPECT_NE(channel, other);
    EXPECT_EQ("[net][net]", registeredPaths());
    own.unmapChannel("net");
    EXPECT_EQ("[net]", registeredPaths());
    EXPECT_EQ(channel, ChannelList::getInstance()->getChannels().front());
    shared().unmapChannel("net");
}

TEST(SharedChannelMap, DestroyedMap_LeavesItsChannelsAlive)
{
    std::optional<SharedChannelMap> own;
    own.emplace();
    const std::unique_ptr<Channel> first(own->mapChannel("first"));
    const std::unique_ptr<Channel> second(own->mapChannel("second"));
    Listener listener;
    own.reset();
    EXPECT_EQ("", listener.calls);
    EXPECT_EQ("[first][second]", registeredPaths());
    EXPECT_EQ("first", first->m_path);
    ChannelList::getInstance()->getChannels().clear();
}

TEST(SharedChannelPtr, GivesTheChannel)
{
    const SharedChannelPtr handle("net");
    Channel* const channel = ChannelList::getInstance()->getChannels().front();
    EXPECT_EQ("[net]", registeredPaths());
    EXPECT_EQ(channel, handle.get());
    EXPECT_EQ(channel, &*handle);
    EXPECT_EQ("net", handle->m_path);
    EXPECT_TRUE(static_cast<bool>(handle));
}

TEST(SharedChannelPtr, TwoHandlesShare_AndTheLastDestroys)
{
    std::optional<SharedChannelPtr> first;
    std::optional<SharedChannelPtr> second;
    first.emplace("net");
    second.emplace("net");
    EXPECT_EQ(first->get(), second->get());
    first.reset();
    EXPECT_EQ("[net]", registeredPaths());
    EXPECT_EQ("net", (*second)->m_path);
    second.reset();
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelPtr, IsAUseOfTheProcesssMap)
{
    std::optional<SharedChannelPtr> handle("net");
    EXPECT_EQ(handle->get(), shared().mapChannel("net"));
    handle.reset();
    EXPECT_EQ("[net]", registeredPaths());
    shared().unmapChannel("net");
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelPtr, KeepsItsName_WhateverBecomesOfTheTextAndThePath)
{
    std::optional<SharedChannelPtr> handle;
    std::string name = "a name that is longer than any short string";
    handle.emplace(name);
    name = "another name";
    (*handle)->m_path = "a path that the client made";
    handle.reset();
    EXPECT_EQ("", registeredPaths());
}

#ifndef FIXED_OPERATORS

/// While it exists, no channel can be made.
struct NoChannels
{
    NoChannels() { s_objectsFail = true; }
    ~NoChannels() { s_objectsFail = false; }
    NoChannels(const NoChannels&) = delete;
    NoChannels& operator=(const NoChannels&) = delete;
};

TEST(SharedChannelMap, NoMemoryForTheChannel_IsAUseAllTheSame)
{
    const ChildResult result = runInChild([] {
        SharedChannelMap own;
        {
            const NoChannels exhausted;
            EXPECT_EQ(nullptr, own.mapChannel("net"));
        }
        EXPECT_EQ(nullptr, own.mapChannel("net"));
        own.unmapChannel("net");
        EXPECT_EQ(nullptr, own.mapChannel("net"));
        EXPECT_EQ("", registeredPaths());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("", result.err);
}

TEST(SharedChannelMap, NoMemoryForTheChannel_LastUnmapForgetsTheName)
{
    {
        const NoChannels exhausted;
        shared().mapChannel("net");
        shared().mapChannel("net");
    }
    shared().unmapChannel("net");
    shared().unmapChannel("net");
    EXPECT_NE(nullptr, shared().mapChannel("net"));
    EXPECT_EQ("[net]", registeredPaths());
    shared().unmapChannel("net");
    EXPECT_EQ("", registeredPaths());
}

TEST(SharedChannelPtr, NoMemoryForTheChannel_IsNullAndABalancedUse)
{
    std::optional<SharedChannelPtr> handle;
    {
        const NoChannels exhausted;
        handle.emplace("net");
    }
    EXPECT_EQ(nullptr, handle->get());
    EXPECT_FALSE(static_cast<bool>(*handle));
    EXPECT_FALSE(static_cast<bool>(SharedChannelPtr("net")));
    handle.reset();
    EXPECT_TRUE(static_cast<bool>(SharedChannelPtr("net")));
    EXPECT_EQ("", registeredPaths());
}

#endif

} // namespace
