// SPDX-License-Identifier: Apache-2.0
//
// Construction and writing. Flushing is in IBinOutputStreamFlushTest.cpp.

#include <common/IBinOutputStream.h>

#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using support::HookedOutput;
using support::OpenStorage;
using support::ScriptedOutput;
using support::take;
using support::writeText;

/// The positions of the unwritten bytes.
#define EXPECT_POSITIONS(begin, end, output)                                                       \
    EXPECT_EQ(begin, (output).writePos);                                                           \
    EXPECT_EQ(end, (output).writeEnd)

TEST(IBinOutputStream, Construction)
{
    const ScriptedOutput output(64, {}, false);
    EXPECT_POSITIONS(0U, 0U, output);
    EXPECT_EQ(64U, output.bufferSize);
    EXPECT_NE(nullptr, output.buffer);
    EXPECT_FALSE(output.blocking);
    EXPECT_TRUE(output.isValid());
    EXPECT_TRUE(ScriptedOutput(64, {}, true).blocking);
}

TEST(IBinOutputStream, Construction_Unbuffered)
{
    const ScriptedOutput output(0);
    EXPECT_POSITIONS(0U, 0U, output);
    EXPECT_EQ(0U, output.bufferSize);
    EXPECT_EQ(nullptr, output.buffer);
    EXPECT_TRUE(output.isValid());
}

TEST(IBinOutputStream, IsValid_WhenUnbufferedOrWithABuffer)
{
    ScriptedOutput output(0);
    output.bufferSize = 1;
    EXPECT_FALSE(output.isValid());
    output.bufferSize = 0;
    EXPECT_TRUE(output.isValid());
}

TEST(Write, NullData)
{
    HookedOutput output(4);
    unsigned int written = 7;
    EXPECT_EQ(0, output.write(nullptr, 5, written));
    EXPECT_EQ(0U, written);
    EXPECT_EQ("", output.notes);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Write, SizeZero)
{
    HookedOutput output(4);
    EXPECT_EQ("0 0", writeText(output, ""));
    unsigned int written = 7;
    EXPECT_EQ(0, output.write("a", 0, written));
    EXPECT_EQ(0U, written);
    EXPECT_EQ("", output.notes);
}

TEST(Write, LessThanTheBuffer_IsStored)
{
    ScriptedOutput output(4);
    EXPECT_EQ("1 1", writeText(output, "a"));
    EXPECT_EQ("1 2", writeText(output, "bc"));
    EXPECT_EQ("abc", output.held());
    EXPECT_POSITIONS(0U, 3U, output);
    EXPECT_EQ("", output.notes);
}

