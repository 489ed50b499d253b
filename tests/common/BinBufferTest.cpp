// SPDX-License-Identifier: Apache-2.0

#include <common/BinBuffer.h>

#include <memory>
#include <string>
#include <type_traits>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedDevice.h"

namespace {

using std::BinBuffer;
using std::ErrorStorage;
using support::OpenBinBuffer;
using support::OpenStorage;
using support::ScriptedInput;
using support::ScriptedOutput;

constexpr int END_OF_FILE = std::char_traits<char>::eof();

static_assert(std::is_base_of_v<std::basic_streambuf<char>, BinBuffer>);
static_assert(std::is_convertible_v<BinBuffer*, std::basic_streambuf<char>*>);
static_assert(!std::is_copy_constructible_v<BinBuffer>);
static_assert(!std::is_copy_assignable_v<BinBuffer>);
static_assert(BinBuffer::DEFAULT_SIZE == 2048);

/// Whether an error is stored that nobody acknowledged.
bool isPending()
{
    return ErrorStorage::isError(true);
}

TEST(BinBuffer, PutArea_HoldsTheLastByteBack)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    EXPECT_EQ("+7", buffer.putArea());
    EXPECT_EQ(7, buffer.sputn("abcdefg", 7));
    EXPECT_EQ("abcdefg+0", buffer.putArea());
    EXPECT_EQ("", output.takeCalls());
    EXPECT_EQ(1, buffer.sputc('h'));
    EXPECT_EQ("write(abcdefgh)", output.takeCalls());
    EXPECT_EQ("+7", buffer.putArea());
}

TEST(BinBuffer, SizeOfTwo_HoldsOneCharacter)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 2);
    EXPECT_EQ('a', buffer.sputc('a'));
    EXPECT_EQ(1, buffer.sputc('b'));
    EXPECT_EQ('c', buffer.sputc('c'));
    EXPECT_EQ("write(ab)", output.takeCalls());
    EXPECT_EQ("c+0", buffer.putArea());
}

TEST(BinBuffer, SizeOfOne_WritesEachCharacterByItself)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    EXPECT_EQ("+0", buffer.putArea());
    EXPECT_EQ(3, buffer.sputn("abc", 3));
    EXPECT_EQ(1, buffer.sputc('d'));
    EXPECT_EQ("write(a) write(b) write(c) write(d)", output.takeCalls());
}

TEST(BinBuffer, SizeOfOne_WritesTheEndOfFileAsAByte)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    EXPECT_EQ(1, buffer.overflow(END_OF_FILE));
    EXPECT_EQ(1, buffer.overflow(0x141)); // the low eight bits
    EXPECT_EQ("\xFF\x41", output.taken());
}

TEST(BinBuffer, SizeOfOne_NothingTaken_Fails)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    output.take(0);
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ(1, buffer.sputc('b'));
    EXPECT_EQ("b", output.taken());
}

TEST(BinBuffer, SizeOfZero_TakesNothing)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 0);
    EXPECT_EQ("+0", buffer.putArea());
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ(END_OF_FILE, buffer.overflow(END_OF_FILE));
    EXPECT_EQ(0, buffer.sputn("abc", 3));
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("", output.takeCalls());
}

TEST(BinBuffer, SizeOfZero_LeavesAnOutsideBufferAlone)
{
    ScriptedOutput output;
    const std::unique_ptr<char[]> outside(new char[1]{'x'});
    OpenBinBuffer buffer(nullptr, 0, &output, 0, nullptr, outside.get());
    EXPECT_EQ("+0", buffer.putArea());
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ('x', outside[0]);
}

TEST(BinBuffer, Overflow_EmptyPutAreaIsTheEnd)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    EXPECT_EQ(END_OF_FILE, buffer.overflow('a'));
    EXPECT_EQ(END_OF_FILE, buffer.overflow(END_OF_FILE));
    EXPECT_EQ("", output.takeCalls());
    EXPECT_EQ("+7", buffer.putArea());
}

TEST(BinBuffer, Overflow_BelowTheEndOfThePutArea)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("ab", 2);
    EXPECT_EQ(1, buffer.overflow('c'));
    EXPECT_EQ("write(abc)", output.takeCalls());
    buffer.sputn("de", 2);
    EXPECT_EQ(1, buffer.overflow(END_OF_FILE));
    EXPECT_EQ("write(de)", output.takeCalls());
}

