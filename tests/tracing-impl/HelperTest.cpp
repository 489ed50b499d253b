// SPDX-License-Identifier: Apache-2.0
//
// The process's helper from the load of the library to its end. What the environment says is in
// HelperEnvironmentTest.cpp.

#include <cstdlib>
#include <list>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <common/tracing/log.h>
#include <support/ChildProcess.h>
#include <support/ForkedChild.h>
#include <support/TraceLines.h>

namespace {

using support::bareLines;
using support::ChildResult;
using tracing::Channel;
using tracing::ChannelList;
using tracing::client_helper;
using tracing::IClient;

constexpr unsigned int REGISTER = Channel::FLAG_REGISTER;

/// Runs `body` in a child in which no variable says anything.
template <typename Body>
ChildResult runPlain(const Body& body)
{
    return support::runInChild([&] {
        for (const char* const variable :
             {"ZEL_TRACE", "ZEL_TRACE_SINKS", "ZEL_TRACE_QUEUE", "ZEL_TRACE_CONTROL"})
            unsetenv(variable);
        body();
    });
}

TEST(Helper, Load_IsThereWithoutAClient)
{
    EXPECT_EQ(nullptr, IClient::s_client);
    EXPECT_EQ("", client_helper->getClient()->getClientId());
    const Channel channel("net", 2, REGISTER);
    EXPECT_EQ(nullptr, channel.m_client);
    EXPECT_EQ(1u, ChannelList::getInstance()->getChannels().size());
}

TEST(Helper, Init_SaysNothingAndSetsTheClient)
{
    const ChildResult child = runPlain([] {
        EXPECT_TRUE(client_helper->init("pump"));
        ASSERT_NE(nullptr, IClient::s_client);
        EXPECT_EQ("pump", IClient::s_client->getClientId());
        EXPECT_EQ("pump", client_helper->getClient()->getClientId());
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
        EXPECT_EQ("", client_helper->getClient()->getClientId());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(Helper, Init_Second_ChangesNothing)
{
    const ChildResult child = runPlain([] {
        EXPECT_TRUE(client_helper->init("pump"));
        IClient* const client = IClient::s_client;
        EXPECT_TRUE(client_helper->init("other"));
        EXPECT_EQ(client, IClient::s_client);
        EXPECT_EQ("pump", client->getClientId());
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(Helper, Deinit_WithoutInit_DoesNothing)
{
    const ChildResult child = runPlain([] {
        client_helper->deinit();
        client_helper->init("pump");
        client_helper->deinit();
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(Helper, Init_TakesInTheChannelsThatThereAre)
{
    const ChildResult child = runPlain([] {
        Channel net("net", 2, REGISTER);
        Channel tcp("net_tcp", 7, REGISTER);
        net.log(5, "before");
        client_helper->init("pump");
        EXPECT_TRUE(ChannelList::getInstance()->getChannels().empty());
        EXPECT_EQ(IClient::s_client, net.m_client);
        EXPECT_EQ(1, net.m_channelId);
        EXPECT_EQ(2, tcp.m_channelId);
        EXPECT_EQ(&net, tcp.m_parent);
        EXPECT_EQ(2, tcp.m_filterLevel);
        tcp.log(2, "a");
        tcp.log(1, "below the filter");
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net_tcp [T] a\n", bareLines(child.err));
}

TEST(Helper, Init_TakesInTheChannelsThatCome)
{
    const ChildResult child = runPlain([] {
        client_helper->init("pump");
        Channel net("net", 7, REGISTER);
        EXPECT_EQ(IClient::s_client, net.m_client);
        EXPECT_EQ(3, net.m_filterLevel);
        net.log(3, "a");
        EXPECT_TRUE(ChannelList::getInstance()->getChannels().empty());
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME warning net [T] a\n", bareLines(child.err));
}

TEST(Helper, Deinit_GivesTheChannelsBackInTheirOrder)
{
    const ChildResult child = runPlain([] {
        Channel second("b_second", 2, REGISTER);
        Channel first("a_first", 2, REGISTER);
        client_helper->init("pump");
        Channel third("b", 2, REGISTER | Channel::FLAG_LOCAL_NAME);
        {
            Channel gone("gone", 2, REGISTER);
        }
        client_helper->deinit();
        EXPECT_EQ((std::list<Channel*>{&second, &first, &third}),
                  ChannelList::getInstance()->getChannels());
        EXPECT_EQ(nullptr, second.m_client);
        EXPECT_EQ(nullptr, second.m_parent);
        EXPECT_EQ(6, second.m_filterLevel);
        EXPECT_EQ(-1, second.m_channelId);
        EXPECT_EQ("b_second", second.m_path);
        EXPECT_EQ("b", third.m_name);
        EXPECT_TRUE(third.m_children.empty());
        third.log(5, "after");
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(Helper, Init_Again_TakesTheChannelsInAgain)
{
    const ChildResult child = runPlain([] {
        Channel net("net", 2, REGISTER);
        client_helper->init("pump");
        net.log(2, "a");
        IClient::s_client->changeChannelFilterLevel(&net, 5);
        client_helper->deinit();
        net.log(5, "between");
        client_helper->init("valve");
        EXPECT_EQ("valve", IClient::s_client->getClientId());
        EXPECT_EQ(1, net.m_channelId);
        EXPECT_EQ(2, net.m_filterLevel);
        net.log(2, "b");
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\nTIME info net [T] b\n", bareLines(child.err));
}

TEST(Helper, Deinit_WritesEverything)
{
    const ChildResult child = runPlain([] {
        Channel net("net", 2, REGISTER);
        client_helper->init("pump");
        for (int i = 0; i < 500; ++i)
            ZEL_LOG(net, 2, "line %d", i);
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    std::string expected;
    for (int i = 0; i < 500; ++i)
        expected += "TIME info net [T] line " + std::to_string(i) + "\n";
    EXPECT_EQ(expected, bareLines(child.err));
}

TEST(Helper, Line_HasTheThread)
{
    const ChildResult child = runPlain([] {
        Channel net("net", 2, REGISTER);
        client_helper->init("pump");
        IClient::s_client->registerThread("main");
        net.log(2, "a");
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_TRUE(support::hasTimeAt(child.err, 0));
    EXPECT_EQ("info net [" + std::to_string(child.pid) + " main] a\n", child.err.substr(27));
}

TEST(Helper, Line_HasTheZones)
{
    const ChildResult child = runPlain([] {
        Channel net("net", 2, REGISTER);
        client_helper->init("pump");
        IClient::s_client->registerTimeZone("gps", 18);
        net.log(2, "a");
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    ASSERT_LT(26u, child.err.size());
    EXPECT_EQ(" gps ", child.err.substr(26, 5));
    EXPECT_EQ(" info net [", child.err.substr(39, 11));
}

TEST(Helper, Obfuscated_IsNotShown)
{
    const ChildResult child = runPlain([] {
        Channel net("net", 2, REGISTER);
        client_helper->init("pump");
        net.log(2, 4, std::string("secret"));
        net.logCV(2, 4, "%s", "secret");
        net.logCV(2, 4, 7LL, "%s", "secret");
        net.logCVN(2, 4, 20u, "%s", "secret");
        net.logRaw(2, 256, 4, "secret", 6);
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] 6 bytes, obfuscated\n"
              "TIME info net [T] 6 bytes, obfuscated\n"
              "TIME info net [T] @7 6 bytes, obfuscated\n"
              "TIME info net [T] 6 bytes, obfuscated\n"
              "TIME info net [T] type 256, 6 bytes, obfuscated\n",
              bareLines(child.err));
}

TEST(Helper, Fork_ChildLogsAndEnds)
{
    const ChildResult child = runPlain([] {
        Channel net("net", 2, REGISTER);
        client_helper->init("pump");
        EXPECT_EQ(0, support::runForked([&net] {
                      net.log(2, "child");
                      const Channel built("built", 2, REGISTER);
                      client_helper->deinit();
                      return IClient::s_client == nullptr ? 0 : 1;
                  }));
        net.log(2, "parent");
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] child\nTIME info net [T] parent\n", bareLines(child.err));
}

TEST(Helper, Fork_ChildEndsAndBeginsAnew)
{
    const ChildResult child = runPlain([] {
        client_helper->init("pump");
        EXPECT_EQ(0, support::runForked([] {
                      client_helper->deinit();
                      setenv("ZEL_TRACE_QUEUE", "0", 1); // the emulator starts no thread here
                      if (!client_helper->init("valve")) return 1;
                      return client_helper->getClient()->getClientId() == "valve" ? 0 : 2;
                  }));
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(Helper, Fork_ChildEndsThroughExit)
{
    const ChildResult child = runPlain([] {
        static Channel s_net("net", 2, REGISTER);
        client_helper->init("pump");
        EXPECT_EQ(0, support::runForked([] {
                      s_net.log(2, "child");
                      std::exit(0);
                      return 1;
                  }));
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] child\n", bareLines(child.err));
}

TEST(Helper, ClientId_StaysAfterDeinit)
{
    const ChildResult child = runPlain([] {
        client_helper->init("pump");
        const std::string& pump = IClient::s_client->getClientId();
        client_helper->deinit();
        EXPECT_EQ("pump", pump);
        client_helper->init("valve");
        const std::string& valve = IClient::s_client->getClientId();
        client_helper->deinit();
        EXPECT_EQ("pump", pump);
        EXPECT_EQ("valve", valve);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(Helper, GetClient_BeforeInit_DoesNothing)
{
    const ChildResult child = runPlain([] {
        IClient* const client = client_helper->getClient();
        Channel net("net", 2, REGISTER);
        client->registerThread("early");
        client->unregisterThread();
        EXPECT_EQ(-1, client->registerCallback("restart", [](int, void*, unsigned int) {}));
        EXPECT_EQ(0, client->unregisterCallback(0));
        EXPECT_EQ(-1, client->registerTimeZone("gps", 18));
        client->updateTimeZone(0, 19);
        client->emergencyLog("nobody sees it");
        EXPECT_FALSE(client->enableChannel(&net));
        EXPECT_FALSE(client->changeChannelFilterLevel(&net, 0));
        client->logMessage(net, 5, 0, std::string("nobody sees it"));
        client->flushMessages(true);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(Helper, GetClient_BeforeInit_IsTheClientAfterIt)
{
    const ChildResult child = runPlain([] {
        IClient* const client = client_helper->getClient();
        Channel net("net", 2, REGISTER);
        client_helper->init("pump");
        EXPECT_EQ(client, client_helper->getClient());
        client->registerThread("main");
        net.log(2, "a");
        EXPECT_EQ(0, client->registerCallback("restart", [](int, void*, unsigned int) {}));
        EXPECT_TRUE(client->changeChannelFilterLevel(&net, 3));
        net.log(2, "below the filter");
        client_helper->deinit();
        EXPECT_EQ("", client->getClientId());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T main] a\n", bareLines(child.err));
}

TEST(Helper, Exit_WithoutDeinit_ChannelsGoQuietly)
{
    const ChildResult child = support::runInChildToExit([] {
        static Channel s_net("net", 2, REGISTER);
        client_helper->init("pump");
        s_net.log(2, "a");
        IClient::s_client->flushMessages(true);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\n", bareLines(child.err));
}

} // namespace
