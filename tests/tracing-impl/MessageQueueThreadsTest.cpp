// SPDX-License-Identifier: Apache-2.0
//
// The queue between threads: waiting for room, for messages, and for the end.

#include <tracing-impl/MessageQueue.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <support/RecordingSink.h>

namespace {

using support::traceMessage;
using tracing::impl::MessageQueue;
using tracing::impl::OwnedText;
using tracing::impl::QueuedMessage;

constexpr int THREADS = 16;
constexpr int MESSAGES = 500;
constexpr std::uint64_t ALL_MESSAGES = 8000;
constexpr short PLAIN = 0;
constexpr short SAFE = 2;

void push(MessageQueue& queue, std::string_view text)
{
    queue.push(traceMessage(text), nullptr);
}

void pushSafely(MessageQueue& queue, std::string_view text)
{
    queue.push(traceMessage(text, SAFE), nullptr);
}

std::string pop(MessageQueue& queue)
{
    QueuedMessage message;
    return queue.pop(message) ? std::string(message.message().payload) : "(end)";
}

std::string popMany(MessageQueue& queue, int count)
{
    std::string popped;
    while (count-- > 0)
        popped += pop(queue);
    return popped;
}

/// What the messages "THREAD NUMBER" of all threads were popped as.
class Arrivals
{
public:
    /// Returns when the queue is closed and empty.
    void popAll(MessageQueue& queue)
    {
        QueuedMessage message;
        while (queue.pop(message))
            count(std::string(message.message().payload));
    }

    std::uint64_t m_count = 0;
    /// Messages that came behind a later one of their thread.
    int m_disordered = 0;

private:
    void count(const std::string& text)
    {
        ++m_count;
        const auto thread = static_cast<std::size_t>(std::atoi(text.c_str()));
        const int number = std::atoi(text.c_str() + text.find(' '));
        if (number <= m_last.at(thread)) ++m_disordered;
        m_last.at(thread) = number;
    }

