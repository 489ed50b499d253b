// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/ChannelList.h>

#include <cstdio>
#include <future>
#include <list>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

#include <common/tracing/Channel.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"
#include "support/ProcessEnd.h"

namespace {

using support::ChildResult;
using support::runInChild;
using support::runInChildToExit;
using tracing::Channel;
using tracing::ChannelList;
using tracing::IChannelListListener;
using Channels = std::list<Channel*>;

static_assert(!std::is_polymorphic_v<ChannelList>);
static_assert(!std::is_copy_constructible_v<ChannelList> &&
              !std::is_copy_assignable_v<ChannelList>);
static_assert(std::is_same_v<Channels&, decltype(std::declval<ChannelList&>().getChannels())>);
static_assert(std::is_abstract_v<IChannelListListener>);
static_assert(std::has_virtual_destructor_v<IChannelListListener>);
static_assert(Channel::FLAG_LOCAL_NAME == 1 && Channel::FLAG_REGISTER == 2);

/// The lists that sixteen threads get at the same time.
std::set<ChannelList*> listsOfRacingThreads()
{
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::future<ChannelList*> threads[16];
    for (std::future<ChannelList*>& thread : threads)
        thread = std::async(std::launch::async, [started] {
            started.wait();
            return ChannelList::getInstance();
        });
    start.set_value();
    std::set<ChannelList*> lists;
    for (std::future<ChannelList*>& thread : threads)
        lists.insert(thread.get());
    return lists;
}

// First, as the tests below build the list.
TEST(ChannelList, ThreadsThatRaceToBuildIt_AllGetTheSame)
{
    for (int race = 0; race < 20; ++race) {
        const ChildResult result = runInChild([] {
            const std::set<ChannelList*> lists = listsOfRacingThreads();
            EXPECT_EQ(1U, lists.size());
            EXPECT_EQ(0U, lists.count(nullptr));
        });
        EXPECT_EQ(0, result.exitCode) << result.out << result.err;
    }
}

/// Notes what it is told.
class Listener : public IChannelListListener
{
public:
    void channelRegistered(Channel* channel) override { note("+", *channel); }
    void channelUnregistered(Channel* channel) override { note("-", *channel); }

    /// The calls since the last time this was asked, as "+net -net".
    std::string calls() { return std::exchange(m_calls, std::string()); }

private:
    void note(const char* call, const Channel& channel)
    {
        m_calls += (m_calls.empty() ? "" : " ") + std::string(call) + channel.m_path;
    }

    std::string m_calls;
};

/// Leaves the list empty and without a listener.
class ChannelListFixture : public testing::Test
{
protected:
    ~ChannelListFixture() override
    {
        m_list.setListener(nullptr);
        m_list.getChannels().clear();
    }

