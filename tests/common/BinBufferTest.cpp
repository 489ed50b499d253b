// SPDX-License-Identifier: Apache-2.0
//
// Writing. Devices that refuse are in BinBufferFailuresTest.cpp, reading is in
// BinBufferInputTest.cpp, the buffers and their memory are in BinBufferMemoryTest.cpp.

#include <common/BinBuffer.h>

#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/ScriptedDevice.h"

namespace {

using std::BinBuffer;
using support::DeviceInput;
using support::DeviceOutput;
using support::OpenBinBuffer;

constexpr int END_OF_FILE = std::char_traits<char>::eof();

static_assert(std::is_base_of_v<std::basic_streambuf<char>, BinBuffer>);
static_assert(std::is_convertible_v<BinBuffer*, std::basic_streambuf<char>*>);
static_assert(!std::is_copy_constructible_v<BinBuffer>);
static_assert(!std::is_copy_assignable_v<BinBuffer>);
static_assert(std::is_constructible_v<BinBuffer, std::IBinInputStream&>);
static_assert(!std::is_convertible_v<std::IBinInputStream&, BinBuffer>);
static_assert(std::is_constructible_v<BinBuffer, std::IBinOutputStream&>);
static_assert(!std::is_convertible_v<std::IBinOutputStream&, BinBuffer>);
static_assert(BinBuffer::DEFAULT_SIZE == 2048);

TEST(BinBuffer, PutArea_HoldsTheLastByteBack)
{
    DeviceOutput output;
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
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 2);
    EXPECT_EQ('a', buffer.sputc('a'));
    EXPECT_EQ(1, buffer.sputc('b'));
    EXPECT_EQ('c', buffer.sputc('c'));
    EXPECT_EQ("write(ab)", output.takeCalls());
    EXPECT_EQ("c+0", buffer.putArea());
}

TEST(BinBuffer, SizeOfOne_WritesEachCharacterByItself)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    EXPECT_EQ("+0", buffer.putArea());
    EXPECT_EQ(3, buffer.sputn("abc", 3));
    EXPECT_EQ(1, buffer.sputc('d'));
    EXPECT_EQ("write(a) write(b) write(c) write(d)", output.takeCalls());
}

TEST(BinBuffer, SizeOfOne_WritesTheEndOfFileAsAByte)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    EXPECT_EQ(1, buffer.overflow(END_OF_FILE));
    EXPECT_EQ(1, buffer.overflow(0x141)); // the low eight bits
    EXPECT_EQ("\xFF\x41", output.taken());
}

struct OwnPutArea : OpenBinBuffer
{
    using BinBuffer::setp;
    using OpenBinBuffer::OpenBinBuffer;
};

TEST(BinBuffer, SizeOfOne_LeavesThePutAreaOfADerivedClass)
{
    DeviceOutput output;
    char out[1] = {'x'};
    char area[4];
    OwnPutArea buffer(nullptr, 0, &output, 1, nullptr, out);
    buffer.setp(area, area + 4);
    EXPECT_EQ('a', buffer.sputc('a'));
    EXPECT_EQ(1, buffer.overflow(END_OF_FILE));
    EXPECT_EQ("write(x)", output.takeCalls());
    EXPECT_EQ("a+3", buffer.putArea());
}

TEST(BinBuffer, SizeOfOne_NothingTaken_Fails)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    output.take(0);
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ(1, buffer.sputc('b'));
    EXPECT_EQ("b", output.taken());
}

TEST(BinBuffer, SizeOfZero_TakesNothing)
{
    DeviceOutput output;
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
    DeviceOutput output;
    const std::unique_ptr<char[]> outside(new char[1]{'x'});
    OpenBinBuffer buffer(nullptr, 0, &output, 0, nullptr, outside.get());
    EXPECT_EQ("+0", buffer.putArea());
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ('x', outside[0]);
}

TEST(BinBuffer, Overflow_EmptyPutAreaIsTheEnd)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    EXPECT_EQ(END_OF_FILE, buffer.overflow('a'));
    EXPECT_EQ(END_OF_FILE, buffer.overflow(END_OF_FILE));
    EXPECT_EQ("", output.takeCalls());
    EXPECT_EQ("+7", buffer.putArea());
}

TEST(BinBuffer, Overflow_BelowTheEndOfThePutArea)
{
    DeviceOutput output;
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
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 2);
    EXPECT_EQ(0xFF, buffer.sputc('\xFF'));
    EXPECT_EQ(1, buffer.sputc('\xFF'));
    EXPECT_EQ("\xFF\xFF", output.taken());
}

TEST(BinBuffer, WithoutOutput_NothingIsTaken)
{
    DeviceInput input;
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
    DeviceOutput output;
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
    DeviceOutput output;
    const std::unique_ptr<char[]> outside(new char[8]);
    OpenBinBuffer buffer(nullptr, 0, &output, 8, nullptr, outside.get());
    output.take(3);
    EXPECT_EQ(8, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("defgh", std::string(outside.get(), 5));
    EXPECT_EQ("+5", buffer.putArea());
}

TEST(BinBuffer, PartialDrain_SmallerPutAreaLastsUntilItIsDrained)
{
    DeviceOutput output;
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
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 4);
    output.take(0xFFFFFFFF);
    EXPECT_EQ(4, buffer.sputn("abcd", 4));
    EXPECT_EQ("+3", buffer.putArea());
}

TEST(BinBuffer, Sync_FlushesTheStreamButNotDeeply)
{
    DeviceOutput output(16);
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    EXPECT_EQ(1, buffer.overflow(END_OF_FILE));
    EXPECT_EQ("", output.takeCalls()); // in the stream's own buffer
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("write(abc)", output.takeCalls());
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("", output.takeCalls());
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
    DeviceOutput output;
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
    DeviceOutput output(16);
    {
        OpenBinBuffer buffer(nullptr, 0, &output, 8);
        buffer.sputn("abc", 3);
    }
    EXPECT_EQ("", output.takeCalls());
}

} // namespace
