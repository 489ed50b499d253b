// SPDX-License-Identifier: Apache-2.0
//
// The dispatcher that writes at once. The one with a queue is in DispatcherQueueTest.cpp.

#include <tracing-impl/Dispatcher.h>

#include <cerrno>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <support/ChildProcess.h>
#include <support/RecordingSink.h>
#include <support/TraceLines.h>
#include <support/WatchedPayload.h>

namespace {

using support::RecordingSink;
using support::SinkRecord;
using support::traceMessage;
using support::WatchedText;
using tracing::impl::Dispatcher;
using tracing::impl::Message;
using tracing::impl::OwnedText;
using tracing::impl::Sink;

/// Fails on everything.
class FailingSink : public Sink
{
public:
    void write(const Message&) override { throw std::runtime_error("full"); }
    void flush() override { throw std::bad_alloc(); }
    void channelChanged(const std::string&, short) override { throw std::bad_alloc(); }
};

/// Fails on the message "bad".
class ChoosySink : public Sink
{
public:
    void write(const Message& message) override
    {
        if (message.payload == "bad") throw std::bad_alloc();
    }
};

class DispatcherTest : public testing::Test
{
protected:
    void addRecord(SinkRecord& record)
    {
        m_dispatcher.addSink(std::make_unique<RecordingSink>(record));
    }
    void put(std::string_view text) { m_dispatcher.put(traceMessage(text), nullptr); }