    ChannelList& m_list = *ChannelList::getInstance();
    const Channels& m_channels = m_list.getChannels();
    Channel m_first{"first", 2, 0};
    Channel m_second{"second", 2, 0};
    Channel m_third{"third", 2, 0};
    Listener m_listener;
};
using ChannelListCollecting = ChannelListFixture;
using ChannelListListening = ChannelListFixture;
using ChannelListFlags = ChannelListFixture;

TEST_F(ChannelListCollecting, IsOneAndEmptyAtFirst)
{
    EXPECT_EQ(&m_list, ChannelList::getInstance());
    EXPECT_EQ(&m_channels, &m_list.getChannels());
    EXPECT_EQ((Channels{}), m_channels);
}

TEST_F(ChannelListCollecting, KeepsTheOrder)
{
    m_list.registerChannel(&m_second);
    m_list.registerChannel(&m_first);
    m_list.registerChannel(&m_third);
    EXPECT_EQ((Channels{&m_second, &m_first, &m_third}), m_channels);
    m_list.unregisterChannel(&m_first);
    EXPECT_EQ((Channels{&m_second, &m_third}), m_channels);
}

TEST_F(ChannelListCollecting, RegisteredTwice_IsListedTwiceAndRemovedAtOnce)
{
    m_list.registerChannel(&m_first);
    m_list.registerChannel(&m_second);
    m_list.registerChannel(&m_first);
    EXPECT_EQ((Channels{&m_first, &m_second, &m_first}), m_channels);
    m_list.unregisterChannel(&m_first);
    EXPECT_EQ((Channels{&m_second}), m_channels);
}

TEST_F(ChannelListCollecting, UnknownChannel_IsNotRemoved)
{
    m_list.registerChannel(&m_first);
    m_list.unregisterChannel(&m_second);
    EXPECT_EQ((Channels{&m_first}), m_channels);
}

TEST_F(ChannelListCollecting, EditsOfTheListAreItsOwn)
{
    m_list.registerChannel(&m_first);
    m_list.getChannels().push_front(&m_second);
    m_list.registerChannel(&m_third);
    EXPECT_EQ((Channels{&m_second, &m_first, &m_third}), m_list.getChannels());
}

TEST_F(ChannelListListening, TellsTheListenerAlone)
{
    m_list.setListener(&m_listener);
    m_list.registerChannel(&m_first);
    EXPECT_EQ("+first", m_listener.calls());
    EXPECT_EQ((Channels{}), m_channels);
    m_list.unregisterChannel(&m_first);
    EXPECT_EQ("-first", m_listener.calls());
}

TEST_F(ChannelListListening, EachCallIsTold)
{
    m_list.setListener(&m_listener);
    m_list.registerChannel(&m_first);
    m_list.registerChannel(&m_first);
    m_list.unregisterChannel(&m_second);
    EXPECT_EQ("+first +first -second", m_listener.calls());
}

TEST_F(ChannelListListening, CollectedChannelsAreNotTold)
{
    m_list.registerChannel(&m_first);
    m_list.setListener(&m_listener);
    EXPECT_EQ("", m_listener.calls());
    EXPECT_EQ((Channels{&m_first}), m_channels);
}

TEST_F(ChannelListListening, CollectedChannelEnds_StaysInTheList)
{
    m_list.registerChannel(&m_first);
    m_list.registerChannel(&m_second);
    m_list.setListener(&m_listener);
    m_list.unregisterChannel(&m_first);
    EXPECT_EQ("-first", m_listener.calls());
    EXPECT_EQ((Channels{&m_first, &m_second}), m_channels);
}

TEST_F(ChannelListListening, CollectedChannelEnds_ListenerMayRemoveIt)
{
    struct Removing : Listener
    {
        void channelUnregistered(Channel* channel) override
        {
            ChannelList::getInstance()->getChannels().remove(channel);
        }
    } removing;
    m_list.registerChannel(&m_first);
    m_list.registerChannel(&m_second);
    m_list.setListener(&removing);
    m_list.unregisterChannel(&m_first);
    EXPECT_EQ((Channels{&m_second}), m_channels);
}

TEST_F(ChannelListListening, NullListener_CollectsAgain)
{
    m_list.setListener(&m_listener);
    m_list.registerChannel(&m_first);
    m_list.setListener(nullptr);
    m_list.registerChannel(&m_second);
    EXPECT_EQ((Channels{&m_second}), m_channels);
    m_list.unregisterChannel(&m_second);
    EXPECT_EQ((Channels{}), m_channels);
    EXPECT_EQ("+first", m_listener.calls());
}

TEST_F(ChannelListListening, NextListener_IsTheOnlyOne)
{
    Listener next;
    m_list.setListener(&m_listener);
    m_list.setListener(&next);
    m_list.registerChannel(&m_first);
    EXPECT_EQ("", m_listener.calls());
    EXPECT_EQ("+first", next.calls());
}

TEST_F(ChannelListFlags, NoRegister_IsNotListed)
{
    const Channel whole("net", 2, 0);
    const Channel local("net", 2, 1);
    EXPECT_EQ((Channels{}), m_channels);
}

TEST_F(ChannelListFlags, Register_IsListedForLife)
{
    m_list.registerChannel(&m_first);
    {
        Channel channel("net", 2, 2);
        EXPECT_EQ((Channels{&m_first, &channel}), m_channels);
    }
    EXPECT_EQ((Channels{&m_first}), m_channels);
}

TEST_F(ChannelListFlags, RegisterAndLocalName_IsListedForLife)
{
    {
        Channel channel("net", 2, 3);
        EXPECT_EQ((Channels{&channel}), m_channels);
    }
    EXPECT_EQ((Channels{}), m_channels);
}

TEST_F(ChannelListFlags, UnknownBits_ChangeNothing)
{
    const Channel unlisted("net", 2, 4);
    Channel listed("net", 2, 6);
    EXPECT_EQ((Channels{&listed}), m_channels);
}

TEST_F(ChannelListFlags, NoRegister_EndIsNotTold)
{
    m_list.setListener(&m_listener);
    {
        const Channel whole("net", 2, 0);
        const Channel local("net", 2, 1);
    }
    EXPECT_EQ("", m_listener.calls());
}

TEST_F(ChannelListFlags, TakenAwayLater_StaysListed)
{
    {
        Channel channel("net", 2, 2);
        channel.m_flags = 0;
    }
    EXPECT_EQ(1U, m_channels.size());
}

TEST_F(ChannelListFlags, GivenLater_IsUnregistered)
{
    m_list.setListener(&m_listener);
    {
        Channel channel("net", 2, 0);
        channel.m_flags = 2;
    }
    EXPECT_EQ("-net", m_listener.calls());
}

TEST_F(ChannelListListening, ChannelIsWholeWhenItIsTold)
{
    struct Reading : Listener
    {
        void channelRegistered(Channel* channel) override { read(*channel); }
        void channelUnregistered(Channel* channel) override { read(*channel); }
        void read(const Channel& channel)
        {
            text += channel.m_name + "/" + std::to_string(channel.m_initialLevel) +
                    std::to_string(channel.m_filterLevel) + std::to_string(channel.m_channelId) +
                    std::to_string(channel.m_flags) + std::to_string(channel.m_children.size());
        }
        std::string text;
    } reading;
    m_list.setListener(&reading);
    {
        Channel channel("net", 2, 3);
        channel.m_children.push_back(&m_first);
    }
    EXPECT_EQ("net/26-130net/26-131", reading.text);
}

/// Builds and destroys a channel with a cancellation pending.
void* liveCancelled(void*)
{
    {
        const Channel channel("net", 2, 2);
        pthread_cancel(pthread_self());
    }
    printf("went on");
    pthread_testcancel();
    return nullptr;
}

TEST(ChannelListCancellation, ListenerInADestructor_IsNotLeft)
{
    struct Cancellable : Listener
    {
        void channelUnregistered(Channel*) override { pthread_testcancel(); }
    };
    const ChildResult result = runInChild([] {
        Cancellable listener;
        ChannelList::getInstance()->setListener(&listener);
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, nullptr, liveCancelled, nullptr));
        void* end = nullptr;
        pthread_join(thread, &end);
        EXPECT_EQ(PTHREAD_CANCELED, end);
    });
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("went on", result.out);
}

