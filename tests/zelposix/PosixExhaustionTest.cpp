// SPDX-License-Identifier: Apache-2.0
//
// The streams of this library without memory.

#include <csignal>
#include <cstdio>
#include <optional>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <zel/report.h>
#include <zelposix/FdInputStream.h>
#include <zelposix/FdOutputStream.h>
#include <zelposix/FileBuf.h>
#include <zelposix/MemoryInputStream.h>
#include <zelposix/MemoryOutputStream.h>
#include <zelposix/PosixError.h>

#include "support/ChildProcess.h"
#include "support/Descriptors.h"
#include "support/FailingMalloc.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using std::CommonError;
using std::ErrorStorage;
using std::GlobalErrorHandler;
using support::allocatorCalls;
using support::chainIds;
using support::ChildResult;
using support::FailingMalloc;
using support::OpenStorage;
using support::Pipe;
using support::readText;
using support::writeText;
using zel::MemoryInputStream;
using zel::MemoryOutputStream;

constexpr auto& StreamError = std::IBinStreamBase::StreamError;

/// A stream that was constructed without memory.
template <typename Stream>
struct WithoutMemory : Stream
{
    explicit WithoutMemory(int fd, unsigned int size, FailingMalloc&& = FailingMalloc())
        : Stream(fd, size)
    {}
};

/// What was written.
std::string contentOf(const MemoryOutputStream& output)
{
    return std::string(output.data(), output.data() + output.size());
}

/// Writes while there is no memory; all of it is one byte of which `size` is claimed. Returns the
/// status, the count, and how often the allocator was asked.
std::string writeWithoutMemory(MemoryOutputStream& output, unsigned int size)
{
    const char byte = 'x';
    unsigned int written = 12345;
    std::optional<FailingMalloc> exhausted(std::in_place);
    const char status = output.write(&byte, size, written);
    const int calls = exhausted->calls();
    exhausted.reset();
    return support::statusText(status) + " " + std::to_string(written) + " " +
           std::to_string(calls);
}

#define EXPECT_OUT_OF_MEMORY()                                                                     \
    EXPECT_TRUE(ErrorStorage::equals(CommonError));                                                \
    EXPECT_EQ("0", chainIds());                                                                    \
    EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());                                    \
    EXPECT_TRUE(ErrorStorage::isError(true))

#define EXPECT_FAILED_FOR_MEMORY()                                                                 \
    ASSERT_EQ("1 0", chainIds());                                                                  \
    EXPECT_TRUE(ErrorStorage::equals(StreamError));                                                \
    EXPECT_STREQ("a binary i/o stream operation failed", ErrorStorage::reason());                  \
    EXPECT_TRUE(ErrorStorage::get()->m_cause->equals(CommonError));                                \
    EXPECT_STREQ("Out of heap memory", ErrorStorage::get()->m_cause->reason());                    \
    EXPECT_TRUE(ErrorStorage::isError(true))

TEST(PosixExhaustion, Input_IsInvalid)
{
    const OpenStorage errors;
    const Pipe pipe(O_NONBLOCK);
    const WithoutMemory<zel::FdInputStream> input(pipe.reader, 64);
    EXPECT_OUT_OF_MEMORY();
    EXPECT_FALSE(input.isValid());
}

TEST(PosixExhaustion, Input_EachReadFailsAndTakesNothing)
{
    OpenStorage errors;
    const Pipe pipe(O_NONBLOCK);
    WithoutMemory<zel::FdInputStream> input(pipe.reader, 64);
    errors.clear();
    pipe.writer.put("abc");
    EXPECT_EQ("-1 ", readText(input, 1));
    EXPECT_EQ("-1 ", readText(input, 64));
    EXPECT_FALSE(ErrorStorage::isError(false));
    EXPECT_EQ("abc", pipe.reader.take());
}

TEST(PosixExhaustion, Output_IsInvalid)
{
    const OpenStorage errors;
    const Pipe pipe(O_NONBLOCK);
    const WithoutMemory<zel::FdOutputStream> output(pipe.writer, 64);
    EXPECT_OUT_OF_MEMORY();
    EXPECT_FALSE(output.isValid());
}