    SinkRecord m_record;
    SinkRecord m_other;
    Dispatcher m_dispatcher{0};
};

TEST_F(DispatcherTest, Put_WritesAtOnce)
{
    addRecord(m_record);
    put("a");
    EXPECT_EQ("info net a\n", m_record.take());
    put("b");
    EXPECT_EQ("info net b\n", m_record.take());
}

TEST_F(DispatcherTest, Put_SafeTransport_WritesAtOnce)
{
    addRecord(m_record);
    m_dispatcher.put(traceMessage("a", 2), nullptr);
    EXPECT_EQ("info net a\n", m_record.take());
}

TEST_F(DispatcherTest, Put_SeveralSinks_InTheirOrder)
{
    addRecord(m_record);
    put("a");
    addRecord(m_other);
    addRecord(m_record);
    put("b");
    EXPECT_EQ("info net a\ninfo net b\ninfo net b\n", m_record.take());
    EXPECT_EQ("info net b\n", m_other.take());
}

TEST_F(DispatcherTest, Put_NoSink_ReleasesTheText)
{
    WatchedText text("a");
    m_dispatcher.put(traceMessage(text.get()), OwnedText(text.get()));
    EXPECT_EQ(1, text.releases());
}

TEST_F(DispatcherTest, Put_Owned_IsReleasedWhenWritten)
{
    addRecord(m_record);
    WatchedText text("a");
    m_dispatcher.put(traceMessage(text.get()), OwnedText(text.get()));
    EXPECT_EQ("info net a\n", m_record.take());
    EXPECT_EQ(1, text.releases());
}

TEST_F(DispatcherTest, Put_OwnedAndSinkThrows_IsReleased)
{
    m_dispatcher.addSink(std::make_unique<FailingSink>());
    WatchedText text("a");
    m_dispatcher.put(traceMessage(text.get()), OwnedText(text.get()));
    EXPECT_EQ(1, text.releases());
}

TEST_F(DispatcherTest, Put_SinkThrows_OthersAreWrittenTo)
{
    m_dispatcher.addSink(std::make_unique<FailingSink>());
    addRecord(m_record);
    put("a");
    EXPECT_EQ("info net a\n", m_record.take());
}

/// Fails in a call of the system.
class SystemSink : public Sink
{
public:
    void write(const Message&) override { errno = EIO; }
};

TEST_F(DispatcherTest, Put_KeepsErrno)
{
    m_dispatcher.addSink(std::make_unique<SystemSink>());
    errno = E2BIG;
    put("a");
    EXPECT_EQ(E2BIG, errno);
    m_dispatcher.addSink(std::make_unique<FailingSink>());
    put("b");
    EXPECT_EQ(E2BIG, errno);
}

TEST_F(DispatcherTest, Put_Queue_KeepsErrno)
{
    Dispatcher queued(8);
    queued.addSink(std::make_unique<SystemSink>());
    errno = E2BIG;
    queued.put(traceMessage("a"), nullptr);
    queued.put(traceMessage("b", 2), nullptr);
    EXPECT_EQ(E2BIG, errno);
}

TEST_F(DispatcherTest, Flush_SinkThrew_SaysSo)
{
    m_dispatcher.addSink(std::make_unique<ChoosySink>());
    addRecord(m_record);
    put("bad");
    put("good");
    put("bad");
    m_record.take();
    m_dispatcher.flush(true);
    EXPECT_EQ("warning tracing 2 messages were dropped\nflush\n", m_record.take());
    m_dispatcher.flush(true);
    EXPECT_EQ("flush\n", m_record.take());
}

TEST_F(DispatcherTest, Flush_SinkThrowsOnTheReport_CountsMessagesAlone)
{
    m_dispatcher.addSink(std::make_unique<FailingSink>());
    addRecord(m_record);
    put("a");
    m_record.take();
    m_dispatcher.flush(true);
    EXPECT_EQ("warning tracing 1 messages were dropped\nflush\n", m_record.take());
    m_dispatcher.flush(true);
    EXPECT_EQ("flush\n", m_record.take());
}

TEST_F(DispatcherTest, Flush_TellsTheSinks)
{
    addRecord(m_record);
    m_dispatcher.flush(true);
    EXPECT_EQ("flush\n", m_record.take());
}

TEST_F(DispatcherTest, Flush_DoesNotWait_DoesNothing)
{
    addRecord(m_record);
    m_dispatcher.flush(false);
    EXPECT_EQ("", m_record.take());
}

TEST_F(DispatcherTest, Stop_DropsWhatComes)
{
    addRecord(m_record);
    put("a");
    m_dispatcher.stop();
    put("b");
    EXPECT_EQ("info net a\nflush\n", m_record.take());
}

TEST_F(DispatcherTest, Stop_Twice_FlushesOnce)
{
    addRecord(m_record);
    m_dispatcher.stop();
    m_dispatcher.stop();
    EXPECT_EQ("flush\n", m_record.take());
}

TEST_F(DispatcherTest, Channels_AreForwarded)
{
    addRecord(m_record);
    m_dispatcher.channelChanged("net_tcp", 3);
    EXPECT_EQ("changed net_tcp 3\n", m_record.take());
}

TEST_F(DispatcherTest, Channels_SinkThrows_OthersAreTold)
{
    m_dispatcher.addSink(std::make_unique<FailingSink>());
    addRecord(m_record);
    m_dispatcher.channelChanged("net_tcp", 3);
    EXPECT_EQ("changed net_tcp 3\n", m_record.take());
}

TEST_F(DispatcherTest, Channels_SinkThrows_IsNoMessage)
{
    m_dispatcher.addSink(std::make_unique<FailingSink>());
    addRecord(m_record);
    m_dispatcher.channelChanged("net_tcp", 3);
    m_dispatcher.flush(true);
    EXPECT_EQ("changed net_tcp 3\nflush\n", m_record.take());
}

TEST_F(DispatcherTest, Put_SeveralThreads_OneAtATime)
{
    addRecord(m_record);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] { put("a"); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ("info net a\ninfo net a\ninfo net a\ninfo net a\n", m_record.take());
}

TEST_F(DispatcherTest, Put_Child_GoesToStandardError)
{
    addRecord(m_record);
    const support::ChildResult child = support::runInChild([this] {
        put("a");
        m_dispatcher.put(traceMessage("b", 2), nullptr);
        EXPECT_EQ("", m_record.take());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\nTIME info net [T] b\n", support::bareLines(child.err));
}

TEST_F(DispatcherTest, FlushAndStop_Child_DoNothing)
{
    addRecord(m_record);
    const support::ChildResult child = support::runInChild([this] {
        m_dispatcher.flush(true);
        m_dispatcher.stop();
        put("a");
        EXPECT_EQ("", m_record.take());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\n", support::bareLines(child.err));
}

} // namespace
