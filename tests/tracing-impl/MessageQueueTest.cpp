// SPDX-License-Identifier: Apache-2.0
//
// The queue with one thread. Waiting is in MessageQueueThreadsTest.cpp.

#include <tracing-impl/MessageQueue.h>

#include <string>

#include <gtest/gtest.h>

#include <support/RecordingSink.h>
#include <support/WatchedPayload.h>

namespace {

using support::traceMessage;
using support::WatchedText;
using tracing::impl::Message;
using tracing::impl::MessageQueue;
using tracing::impl::OwnedText;
using tracing::impl::QueuedMessage;

constexpr short SAFE = 2;

void push(MessageQueue& queue, std::string_view text)
{
    queue.push(traceMessage(text), nullptr);
}

void pushOwned(MessageQueue& queue, WatchedText& text)
{
    queue.push(traceMessage(text.get()), OwnedText(text.get()));
}

/// Returns the text of the oldest message, "(end)" if there is none in a closed queue.
std::string pop(MessageQueue& queue)
{
    QueuedMessage message;
    return queue.pop(message) ? std::string(message.message().payload) : "(end)";
}

TEST(MessageQueue, Pop_OldestFirst)
{
    MessageQueue queue(3);
    push(queue, "a");
    push(queue, "b");
    push(queue, "c");
    EXPECT_EQ("a", pop(queue));
    EXPECT_EQ("b", pop(queue));
    EXPECT_EQ("c", pop(queue));
    EXPECT_EQ(0u, queue.takeDropped());
}

TEST(MessageQueue, Pop_RoundAndRound)
{
    MessageQueue queue(2);
    push(queue, "a");
    push(queue, "b");
    EXPECT_EQ("a", pop(queue));
    push(queue, "c");
    EXPECT_EQ("b", pop(queue));
    push(queue, "d");
    EXPECT_EQ("c", pop(queue));
    EXPECT_EQ("d", pop(queue));
    EXPECT_EQ(0u, queue.takeDropped());
}

TEST(MessageQueue, Pop_AllFields)
{
    MessageQueue queue(1);
    Message message = {};
    message.path = "net_tcp";
    message.level = 4;
    message.modifiers = 6;
    message.isRaw = true;
    message.messageType = 256;
    message.payload = std::string_view("a\0b", 3);
    message.time = {1234, 5678};
    message.hasStamp = true;
    message.stamp = -9;
    message.threadId = 4711;
    message.threadName = "receiver";
    queue.push(message, nullptr);
    QueuedMessage popped;
    ASSERT_TRUE(queue.pop(popped));
    const Message& found = popped.message();
    EXPECT_EQ("net_tcp", found.path);
    EXPECT_EQ(4, found.level);
    EXPECT_EQ(6, found.modifiers);
    EXPECT_TRUE(found.isRaw);
    EXPECT_EQ(256, found.messageType);
    EXPECT_EQ(std::string_view("a\0b", 3), found.payload);
    EXPECT_EQ(1234, found.time.tv_sec);
    EXPECT_EQ(5678, found.time.tv_nsec);
    EXPECT_TRUE(found.hasStamp);
    EXPECT_EQ(-9, found.stamp);
    EXPECT_EQ(4711, found.threadId);
    EXPECT_EQ("receiver", found.threadName);
}

TEST(MessageQueue, Push_KeepsACopy)
{
    MessageQueue queue(1);
    std::string text = "here";
    push(queue, text);
    text = "gone";
    EXPECT_EQ("here", pop(queue));
}

TEST(MessageQueue, Push_LongText_IsWhole)
{
    MessageQueue queue(1);
    push(queue, std::string(100000, 'x'));
    EXPECT_EQ(std::string(100000, 'x'), pop(queue));
}

TEST(MessageQueue, Push_WhatWasTakenIsNotUsedUp_HasTheWholeRoom)
{
    MessageQueue queue(2);
    push(queue, "a");
    push(queue, "b");
    EXPECT_EQ("a", pop(queue));
    push(queue, "c");
    push(queue, "d");
    push(queue, "e");
    EXPECT_EQ("b", pop(queue));
    EXPECT_EQ("d", pop(queue));
    EXPECT_EQ("e", pop(queue));
    EXPECT_EQ(1u, queue.takeDropped());
}

TEST(MessageQueue, Push_Full_DropsTheOldest)
{
    MessageQueue queue(2);
    push(queue, "a");
    push(queue, "b");
    push(queue, "c");
    push(queue, "d");
    push(queue, "e");
    EXPECT_EQ("d", pop(queue));
    EXPECT_EQ("e", pop(queue));
    EXPECT_EQ(3u, queue.takeDropped());
    EXPECT_EQ(0u, queue.takeDropped());
}

TEST(MessageQueue, Push_FullBehindASafeOne_DropsTheNewOne)
{
    MessageQueue queue(2);
    queue.push(traceMessage("safe", SAFE), nullptr);
    push(queue, "a");
    push(queue, "b");
    push(queue, "c");
    EXPECT_EQ(2u, queue.takeDropped());
    EXPECT_EQ("safe", pop(queue));
    EXPECT_EQ("a", pop(queue));
    push(queue, "d");
    EXPECT_EQ("d", pop(queue));
    EXPECT_EQ(0u, queue.takeDropped());
}

TEST(MessageQueue, Push_FullWithASafeOneBehind_DropsTheOldest)
{
    MessageQueue queue(2);
    push(queue, "a");
    queue.push(traceMessage("safe", SAFE), nullptr);
    push(queue, "b");
    push(queue, "c");
    EXPECT_EQ("safe", pop(queue));
    EXPECT_EQ("b", pop(queue));
    EXPECT_EQ(2u, queue.takeDropped());
}

TEST(MessageQueue, Owned_FullBehindASafeOne_IsReleasedAtOnce)
{
    MessageQueue queue(1);
    queue.push(traceMessage("safe", SAFE), nullptr);
    WatchedText text("a");
    pushOwned(queue, text);
    EXPECT_EQ(1, text.releases());
    EXPECT_EQ("safe", pop(queue));
}

TEST(MessageQueue, Capacity_Zero_IsOne)
{
    MessageQueue queue(0);
    push(queue, "a");
    EXPECT_EQ("a", pop(queue));
    push(queue, "b");
    push(queue, "c");
    EXPECT_EQ("c", pop(queue));
    EXPECT_EQ(1u, queue.takeDropped());
}

TEST(MessageQueue, Push_WaitsWithRoom_ReturnsAtOnce)
{
    MessageQueue queue(1);
    queue.push(traceMessage("a"), nullptr);
    EXPECT_EQ("a", pop(queue));
    EXPECT_EQ(0u, queue.takeDropped());
}

TEST(MessageQueue, Close_KeepsWhatThereIs)
{
    MessageQueue queue(2);
    push(queue, "a");
    push(queue, "b");
    queue.close();
    EXPECT_EQ("a", pop(queue));
    EXPECT_EQ("b", pop(queue));
    EXPECT_EQ("(end)", pop(queue));
    EXPECT_EQ("(end)", pop(queue));
}

TEST(MessageQueue, Push_Closed_IsDropped)
{
    MessageQueue queue(2);
    push(queue, "a");
    queue.close();
    push(queue, "b");
    queue.push(traceMessage("c"), nullptr);
    EXPECT_EQ(2u, queue.takeDropped());
    EXPECT_EQ("a", pop(queue));
    EXPECT_EQ("(end)", pop(queue));
}

TEST(MessageQueue, Push_ClosedAndFull_KeepsTheOldest)
{
    MessageQueue queue(1);
    push(queue, "a");
    queue.close();
    push(queue, "b");
    queue.push(traceMessage("c"), nullptr);
    EXPECT_EQ("a", pop(queue));
    EXPECT_EQ(2u, queue.takeDropped());
}

TEST(MessageQueue, WaitUntilWritten_NothingPushed_Returns)
{
    MessageQueue queue(1);
    queue.waitUntilWritten();
    queue.close();
    queue.waitUntilWritten();
    EXPECT_EQ("(end)", pop(queue));
}

TEST(MessageQueue, WaitUntilWritten_PoppedAndAskedForMore_Returns)
{
    MessageQueue queue(1);
    push(queue, "a");
    push(queue, "b");
    queue.close();
    EXPECT_EQ("b", pop(queue));
    EXPECT_EQ("(end)", pop(queue));
    queue.waitUntilWritten();
    EXPECT_EQ(1u, queue.takeDropped());
}

TEST(MessageQueue, Owned_Popped_IsReleasedByTheMessage)
{
    MessageQueue queue(1);
    WatchedText text("a");
    pushOwned(queue, text);
    {
        QueuedMessage message;
        ASSERT_TRUE(queue.pop(message));
        EXPECT_EQ(text.get(), message.message().payload.data());
        EXPECT_EQ(0, text.releases());
    }
    EXPECT_EQ(1, text.releases());
}

TEST(MessageQueue, Owned_Dropped_IsReleasedAtOnce)
{
    MessageQueue queue(1);
    WatchedText text("a");
    pushOwned(queue, text);
    EXPECT_EQ(0, text.releases());
    push(queue, "b");
    EXPECT_EQ(1, text.releases());
    EXPECT_EQ("b", pop(queue));
}

TEST(MessageQueue, Owned_Closed_IsReleasedAtOnce)
{
    MessageQueue queue(1);
    queue.close();
    WatchedText text("a");
    pushOwned(queue, text);
    EXPECT_EQ(1, text.releases());
    EXPECT_EQ(1u, queue.takeDropped());
}

TEST(MessageQueue, Owned_NeverPopped_IsReleasedWithTheQueue)
{
    WatchedText text("a");
    {
        MessageQueue queue(3);
        pushOwned(queue, text);
        queue.close();
        EXPECT_EQ(0, text.releases());
    }
    EXPECT_EQ(1, text.releases());
}

TEST(MessageQueue, Owned_SlotIsUsedAgain_IsReleasedOnce)
{
    MessageQueue queue(1);
    WatchedText text("a");
    pushOwned(queue, text);
    EXPECT_EQ("a", pop(queue));
    EXPECT_EQ(1, text.releases());
    push(queue, "b");
    EXPECT_EQ("b", pop(queue));
    EXPECT_EQ(1, text.releases());
}

TEST(MessageQueue, Owned_MessageIsPoppedInto_IsReleased)
{
    MessageQueue queue(2);
    WatchedText text("a");
    pushOwned(queue, text);
    push(queue, "b");
    QueuedMessage message;
    ASSERT_TRUE(queue.pop(message));
    ASSERT_TRUE(queue.pop(message));
    EXPECT_EQ(1, text.releases());
    EXPECT_EQ("b", message.message().payload);
}

} // namespace
