// SPDX-License-Identifier: Apache-2.0
//
// The tree while memory runs out, at each of its allocations in turn.

#include <tracing-impl/ChannelTree.h>

#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "support/TracingTree.h"

// The thread sanitizer's own allocator cannot be replaced.
#ifdef __has_feature
#if __has_feature(thread_sanitizer)
#define FIXED_MEMORY
#endif
#endif

namespace {

using support::fieldsOf;
using support::pictureOf;
using tracing::Channel;
using tracing::IClient;
using tracing::impl::ChannelObserver;
using tracing::impl::ChannelTree;

constexpr int NEVER = -1;

/// Allocations that succeed before all others fail; `NEVER` for as many as there are.
int s_left = NEVER;

[[maybe_unused]] void* allocate(std::size_t size)
{
    if (s_left == 0) return nullptr;
    if (s_left != NEVER) --s_left;
    return std::malloc(size == 0 ? 1 : size);
}

} // namespace

#ifndef FIXED_MEMORY

// Not inlined: g++ takes a block of one that is given back to the other for a mismatch.
__attribute__((noinline)) void* operator new(std::size_t size)
{
    void* const block = allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
__attribute__((noinline)) void operator delete(void* block) noexcept
{
    std::free(block);
}
__attribute__((noinline)) void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

namespace {

/// Long enough that no string object keeps them itself.
constexpr const char* TOP = "a-long-name-at-the-top-of-the-tree";
constexpr const char* MIDDLE = "a-long-name-at-the-top-of-the-tree_another-one-in-the-middle";
constexpr const char* BOTTOM =
    "a-long-name-at-the-top-of-the-tree_another-one-in-the-middle_and-one-at-the-bottom";

struct SilentObserver : ChannelObserver
{
    void channelChanged(const std::string&, short) override { ++changed; }
    int changed = 0;
};

struct Fixture
{
    IClient client;
    SilentObserver observer;
    ChannelTree tree{"pump", client, {}, observer};
};

/// Runs `body` with memory for `count` allocations. Returns whether that was enough.
template <typename Body>
bool runWith(int count, const Body& body)
{
    s_left = count;
    body();
    const bool wasEnough = s_left != 0;
    s_left = NEVER;
    return wasEnough;
}

/// Takes `channel` in with more and more memory, in vain, until there is enough. Returns how often
/// it was in vain.
int failuresOfTakeIn(Fixture& pump, Channel& channel, const std::string& untouched)
{
    int count = 0;
    while (channel.m_client == nullptr && count < 100) {
        EXPECT_EQ(untouched, fieldsOf(channel));
        EXPECT_EQ(nullptr, channel.m_parent);
        runWith(count++, [&] { pump.tree.takeIn(channel); });
    }
    return count - 1;
}

TEST(ChannelTreeMemory, TakeIn_OfANewPathLeavesTheChannelUntouched)
{
    Channel channel(BOTTOM, 2, 0);
    Fixture pump;
    const std::string untouched =
        "name= path=" + std::string(BOTTOM) + " id=-1 level=6 children=0 without client";
    EXPECT_LE(10, failuresOfTakeIn(pump, channel, untouched));
    EXPECT_EQ("pump(a-long-name-at-the-top-of-the-tree(another-one-in-the-middle("
              "and-one-at-the-bottom#1)))",
              pictureOf(channel));
    EXPECT_EQ(2, channel.m_filterLevel);
    EXPECT_EQ(1, pump.observer.changed);
}

TEST(ChannelTreeMemory, TakeIn_OfALocalNameLeavesTheChannelUntouched)
{
    Channel channel(MIDDLE, 2, Channel::FLAG_LOCAL_NAME);
    Fixture pump;
    const std::string untouched =
        "name=" + std::string(MIDDLE) + " path= id=-1 level=6 children=0 without client";
    EXPECT_LE(4, failuresOfTakeIn(pump, channel, untouched));
    EXPECT_EQ("pump(" + std::string(MIDDLE) + "#1)", pictureOf(channel));
}

TEST(ChannelTreeMemory, TakeIn_LeavesTheTreeWhole)
{
    Channel top(TOP, 1, 0);
    Channel below(BOTTOM, 7, 0);
    Channel middle(MIDDLE, 2, 0);
    Fixture pump;
    pump.tree.takeIn(top);
    pump.tree.takeIn(below);
    for (int count = 0; middle.m_client == nullptr && count < 100; ++count) {
        EXPECT_EQ("pump(a-long-name-at-the-top-of-the-tree#1(another-one-in-the-middle("
                  "and-one-at-the-bottom#2)))",
                  pictureOf(top));
        EXPECT_EQ(1, below.m_filterLevel);
        runWith(count, [&] { pump.tree.takeIn(middle); });
    }
    EXPECT_EQ("pump(a-long-name-at-the-top-of-the-tree#1(another-one-in-the-middle#3("
              "and-one-at-the-bottom#2)))",
              pictureOf(top));
    EXPECT_EQ(2, below.m_filterLevel);
}

TEST(ChannelTreeMemory, TakeIn_OfASecondChannelLeavesTheFirst)
{
    Channel first(MIDDLE, 1, 0);
    Channel second(MIDDLE, 2, 0);
    Fixture pump;
    pump.tree.takeIn(first);
    const std::string untouched =
        "name= path=" + std::string(MIDDLE) + " id=-1 level=6 children=0 without client";
    EXPECT_LE(3, failuresOfTakeIn(pump, second, untouched));
    EXPECT_EQ("pump(a-long-name-at-the-top-of-the-tree(another-one-in-the-middle#1 "
              "another-one-in-the-middle#2))",
              pictureOf(first));
}

TEST(ChannelTreeMemory, TakeIn_InVainDoesNotStandInTheWayOfOthers)
{
    Channel bottom(BOTTOM, 2, 0);
    Channel top(TOP, 1, 0);
    Fixture pump;
    for (int count = 0; count < 5; ++count)
        runWith(count, [&] { pump.tree.takeIn(bottom); });
    EXPECT_EQ(nullptr, bottom.m_client);
    pump.tree.release(bottom);
    pump.tree.takeIn(top);
    EXPECT_EQ(1, top.m_channelId);
    EXPECT_EQ(1U, pump.tree.states().size());
    pump.tree.release(top);
    EXPECT_EQ(0U, pump.tree.states().size());
}

TEST(ChannelTreeMemory, SetLevel_ReturnsFalseAndChangesNothing)
{
    Channel channel(TOP, 2, 0);
    Fixture pump;
    pump.tree.takeIn(channel);
    bool done = true;
    EXPECT_FALSE(runWith(0, [&] { done = pump.tree.setLevel(channel, 0); }));
    EXPECT_FALSE(done);
    EXPECT_EQ(2, channel.m_filterLevel);
    EXPECT_FALSE(runWith(1, [&] { done = pump.tree.setLevel(channel, 0); }));
    EXPECT_FALSE(done);
    EXPECT_EQ(2, channel.m_filterLevel);
    EXPECT_TRUE(pump.tree.setLevel(channel, 0));
    EXPECT_EQ(0, channel.m_filterLevel);
}

TEST(ChannelTreeMemory, SetLevel_OfAPathThatWasSetBeforeTakesNoMemory)
{
    Channel channel(TOP, 2, 0);
    Fixture pump;
    pump.tree.takeIn(channel);
    EXPECT_TRUE(pump.tree.setLevel(channel, 0));
    bool done = false;
    runWith(0, [&] { done = pump.tree.setLevel(channel, 5); });
    EXPECT_TRUE(done);
    EXPECT_EQ(5, channel.m_filterLevel);
}

TEST(ChannelTreeMemory, SetEnabled_SwitchingOffReturnsFalseAndSwitchingOnTakesNoMemory)
{
    Channel channel(TOP, 2, 0);
    Fixture pump;
    pump.tree.takeIn(channel);
    bool done = true;
    runWith(0, [&] { done = pump.tree.setEnabled(channel, false); });
    EXPECT_FALSE(done);
    EXPECT_EQ(2, channel.m_filterLevel);
    EXPECT_TRUE(pump.tree.setEnabled(channel, false));
    runWith(0, [&] { done = pump.tree.setEnabled(channel, true); });
    EXPECT_TRUE(done);
    EXPECT_EQ(2, channel.m_filterLevel);
}

TEST(ChannelTreeMemory, Release_TakesNoMemory)
{
    Channel top(TOP, 1, 0);
    Channel bottom(BOTTOM, 7, Channel::FLAG_LOCAL_NAME);
    Channel below(MIDDLE, 7, 0);
    Fixture pump;
    for (Channel* channel : {&top, &bottom, &below})
        pump.tree.takeIn(*channel);
    runWith(0, [&] {
        pump.tree.release(top);
        pump.tree.release(bottom);
        pump.tree.release(below);
    });
    EXPECT_EQ(BOTTOM, bottom.m_name);
    EXPECT_EQ(nullptr, below.m_client);
    EXPECT_EQ(0U, pump.tree.states().size());
}

} // namespace

#endif
