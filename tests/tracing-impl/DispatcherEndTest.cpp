// SPDX-License-Identifier: Apache-2.0
//
// What the dispatcher says of its losses, and how its sinks and its thread end.

#include <tracing-impl/Dispatcher.h>

#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <support/RecordingSink.h>
#include <tracing-impl/CurrentThread.h>

namespace {

using support::RecordingSink;
using support::SinkRecord;
using support::traceMessage;
using tracing::impl::Dispatcher;
using tracing::impl::Message;
using tracing::impl::Sink;

/// Fails on the message "bad".
class ChoosySink : public Sink
{
public:
    void write(const Message& message) override
    {
        if (message.payload == "bad") throw std::runtime_error("full");
    }
};

TEST(DispatcherEnd, Stop_SinkThrewOnTheLastMessage_SaysSo)
{
    SinkRecord record;
    Dispatcher dispatcher(0);
    dispatcher.addSink(std::make_unique<ChoosySink>());
    dispatcher.addSink(std::make_unique<RecordingSink>(record));
    dispatcher.put(traceMessage("bad"), nullptr);
    dispatcher.stop();
    EXPECT_EQ("info net bad\nwarning tracing 1 messages were dropped\nflush\n", record.take());
}

TEST(DispatcherEnd, Stop_QueueAndSinkThrewOnTheLastMessage_SaysSo)
{
    SinkRecord record;
    Dispatcher dispatcher(8);
    dispatcher.addSink(std::make_unique<ChoosySink>());
    dispatcher.addSink(std::make_unique<RecordingSink>(record));
    dispatcher.put(traceMessage("bad"), nullptr);
    dispatcher.stop();
    EXPECT_EQ("info net bad\nwarning tracing 1 messages were dropped\nflush\n", record.take());
}

/// Writes down the time of the last message.
class TimeSink : public Sink
{
public:
    explicit TimeSink(std::time_t& time) : m_time(time) {}
    void write(const Message& message) override { m_time = message.time.tv_sec; }

private:
    std::time_t& m_time;
};

TEST(DispatcherEnd, Report_HasTheTime)
{
    timespec before = {};
    clock_gettime(CLOCK_REALTIME, &before);
    std::time_t time = 0;
    Dispatcher dispatcher(0);
    dispatcher.addSink(std::make_unique<ChoosySink>());
    dispatcher.addSink(std::make_unique<TimeSink>(time));
    dispatcher.put(traceMessage("bad"), nullptr);
    dispatcher.flush(true);
    EXPECT_LE(before.tv_sec, time);
}

/// Waits at its end for a thread that tells the sinks something.
class WaitingSink : public Sink
{
public:
    explicit WaitingSink(Dispatcher& dispatcher) : m_dispatcher(dispatcher) {}
    ~WaitingSink() override
    {
        std::thread([this] { m_dispatcher.channelChanged("net", 2); }).join();
    }
    void write(const Message&) override {}

private:
    Dispatcher& m_dispatcher;
};

TEST(DispatcherEnd, Stop_SinkWaitsForAThreadThatTellsTheSinks_Returns)
{
    SinkRecord record;
    Dispatcher dispatcher(8);
    dispatcher.addSink(std::make_unique<RecordingSink>(record));
    dispatcher.addSink(std::make_unique<WaitingSink>(dispatcher));
    dispatcher.stop();
    EXPECT_EQ("flush\n", record.take());
}

/// Writes down whose thread it is called by.
class ThreadSink : public Sink
{
public:
    explicit ThreadSink(bool& isOwn) : m_isOwn(isOwn) {}
    void write(const Message&) override { m_isOwn = tracing::impl::isOwnThread(); }

private:
    bool& m_isOwn;
};

TEST(DispatcherEnd, Thread_IsTheLibrarysOwn)
{
    bool isOwn = false;
    Dispatcher dispatcher(8);
    dispatcher.addSink(std::make_unique<ThreadSink>(isOwn));
    dispatcher.put(traceMessage("a"), nullptr);
    dispatcher.flush(true);
    EXPECT_TRUE(isOwn);
    EXPECT_FALSE(tracing::impl::isOwnThread());
}

} // namespace
