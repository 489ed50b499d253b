// SPDX-License-Identifier: Apache-2.0

#include <common/IBinInputStream.h>

#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using support::deliver;
using support::HookedInput;
using support::OpenStorage;
using support::readText;
using support::ScriptedInput;

const std::string s_hundred(100, 'x');

/// The positions of the unread bytes.
#define EXPECT_POSITIONS(begin, end, input)                                                        \
    EXPECT_EQ(begin, (input).readPos);                                                             \
    EXPECT_EQ(end, (input).readEnd)

TEST(IBinInputStream, Construction)
{
    const ScriptedInput input(64, {}, false);
    EXPECT_POSITIONS(0U, 0U, input);
    EXPECT_EQ(64U, input.bufferSize);
    EXPECT_NE(nullptr, input.buffer);
    EXPECT_FALSE(input.blocking);
    EXPECT_TRUE(input.isValid());
    EXPECT_TRUE(ScriptedInput(64, {}, true).blocking);
}

TEST(IBinInputStream, Construction_Unbuffered)
{
    const ScriptedInput input(0);
    EXPECT_POSITIONS(0U, 0U, input);
    EXPECT_EQ(0U, input.bufferSize);
    EXPECT_EQ(nullptr, input.buffer);
    EXPECT_TRUE(input.isValid());
}

TEST(IBinInputStream, IsValid_WhenUnbufferedOrWithABuffer)
{
    ScriptedInput input(0);
    input.bufferSize = 1;
    EXPECT_FALSE(input.isValid());
    input.bufferSize = 0;
    EXPECT_TRUE(input.isValid());
}

TEST(Read, NullData)
{
    HookedInput input(4, {deliver("abc")});
    unsigned int got = 7;
    EXPECT_EQ(0, input.read(nullptr, 5, got));
    EXPECT_EQ(0U, got);
    EXPECT_EQ("", input.notes);
}

TEST(Read, SizeZero)
{
    HookedInput input(4, {deliver("abc")});
    EXPECT_EQ("0 ", readText(input, 0));
    char byte = 'y';
    unsigned int got = 7;
    EXPECT_EQ(0, input.read(&byte, 0, got));
    EXPECT_EQ(0U, got);
    EXPECT_EQ('y', byte);
    EXPECT_EQ("", input.notes);
}

TEST(Read, NullData_LeavesTheBuffer)
{
    ScriptedInput input(4, {deliver("abc")});
    EXPECT_EQ("1 a", readText(input, 1));
    unsigned int got = 7;
    EXPECT_EQ(0, input.read(nullptr, 2, got));
    EXPECT_EQ("bc", input.held());
}

TEST(Read, LessThanTheBuffer_RefillsIt)
{
    ScriptedInput input(64, {deliver("abcdefghijklmnop")});
    EXPECT_EQ("1 abcdefghij", readText(input, 10));
    EXPECT_EQ("read(64)", input.notes);
    EXPECT_EQ("klmnop", input.held());
    EXPECT_POSITIONS(10U, 16U, input);
}

TEST(Read, OneLessThanTheBuffer_RefillsIt)
{
    ScriptedInput input(4, {deliver("abcd")});
    EXPECT_EQ("1 abc", readText(input, 3));
    EXPECT_EQ("read(4)", input.notes);
    EXPECT_POSITIONS(3U, 4U, input);
}

TEST(Read, AsMuchAsTheBuffer_GoesPastIt)
{
    ScriptedInput input(4, {deliver("abcd")});
    EXPECT_EQ("1 abcd", readText(input, 4));
    EXPECT_EQ("read(4)", input.notes);
    EXPECT_POSITIONS(0U, 0U, input);
}

TEST(Read, MoreThanTheBuffer_GoesPastIt)
{
    ScriptedInput input(64, {deliver(s_hundred)});
    EXPECT_EQ("1 " + s_hundred, readText(input, 100));
    EXPECT_EQ("read(100)", input.notes);
    EXPECT_POSITIONS(0U, 0U, input);
}

TEST(Read, BufferOfOneByte_IsNeverFilled)
{
    ScriptedInput input(1, {deliver("a"), deliver("b")});
    EXPECT_EQ("1 a", readText(input, 1));
    EXPECT_EQ("1 b", readText(input, 2));
    EXPECT_EQ("read(1) read(2)", input.notes);
}

TEST(Read, BufferedBytes_AreReturnedAlone)
{
    ScriptedInput input(64, {deliver("abcdefghijkl")});
    EXPECT_EQ("1 ab", readText(input, 2));
    EXPECT_EQ("1 cdefghijkl", readText(input, 100));
    EXPECT_EQ("read(64)", input.notes);
    EXPECT_POSITIONS(0U, 0U, input);
}

TEST(Read, BufferedBytes_InPieces)
{
    ScriptedInput input(8, {deliver("abcdef")});
    EXPECT_EQ("1 a", readText(input, 1));
    EXPECT_EQ("1 bcd", readText(input, 3));
    EXPECT_POSITIONS(4U, 6U, input);
    EXPECT_EQ("1 ef", readText(input, 2));
    EXPECT_POSITIONS(0U, 0U, input);
    EXPECT_EQ("0 ", readText(input, 1));
    EXPECT_EQ("read(8) read(8)", input.notes);
}

TEST(Read, ShortRefill_IsReturnedWhole)
{
    ScriptedInput input(64, {deliver("abc")});
    EXPECT_EQ("1 abc", readText(input, 10));
    EXPECT_POSITIONS(0U, 0U, input);
    EXPECT_EQ("read(64)", input.notes);
}