    std::array<int, THREADS> m_last{};
};

void pushMany(MessageQueue& queue, int thread, short modifiers)
{
    for (int number = 1; number <= MESSAGES; ++number) {
        const std::string text = std::to_string(thread) + ' ' + std::to_string(number);
        auto* const copy = new char[text.size() + 1];
        std::strcpy(copy, text.c_str());
        queue.push(traceMessage(copy, modifiers), OwnedText(copy));
    }
}

/// Sixteen threads push, a message after the other, and one pops all that.
Arrivals pushAndPop(MessageQueue& queue, short modifiers)
{
    Arrivals arrivals;
    std::thread popping([&] { arrivals.popAll(queue); });
    std::vector<std::thread> pushing;
    for (int thread = 0; thread < THREADS; ++thread)
        pushing.emplace_back([&queue, thread, modifiers] { pushMany(queue, thread, modifiers); });
    for (std::thread& thread : pushing)
        thread.join();
    queue.close();
    popping.join();
    return arrivals;
}

TEST(MessageQueueThreads, Push_SixteenThreads_NothingIsLostButWhatTheCountSays)
{
    MessageQueue queue(64);
    const Arrivals arrivals = pushAndPop(queue, PLAIN);
    EXPECT_EQ(ALL_MESSAGES, arrivals.m_count + queue.takeDropped());
    EXPECT_EQ(0, arrivals.m_disordered);
}

TEST(MessageQueueThreads, Push_SixteenThreadsWithRoomForAll_NothingIsLost)
{
    MessageQueue queue(ALL_MESSAGES);
    const Arrivals arrivals = pushAndPop(queue, PLAIN);
    EXPECT_EQ(ALL_MESSAGES, arrivals.m_count);
    EXPECT_EQ(0u, queue.takeDropped());
    EXPECT_EQ(0, arrivals.m_disordered);
}

TEST(MessageQueueThreads, PushThatWaits_SixteenThreads_NothingIsLost)
{
    MessageQueue queue(4);
    const Arrivals arrivals = pushAndPop(queue, SAFE);
    EXPECT_EQ(ALL_MESSAGES, arrivals.m_count);
    EXPECT_EQ(0u, queue.takeDropped());
    EXPECT_EQ(0, arrivals.m_disordered);
}

TEST(MessageQueueThreads, PushThatWaits_RoomForOne_KeepsOrder)
{
    MessageQueue queue(1);
    std::thread pushing([&] {
        for (const char* const text : {"a", "b", "c", "d", "e", "f", "g", "h"})
            pushSafely(queue, text);
    });
    EXPECT_EQ("abcdefgh", popMany(queue, 8));
    pushing.join();
    EXPECT_EQ(0u, queue.takeDropped());
}

TEST(MessageQueueThreads, PushThatWaits_AllIsTaken_GoesOnBeforeItIsWritten)
{
    for (int round = 0; round < 100; ++round) {
        MessageQueue queue(2);
        push(queue, "a");
        push(queue, "b");
        std::thread pushing([&] { pushSafely(queue, "c"); });
        std::this_thread::yield();
        EXPECT_EQ("a", pop(queue));
        pushing.join();
        EXPECT_EQ("bc", popMany(queue, 2));
        EXPECT_EQ(0u, queue.takeDropped());
    }
}

TEST(MessageQueueThreads, PushThatWaits_OtherTakesTheOldestsRoom_GoesOnWaiting)
{
    MessageQueue queue(1);
    push(queue, "a");
    std::thread pushing([&] { pushSafely(queue, "b"); });
    push(queue, "c");
    EXPECT_EQ("cb", popMany(queue, 2));
    pushing.join();
    EXPECT_EQ(1u, queue.takeDropped());
}

TEST(MessageQueueThreads, Close_PushThatWaits_IsDropped)
{
    for (int round = 0; round < 100; ++round) {
        MessageQueue queue(1);
        push(queue, "a");
        std::thread pushing([&] { pushSafely(queue, "b"); });
        for (int i = 0; i < 10 * round; ++i)
            std::this_thread::yield(); // later rounds mostly find it waiting
        queue.close();
        pushing.join();
        EXPECT_EQ(1u, queue.takeDropped());
        EXPECT_EQ("a", pop(queue));
        EXPECT_EQ("(end)", pop(queue));
    }
}

TEST(MessageQueueThreads, Close_PopThatWaits_Returns)
{
    for (int round = 0; round < 100; ++round) {
        MessageQueue queue(1);
        std::string popped;
        std::thread popping([&] { popped = pop(queue); });
        queue.close();
        popping.join();
        EXPECT_EQ("(end)", popped);
    }
}

TEST(MessageQueueThreads, Pop_Waits)
{
    for (int round = 0; round < 100; ++round) {
        MessageQueue queue(1);
        std::string popped;
        std::thread popping([&] { popped = pop(queue); });
        push(queue, "a");
        popping.join();
        EXPECT_EQ("a", popped);
    }
}

TEST(MessageQueueThreads, WaitUntilWritten_MessageIsUnderWay_Waits)
{
    for (int round = 0; round < 200; ++round) {
        MessageQueue queue(1);
        push(queue, "a");
        queue.close();
        EXPECT_EQ("a", pop(queue));
        std::atomic<bool> isWritten{false};
        std::thread waiting([&] {
            queue.waitUntilWritten();
            EXPECT_TRUE(isWritten);
        });
        std::this_thread::yield();
        isWritten = true;
        EXPECT_EQ("(end)", pop(queue));
        waiting.join();
    }
}

TEST(MessageQueueThreads, WaitUntilWritten_AnotherMessageIsUnderWay_WaitsAgain)
{
    for (int round = 0; round < 100; ++round) {
        MessageQueue queue(1);
        std::atomic<bool> isWritten{false};
        std::thread popping([&] {
            EXPECT_EQ("ab", popMany(queue, 2));
            std::this_thread::yield();
            isWritten = true;
            EXPECT_EQ("(end)", pop(queue));
        });
        push(queue, "a");
        queue.waitUntilWritten();
        push(queue, "b");
        queue.waitUntilWritten();
        EXPECT_TRUE(isWritten);
        queue.close();
        popping.join();
    }
}

TEST(MessageQueueThreads, WaitUntilWritten_SeveralThreads_AllReturn)
{
    MessageQueue queue(8);
    for (const char* const text : {"a", "b", "c", "d"})
        push(queue, text);
    std::vector<std::thread> waiting;
    for (int i = 0; i < 4; ++i)
        waiting.emplace_back([&] { queue.waitUntilWritten(); });
    queue.close();
    EXPECT_EQ("abcd(end)", popMany(queue, 5));
    for (std::thread& thread : waiting)
        thread.join();
}

TEST(MessageQueueThreads, WaitUntilWritten_OthersGoOn_Returns)
{
    MessageQueue queue(16);
    Arrivals arrivals;
    std::atomic<bool> isDone{false};
    std::thread popping([&] { arrivals.popAll(queue); });
    std::thread pushing([&] {
        while (!isDone)
            pushSafely(queue, "0 0");
    });
    for (int round = 0; round < 100; ++round)
        queue.waitUntilWritten();
    isDone = true;
    pushing.join();
    queue.close();
    popping.join();
    EXPECT_EQ(0u, queue.takeDropped());
}

} // namespace