/// Writes the ends of channels; never destroyed.
struct Writing : IChannelListListener
{
    void channelRegistered(Channel*) override {}
    void channelUnregistered(Channel* channel) override { printf("-%s", channel->m_path.c_str()); }
};

void writeListed()
{
    for (const Channel* const channel : ChannelList::getInstance()->getChannels())
        printf("[%s]", channel->m_path.c_str());
    fflush(stdout);
}

TEST(ChannelListAtExit, StaticChannelsUnregister)
{
    const ChildResult result = runInChildToExit([] {
        static Channel s_last("last", 2, 2);
        static Channel s_first("first", 2, 2);
        writeListed();
        support::afterAllStaticObjects([] {
            printf("|");
            writeListed();
        });
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("[last][first]|", result.out);
}

TEST(ChannelListAtExit, StaticChannels_ListenerIsTold)
{
    const ChildResult result = runInChildToExit([] {
        static auto* const s_writing = new Writing;
        ChannelList::getInstance()->setListener(s_writing);
        static Channel s_last("last", 2, 2);
        static Channel s_first("first", 2, 2);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("-first-last", result.out);
}

TEST(ChannelListAtExit, AfterAllStaticObjects_StillServes)
{
    const ChildResult result = runInChildToExit([] {
        static auto* const s_channel = new Channel("net", 2, 2);
        static_cast<void>(s_channel);
        support::afterAllStaticObjects([] {
            writeListed();
            const Channel channel("late", 2, 2);
            writeListed();
            delete s_channel;
            printf("|");
            writeListed();
        });
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("[net][net][late]|[late]", result.out);
}

} // namespace