TEST(BinBuffer, Overflow_ByteOfAllOnesIsNotTheEndOfFile)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 2);
    EXPECT_EQ(0xFF, buffer.sputc('\xFF'));
    EXPECT_EQ(1, buffer.sputc('\xFF'));
    EXPECT_EQ("\xFF\xFF", output.taken());
}

TEST(BinBuffer, WithoutOutput_NothingIsTaken)
{
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    EXPECT_EQ("+0", buffer.putArea());
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ(END_OF_FILE, buffer.overflow(END_OF_FILE));
    EXPECT_EQ(0, buffer.pubsync());
}

TEST(BinBuffer, WithoutOutput_WhatIsPendingCannotBeSynced)
{
    OpenBinBuffer buffer(nullptr, 0, nullptr, 3);
    EXPECT_EQ(2, buffer.sputn("abc", 3));
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_EQ("ab+0", buffer.putArea());
}

TEST(BinBuffer, PartialDrain_RestIsMovedAndOverwritten)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    output.take(5);
    EXPECT_EQ(8, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("+3", buffer.putArea()); // "fgh" is there, and does not count
    EXPECT_EQ(3, buffer.sputn("123", 3));
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("write(abcdefgh) write(123)", output.takeCalls());
    EXPECT_EQ("+7", buffer.putArea());
}

TEST(BinBuffer, PartialDrain_MovesTheRestToTheFront)
{
    ScriptedOutput output;
    const std::unique_ptr<char[]> outside(new char[8]);
    OpenBinBuffer buffer(nullptr, 0, &output, 8, nullptr, outside.get());
    output.take(3);
    EXPECT_EQ(8, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("defgh", std::string(outside.get(), 5));
    EXPECT_EQ("+5", buffer.putArea());
}

TEST(BinBuffer, PartialDrain_SmallerPutAreaLastsUntilItIsDrained)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    output.take(7);
    EXPECT_EQ(8, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("+1", buffer.putArea());
    EXPECT_EQ(2, buffer.sputn("12", 2));
    EXPECT_EQ("write(abcdefgh) write(12)", output.takeCalls());
    EXPECT_EQ("+7", buffer.putArea());
}

TEST(BinBuffer, CountBeyondTheSizeIsAllOfIt)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 4);
    output.take(0xFFFFFFFF);
    EXPECT_EQ(4, buffer.sputn("abcd", 4));
    EXPECT_EQ("+3", buffer.putArea());
}

TEST(BinBuffer, NothingTaken_CharacterIsRefused)
{
    ScriptedOutput output;
    const std::unique_ptr<char[]> outside(new char[4]);
    OpenBinBuffer buffer(nullptr, 0, &output, 4, nullptr, outside.get());
    buffer.sputn("abc", 3);
    for (int i = 0; i < 100; ++i) { // as a caller that retries until it succeeds
        output.take(0);
        EXPECT_EQ(END_OF_FILE, buffer.sputc('d'));
    }
    EXPECT_EQ("abc+0", buffer.putArea());
    EXPECT_EQ(1, buffer.sputc('e'));
    EXPECT_EQ("abce", output.taken());
}

TEST(BinBuffer, NothingTaken_SyncKeepsWhatIsPending)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 4);
    buffer.sputn("ab", 2);
    output.take(0);
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_EQ("ab+1", buffer.putArea());
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("ab", output.taken());
}

TEST(BinBuffer, NothingTaken_AcknowledgesWhatIsPending)
{
    const OpenStorage storage;
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 2);
    support::startChain(3);
    output.take(0);
    buffer.sputc('a');
    EXPECT_EQ(END_OF_FILE, buffer.sputc('b'));
    EXPECT_FALSE(isPending());
    EXPECT_TRUE(ErrorStorage::isError(false));
}

#ifdef __CHAR_UNSIGNED__

