// SPDX-License-Identifier: Apache-2.0
//
// The operations of the interface, with a client that writes at once to a sink of the test. What
// goes to standard error is in HelperTest.cpp, threads are in ClientThreadsTest.cpp.

#include <tracing-impl/Client.h>

#include <climits>
#include <csignal>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <common/tracing/log.h>
#include <support/ChildProcess.h>
#include <support/RecordingSink.h>
#include <support/TraceLines.h>
#include <support/WatchedPayload.h>
#include <tracing-impl/CallbackObject.h>

namespace {

using support::RecordingSink;
using support::SinkRecord;
using support::WatchedText;
using tracing::CallbackObject;
using tracing::Channel;
using tracing::IClient;
using tracing::impl::Client;
using tracing::impl::TimeZones;

constexpr short OBFUSCATE = 4;

const std::string s_name = "pump";

std::string s_called;

void noteCall(int id, void* data, unsigned int size)
{
    s_called += std::to_string(id) + ' ' + std::string(static_cast<char*>(data), size) + '\n';
}

class NotingObject : public CallbackObject
{
public:
    void called(int id, void* data, unsigned int size) override { noteCall(id, data, size); }
};

class ClientTest : public testing::Test
{
protected:
    ClientTest()
    {
        m_impl.addSink(std::make_unique<RecordingSink>(m_record));
        m_impl.channelRegistered(&m_net);
        EXPECT_EQ("changed net 2\n", m_record.take());
        s_called.clear();
    }