TEST(PosixExhaustion, Output_EachWriteFailsAndGivesNothing)
{
    OpenStorage errors;
    const Pipe pipe(O_NONBLOCK);
    {
        WithoutMemory<zel::FdOutputStream> output(pipe.writer, 64);
        errors.clear();
        EXPECT_EQ("-1 0", writeText(output, "a"));
        EXPECT_EQ("-1 0", writeText(output, std::string(65, 'a')));
        EXPECT_FALSE(output.flush(true));
    }
    EXPECT_FALSE(ErrorStorage::isError(false));
    EXPECT_EQ("nothing", pipe.reader.take());
}

TEST(PosixExhaustion, Unbuffered_NeedsNoMemory)
{
    const OpenStorage errors;
    const Pipe pipe(O_NONBLOCK);
    WithoutMemory<zel::FdOutputStream> output(pipe.writer, 0);
    WithoutMemory<zel::FdInputStream> input(pipe.reader, 0);
    EXPECT_TRUE(output.isValid());
    EXPECT_TRUE(input.isValid());
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 abc", readText(input, 3));
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(PosixExhaustion, FailedRead_RaisesWithoutMemory)
{
    const OpenStorage errors;
    const Pipe pipe(O_NONBLOCK);
    zel::FdInputStream input(pipe.reader, 4, false);
    char byte = 0;
    unsigned int got = 0;
    std::optional<FailingMalloc> exhausted(std::in_place);
    input.read(&byte, 1, got);
    const bool blocks = zel::wouldBlock();
    exhausted.reset();
    EXPECT_TRUE(blocks);
    EXPECT_STREQ("read would block", ErrorStorage::get()->m_cause->reason());
}

TEST(MemoryStreams, AllocateNothing)
{
    const OpenStorage errors;
    char block[4];
    unsigned int count = 0;
    const int before = allocatorCalls().allocations;
    MemoryOutputStream output(block, sizeof block);
    output.write("abcde", 5, count);
    output.clear();
    output.write("fg", 2, count);
    MemoryInputStream input(block, 2);
    input.read(block + 2, 2, count);
    const MemoryOutputStream growing;
    EXPECT_EQ(before, allocatorCalls().allocations);
    EXPECT_EQ("fgfg", std::string(block, 4));
}

TEST(GrowingMemory, WithoutMemory_Fails)
{
    const OpenStorage errors;
    MemoryOutputStream output;
    EXPECT_EQ("-1 0 1", writeWithoutMemory(output, 1));
    EXPECT_FAILED_FOR_MEMORY();
    EXPECT_EQ(nullptr, output.data());
    EXPECT_EQ(0U, output.size());
    EXPECT_TRUE(output.isValid());
}

TEST(GrowingMemory, WithoutMemory_WhatWasWrittenStays)
{
    OpenStorage errors;
    MemoryOutputStream output;
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("-1 0 1", writeWithoutMemory(output, 1000000));
    EXPECT_FAILED_FOR_MEMORY();
    EXPECT_EQ("abc", contentOf(output));
    errors.clear();
    EXPECT_EQ("-1 0 1", writeWithoutMemory(output, 1000000));
    EXPECT_FAILED_FOR_MEMORY();
    EXPECT_EQ("abc", contentOf(output));
}

TEST(GrowingMemory, MemoryIsBack_GoesOn)
{
    OpenStorage errors;
    MemoryOutputStream output;
    EXPECT_EQ("-1 0 1", writeWithoutMemory(output, 1));
    errors.clear();
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("-1 0 1", writeWithoutMemory(output, 1000000));
    errors.clear();
    EXPECT_EQ("1 1000", writeText(output, std::string(1000, 'd')));
    EXPECT_EQ("abc" + std::string(1000, 'd'), contentOf(output));
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(GrowingMemory, WithinItsMemory_AsksForNone)
{
    const OpenStorage errors;
    MemoryOutputStream output;
    EXPECT_EQ("1 1000", writeText(output, std::string(1000, 'a')));
    output.clear();
    EXPECT_EQ("1 1 0", writeWithoutMemory(output, 1));
    EXPECT_EQ("x", contentOf(output));
    EXPECT_FALSE(ErrorStorage::isError(false));
}

// The last size that 32 bits can count is asked for; the first one that they cannot is not.
TEST(GrowingMemory, TotalBeyond32Bits_IsRefused)
{
    OpenStorage errors;
    MemoryOutputStream output;
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("-1 0 1", writeWithoutMemory(output, 4294967292U));
    EXPECT_FAILED_FOR_MEMORY();
    EXPECT_EQ("-1 0 0", writeWithoutMemory(output, 4294967293U));
    EXPECT_FAILED_FOR_MEMORY();
    EXPECT_EQ("-1 0 0", writeWithoutMemory(output, 4294967295U));
    EXPECT_FAILED_FOR_MEMORY();
    EXPECT_EQ("abc", contentOf(output));
}

TEST(GrowingMemory, TotalBeyond32Bits_IsRefusedWithMemory)
{
    const OpenStorage errors;
    MemoryOutputStream output;
    EXPECT_EQ("1 3", writeText(output, "abc"));
    unsigned int written = 12345;
    EXPECT_EQ(static_cast<char>(-1), output.write("x", 4294967295U, written));
    EXPECT_EQ(0U, written);
    EXPECT_FAILED_FOR_MEMORY();
    EXPECT_EQ("1 1", writeText(output, "d"));
    EXPECT_EQ("abcd", contentOf(output));
}

std::optional<FailingMalloc> s_exhausted;

/// Gives the memory back, tells of the report and says whether it was dealt with.
template <bool IS_DEALT_WITH>
bool tellOfMemory(const char*, const char* reason)
{
    s_exhausted.reset();
    std::fprintf(stderr, "[%s]\n", reason);
    return IS_DEALT_WITH;
}

TEST(FileBufExhaustion, Open_GoesOnWhenTheHandlerHasMadeRoom)
{
    const ChildResult result = support::runInChild([] {
        const OpenStorage errors;
        GlobalErrorHandler::atOutOfMem(tellOfMemory<true>);
        zel::FileBuf file(64);
        s_exhausted.emplace();
        const bool isOpen = file.open("/dev/zero", std::ios_base::in) == &file;
        EXPECT_FALSE(s_exhausted.has_value());
        EXPECT_TRUE(isOpen);
        EXPECT_EQ(0, file.sgetc());
        EXPECT_FALSE(ErrorStorage::isError(false));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("[cannot allocate file buffer]\n", result.err);
}

TEST(FileBufExhaustion, Open_EndsTheProcessWhenNobodyDealsWithIt)
{
    const ChildResult result = support::runInChild([] {
        const OpenStorage errors;
        GlobalErrorHandler::atOutOfMem(tellOfMemory<false>);
        zel::FileBuf file(64);
        s_exhausted.emplace();
        file.open("/dev/zero", std::ios_base::in);
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("[cannot allocate file buffer]\n", result.err.substr(0, 30));
}

TEST(FileBufExhaustion, Open_WithABufferFromOutsideNeedsNoMemory)
{
    const OpenStorage errors;
    char buffer[16];
    zel::FileBuf file(sizeof buffer, buffer);
    std::optional<FailingMalloc> exhausted(std::in_place);
    const bool isOpen = file.open("/dev/zero", std::ios_base::in) == &file;
    const int byte = file.sgetc();
    exhausted.reset();
    EXPECT_TRUE(isOpen);
    EXPECT_EQ(0, byte);
}

TEST(FileBufExhaustion, SecondOpen_KeepsTheBuffer)
{
    const OpenStorage errors;
    zel::FileBuf file(16);
    EXPECT_TRUE(file.open("/dev/zero", std::ios_base::in) == &file);
    EXPECT_TRUE(file.close() == &file);
    std::optional<FailingMalloc> exhausted(std::in_place);
    const bool isOpen = file.open("/dev/zero", std::ios_base::in) == &file;
    const int calls = exhausted->calls();
    exhausted.reset();
    EXPECT_TRUE(isOpen);
    EXPECT_EQ(0, calls);
}

} // namespace
