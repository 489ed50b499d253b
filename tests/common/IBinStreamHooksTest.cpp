// SPDX-License-Identifier: Apache-2.0
//
// What the hooks of reading and writing may change. Those of flushing are in
// IBinOutputStreamFlushTest.cpp.

#include <string>

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/ScriptedStreams.h"

namespace {

using support::ChildResult;
using support::deliver;
using support::HookedInput;
using support::HookedOutput;
using support::readText;
using support::reportTitle;
using support::runInChild;
using support::ScriptedInput;
using support::writeText;

TEST(ReadHook, ComesBeforeEachUseOfTheBuffer)
{
    HookedInput input(4, {deliver("abcd"), deliver("efgh")});
    EXPECT_EQ("1 ab", readText(input, 2));
    EXPECT_EQ("1 cd", readText(input, 2));
    EXPECT_EQ("1 efgh", readText(input, 8));
    EXPECT_EQ("check read(4) check check read(8)", input.notes);
}

TEST(ReadHook, Unbuffered_IsNotCalled)
{
    HookedInput input(0, {deliver("ab")});
    EXPECT_EQ("1 ab", readText(input, 2));
    EXPECT_EQ("read(2)", input.notes);
}

TEST(ReadHook, Failure_FailsTheRead)
{
    HookedInput input(4, {deliver("abc")});
    EXPECT_EQ("1 a", readText(input, 1));
    input.check = [] { return true; };
    EXPECT_EQ("-1 ", readText(input, 1));
    EXPECT_EQ("bc", input.held());
    EXPECT_EQ("check read(4) check", input.notes);
}

TEST(ReadHook, MakesTheStreamUnbuffered)
{
    HookedInput input(4, {deliver("ab")});
    input.check = [&] { return input.bufferSize = 0, false; };
    EXPECT_EQ("1 ab", readText(input, 2));
    EXPECT_EQ("0 ", readText(input, 2));
    EXPECT_EQ("check read(2) read(2)", input.notes);
}

TEST(ReadHook, FillsTheBuffer)
{
    HookedInput input(4);
    input.check = [&] { return input.buffer[0] = 'z', input.readEnd = 1, false; };
    EXPECT_EQ("1 z", readText(input, 3));
    EXPECT_EQ("check", input.notes);
    EXPECT_EQ(0U, input.readPos);
    EXPECT_EQ(0U, input.readEnd);
}

/// The report of the assertion that the buffer is empty.
std::string notEmpty(const ChildResult& result)
{
    return reportTitle("Assert failed", result) +
           "Location: src/common/IBinInputStream:87, read()\n"
           "Condition: \"readBufferEmpty()\"\n"
           "No reason given\n"
           "No error context set\n";
}

TEST(ReadAssertion, HookMakesAFilledStreamUnbuffered_GoesOn)
{
    const ChildResult result = runInChild([] {
        HookedInput input(4, {deliver("abc"), deliver("x")});
        EXPECT_EQ("1 a", readText(input, 1));
        input.check = [&] { return input.bufferSize = 0, false; };
        EXPECT_EQ("1 x", readText(input, 2));
        EXPECT_EQ("check read(4) check read(2)", input.notes);
        EXPECT_EQ("bc", input.held());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(notEmpty(result), result.err);
}

TEST(ReadAssertion, UnbufferedStreamWithPositions_GoesOn)
{
    const ChildResult result = runInChild([] {
        ScriptedInput input(0, {deliver("x")});
        input.readEnd = 1;
        EXPECT_EQ("1 x", readText(input, 2));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(notEmpty(result), result.err);
}

TEST(WriteHook, ComesBeforeEachUseOfTheBuffer)
{
    HookedOutput output(4);
    EXPECT_EQ("1 2", writeText(output, "ab"));
    EXPECT_EQ("1 2", writeText(output, "cd"));
    EXPECT_EQ("1 5", writeText(output, "efghi"));
    EXPECT_EQ("check check write(4) check write(5)", output.notes);
}

TEST(WriteHook, Unbuffered_IsNotCalled)
{
    HookedOutput output(0);
    EXPECT_EQ("1 2", writeText(output, "ab"));
    EXPECT_EQ("write(2)", output.notes);
}

TEST(WriteHook, Failure_FailsTheWrite)
{
    HookedOutput output(4);
    EXPECT_EQ("1 1", writeText(output, "a"));
    output.check = [] { return true; };
    EXPECT_EQ("-1 0", writeText(output, "bcdef"));
    EXPECT_EQ("check check", output.notes);
    EXPECT_EQ("a", output.held());
}

TEST(WriteHook, MakesTheStreamUnbuffered)
{
    HookedOutput output(4);
    output.check = [&] { return output.bufferSize = 0, false; };
    EXPECT_EQ("1 2", writeText(output, "ab"));
    EXPECT_EQ("1 2", writeText(output, "cd"));
    EXPECT_EQ("check write(2) write(2)", output.notes);
    EXPECT_EQ("abcd", output.taken);
}

TEST(WriteHook, MakesAFilledStreamUnbuffered)
{
    HookedOutput output(4);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    output.check = [&] { return output.bufferSize = 0, false; };
    EXPECT_EQ("1 2", writeText(output, "de"));
    EXPECT_EQ("check check write(2)", output.notes);
    EXPECT_EQ("de", output.taken);
    EXPECT_EQ("abc", output.held());
}

TEST(WriteHook, ShrinksAFilledBuffer_NothingIsStoredBehindIt)
{
    HookedOutput output(4);
    output.buffer[3] = '#';
    EXPECT_EQ("1 3", writeText(output, "abc"));
    output.check = [&] { return output.bufferSize = 2, false; };
    EXPECT_EQ("1 3", writeText(output, "xyz"));
    EXPECT_EQ("check check write(3) write(3)", output.notes);
    EXPECT_EQ("abcxyz", output.taken);
    EXPECT_EQ('#', output.buffer[3]);
}

} // namespace