TEST(Write, AsMuchAsTheBuffer_IsHandedOverAtOnce)
{
    ScriptedOutput output(4);
    EXPECT_EQ("1 4", writeText(output, "abcd"));
    EXPECT_EQ("write(4)", output.notes);
    EXPECT_EQ("abcd", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Write, WhatFillsTheBuffer_HandsItOver)
{
    ScriptedOutput output(4);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 1", writeText(output, "d"));
    EXPECT_EQ("write(4)", output.notes);
    EXPECT_EQ("abcd", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Write, FullBuffer_IsHandedOverOnce)
{
    ScriptedOutput output(4, {take(1)});
    EXPECT_EQ("1 4", writeText(output, "abcd"));
    EXPECT_EQ("write(4)", output.notes);
    EXPECT_EQ("bcd", output.held());
    EXPECT_POSITIONS(1U, 4U, output);
}

TEST(Write, FullBuffer_DeviceTakesNothing)
{
    ScriptedOutput output(4, {take(0), take(0)});
    EXPECT_EQ("1 4", writeText(output, "abcd"));
    EXPECT_POSITIONS(0U, 4U, output);
    EXPECT_EQ("0 0", writeText(output, "e"));
    EXPECT_EQ("write(4) write(4)", output.notes);
    EXPECT_EQ("abcd", output.held());
}

TEST(Write, FullBuffer_IsHandedOverAgainByTheNextWrite)
{
    ScriptedOutput output(4, {take(1), take(2)});
    EXPECT_EQ("1 4", writeText(output, "abcd"));
    EXPECT_EQ("0 0", writeText(output, "ef"));
    EXPECT_EQ("write(4) write(3)", output.notes);
    EXPECT_EQ("abc", output.taken);
    EXPECT_POSITIONS(3U, 4U, output);
}

TEST(Write, FullBuffer_WhenItIsOutTheRestGoesPastIt)
{
    ScriptedOutput output(4, {take(1), take(3), take(2)});
    EXPECT_EQ("1 4", writeText(output, "abcd"));
    EXPECT_EQ("1 2", writeText(output, "ef"));
    EXPECT_EQ("write(4) write(3) write(2)", output.notes);
    EXPECT_EQ("abcdef", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Write, WaitingBytes_MoreIsStoredAsFarAsItFits)
{
    ScriptedOutput output(4, {take(2)});
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 1", writeText(output, "defgh"));
    EXPECT_EQ("write(4)", output.notes);
    EXPECT_EQ("cd", output.held());
    EXPECT_POSITIONS(2U, 4U, output);
}

TEST(Write, WaitingBytes_WhenTheyAreOutTheRestGoesPastTheBuffer)
{
    ScriptedOutput output(4);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 6", writeText(output, "defghi"));
    EXPECT_EQ("write(4) write(5)", output.notes);
    EXPECT_EQ("abcdefghi", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Write, MoreThanTheBuffer_GoesPastIt)
{
    ScriptedOutput output(4);
    EXPECT_EQ("1 5", writeText(output, "abcde"));
    EXPECT_EQ("write(5)", output.notes);
    EXPECT_EQ("abcde", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Write, MoreThanTheBuffer_TheRestIsStored)
{
    ScriptedOutput output(4, {take(3)});
    EXPECT_EQ("1 6", writeText(output, "abcdef"));
    EXPECT_EQ("write(6)", output.notes);
    EXPECT_EQ("def", output.held());
    EXPECT_POSITIONS(0U, 3U, output);
}

// A buffer that the rest fills is not handed over before the next call.
TEST(Write, MoreThanTheBuffer_TheRestIsStoredAsFarAsItFits)
{
    ScriptedOutput output(4, {take(1)});
    EXPECT_EQ("1 5", writeText(output, "abcdefgh"));
    EXPECT_EQ("write(8)", output.notes);
    EXPECT_EQ("bcde", output.held());
    EXPECT_POSITIONS(0U, 4U, output);
}

TEST(Write, MoreThanTheBuffer_DeviceTakesNothing)
{
    ScriptedOutput output(4, {take(0)});
    EXPECT_EQ("1 4", writeText(output, "abcdef"));
    EXPECT_EQ("abcd", output.held());
    EXPECT_POSITIONS(0U, 4U, output);
}

TEST(Write, RestBehindTheBuffer_IsStored)
{
    ScriptedOutput output(4, {take(4), take(1)});
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 4", writeText(output, "defg"));
    EXPECT_EQ("write(4) write(3)", output.notes);
    EXPECT_EQ("abcde", output.taken);
    EXPECT_EQ("fg", output.held());
}

TEST(Write, Unbuffered_GoesToTheImplementation)
{
    ScriptedOutput output(0, {take(1), take(2), take(0)});
    EXPECT_EQ("1 1", writeText(output, "a"));
    EXPECT_EQ("1 2", writeText(output, "bcd"));
    EXPECT_EQ("0 0", writeText(output, "d"));
    EXPECT_EQ("write(1) write(3) write(1)", output.notes);
    EXPECT_EQ("abc", output.taken);
}

TEST(Write, Failure_FullBuffer)
{
    const OpenStorage errors;
    ScriptedOutput output(4, {take(0).raising()});
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("-1 1", writeText(output, "def"));
    EXPECT_EQ("write(4)", output.notes);
    EXPECT_EQ("abcd", output.held());
    EXPECT_TRUE(std::ErrorStorage::isA(std::IBinStreamBase::StreamError));
    EXPECT_EQ(1, std::ErrorStorage::id());
}

TEST(Write, Failure_FullBufferIsHandedOverAgain)
{
    const OpenStorage errors;
    ScriptedOutput output(4, {take(0).raising()});
    EXPECT_EQ("-1 4", writeText(output, "abcd"));
    EXPECT_EQ("1 2", writeText(output, "ef"));
    EXPECT_EQ("write(4) write(4) write(2)", output.notes);
    EXPECT_EQ("abcdef", output.taken);
}

// Kept: a failed transfer advances nothing here, unlike one of a flush.
TEST(Write, Failure_FullBufferKeepsWhatWasTaken)
{
    const OpenStorage errors;
    ScriptedOutput output(4, {take(3).raising()});
    EXPECT_EQ("-1 4", writeText(output, "abcd"));
    EXPECT_EQ("abcd", output.held());
    EXPECT_POSITIONS(0U, 4U, output);
}

TEST(Write, Failure_RestPastTheBuffer)
{
    const OpenStorage errors;
    ScriptedOutput output(4, {take(4), take(2).raising()});
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("-1 1", writeText(output, "defg"));
    EXPECT_EQ("write(4) write(3)", output.notes);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Write, Failure_MoreThanTheBuffer)
{
    const OpenStorage errors;
    ScriptedOutput output(4, {take(0).raising()});
    EXPECT_EQ("-1 0", writeText(output, "abcde"));
    EXPECT_POSITIONS(0U, 0U, output);
    EXPECT_EQ("1 1", writeText(output, "a"));
}

TEST(Write, Failure_Unbuffered)
{
    const OpenStorage errors;
    ScriptedOutput output(0, {take(0).raising(), take(2).raising()});
    EXPECT_EQ("-1 0", writeText(output, "abc"));
    EXPECT_EQ("-1 2", writeText(output, "abc"));
    EXPECT_EQ("ab", output.taken);
    EXPECT_EQ("write(3) write(3)", output.notes);
}

TEST(Write, Failure_CountNotTouched)
{
    const OpenStorage errors;
    ScriptedOutput output(0, {take(3).leavingCount().raising()});
    EXPECT_EQ("-1 0", writeText(output, "abc"));
    ScriptedOutput buffered(2, {take(3).leavingCount().raising()});
    EXPECT_EQ("-1 0", writeText(buffered, "abc"));
    EXPECT_POSITIONS(0U, 0U, buffered);
}

TEST(Write, CountTooLarge)
{
    ScriptedOutput output(4, {take(5), take(4294967295U)});
    EXPECT_EQ("1 4", writeText(output, "abcd"));
    EXPECT_POSITIONS(0U, 0U, output);
    EXPECT_EQ("1 6", writeText(output, "efghij"));
    EXPECT_POSITIONS(0U, 0U, output);
    ScriptedOutput unbuffered(0, {take(9)});
    EXPECT_EQ("1 2", writeText(unbuffered, "ab"));
}

TEST(Write, CountNotTouched_IsZero)
{
    ScriptedOutput output(4, {take(9).leavingCount(), take(9).leavingCount()});
    EXPECT_EQ("1 4", writeText(output, "abcdef"));
    EXPECT_EQ("abcd", output.held());
    EXPECT_EQ("0 0", writeText(output, "ef"));
    EXPECT_EQ("abcd", output.held());
}

} // namespace
