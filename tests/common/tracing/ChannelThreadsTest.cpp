// SPDX-License-Identifier: Apache-2.0
//
// Many threads that log on one channel, while the client changes its level.

#include <common/tracing/Channel.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include <common/tracing/IClient.h>
#include <common/tracing/log.h>

namespace {

using tracing::Channel;

constexpr int THREADS = 16;
constexpr int ROUNDS = 250;

/// Counts the messages "thread N". Thread-safe, without making its callers wait for each other.
class CountingClient : public tracing::IClient
{
public:
    using IClient::logMessage;
    void logMessage(const Channel&, short level, short modifiers, const std::string& text) override
    {
        count(level, modifiers, text);
    }
    void logMessage(const Channel&, short level, short modifiers, char* text, bool) override
    {
        count(level, modifiers, text);
        delete[] text;
    }

    /// Messages at the level that always passes, by the number of their thread.
    std::array<std::atomic<int>, THREADS> m_counts{};
    /// Messages of other levels.
    std::atomic<int> m_others{0};
    /// Messages that nobody logged.
    std::atomic<int> m_strange{0};

private:
    void count(short level, short modifiers, const std::string& text)
    {
        const int number = text.rfind("thread ", 0) == 0 ? std::atoi(text.c_str() + 7) : -1;
        if (number < 0 || number >= THREADS || modifiers != 0)
            m_strange.fetch_add(1, std::memory_order_relaxed);
        else if (level == 5)
            m_counts[static_cast<std::size_t>(number)].fetch_add(1, std::memory_order_relaxed);
        else
            m_others.fetch_add(1, std::memory_order_relaxed);
    }
};

/// Logs three messages a round.
void logRounds(Channel& channel, short level, int number)
{
    const std::string text = "thread " + std::to_string(number);
    for (int round = 0; round < ROUNDS; ++round) {
        ZEL_LOG(channel, level, "thread %d", number);
        if (channel.passes(level)) channel.logCVN(level, 20, "thread %d", number);
        channel.log(level, text);
    }
}

/// A channel that takes the level of its parent.
class Inheriting : public Channel
{
public:
    explicit Inheriting(Channel& parent) : Channel("tcp", 0, FLAG_LOCAL_NAME)
    {
        m_parent = &parent;
        m_filterLevel = 7;
    }
};

/// Sixteen threads log at `level`, one sets the filter to the one and the other setting in turn,
/// and one reads it through a channel below.
void logWhileTheFilterChanges(Channel& channel, short level, short one, short other)
{
    const Inheriting below(channel);
    std::atomic<bool> isDone{false};
    pthread_barrier_t start;
    pthread_barrier_init(&start, nullptr, THREADS + 2);
    std::thread changing([&] {
        pthread_barrier_wait(&start);
        while (!isDone) {
            channel.setFilterLevel(one);
            channel.setFilterLevel(other);
        }
    });
    std::thread reading([&] {
        pthread_barrier_wait(&start);
        while (!isDone) {
            const short read = below.getValidFilterLevelAlongPath();
            EXPECT_TRUE(read == one || read == other) << read;
        }
    });
    std::vector<std::thread> logging;
    for (int number = 0; number < THREADS; ++number)
        logging.emplace_back([&, number] {
            pthread_barrier_wait(&start);
            logRounds(channel, level, number);
        });
    for (std::thread& thread : logging)
        thread.join();
    isDone = true;
    changing.join();
    reading.join();
    pthread_barrier_destroy(&start);
}

TEST(ChannelThreads, LevelThatAlwaysPasses_NoMessageIsLost)
{
    CountingClient client;
    Channel channel("net", 0, 0);
    channel.m_client = &client;
    channel.setFilterLevel(0);
    logWhileTheFilterChanges(channel, 5, 0, 5);
    for (const std::atomic<int>& count : client.m_counts)
        EXPECT_EQ(750, count.load());
    EXPECT_EQ(0, client.m_others.load());
    EXPECT_EQ(0, client.m_strange.load());
}

TEST(ChannelThreads, LevelThatNeverPasses_NoMessageArrives)
{
    CountingClient client;
    Channel channel("net", 0, 0);
    channel.m_client = &client;
    logWhileTheFilterChanges(channel, 2, 3, 6);
    for (const std::atomic<int>& count : client.m_counts)
        EXPECT_EQ(0, count.load());
    EXPECT_EQ(0, client.m_others.load());
    EXPECT_EQ(0, client.m_strange.load());
}

TEST(ChannelThreads, LevelThatPassesAtTimes_TextsAreWhole)
{
    CountingClient client;
    Channel channel("net", 0, 0);
    channel.m_client = &client;
    channel.setFilterLevel(2);
    logWhileTheFilterChanges(channel, 2, 2, 3);
    EXPECT_EQ(0, client.m_strange.load());
    EXPECT_LE(client.m_others.load(), 12000);
    EXPECT_EQ(0, client.m_counts[0].load());
}

} // namespace