TEST(BinBuffer, FailedWrite_PassesForASuccess)
{
    const OpenStorage storage;
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    output.fail(1, 5);
    EXPECT_EQ(8, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("+3", buffer.putArea());
    EXPECT_TRUE(isPending());
}

TEST(BinBuffer, FailedWrite_OfNothing_NeverReachesTheByteHeldBack)
{
    const OpenStorage storage;
    ScriptedOutput output;
    const std::unique_ptr<char[]> outside(new char[4]);
    OpenBinBuffer buffer(nullptr, 0, &output, 4, nullptr, outside.get());
    for (int i = 0; i < 100; ++i) {
        output.fail(0);
        EXPECT_EQ(4, buffer.sputn("abcd", 4));
        EXPECT_EQ("+3", buffer.putArea());
    }
    EXPECT_EQ("abcd", std::string(outside.get(), 4));
}

TEST(BinBuffer, FailedWrite_SizeOfOne_PassesForASuccess)
{
    const OpenStorage storage;
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    output.fail(1);
    EXPECT_EQ(1, buffer.sputc('a'));
    EXPECT_EQ("", output.taken());
    EXPECT_TRUE(isPending());
}

TEST(BinBuffer, FailedWrite_SyncPassesForASuccess)
{
    const OpenStorage storage;
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    output.fail(1);
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("+3", buffer.putArea());
    EXPECT_EQ("", output.taken());
}

#else

TEST(BinBuffer, FailedWrite_CharacterIsRefused)
{
    const OpenStorage storage;
    ScriptedOutput output;
    const std::unique_ptr<char[]> outside(new char[4]);
    OpenBinBuffer buffer(nullptr, 0, &output, 4, nullptr, outside.get());
    buffer.sputn("abc", 3);
    for (int i = 0; i < 100; ++i) {
        output.fail(1);
        EXPECT_EQ(END_OF_FILE, buffer.sputc('d'));
        EXPECT_FALSE(isPending());
    }
    EXPECT_EQ("abc+0", buffer.putArea());
    EXPECT_EQ(1, buffer.sputc('e'));
    EXPECT_EQ("abce", output.taken());
}

TEST(BinBuffer, FailedWrite_CountIsNotLookedAt)
{
    const OpenStorage storage;
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    output.fail(1, 5);
    EXPECT_EQ(7, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("abcdefg+0", buffer.putArea());
}

TEST(BinBuffer, FailedWrite_SizeOfOne_Fails)
{
    const OpenStorage storage;
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    output.fail(1);
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_FALSE(isPending());
    EXPECT_EQ(1, buffer.sputc('b'));
    EXPECT_EQ("b", output.taken());
}

TEST(BinBuffer, FailedWrite_SyncFails)
{
    const OpenStorage storage;
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    output.fail(1);
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("abc+4", buffer.putArea());
}

#endif

TEST(BinBuffer, Sync_FlushesTheStreamButNotDeeply)
{
    ScriptedOutput output(16);
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    EXPECT_EQ(1, buffer.overflow(END_OF_FILE));
    EXPECT_EQ("", output.takeCalls()); // in the stream's own buffer
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("write(abc)", output.takeCalls());
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("", output.takeCalls());
}

TEST(BinBuffer, Sync_FailedFlush)
{
    const OpenStorage storage;
    ScriptedOutput output(16);
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    output.fail(1);
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("+7", buffer.putArea());
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("abc", output.taken());
}

/// Counts the characters that it is asked to take, and does as it is told.
class OwnOverflow : public BinBuffer
{
public:
    using BinBuffer::BinBuffer;
    int m_result = 1;
    int m_last = 0;

protected:
    int overflow(int c) override
    {
        m_last = c;
        return m_result;
    }
};

TEST(BinBuffer, Sync_ReplacedOverflowIsAsked)
{
    ScriptedOutput output;
    OwnOverflow buffer(output, 8);
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ(0, buffer.m_last);
    buffer.sputc('a');
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ(END_OF_FILE, buffer.m_last);
    buffer.m_result = END_OF_FILE;
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_EQ("", output.takeCalls());
}

TEST(BinBuffer, Destruction_WritesNothing)
{
    ScriptedOutput output(16);
    {
        OpenBinBuffer buffer(nullptr, 0, &output, 8);
        buffer.sputn("abc", 3);
    }
    EXPECT_EQ("", output.takeCalls());
}

} // namespace