    TimeZones m_zones;
    SinkRecord m_record;
    Channel m_net{"net", 2, 0};
    Client m_impl{s_name, {}, 0, m_zones};
    IClient& m_client = m_impl;
};

TEST_F(ClientTest, RegisterThread_NamesItsMessages)
{
    m_client.registerThread("receiver");
    m_net.log(2, "a");
    std::thread other([this] { m_net.log(2, "b"); });
    other.join();
    m_client.unregisterThread();
    m_net.log(2, "c");
    EXPECT_EQ("info net [receiver] a\ninfo net b\ninfo net c\n", m_record.take());
}

TEST_F(ClientTest, RegisterCallback_Function)
{
    EXPECT_EQ(0, m_client.registerCallback("restart", noteCall));
    EXPECT_TRUE(m_impl.call("restart", "now"));
    EXPECT_FALSE(m_impl.call("stop", "now"));
    EXPECT_EQ("0 now\n", s_called);
}

TEST_F(ClientTest, RegisterCallback_Object)
{
    NotingObject object;
    EXPECT_EQ(0, m_client.registerCallback("stop", noteCall));
    EXPECT_EQ(1, m_client.registerCallback("restart", &object));
    EXPECT_TRUE(m_impl.call("restart", ""));
    EXPECT_EQ("1 \n", s_called);
}

TEST_F(ClientTest, RegisterCallback_Null_IsRefused)
{
    EXPECT_EQ(-1, m_client.registerCallback("restart", IClient::Callback(nullptr)));
    EXPECT_EQ(-1, m_client.registerCallback("restart", static_cast<CallbackObject*>(nullptr)));
    EXPECT_FALSE(m_impl.call("restart", ""));
}

TEST_F(ClientTest, UnregisterCallback)
{
    const int id = m_client.registerCallback("restart", noteCall);
    EXPECT_EQ(0, m_client.unregisterCallback(id));
    EXPECT_EQ(-1, m_client.unregisterCallback(id));
    EXPECT_EQ(-1, m_client.unregisterCallback(-1));
    EXPECT_FALSE(m_impl.call("restart", ""));
    EXPECT_EQ("", s_called);
}

TEST_F(ClientTest, TimeZones_AreShownAheadOfTheLocalTime)
{
    setenv("TZ", "UTC0", 1);
    const int gps = m_client.registerTimeZone("gps", 18);
    const int tai = m_client.registerTimeZone("tai", -60);
    std::string text;
    m_zones.append(text, 0);
    EXPECT_EQ(" gps 00:00:18 tai 23:59:00", text);
    m_client.updateTimeZone(gps, 19);
    m_client.updateTimeZone(tai, 0);
    m_client.updateTimeZone(2, 5);
    m_client.updateTimeZone(-1, 5);
    text.clear();
    m_zones.append(text, 0);
    EXPECT_EQ(" gps 00:00:19 tai 00:00:00", text);
}

TEST_F(ClientTest, EmergencyLog_GoesToStandardErrorAlone)
{
    const support::ChildResult child = support::runInChild([this] {
        m_client.emergencyLog("on fire");
        m_client.emergencyLog("\x1b[31mred\nline");
        m_client.emergencyLog("");
        EXPECT_EQ("", m_record.take());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("on fire\n\\x1b[31mred\\nline\n\n", child.err);
}

TEST_F(ClientTest, EmergencyLog_QueueIsBlocked_GoesPast)
{
    const support::ChildResult child = support::runInChild([] {
        TimeZones zones;
        SinkRecord record;
        Channel net("net", 2, 0);
        Client client(s_name, {}, 1, zones);
        client.addSink(std::make_unique<RecordingSink>(record));
        client.channelRegistered(&net);
        record.hold();
        net.log(2, "a");
        record.waitUntilHeld();
        client.emergencyLog("on fire");
        EXPECT_EQ("changed net 2\n", record.take());
        record.letGo();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("on fire\n", child.err);
}

TEST_F(ClientTest, EmergencyBreak_EndsTheProcessWithEverythingWritten)
{
    const support::ChildResult child = support::runInChild([] {
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        TimeZones zones;
        Channel net("net", 2, 0);
        Client client(s_name, {}, 8, zones);
        client.addSink(std::make_unique<tracing::impl::StderrSink>(zones));
        client.channelRegistered(&net);
        net.log(2, "a");
        net.log(3, "b");
        static_cast<IClient&>(client).emergencyBreak();
        net.log(3, "c");
    });
    EXPECT_EQ(SIGTRAP, child.signal);
    EXPECT_EQ("TIME info net [T] a\nTIME warning net [T] b\n", support::bareLines(child.err));
}

TEST_F(ClientTest, DisableAndEnableChannel)
{
    EXPECT_TRUE(m_client.disableChannel(&m_net));
    EXPECT_EQ(8, m_net.m_filterLevel);
    m_net.log(5, "a");
    EXPECT_TRUE(m_client.enableChannel(&m_net));
    EXPECT_EQ(2, m_net.m_filterLevel);
    m_net.log(2, "b");
    EXPECT_EQ("changed net 8\nchanged net 2\ninfo net b\n", m_record.take());
}

TEST_F(ClientTest, EnableChannel_Stranger_IsRefused)
{
    Channel stranger("net", 2, 0);
    EXPECT_FALSE(m_client.enableChannel(&stranger));
    EXPECT_FALSE(m_client.disableChannel(&stranger));
    EXPECT_FALSE(m_client.changeChannelFilterLevel(&stranger, 0));
    EXPECT_FALSE(m_client.enableChannel(nullptr));
    EXPECT_FALSE(m_client.disableChannel(nullptr));
    EXPECT_FALSE(m_client.changeChannelFilterLevel(nullptr, 0));
    EXPECT_EQ(6, stranger.m_filterLevel);
    EXPECT_EQ("", m_record.take());
}

TEST_F(ClientTest, ChangeChannelFilterLevel)
{
    EXPECT_TRUE(m_client.changeChannelFilterLevel(&m_net, 4));
    EXPECT_EQ(4, m_net.m_filterLevel);
    EXPECT_FALSE(m_client.changeChannelFilterLevel(&m_net, 10));
    EXPECT_FALSE(m_client.changeChannelFilterLevel(&m_net, -1));
    EXPECT_EQ(4, m_net.m_filterLevel);
    EXPECT_TRUE(m_net.changeFilterLevel(9));
    EXPECT_EQ(2, m_net.m_filterLevel);
    EXPECT_EQ("changed net 4\nchanged net 2\n", m_record.take());
}

TEST_F(ClientTest, LogMessage_Text)
{
    m_client.logMessage(m_net, 0, 0, std::string("a"));
    m_client.logMessage(m_net, 5, 3, std::string("b\0c", 3));
    EXPECT_EQ("trace net a\nfatal net b\\x00c\n", m_record.take());
}

TEST_F(ClientTest, LogMessage_Raw)
{
    const void* const bytes = "\1\xff";
    m_client.logMessage(m_net, 2, 256, 0, bytes, 2u);
    m_client.logMessage(m_net, 2, 3, 0, static_cast<const void*>(nullptr), 4u);
    m_client.logMessage(m_net, 2, 3, OBFUSCATE, bytes, 2u);
    EXPECT_EQ("info net type 256, 2 bytes: 01 ff\n"
              "info net type 3, 0 bytes:\n"
              "info net type 3, 2 bytes, obfuscated\n",
              m_record.take());
}

TEST_F(ClientTest, LogMessage_OwnedBuffer_IsReleasedOnce)
{
    WatchedText text("a");
    m_client.logMessage(m_net, 2, 0, text.get(), true);
    EXPECT_EQ(1, text.releases());
    EXPECT_EQ("info net a\n", m_record.take());
}

TEST_F(ClientTest, LogMessage_OwnedStampedBuffer_IsReleasedOnce)
{
    WatchedText text("a");
    m_client.logMessage(m_net, 2, 0, LLONG_MIN, text.get(), true);
    EXPECT_EQ(1, text.releases());
    EXPECT_EQ("info net @-9223372036854775808 a\n", m_record.take());
}

TEST_F(ClientTest, LogMessage_ForeignBuffer_IsNotReleased)
{
    WatchedText text("a");
    m_client.logMessage(m_net, 2, 0, text.get(), false);
    m_client.logMessage(m_net, 2, 0, 7LL, text.get(), false);
    EXPECT_EQ(0, text.releases());
    EXPECT_EQ("info net a\ninfo net @7 a\n", m_record.take());
}

TEST_F(ClientTest, LogMessage_NullBuffer_IsNoMessage)
{
    m_client.logMessage(m_net, 2, 0, nullptr, true);
    m_client.logMessage(m_net, 2, 0, nullptr, false);
    m_client.logMessage(m_net, 2, 0, 7LL, nullptr, true);
    m_client.logMessage(m_net, 2, 0, 7LL, nullptr, false);
    EXPECT_EQ("", m_record.take());
}

TEST_F(ClientTest, LogMessage_OwnedBufferWithoutSinks_IsReleasedOnce)
{
    Client client(s_name, {}, 0, m_zones);
    WatchedText text("a");
    static_cast<IClient&>(client).logMessage(m_net, 2, 0, text.get(), true);
    EXPECT_EQ(1, text.releases());
}

TEST_F(ClientTest, LogMessage_OwnedBufferInAChild_IsReleasedOnce)
{
    const support::ChildResult child = support::runInChild([this] {
        WatchedText text("a");
        m_client.logMessage(m_net, 2, 0, text.get(), true);
        EXPECT_EQ(1, text.releases());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\n", support::bareLines(child.err));
}

TEST_F(ClientTest, LogMessage_ChannelCalls)
{
    ZEL_LOG(m_net, 2, "peer %d", 7);
    m_net.logCVN(3, 4, "%s", "cut off");
    m_net.logCV(4, 0, 99LL, "stamped");
    m_net.logRaw(5, 256, "z", 1);
    m_net.log(1, "below the filter");
    EXPECT_EQ("info net peer 7\n"
              "warning net cut\n"
              "error net @99 stamped\n"
              "fatal net type 256, 1 bytes: 7a\n",
              m_record.take());
}

TEST_F(ClientTest, FlushMessages)
{
    m_client.flushMessages(false);
    EXPECT_EQ("", m_record.take());
    m_client.flushMessages(true);
    EXPECT_EQ("flush\n", m_record.take());
}

TEST_F(ClientTest, GetClientId_IsTheProcesssName)
{
    EXPECT_EQ("pump", m_client.getClientId());
    EXPECT_EQ(&m_client.getClientId(), &m_client.getClientId());
}

TEST_F(ClientTest, Channels_AreRegisteredAndTold)
{
    Channel tcp("net_tcp", 7, 0);
    m_impl.channelRegistered(&tcp);
    EXPECT_EQ(&m_client, tcp.m_client);
    EXPECT_EQ(&m_net, tcp.m_parent);
    EXPECT_EQ(2, m_net.m_children.front()->m_filterLevel);
    m_impl.channelUnregistered(&tcp);
    EXPECT_EQ(nullptr, tcp.m_client);
    EXPECT_EQ(6, tcp.m_filterLevel);
    EXPECT_EQ("changed net_tcp 2\n", m_record.take());
}

TEST_F(ClientTest, RemoteTarget_ChannelsAndLevels)
{
    EXPECT_TRUE(m_impl.setLevel("net", 0));
    EXPECT_FALSE(m_impl.setLevel("net_tcp", 0));
    const auto states = m_impl.channels();
    ASSERT_EQ(1u, states.size());
    EXPECT_EQ("net", states[0].path);
    EXPECT_EQ(1, states[0].id);
    EXPECT_EQ(0, states[0].ownLevel);
    EXPECT_EQ(0, states[0].effectiveLevel);
}

TEST_F(ClientTest, Destruction_LetsGoOfTheChannels)
{
    Channel tcp("net_tcp", 2, 0);
    {
        Client client(s_name, {}, 8, m_zones);
        client.addSink(std::make_unique<RecordingSink>(m_record));
        client.channelRegistered(&tcp);
        tcp.log(2, "a");
    }
    EXPECT_EQ(nullptr, tcp.m_client);
    EXPECT_EQ(6, tcp.m_filterLevel);
    EXPECT_EQ("changed net_tcp 2\ninfo net_tcp a\nflush\n", m_record.take());
}

} // namespace
