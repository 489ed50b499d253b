// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/MessageRing.h>

#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "support/ArrayMemory.h"
#include <support/RecordingSink.h>

namespace {

using support::arrayMemory;
using support::traceMessage;
using tracing::impl::MessageRing;
using tracing::impl::OwnedText;
using tracing::impl::QueuedMessage;

bool add(MessageRing& ring, std::string_view text)
{
    return ring.add(traceMessage(text), nullptr);
}

/// Adds a message for each letter. Returns how many there was memory for.
int addLetters(MessageRing& ring, std::string_view letters)
{
    int count = 0;
    for (std::size_t i = 0; i < letters.size(); ++i)
        count += add(ring, letters.substr(i, 1)) ? 1 : 0;
    return count;
}

/// Takes so many messages. Returns their texts.
std::string take(MessageRing& ring, int count)
{
    std::string texts;
    QueuedMessage message;
    while (count-- > 0) {
        ring.takeFirst(message);
        texts += message.message().payload;
    }
    return texts;
}

/// Returns how many blocks were allocated for arrays and are not released.
int blocks()
{
    return arrayMemory.allocations - arrayMemory.releases;
}

/// Expects so many blocks more than `before`.
void expectBlocks([[maybe_unused]] int count, [[maybe_unused]] int before)
{
#ifndef SUPPORT_FIXED_ARRAY_MEMORY
    EXPECT_EQ(count, blocks() - before);
#endif
}

TEST(MessageRing, Capacity)
{
    MessageRing ring(3);
    EXPECT_EQ(0u, ring.size());
    EXPECT_FALSE(ring.isFull());
    EXPECT_EQ(2, addLetters(ring, "ab"));
    EXPECT_EQ(2u, ring.size());
    EXPECT_FALSE(ring.isFull());
    EXPECT_TRUE(add(ring, "c"));
    EXPECT_EQ(3u, ring.size());
    EXPECT_TRUE(ring.isFull());
    EXPECT_EQ("abc", take(ring, 3));
    EXPECT_EQ(0u, ring.size());
    EXPECT_FALSE(ring.isFull());
}

TEST(MessageRing, Capacity_One)
{
    MessageRing ring(1);
    EXPECT_TRUE(add(ring, "a"));
    EXPECT_TRUE(ring.isFull());
    EXPECT_EQ("a", take(ring, 1));
    EXPECT_EQ(0u, ring.size());
    EXPECT_TRUE(add(ring, "b"));
    EXPECT_TRUE(ring.isFull());
    EXPECT_EQ("b", ring.first().payload);
}

TEST(MessageRing, Capacity_Zero_IsOne)
{
    MessageRing ring(0);
    EXPECT_FALSE(ring.isFull());
    EXPECT_TRUE(add(ring, "a"));
    EXPECT_TRUE(ring.isFull());
    EXPECT_EQ("a", take(ring, 1));
}

TEST(MessageRing, Order_AroundTheEnd)
{
    MessageRing ring(3);
    addLetters(ring, "abc");
    EXPECT_EQ("ab", take(ring, 2));
    EXPECT_EQ(2, addLetters(ring, "de"));
    EXPECT_TRUE(ring.isFull());
    EXPECT_EQ("cd", take(ring, 2));
    EXPECT_EQ(2, addLetters(ring, "fg"));
    EXPECT_EQ("efg", take(ring, 3));
    EXPECT_EQ(0u, ring.size());
}

TEST(MessageRing, First_LeavesTheMessage)
{
    MessageRing ring(2);
    addLetters(ring, "ab");
    EXPECT_EQ("a", ring.first().payload);
    EXPECT_EQ("a", ring.first().payload);
    EXPECT_EQ("net", ring.first().path);
    EXPECT_EQ(2u, ring.size());
}

TEST(MessageRing, DropFirst_RemovesTheOldest)
{
    MessageRing ring(2);
    addLetters(ring, "ab");
    ring.dropFirst();
    EXPECT_EQ(1u, ring.size());
    EXPECT_FALSE(ring.isFull());
    EXPECT_EQ("b", ring.first().payload);
    EXPECT_TRUE(add(ring, "c"));
    ring.dropFirst();
    EXPECT_EQ("c", take(ring, 1));
}

TEST(MessageRing, Add_KeepsACopy)
{
    MessageRing ring(1);
    std::string text = "here";
    EXPECT_TRUE(add(ring, text));
    text = "gone";
    EXPECT_EQ("here", take(ring, 1));
}

TEST(MessageRing, Swap_ExchangesAll)
{
    MessageRing ring(3);
    MessageRing other(3);
    addLetters(ring, "xxa");
    take(ring, 2);
    addLetters(ring, "bc");
    addLetters(other, "z");
    ring.swap(other);
    EXPECT_EQ(1u, ring.size());
    EXPECT_EQ(3u, other.size());
    EXPECT_TRUE(other.isFull());
    EXPECT_EQ("z", take(ring, 1));
    EXPECT_EQ("abc", take(other, 3));
}

TEST(MessageRing, Swap_ExchangesTheCapacity)
{
    MessageRing ring(2);
    MessageRing other(3);
    addLetters(other, "abc");
    ring.swap(other);
    EXPECT_TRUE(ring.isFull());
    addLetters(other, "de");
    EXPECT_TRUE(other.isFull());
    EXPECT_EQ("abc", take(ring, 3));
    EXPECT_EQ("de", take(other, 2));
}

TEST(MessageRing, Pieces_OrderAcrossThem)
{
    constexpr const char* LETTERS = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN";
    MessageRing ring(40);
    EXPECT_EQ(40, addLetters(ring, LETTERS));
    EXPECT_TRUE(ring.isFull());
    EXPECT_EQ("abcdefghijklmnopqrstuvwxyzABCDEFGHI", take(ring, 35));
    EXPECT_EQ(35, addLetters(ring, "0123456789OPQRSTUVWXYZ.,:;+-*/()[]{"));
    EXPECT_TRUE(ring.isFull());
    EXPECT_EQ("JKLMN0123456789OPQRSTUVWXYZ.,:;+-*/()[]{", take(ring, 40));
}

TEST(MessageRing, Pieces_TakeMemoryOnceAndWhenNeeded)
{
    const int before = blocks();
    {
        MessageRing ring(40);
        expectBlocks(0, before);
        addLetters(ring, "a");
        expectBlocks(1, before);
        addLetters(ring, "bcdefghijklmnopqrstuvwxyz012345");
        expectBlocks(1, before);
        addLetters(ring, "6");
        expectBlocks(2, before);
        take(ring, 33);
        expectBlocks(2, before);
        EXPECT_EQ(40, addLetters(ring, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN"));
        expectBlocks(2, before);
    }
    expectBlocks(0, before);
}

TEST(MessageRing, DropFirst_ReleasesWhatTheMessageKept)
{
    const int before = blocks();
    MessageRing ring(2);
    EXPECT_TRUE(add(ring, std::string(1000, 'x')));
    expectBlocks(2, before);
    ring.dropFirst();
    expectBlocks(1, before);
}

#ifndef SUPPORT_FIXED_ARRAY_MEMORY

TEST(MessageRing, Add_WithoutMemoryForAPiece_AddsNothing)
{
    MessageRing ring(2);
    arrayMemory.isExhausted = true;
    EXPECT_FALSE(add(ring, "a"));
    arrayMemory.isExhausted = false;
    EXPECT_EQ(0u, ring.size());
    EXPECT_EQ(2, addLetters(ring, "bc"));
    EXPECT_EQ("bc", take(ring, 2));
}

TEST(MessageRing, Add_WithoutMemoryForTheText_KeepsTheOthers)
{
    MessageRing ring(3);
    EXPECT_TRUE(add(ring, "a"));
    const std::string text(1000, 'x');
    arrayMemory.isExhausted = true;
    EXPECT_FALSE(add(ring, text));
    arrayMemory.isExhausted = false;
    EXPECT_EQ(1u, ring.size());
    EXPECT_TRUE(add(ring, "b"));
    EXPECT_EQ("ab", take(ring, 2));
}

TEST(MessageRing, Add_WithoutMemory_ReleasesTheOwnedText)
{
    const int before = blocks();
    MessageRing ring(2);
    OwnedText owned(new char[2]{'a', '\0'});
    const auto message = traceMessage(owned.get());
    arrayMemory.isExhausted = true;
    EXPECT_FALSE(ring.add(message, std::move(owned)));
    arrayMemory.isExhausted = false;
    EXPECT_EQ(0, blocks() - before);
}

#endif

} // namespace
