// SPDX-License-Identifier: Apache-2.0
//
// The shared channels from the first use of their map to the exit of the process. Only children use
// the map, each for the first time.

#include <common/tracing/SharedChannelMap.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <thread>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

using support::ChildResult;
using support::runInChild;
using support::runInChildToExit;
using tracing::Channel;
using tracing::ChannelList;
using tracing::SharedChannelMap;
using tracing::SharedChannelPtr;

/// Prints what it is told.
struct Listener : tracing::IChannelListListener
{
    void channelRegistered(Channel* channel) override
    {
        std::printf("registered %s\n", channel->m_path.c_str());
    }
    void channelUnregistered(Channel* channel) override
    {
        std::printf("unregistered %s\n", channel->m_path.c_str());
    }
};

/// Lives until the process is gone.
void listen()
{
    static Listener* const s_listener = new Listener;
    ChannelList::getInstance()->setListener(s_listener);
}

/// What outlives the map: storage that no exit handler of its own tears down.
union LongLived {
    LongLived() : handle() {}
    ~LongLived() {}

    std::optional<SharedChannelPtr> handle;
} s_longLived;

/// Found by leak checks, as the map that owned it is gone.
Channel* s_channel = nullptr;

/// Runs `body` and exits. `last` runs behind the destruction of what `body` has built.
template <typename Body>
ChildResult exitAfter(void (*last)(), Body body)
{
    return runInChildToExit([&] {
        std::atexit(last);
        listen();
        body();
    });
}

void nothing() {}

TEST(SharedChannelMap, FirstCallsOfManyThreads_GiveOneInstance)
{
    const ChildResult result = runInChild([] {
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::array<SharedChannelMap*, 16> seen{};
        std::array<std::thread, 16> threads;
        for (std::size_t index = 0; index < threads.size(); ++index)
            threads[index] = std::thread([&, index, started] {
                started.wait();
                seen[index] = SharedChannelMap::getInstance();
            });
        start.set_value();
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_NE(nullptr, seen[0]);
        for (const SharedChannelMap* map : seen)
            EXPECT_EQ(seen[0], map);
    });
    EXPECT_EQ(0, result.exitCode) << result.out << result.err;
}

TEST(SharedChannelMapExit, MappedChannels_AreNotDestroyed)
{
    const ChildResult result =
        exitAfter([] { std::printf("%s is alive\n", s_channel->m_path.c_str()); },
                  [] { s_channel = SharedChannelMap::getInstance()->mapChannel("net"); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("registered net\nnet is alive\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(SharedChannelMapExit, StaticHandle_GivesItsUseBack)
{
    const ChildResult result =
        exitAfter(nothing, [] { static const SharedChannelPtr s_handle("net"); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("registered net\nunregistered net\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(SharedChannelMapExit, HandleThatOutlivesTheMap_DoesNothing)
{
    const ChildResult result = exitAfter(
        [] {
            std::printf("still %s\n", (*s_longLived.handle)->m_path.c_str());
            s_channel = s_longLived.handle->get();
            s_longLived.handle.reset();
            std::printf("%s is alive\n", s_channel->m_path.c_str());
        },
        [] { s_longLived.handle.emplace("a name that is longer than any short string"); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("registered a name that is longer than any short string\n"
              "still a name that is longer than any short string\n"
              "a name that is longer than any short string is alive\n",
              result.out);
    EXPECT_EQ("", result.err);
}

TEST(SharedChannelMapExit, HandleThatIsBuiltBehindTheMap_IsNull)
{
    const ChildResult result = exitAfter(
        [] {
            const SharedChannelPtr known("net");
            const SharedChannelPtr unknown("usb");
            std::puts(known ? "known" : "null");
            std::puts(unknown ? "unknown" : "null");
        },
        [] { s_channel = SharedChannelMap::getInstance()->mapChannel("net"); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("registered net\nnull\nnull\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(SharedChannelMapExit, HandleAndLateHandle_OfOneName)
{
    const ChildResult result = exitAfter(
        [] {
            s_channel = s_longLived.handle->get();
            const std::unique_ptr<SharedChannelPtr> late(new SharedChannelPtr("net"));
            s_longLived.handle.reset();
            std::puts(late->get() != nullptr ? "shared" : "null");
        },
        [] { s_longLived.handle.emplace("net"); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("registered net\nnull\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(SharedChannelMapExit, FirstUseWhileTheProcessExits_Works)
{
    const ChildResult result = exitAfter(
        [] {
            const SharedChannelPtr handle("net");
            std::puts(handle ? "there" : "null");
        },
        [] {});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("registered net\nthere\nunregistered net\n", result.out);
    EXPECT_EQ("", result.err);
}

} // namespace