TEST(Read, ShortDirectTransfer_IsReturned)
{
    ScriptedInput input(4, {deliver("abc"), deliver("d")});
    EXPECT_EQ("1 abc", readText(input, 9));
    EXPECT_EQ("1 d", readText(input, 9));
    EXPECT_EQ("read(9) read(9)", input.notes);
}

TEST(Read, End_RefillOfZeroBytes)
{
    ScriptedInput input(4);
    EXPECT_EQ("0 ", readText(input, 2));
    EXPECT_POSITIONS(0U, 0U, input);
    EXPECT_EQ("read(4)", input.notes);
}

TEST(Read, End_DirectTransferOfZeroBytes)
{
    ScriptedInput input(4);
    EXPECT_EQ("0 ", readText(input, 4));
    EXPECT_EQ("read(4)", input.notes);
    ScriptedInput unbuffered(0);
    EXPECT_EQ("0 ", readText(unbuffered, 1));
    EXPECT_EQ("read(1)", unbuffered.notes);
}

TEST(Read, End_IsAskedForAgain)
{
    ScriptedInput input(4, {deliver(""), deliver("ab")});
    EXPECT_EQ("0 ", readText(input, 3));
    EXPECT_EQ("1 ab", readText(input, 3));
}

TEST(Read, Unbuffered_GoesToTheImplementation)
{
    ScriptedInput input(0, {deliver("a"), deliver("bcd")});
    EXPECT_EQ("1 a", readText(input, 1));
    EXPECT_EQ("1 bcd", readText(input, 5));
    EXPECT_EQ("read(1) read(5)", input.notes);
    EXPECT_POSITIONS(0U, 0U, input);
}

TEST(Read, FailedRefill)
{
    const OpenStorage errors;
    ScriptedInput input(4, {deliver("").raising(), deliver("ab")});
    EXPECT_EQ("-1 ", readText(input, 3));
    EXPECT_POSITIONS(0U, 0U, input);
    EXPECT_TRUE(std::ErrorStorage::isA(std::IBinStreamBase::StreamError));
    EXPECT_EQ(1, std::ErrorStorage::id());
    std::ErrorStorage::ack();
    EXPECT_EQ("1 ab", readText(input, 3));
}

TEST(Read, FailedRefill_KeepsWhatItDelivered)
{
    const OpenStorage errors;
    ScriptedInput input(4, {deliver("ab").raising()});
    EXPECT_EQ("-1 ", readText(input, 3));
    EXPECT_EQ("ab", input.held());
    EXPECT_EQ("1 ab", readText(input, 3));
    EXPECT_EQ("read(4)", input.notes);
}

TEST(Read, FailedRefill_CountNotTouched)
{
    const OpenStorage errors;
    ScriptedInput input(4, {deliver("abcd"), deliver("xy").leavingCount().raising()});
    EXPECT_EQ("1 abc", readText(input, 3));
    EXPECT_EQ("1 d", readText(input, 3));
    EXPECT_EQ("-1 ", readText(input, 3));
    EXPECT_POSITIONS(0U, 0U, input);
}

TEST(Read, FailedRefill_CountTooLarge)
{
    const OpenStorage errors;
    ScriptedInput input(4, {deliver("abcd").claiming(4000000000U).raising()});
    EXPECT_EQ("-1 ", readText(input, 3));
    EXPECT_EQ("abcd", input.held());
    EXPECT_EQ("1 abcd", readText(input, 9));
}

TEST(Read, FailedDirectTransfer)
{
    const OpenStorage errors;
    ScriptedInput input(4, {deliver("ab").raising(), deliver("cd")});
    EXPECT_EQ("-1 ", readText(input, 4));
    EXPECT_POSITIONS(0U, 0U, input);
    EXPECT_EQ("1 cd", readText(input, 4));
    EXPECT_EQ("read(4) read(4)", input.notes);
}

TEST(Read, FailedDirectTransfer_Unbuffered)
{
    const OpenStorage errors;
    ScriptedInput input(0, {deliver("ab").raising(), deliver("ab").claiming(9).raising()});
    EXPECT_EQ("-1 ", readText(input, 2));
    EXPECT_EQ("-1 ", readText(input, 2));
    EXPECT_EQ("read(2) read(2)", input.notes);
}

TEST(Read, CountTooLarge_Refill)
{
    ScriptedInput input(4, {deliver("abcd").claiming(5)});
    EXPECT_EQ("1 abc", readText(input, 3));
    EXPECT_EQ("d", input.held());
    EXPECT_POSITIONS(3U, 4U, input);
}

TEST(Read, CountTooLarge_DirectTransfer)
{
    ScriptedInput input(4, {deliver("abcd").claiming(5)});
    EXPECT_EQ("1 abcd", readText(input, 4));
    ScriptedInput unbuffered(0, {deliver("ab").claiming(4294967295U)});
    EXPECT_EQ("1 ab", readText(unbuffered, 2));
}

TEST(Read, CountNotTouched_IsTheEnd)
{
    ScriptedInput input(4, {deliver("abc").leavingCount(), deliver("abcd").leavingCount()});
    EXPECT_EQ("0 ", readText(input, 3));
    EXPECT_EQ("0 ", readText(input, 4));
    EXPECT_POSITIONS(0U, 0U, input);
}

} // namespace
