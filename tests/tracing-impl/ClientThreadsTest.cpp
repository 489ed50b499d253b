// SPDX-License-Identifier: Apache-2.0
//
// Many threads that log, while levels change and channels come and go.

#include <tracing-impl/Client.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <common/tracing/log.h>
#include <tracing-impl/Sink.h>

namespace {

using tracing::Channel;
using tracing::impl::Client;
using tracing::impl::Message;
using tracing::impl::Sink;
using tracing::impl::TimeZones;

constexpr int THREADS = 16;
constexpr int MESSAGES = 300;
constexpr int ALL_MESSAGES = 4800;
constexpr short SAFE = 2;

const std::string s_name = "pump";

/// What arrived; written by the sink's thread, read after a flush.
struct Arrivals
{
    /// Messages "THREAD NUMBER".
    int count = 0;
    /// Messages that came behind a later one of their thread.
    int disordered = 0;
    /// The sum of what was said to be dropped.
    int dropped = 0;
    std::array<int, THREADS> last{};
};

class CountingSink : public Sink
{
public:
    explicit CountingSink(Arrivals& arrivals) : m_arrivals(arrivals) {}

    void write(const Message& message) override
    {
        const std::string text(message.payload);
        if (message.path == "tracing") {
            m_arrivals.dropped += std::atoi(text.c_str());
            return;
        }
        ++m_arrivals.count;
        const auto thread = static_cast<std::size_t>(std::atoi(text.c_str()));
        const int number = std::atoi(text.c_str() + text.find(' '));
        if (number <= m_arrivals.last.at(thread)) ++m_arrivals.disordered;
        m_arrivals.last.at(thread) = number;
    }

private:
    Arrivals& m_arrivals;
};

class ClientThreadsTest : public testing::Test
{
protected:
    void makeClient(std::size_t queueLength)
    {
        m_client =
            std::make_unique<Client>(s_name, tracing::impl::LevelSettings(), queueLength, m_zones);
        m_client->addSink(std::make_unique<CountingSink>(m_arrivals));
        m_client->channelRegistered(&m_net);
    }
    void TearDown() override { m_client.reset(); }

    /// Has sixteen threads log through each form of the interface in turn, while `meanwhile` is
    /// called again and again.
    template <typename Action>
    void logWhile(short modifiers, const Action& meanwhile)
    {
        std::atomic<bool> isDone{false};
        std::thread other([&] {
            while (!isDone)
                meanwhile();
        });
        std::vector<std::thread> threads;
        for (int thread = 0; thread < THREADS; ++thread)
            threads.emplace_back([this, thread, modifiers] { log(thread, modifiers); });
        for (std::thread& thread : threads)
            thread.join();
        isDone = true;
        other.join();
        m_client->flushMessages(true);
    }

    TimeZones m_zones;
    Arrivals m_arrivals;
    Channel m_net{"net", 2, 0};
    std::unique_ptr<Client> m_client;

private:
    void log(int thread, short modifiers)
    {
        for (int number = 1; number <= MESSAGES; number += 3) {
            m_net.logCV(3, modifiers, "%d %d", thread, number);
            m_net.logCVN(3, modifiers, 32u, "%d %d", thread, number + 1);
            m_net.log(3, modifiers, std::to_string(thread) + ' ' + std::to_string(number + 2));
        }
    }
};

TEST_F(ClientThreadsTest, LogWhileLevelsChange_NothingIsLostButWhatTheCountSays)
{
    makeClient(32);
    logWhile(0, [this] {
        m_client->changeChannelFilterLevel(&m_net, 0);
        m_client->setLevel("net", 3);
        m_client->channels();
    });
    EXPECT_EQ(ALL_MESSAGES, m_arrivals.count + m_arrivals.dropped);
    EXPECT_EQ(0, m_arrivals.disordered);
}

TEST_F(ClientThreadsTest, LevelsChangeByPathWhileChannelsComeAndGo_LastLevelCounts)
{
    constexpr int ROUNDS = 1000;
    makeClient(0);
    std::thread building([this] {
        for (int round = 0; round < ROUNDS; ++round) {
            Channel tcp("net_tcp_" + std::to_string(round % 7), 7, 0);
            m_client->channelRegistered(&tcp);
            m_client->channelUnregistered(&tcp);
        }
    });
    for (int round = 0; round < ROUNDS; ++round)
        m_client->setLevel("net", static_cast<short>(round % 6));
    building.join();
    EXPECT_EQ(3, m_net.m_filterLevel);
}

TEST_F(ClientThreadsTest, LogSafelyWhileChannelsComeAndGo_NothingIsLost)
{
    makeClient(8);
    logWhile(SAFE, [this] {
        Channel tcp("net_tcp", 7, 0);
        m_client->channelRegistered(&tcp);
        tcp.log(1, "below the filter");
        m_client->channelUnregistered(&tcp);
    });
    EXPECT_EQ(ALL_MESSAGES, m_arrivals.count);
    EXPECT_EQ(0, m_arrivals.dropped);
    EXPECT_EQ(0, m_arrivals.disordered);
}

TEST_F(ClientThreadsTest, LogAtOnceWhileOthersFlush_NothingIsLost)
{
    makeClient(0);
    logWhile(0, [this] { m_client->flushMessages(true); });
    EXPECT_EQ(ALL_MESSAGES, m_arrivals.count);
    EXPECT_EQ(0, m_arrivals.dropped);
    EXPECT_EQ(0, m_arrivals.disordered);
}

TEST_F(ClientThreadsTest, LogWhileZonesAndCallbacksChange_NothingIsLostButWhatTheCountSays)
{
    makeClient(64);
    logWhile(0, [this] {
        m_client->updateTimeZone(m_client->registerTimeZone("gps", 18), 19);
        m_client->unregisterCallback(
            m_client->registerCallback("restart", [](int, void*, unsigned int) {}));
        m_client->call("restart", "now");
        m_client->registerThread("changing");
        m_client->flushMessages(true);
    });
    EXPECT_EQ(ALL_MESSAGES, m_arrivals.count + m_arrivals.dropped);
    EXPECT_EQ(0, m_arrivals.disordered);
}

} // namespace
