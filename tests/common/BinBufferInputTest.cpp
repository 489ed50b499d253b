// SPDX-License-Identifier: Apache-2.0
//
// Reading.

#include <common/BinBuffer.h>

#include <memory>
#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedDevice.h"

namespace {

using std::ErrorStorage;
using support::DeviceInput;
using support::DeviceOutput;
using support::END_OF_STREAM;
using support::OpenBinBuffer;
using support::OpenStorage;

constexpr int END_OF_FILE = std::char_traits<char>::eof();

/// Whether an error is stored that nobody acknowledged.
bool isPending()
{
    return ErrorStorage::isError(true);
}

TEST(BinBuffer, GetArea_HoldsTheLastRefill)
{
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("abcd");
    input.give("e");
    EXPECT_EQ("|", buffer.getArea());
    EXPECT_EQ('a', buffer.sgetc());
    EXPECT_EQ("|abcd", buffer.getArea());
    EXPECT_EQ('b', buffer.snextc());
    EXPECT_EQ("a|bcd", buffer.getArea());
    char text[4] = {};
    EXPECT_EQ(4, buffer.sgetn(text, 4));
    EXPECT_EQ("bcde", std::string(text, 4));
    EXPECT_EQ("e|", buffer.getArea());
    EXPECT_EQ("read(4) read(4)", input.takeCalls());
}

TEST(BinBuffer, Underflow_BelowTheEndOfTheGetArea_ReadsNothing)
{
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    EXPECT_EQ('a', buffer.sbumpc());
    input.takeCalls();
    EXPECT_EQ('b', buffer.underflow());
    EXPECT_EQ('b', buffer.underflow());
    EXPECT_EQ("a|b", buffer.getArea());
    EXPECT_EQ("", input.takeCalls());
}

TEST(BinBuffer, Input_BytesAreUnsigned)
{
    DeviceInput input;
    OpenBinBuffer buffer(input, 2);
    input.give("\xFF\x80");
    EXPECT_EQ(255, buffer.underflow());
    EXPECT_EQ(255, buffer.underflow());
    EXPECT_EQ(255, buffer.sbumpc());
    EXPECT_EQ(128, buffer.sbumpc());
}

TEST(BinBuffer, Input_SizeOfOne)
{
    DeviceInput input;
    OpenBinBuffer buffer(input, 1);
    input.give("a");
    input.give("b");
    EXPECT_EQ('a', buffer.sbumpc());
    EXPECT_EQ('b', buffer.sbumpc());
    EXPECT_EQ(END_OF_FILE, buffer.sbumpc());
    EXPECT_EQ("read(1) read(1) read(1)", input.takeCalls());
}

TEST(BinBuffer, Input_SizeOfZero_IsAtItsEnd)
{
    DeviceInput input;
    input.give("abc");
    const std::unique_ptr<char[]> outside(new char[1]{'x'});
    OpenBinBuffer buffer(&input, 0, nullptr, 0, outside.get());
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ("", input.takeCalls());
    EXPECT_EQ('x', outside[0]);
}

TEST(BinBuffer, WithoutInput_IsAtItsEnd)
{
    DeviceOutput output;
    OpenBinBuffer buffer(output, 4);
    char text[2] = {};
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ(END_OF_FILE, buffer.snextc());
    EXPECT_EQ(0, buffer.sgetn(text, 2));
}

TEST(BinBuffer, Input_CountBeyondTheSizeIsAllOfIt)
{
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("abcd", 0xFFFFFFFF);
    EXPECT_EQ('a', buffer.sgetc());
    EXPECT_EQ("|abcd", buffer.getArea());
}

TEST(BinBuffer, Input_PartsOfWhatAnUnbufferedStreamGives)
{
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("a");
    input.give("bcd");
    char text[8] = {};
    EXPECT_EQ(4, buffer.sgetn(text, 8));
    EXPECT_EQ("abcd", std::string(text));
    EXPECT_EQ("read(4) read(4) read(4)", input.takeCalls());
}

TEST(BinBuffer, Input_WhatABufferedStreamHoldsComesFirst)
{
    DeviceInput input(8);
    OpenBinBuffer buffer(input, 3);
    input.give("abcde");
    EXPECT_EQ('a', buffer.sgetc());
    EXPECT_EQ("|abc", buffer.getArea());
    char text[8] = {};
    EXPECT_EQ(5, buffer.sgetn(text, 5));
    EXPECT_EQ("abcde", std::string(text));
    EXPECT_EQ("de|", buffer.getArea());
    EXPECT_EQ("read(8)", input.takeCalls());
}

TEST(BinBuffer, Input_NoBytes_GoesOnLater)
{
    const OpenStorage storage;
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("");
    input.give("ab");
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ('a', buffer.sgetc());
}

TEST(BinBuffer, Input_NoBytes_AcknowledgesWhatIsPending)
{
    const OpenStorage storage;
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    support::startChain(3);
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_FALSE(isPending());
    EXPECT_EQ(3, ErrorStorage::id());
}

TEST(BinBuffer, Input_EndOfStream_LeavesNoPendingErrorAndAnEmptyGetArea)
{
    const OpenStorage storage;
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    input.fail(END_OF_STREAM);
    buffer.sgetc();
    EXPECT_EQ('b', buffer.snextc());
    EXPECT_EQ(END_OF_FILE, buffer.snextc());
    EXPECT_FALSE(isPending());
    EXPECT_TRUE(ErrorStorage::isA(std::IBinStreamBase::StreamError));
    EXPECT_EQ("|", buffer.getArea());
    EXPECT_EQ(END_OF_FILE, buffer.sungetc());
}

TEST(BinBuffer, Input_OtherFailure_LeavesTheGetArea)
{
    const OpenStorage storage;
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    input.fail(1);
    buffer.sbumpc();
    buffer.sbumpc();
    EXPECT_EQ(END_OF_FILE, buffer.sbumpc());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("ab|", buffer.getArea());
    EXPECT_EQ('b', buffer.sungetc());
}

TEST(BinBuffer, Input_EndOfAnotherFamily_LeavesTheGetArea)
{
    const OpenStorage storage;
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    char text[2] = {};
    EXPECT_EQ(2, buffer.sgetn(text, 2));
    support::startChain(2); // the number of the end of the stream, in another table
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("ab|", buffer.getArea());
}

TEST(BinBuffer, Input_EndOfADerivedFamily_IsTheEndOfTheStream)
{
    const OpenStorage storage;
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    char text[2] = {};
    EXPECT_EQ(2, buffer.sgetn(text, 2));
    static const std::ErrorID table[] = {{0, "", 0}, {1, "", 0}, {2, "no more of the pipe", 0}};
    static const std::ErrorType pipeError(table, 3, std::IBinStreamBase::StreamError);
    ZEL_RAISE(pipeError, 2);
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("|", buffer.getArea());
}

TEST(BinBuffer, Input_BrokenDevice_EndsWheneverItIsAsked)
{
    const OpenStorage storage;
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    for (int i = 0; i < 100; ++i) {
        input.fail(0);
        EXPECT_EQ(END_OF_FILE, buffer.sbumpc());
        EXPECT_EQ("|", buffer.getArea());
    }
    input.give("a");
    EXPECT_EQ('a', buffer.sbumpc());
}

} // namespace
