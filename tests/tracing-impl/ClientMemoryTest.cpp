// SPDX-License-Identifier: Apache-2.0
//
// What the client does when there is no memory: it drops messages, says how many, and lives.

#include <tracing-impl/Client.h>

#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include <support/ChildProcess.h>
#include <support/FailingMalloc.h>
#include <support/RecordingSink.h>
#include <tracing-impl/MessageQueue.h>

namespace {

using support::attemptsOf;
using support::FailingMalloc;
using support::RecordingSink;
using support::SinkRecord;
using support::traceMessage;
using tracing::Channel;
using tracing::client_helper;
using tracing::impl::Client;
using tracing::impl::MessageQueue;
using tracing::impl::OwnedText;
using tracing::impl::QueuedMessage;
using tracing::impl::TimeZones;

const std::string s_name = "pump";

TEST(ClientMemory, Queue_NoMemory_Throws)
{
    const FailingMalloc exhausted;
    EXPECT_THROW(MessageQueue(4), std::bad_alloc);
}

/// Has the queue take the memory for its places.
void useAll(MessageQueue& queue)
{
    QueuedMessage message;
    for (int i = 0; i < 2; ++i) {
        queue.push(traceMessage("a"), nullptr);
        EXPECT_TRUE(queue.pop(message));
    }
}

TEST(ClientMemory, Push_FirstMessageAndNoMemory_IsDropped)
{
    MessageQueue queue(4);
    attemptsOf([&] { queue.push(traceMessage("a"), nullptr); });
    EXPECT_EQ(1u, queue.takeDropped());
    queue.push(traceMessage("b"), nullptr);
    QueuedMessage message;
    ASSERT_TRUE(queue.pop(message));
    EXPECT_EQ("b", message.message().payload);
}

TEST(ClientMemory, Push_ShortText_TakesNone)
{
    MessageQueue queue(4);
    useAll(queue);
    EXPECT_EQ(0, attemptsOf([&] { queue.push(traceMessage("a"), nullptr); }));
    QueuedMessage message;
    EXPECT_EQ(0, attemptsOf([&] { EXPECT_TRUE(queue.pop(message)); }));
    EXPECT_EQ("a", message.message().payload);
}

TEST(ClientMemory, Push_LongTextAndNoMemory_IsDropped)
{
    MessageQueue queue(4);
    const std::string text(1000, 'x');
    attemptsOf([&] { queue.push(traceMessage(text), nullptr); });
    EXPECT_EQ(1u, queue.takeDropped());
    queue.push(traceMessage("b"), nullptr);
    QueuedMessage message;
    ASSERT_TRUE(queue.pop(message));
    EXPECT_EQ("b", message.message().payload);
}

TEST(ClientMemory, Push_OwnedText_TakesNone)
{
    MessageQueue queue(4);
    useAll(queue);
    OwnedText text(new char[1000]());
    const tracing::impl::Message sent = traceMessage({text.get(), 999});
    EXPECT_EQ(0, attemptsOf([&] { queue.push(sent, std::move(text)); }));
    QueuedMessage message;
    ASSERT_TRUE(queue.pop(message));
    EXPECT_EQ(999u, message.message().payload.size());
}

TEST(ClientMemory, Dispatcher_NoMemoryForTheQueue_WritesAtOnce)
{
    SinkRecord record;
    std::unique_ptr<FailingMalloc> exhausted = std::make_unique<FailingMalloc>();
    tracing::impl::Dispatcher dispatcher(4);
    exhausted.reset();
    dispatcher.addSink(std::make_unique<RecordingSink>(record));
    dispatcher.put(traceMessage("a"), nullptr);
    EXPECT_EQ("info net a\n", record.take());
}

class ClientMemoryTest : public testing::Test
{
protected:
    ClientMemoryTest()
    {
        m_client.addSink(std::make_unique<RecordingSink>(m_record));
        m_client.channelRegistered(&m_net);
        EXPECT_EQ("changed net 2\n", m_record.take());
    }

    TimeZones m_zones;
    SinkRecord m_record;
    Channel m_net{"net", 2, 0};
    Client m_client{s_name, {}, 8, m_zones};
};

TEST_F(ClientMemoryTest, Log_ShortText_TakesNone)
{
    for (int i = 0; i < 2; ++i) { // the queue has its memory then
        m_net.logCV(2, 0, 7LL, "a");
        m_client.flushMessages(true);
    }
    m_record.take();
    EXPECT_EQ(0, attemptsOf([&] { m_net.logCV(2, 0, 7LL, "a"); }));
    EXPECT_EQ(0, attemptsOf([&] { m_net.logRaw(2, 256, "z", 1); }));
    m_client.flushMessages(true);
    EXPECT_EQ("info net @7 a\ninfo net type 256, 1 bytes: 7a\nflush\n", m_record.take());
}

TEST_F(ClientMemoryTest, Log_LongTextAndNoMemory_IsToldOf)
{
    const std::string text(1000, 'x');
    attemptsOf([&] { m_client.logMessage(m_net, 2, 0, text); });
    m_client.flushMessages(true);
    EXPECT_EQ("warning tracing 1 messages were dropped\nflush\n", m_record.take());
}

TEST_F(ClientMemoryTest, ChannelRegistered_NoMemory_StaysAsItIs)
{
    Channel channel("net_with_a_path_that_is_longer_than_any_text_on_the_spot", 2, 0);
    attemptsOf([&] { m_client.channelRegistered(&channel); });
    EXPECT_EQ(nullptr, channel.m_client);
    EXPECT_EQ(6, channel.m_filterLevel);
    m_client.channelUnregistered(&channel);
}

TEST_F(ClientMemoryTest, Registrations_NoMemory_AreRefused)
{
    const FailingMalloc exhausted;
    EXPECT_EQ(-1, m_client.registerCallback("a", [](int, void*, unsigned int) {}));
    EXPECT_EQ(-1, m_client.registerTimeZone("gps", 18));
    EXPECT_FALSE(m_client.changeChannelFilterLevel(&m_net, 0));
    EXPECT_FALSE(m_client.disableChannel(&m_net));
    m_client.registerThread("name");
    m_client.unregisterThread();
}

TEST(ClientMemory, Init_NoMemory_IsRefusedAndWorksLater)
{
    const support::ChildResult child = support::runInChild([] {
        attemptsOf([] { EXPECT_FALSE(client_helper->init("pump")); });
        EXPECT_EQ(nullptr, tracing::IClient::s_client);
        EXPECT_TRUE(client_helper->init("pump"));
        EXPECT_EQ("pump", tracing::IClient::s_client->getClientId());
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST_F(ClientMemoryTest, EmergencyLog_NoMemory_IsWritten)
{
    const std::string text(1000, 'x');
    const support::ChildResult child = support::runInChild([&] {
        attemptsOf([&] { m_client.emergencyLog(text); });
        attemptsOf([&] { m_client.emergencyLog("on fire"); });
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ(text + "\non fire\n", child.err);
}

} // namespace
