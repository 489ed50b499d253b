// SPDX-License-Identifier: Apache-2.0

#include "../src/ConsoleClient.h"

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <utility>

#include <common/tracing/Levels.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"

namespace {

using deviceimport::ConsoleClient;
using support::runInChildToExit;
using tracing::Channel;
using tracing::ChannelList;
using tracing::Levels;
using tracing::Modifiers;

/// What the process has as its client, and what is set before the channels are.
struct StartedClient
{
    explicit StartedClient(deviceimport::TraceLevels levels = {}) : client(std::move(levels))
    {
        tracing::client_helper->init("test");
    }

    ConsoleClient client;
};

/// A channel without a level of its own.
struct Plain : Channel
{
    explicit Plain(const std::string& path) : Channel(path, Levels::LevelNONE, FLAG_REGISTER) {}
};

/// Returns what `body` wrote to standard error; it runs in a process of its own.
std::string traced(const std::function<void()>& body)
{
    const support::ChildResult result = runInChildToExit(body);
    EXPECT_EQ(0, result.exitCode) << result.out;
    return result.err;
}

std::string repeat(int count, const std::string& text)
{
    return count == 0 ? "" : text + repeat(count - 1, text);
}

TEST(ConsoleClient, IsTheProcesssClient_WhileInitialised)
{
    traced([] {
        tracing::IClientHelper* const fallback = tracing::client_helper;
        {
            const StartedClient started;
            EXPECT_EQ(&started.client, tracing::IClient::s_client);
            EXPECT_EQ(&started.client, tracing::client_helper->getClient());
            tracing::client_helper->deinit();
            EXPECT_EQ(nullptr, tracing::IClient::s_client);
        }
        EXPECT_EQ(fallback, tracing::client_helper);
    });
}

TEST(ConsoleClient, LeavesAnotherClientAlone_UntilInitialised)
{
    traced([] {
        tracing::DummyClient other;
        tracing::IClient::s_client = &other;
        std::make_unique<ConsoleClient>(deviceimport::TraceLevels()).reset();
        EXPECT_EQ(&other, tracing::IClient::s_client);
    });
}

TEST(ConsoleClient, PrintsEachForm)
{
    EXPECT_EQ("error net_tcp: string\n"
              "warning net_tcp: type 256, 3 bytes: 00 7f ff\n"
              "fatal net_tcp: owned\n"
              "error net_tcp [-5]: stamped\n"
              "error net_tcp [9000000000]: stamped and owned\n",
              traced([] {
                  const StartedClient started;
                  Plain tcp("net_tcp");
                  tcp.logC(Levels::LevelERROR, "string");
                  tcp.logRaw(Levels::LevelWARN, tracing::MessageTypes::USER, "\x00\x7F\xFF", 3);
                  tcp.logCVN(Levels::LevelFATAL, 20, "owned");
                  tcp.logCV(Levels::LevelERROR, Modifiers::NONE, -5LL, "%s", "stamped");
                  tcp.logCVN(Levels::LevelERROR, Modifiers::NONE, 9000000000LL, 20, "%s",
                             "stamped and owned");
              }));
}

TEST(ConsoleClient, PrintsTheFirstBytesOfARawMessage)
{
    const std::string bytes(129, 'a');
    const std::string digits = repeat(128, " 61");
    EXPECT_EQ("info net: type 3, 0 bytes:\n"
              "info net: type 3, 128 bytes:" +
                  digits +
                  "\n"
                  "info net: type 3, 129 bytes:" +
                  digits + " ...\n",
              traced([&bytes] {
                  const StartedClient started;
                  Plain net("net");
                  net.logRaw(2, tracing::MessageTypes::COMM, nullptr, 0);
                  net.logRaw(2, tracing::MessageTypes::COMM, bytes.data(), 128);
                  net.logRaw(2, tracing::MessageTypes::COMM, bytes.data(), 129);
              }));
}

TEST(ConsoleClient, PrintsLevelsWithoutAName)
{
    EXPECT_EQ("trace net: a\ndefault net: b\n? net: c\n? net: d\n", traced([] {
                  const StartedClient started;
                  Plain net("net");
                  net.logC(0, "a");
                  net.logC(9, "b");
                  net.logC(10, "c");
                  net.logC(-1, "d");
              }));
}

TEST(ConsoleClient, PrintsNullText_AsNone)
{
    EXPECT_EQ("info net: \n", traced([] {
                  StartedClient started;
                  const Plain net("net");
                  started.client.logMessage(net, Levels::LevelINFO, Modifiers::NONE, nullptr, true);
              }));
}

TEST(ConsoleClient, TakesOverChannelsThatWereBuiltBefore)
{
    EXPECT_EQ("error net: after\n", traced([] {
                  Plain net("net");
                  net.logC(Levels::LevelERROR, "before");
                  const StartedClient started;
                  EXPECT_TRUE(ChannelList::getInstance()->getChannels().empty());
                  net.logC(Levels::LevelERROR, "after");
              }));
}

TEST(ConsoleClient, GivesChannelsBack_AsTheyWereBuilt)
{
    EXPECT_EQ("", traced([] {
                  Plain early("net_tcp");
                  auto started = std::make_unique<StartedClient>();
                  Plain late("net");
                  std::make_unique<Plain>("net_udp").reset();
                  started.reset();
                  const std::list<Channel*> both{&early, &late};
                  EXPECT_EQ(both, ChannelList::getInstance()->getChannels());
                  EXPECT_EQ(nullptr, early.m_client);
                  EXPECT_EQ(nullptr, early.m_parent);
                  EXPECT_EQ(-1, early.m_channelId);
                  EXPECT_EQ(Levels::LevelOFF, early.m_filterLevel);
                  early.logC(Levels::LevelFATAL, "dropped");
              }));
}

TEST(ConsoleClient, ServesAgain_AfterAnotherStart)
{
    EXPECT_EQ("info net_tcp: again\n", traced([] {
                  Plain tcp("net_tcp");
                  const StartedClient started({{"net", Levels::LevelINFO}});
                  tracing::client_helper->deinit();
                  tracing::client_helper->init("again");
                  tcp.log(Levels::LevelINFO, "again");
              }));
}

TEST(ConsoleClient, BuildsATreeOfPaths)
{
    traced([] {
        const StartedClient started;
        const Plain udp("net_udp");
        const Plain tcp("net_tcp");
        const Channel local("disk_0", Levels::LevelNONE,
                            Channel::FLAG_REGISTER | Channel::FLAG_LOCAL_NAME);
        Channel* const net = udp.m_parent;
        EXPECT_EQ("net", net->m_path);
        EXPECT_EQ(net, tcp.m_parent);
        EXPECT_EQ(&tcp, net->findChild("tcp"));
        EXPECT_EQ("test", net->m_parent->m_name);
        EXPECT_EQ(net->m_parent, local.m_parent);
        EXPECT_EQ("disk_0", local.m_path);
        EXPECT_EQ(&tcp, net->m_parent->findByChannelId(tcp.m_channelId));
    });
}

TEST(ConsoleClient, KeepsEmptySegments)
{
    traced([] {
        const StartedClient started({{"_", Levels::LevelDEBUG}});
        const Plain odd("__a_");
        EXPECT_EQ("__a_", odd.m_path);
        EXPECT_EQ("", odd.m_name);
        EXPECT_EQ("__a", odd.m_parent->m_path);
        EXPECT_EQ(Levels::LevelDEBUG, odd.m_filterLevel);
    });
}

TEST(ConsoleClient, ResolvesLevels)
{
    traced([] {
        const StartedClient started({{"net", Levels::LevelDEBUG}, {"net_udp", Levels::LevelNONE}});
        const Plain other("disk");
        const Plain tcp("net_tcp_in");
        const Channel udp("net_udp", Levels::LevelFATAL, Channel::FLAG_REGISTER);
        const Channel own("net_own", Levels::LevelERROR, Channel::FLAG_REGISTER);
        const Plain below("net_own_a");
        EXPECT_EQ(Levels::LevelWARN, other.m_filterLevel);
        EXPECT_EQ(Levels::LevelDEBUG, tcp.m_filterLevel);
        EXPECT_EQ(Levels::LevelDEBUG, udp.m_filterLevel);
        EXPECT_EQ(Levels::LevelERROR, own.m_filterLevel);
        EXPECT_EQ(Levels::LevelERROR, below.m_filterLevel);
    });
}

TEST(ConsoleClient, ResolvesAgain_AfterAChange)
{
    traced([] {
        const StartedClient started({{"net_udp", Levels::LevelERROR}});
        Plain net("net");
        const Plain tcp("net_tcp_in");
        const Plain udp("net_udp");
        EXPECT_TRUE(net.changeFilterLevel(Levels::LevelTRACE));
        EXPECT_EQ(Levels::LevelTRACE, net.m_filterLevel);
        EXPECT_EQ(Levels::LevelTRACE, tcp.m_filterLevel);
        EXPECT_EQ(Levels::LevelERROR, udp.m_filterLevel);
        EXPECT_TRUE(net.changeFilterLevel(Levels::LevelNONE));
        EXPECT_EQ(Levels::LevelWARN, tcp.m_filterLevel);
    });
}

TEST(ConsoleClient, RefusesChangesThatMakeNoSense)
{
    traced([] {
        StartedClient started;
        Plain net("net");
        Channel stranger("net", Levels::LevelINFO, 0);
        EXPECT_FALSE(net.changeFilterLevel(10));
        EXPECT_FALSE(net.changeFilterLevel(-1));
        EXPECT_FALSE(started.client.changeChannelFilterLevel(&stranger, Levels::LevelINFO));
        EXPECT_FALSE(started.client.changeChannelFilterLevel(nullptr, Levels::LevelINFO));
        EXPECT_EQ(Levels::LevelWARN, net.m_filterLevel);
    });
}

TEST(ConsoleClient, KeepsTheTree_WhenAChannelEnds)
{
    traced([] {
        const StartedClient started({{"net", Levels::LevelINFO}});
        auto net = std::make_unique<Plain>("net");
        const Plain tcp("net_tcp");
        const Plain second("net");
        const Channel* const root = net->m_parent;
        net.reset();
        EXPECT_EQ("net", tcp.m_parent->m_path);
        EXPECT_EQ(2U, root->m_children.size());
        const Plain udp("net_udp");
        EXPECT_EQ(tcp.m_parent, udp.m_parent);
        EXPECT_EQ(Levels::LevelINFO, udp.m_filterLevel);
    });
}

TEST(ConsoleClient, TakesInAChannelOnce)
{
    traced([] {
        Plain net("net");
        ChannelList::getInstance()->registerChannel(&net);
        const StartedClient started;
        ChannelList::getInstance()->registerChannel(&net);
        EXPECT_EQ(1U, net.m_parent->m_children.size());
    });
}

TEST(ConsoleClient, PutsOffCancellation_WhileItPrints)
{
    EXPECT_EQ("error net: whole\n", traced([] {
                  const StartedClient started;
                  Plain net("net");
                  const auto logWhenCancelled = [](void* channel) -> void* {
                      pthread_cancel(pthread_self());
                      static_cast<Plain*>(channel)->logC(Levels::LevelERROR, "whole");
                      pthread_testcancel();
                      return channel;
                  };
                  pthread_t thread = {};
                  void* result = nullptr;
                  EXPECT_EQ(0, pthread_create(&thread, nullptr, logWhenCancelled, &net));
                  EXPECT_EQ(0, pthread_join(thread, &result));
                  EXPECT_EQ(PTHREAD_CANCELED, result);
              }));
}

} // namespace
