// SPDX-License-Identifier: Apache-2.0
//
// Binary streams and their memory: how often they allocate, and what becomes of them when there is
// none.

#include <new>

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using std::CommonError;
using std::ErrorStorage;
using support::allocatorCalls;
using support::ChildResult;
using support::FailingMalloc;
using support::HookedInput;
using support::HookedOutput;
using support::OpenStorage;
using support::readText;
using support::ScriptedInput;
using support::ScriptedOutput;
using support::writeText;

/// A stream that was constructed without memory.
template <typename Stream>
struct WithoutMemory : Stream
{
    explicit WithoutMemory(unsigned int size, FailingMalloc&& = FailingMalloc()) : Stream(size) {}
};

/// A stream that allocates nothing itself.
class Input : public std::IBinInputStream
{
public:
    explicit Input(unsigned int size) : IBinInputStream(true, size) {}

protected:
    bool performRead(void*, unsigned int, unsigned int&) override { return false; }
};

/// As `Input`.
class Output : public std::IBinOutputStream
{
public:
    explicit Output(unsigned int size) : IBinOutputStream(true, size) {}

protected:
    bool performWrite(const void*, unsigned int size, unsigned int& written) override
    {
        written = size;
        return false;
    }
};

#define EXPECT_OUT_OF_MEMORY(place, chain)                                                         \
    EXPECT_TRUE(ErrorStorage::equals(CommonError));                                                \
    EXPECT_EQ(chain, support::chainIds());                                                         \
    EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());                                    \
    EXPECT_STREQ(place, ErrorStorage::file())

TEST(StreamAllocations, OneForTheBuffer)
{
    const support::AllocatorCalls before = allocatorCalls();
    {
        const Input input(64);
        const Output output(1);
        EXPECT_EQ(2, allocatorCalls().allocations - before.allocations);
    }
    EXPECT_EQ(2, allocatorCalls().releases - before.releases);
}

TEST(StreamAllocations, NoneWithoutABuffer)
{
    const OpenStorage errors;
    const WithoutMemory<Input> input(0);
    const WithoutMemory<Output> output(0);
    EXPECT_TRUE(input.isValid());
    EXPECT_TRUE(output.isValid());
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(StreamAllocations, NoneInUse)
{
    Input input(4);
    Output output(4);
    char data[9] = {};
    unsigned int count = 0;
    const FailingMalloc exhausted;
    input.read(data, 1, count);
    input.read(data, 9, count);
    output.write(data, 3, count);
    output.write(data, 9, count);
    output.write(data, 3, count);
    output.flush(true);
    EXPECT_EQ(0, exhausted.calls());
    EXPECT_EQ(3U, count);
}

TEST(StreamExhaustion, Input_RaisesOutOfMemory)
{
    const OpenStorage errors;
    const WithoutMemory<ScriptedInput> input(64);
    EXPECT_OUT_OF_MEMORY("framework/src/common/IBinInputStream", "0");
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(StreamExhaustion, Output_RaisesOutOfMemory)
{
    const OpenStorage errors;
    const WithoutMemory<ScriptedOutput> output(64);
    EXPECT_OUT_OF_MEMORY("framework/src/common/IBinOutputStream", "0");
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(StreamExhaustion, Input_StartsAChain)
{
    const OpenStorage errors;
    support::startChain(3);
    const WithoutMemory<ScriptedInput> input(64);
    EXPECT_OUT_OF_MEMORY("framework/src/common/IBinInputStream", "0");
}

TEST(StreamExhaustion, Output_StartsAChain)
{
    const OpenStorage errors;
    support::startChain(3);
    const WithoutMemory<ScriptedOutput> output(64);
    EXPECT_OUT_OF_MEMORY("framework/src/common/IBinOutputStream", "0");
}

/// Returns how often `body` attempts to allocate while every allocation of the thread fails.
template <typename Body>
int attemptsOf(const Body& body)
{
    const FailingMalloc exhausted;
    body();
    return exhausted.calls();
}

// The runtime may attempt more than once.
TEST(StreamExhaustion, RaisingAllocatesNothing)
{
    const OpenStorage errors;
    const int attempts =
        attemptsOf([] { ::operator delete[](::operator new[](64, std::nothrow)); });
    EXPECT_LE(1, attempts);
    EXPECT_EQ(attempts, attemptsOf([] { Input(64); }));
    EXPECT_EQ(attempts, attemptsOf([] { Output(64); }));
}

TEST(StreamExhaustion, Input_IsInvalid)
{
    const OpenStorage errors;
    const WithoutMemory<ScriptedInput> input(64);
    EXPECT_FALSE(input.isValid());
    EXPECT_EQ(64U, input.bufferSize);
    EXPECT_EQ(nullptr, input.buffer);
    EXPECT_EQ(0U, input.readPos);
    EXPECT_EQ(0U, input.readEnd);
    EXPECT_TRUE(input.blocking);
}

TEST(StreamExhaustion, Output_IsInvalid)
{
    const OpenStorage errors;
    const WithoutMemory<ScriptedOutput> output(64);
    EXPECT_FALSE(output.isValid());
    EXPECT_EQ(64U, output.bufferSize);
    EXPECT_EQ(nullptr, output.buffer);
    EXPECT_EQ(0U, output.writePos);
    EXPECT_EQ(0U, output.writeEnd);
    EXPECT_TRUE(output.blocking);
}

TEST(StreamExhaustion, EachReadFails)
{
    const OpenStorage errors;
    WithoutMemory<HookedInput> input(4);
    EXPECT_EQ("-1 ", readText(input, 1));
    EXPECT_EQ("-1 ", readText(input, 4));
    EXPECT_EQ("-1 ", readText(input, 9));
    EXPECT_EQ("0 ", readText(input, 0));
    EXPECT_EQ("check check check", input.notes);
}

TEST(StreamExhaustion, EachWriteFails)
{
    const OpenStorage errors;
    WithoutMemory<HookedOutput> output(4);
    EXPECT_EQ("-1 0", writeText(output, "a"));
    EXPECT_EQ("-1 0", writeText(output, "abcd"));
    EXPECT_EQ("-1 0", writeText(output, "abcde"));
    EXPECT_EQ("0 0", writeText(output, ""));
    EXPECT_EQ("check check check", output.notes);
}

TEST(StreamExhaustion, FlushIsHarmless)
{
    const OpenStorage errors;
    WithoutMemory<HookedOutput> output(4);
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("", output.notes);
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("sync", output.notes);
}

TEST(StreamExhaustion, NothingIsPrinted)
{
    const ChildResult result = support::runInChild([] {
        const OpenStorage errors;
        WithoutMemory<HookedInput> input(4);
        WithoutMemory<HookedOutput> output(4);
        EXPECT_EQ("-1 ", readText(input, 1));
        EXPECT_EQ("-1 0", writeText(output, "a"));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

#ifndef __LP64__
// More than an array of this platform can have.
TEST(StreamExhaustion, SizeBeyondTheAddressSpace)
{
    const OpenStorage errors;
    const Input input(4294967295U);
    EXPECT_OUT_OF_MEMORY("framework/src/common/IBinInputStream", "0");
    EXPECT_FALSE(input.isValid());
    const Output output(2147483648U);
    EXPECT_OUT_OF_MEMORY("framework/src/common/IBinOutputStream", "0");
    EXPECT_FALSE(output.isValid());
}
#endif

} // namespace
