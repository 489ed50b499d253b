// SPDX-License-Identifier: Apache-2.0
//
// Each kind of message, and the callbacks, of the trace client, of which each allocation fails in
// turn: those of the caller, and those of the client's thread.

#include "support/AllocationTorture.h"

#include <cstring>
#include <memory>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <gtest/gtest.h>
#include <tracing-impl/CallbackObject.h>
#include <tracing-impl/Client.h>

namespace {

using support::Outcome;
using support::rightOrRefused;
using support::torture;
using support::tortureElsewhere;
using tracing::Channel;
using tracing::impl::Client;
using tracing::impl::Message;

const std::string s_name = "pump";
const std::string s_long(3000, 'x'); // more than a queue holds in place
const std::string s_reserved = "a_callback_with_a_name_that_is_longer_than_any_on_the_spot";

/// Holds what arrives against the one that was sent, and keeps nothing.
class ComparingSink : public tracing::impl::Sink
{
public:
    ComparingSink(const Message& expected, int& right) : m_expected(expected), m_right(right) {}
    void write(const Message& message) override
    {
        if (message.path == "tracing") return; // of those that were dropped
        const bool isRight =
            message.payload == m_expected.payload && message.isRaw == m_expected.isRaw &&
            message.hasStamp == m_expected.hasStamp && message.stamp == m_expected.stamp &&
            message.modifiers == m_expected.modifiers && message.threadName == "worker";
        m_right += isRight ? 1 : 1000;
    }

private:
    const Message& m_expected;
    int& m_right;
};

struct CountingObject : tracing::CallbackObject
{
    void called(int, void*, unsigned int size) override { calls += size == 2 ? 1 : 1000; }
    int calls = 0;
};

class TraceMessagesAllocationTorture : public testing::Test
{
protected:
    TraceMessagesAllocationTorture()
    {
        m_client.addSink(std::make_unique<ComparingSink>(m_expected, m_right));
        m_client.channelRegistered(&m_net);
        m_expected.payload = s_long;
        m_client.registerThread("worker");
    }
    ~TraceMessagesAllocationTorture() override
    {
        m_client.unregisterThread();
        m_client.channelUnregistered(&m_net);
    }

    /// Sends one message with `log`, which arrives whole or not at all.
    template <typename Log>
    Outcome send(const Log& log)
    {
        m_right = 0;
        log();
        m_client.flushMessages(true);
        return rightOrRefused(m_right == 1, m_right == 0);
    }
    /// Returns the points of the caller and those of the client's thread.
    template <typename Log>
    std::string tortureBoth(const Log& log)
    {
        const auto body = [&] { return send(log); };
        return torture(body) + ", " + tortureElsewhere(body);
    }

    tracing::impl::TimeZones m_zones;
    Message m_expected = {};
    int m_right = 0;
    Channel m_net{"net", 2, 0};
    Client m_client{s_name, {}, 8, m_zones};
};

TEST_F(TraceMessagesAllocationTorture, Texts)
{
    EXPECT_EQ("1 points, 0 points", tortureBoth([this] { m_net.log(4, s_long); }));
    m_expected.modifiers = 1;
    EXPECT_EQ("1 points, 0 points", tortureBoth([this] { m_net.log(4, 1, s_long); }));
}

TEST_F(TraceMessagesAllocationTorture, RawMessages)
{
    m_expected.isRaw = true;
    EXPECT_EQ("1 points, 0 points",
              tortureBoth([this] { m_net.logRaw(4, 2, s_long.data(), 3000); }));
}

TEST_F(TraceMessagesAllocationTorture, RawMessagesOfPieces)
{
    m_expected.isRaw = true;
    const void* const begin = s_long.data();
    EXPECT_EQ("2 points, 0 points",
              tortureBoth([&] { m_net.logRawV(4, 2, begin, 1000U, begin, 2000U, nullptr); }));
}

TEST_F(TraceMessagesAllocationTorture, StampedMessages)
{
    m_expected.hasStamp = true;
    m_expected.stamp = 7;
    EXPECT_EQ("1 points, 0 points",
              tortureBoth([this] { m_net.logCVN(4, short{0}, 7LL, 4000U, "%s", s_long.c_str()); }));
}

TEST_F(TraceMessagesAllocationTorture, NamesOfThreads)
{
    EXPECT_EQ("0 points", torture([this] {
                  m_client.registerThread(s_long);
                  m_client.unregisterThread();
                  m_client.registerThread("worker");
                  return support::RIGHT;
              }));
}

TEST_F(TraceMessagesAllocationTorture, CallbackObjects)
{
    CountingObject object;
    int before = 0;
    const std::string result = torture([&] {
        before = object.calls;
        const int id = m_client.registerCallback(s_reserved, &object);
        if (id == -1) return support::REFUSED;
        bool isCalled = false;
        try {
            isCalled = m_client.call(s_reserved, "ab");
        } catch (const std::bad_alloc&) {
            isCalled = false; // the tool that asked is told
        }
        const bool isRemoved = m_client.unregisterCallback(id) == 0;
        if (!isRemoved) return support::WRONG;
        return rightOrRefused(isCalled && object.calls == before + 1,
                              !isCalled && object.calls == before);
    });
    EXPECT_EQ("2 points", result);
}

} // namespace
