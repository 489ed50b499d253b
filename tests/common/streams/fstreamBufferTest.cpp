// SPDX-License-Identifier: Apache-2.0
//
// The life of a file buffer's buffer.

#include <common/streams/fstream.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/ScriptedFile.h"

// The thread sanitizer's own allocator cannot be replaced.
#ifdef __has_feature
#if __has_feature(thread_sanitizer)
#define FIXED_ALLOCATOR
#endif
#endif

#ifndef FIXED_ALLOCATOR

namespace {

bool s_isExhausted = false;

void* allocate(std::size_t size)
{
    return s_isExhausted ? nullptr : std::malloc(size);
}

} // namespace

// In place of the system's, so that memory can run out also under the sanitizers.
void* operator new[](std::size_t size)
{
    void* const block = allocate(size);
    if (block == nullptr) std::abort();
    return block;
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}
void operator delete[](void* block) noexcept
{
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

#endif

namespace {

using std::GlobalErrorHandler;
using support::BufferedFile;
using support::ChildResult;
using support::reportTitle;
using support::runInChild;
using support::ScriptedFile;

constexpr int END_OF_FILE = std::char_traits<char>::eof();
constexpr auto IN = std::ios_base::in;
constexpr auto OUT = std::ios_base::out;
constexpr auto BEG = std::ios_base::beg;
constexpr auto CUR = std::ios_base::cur;
constexpr auto END = std::ios_base::end;

TEST(FilebufBuffer, Construction_MakesNone)
{
    const ScriptedFile file(IN | OUT, 5);
    EXPECT_EQ(nullptr, file.buffer);
    EXPECT_EQ(5u, file.bufferSize);
    EXPECT_EQ(IN | OUT, file.mode);
    EXPECT_FALSE(file.userBuffer);
    EXPECT_EQ("", file.state());
    EXPECT_EQ("none", file.getArea());
    EXPECT_EQ("none", file.putArea());
}

TEST(FilebufBuffer, Creation_EmptyGetAreaAndNoPutArea)
{
    ScriptedFile file(IN | OUT, 5);
    file.createBuffer();
    EXPECT_NE(nullptr, file.buffer);
    EXPECT_EQ(5u, file.bufferSize);
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("none", file.putArea());
    EXPECT_FALSE(file.userBuffer);
}

TEST(FilebufBuffer, Creation_Again_DoesNothing)
{
    BufferedFile file(IN, 4);
    file.give("ab");
    file.sbumpc();
    const char* const before = file.buffer;
    file.createBuffer();
    EXPECT_EQ(before, file.buffer);
    EXPECT_EQ("a|b", file.getArea());
}

TEST(FilebufBuffer, SizeOfZero_BecomesTheDefault)
{
    BufferedFile file(IN, 0);
    EXPECT_EQ(2048u, file.bufferSize);
    file.sgetc();
    EXPECT_EQ("read(2048)", file.takeCalls());
}

TEST(FilebufBuffer, Destruction_NextOneHasTheDefaultSize)
{
    BufferedFile file(OUT, 4);
    file.sputc('a');
    file.destroyBuffer();
    EXPECT_EQ(nullptr, file.buffer);
    EXPECT_EQ(0u, file.bufferSize);
    EXPECT_EQ("none", file.getArea());
    EXPECT_EQ("none", file.putArea());
    file.destroyBuffer();
    file.createBuffer();
    EXPECT_EQ(2048u, file.bufferSize);
    EXPECT_EQ("", file.takeCalls());
}

TEST(FilebufBuffer, OutsideOne_IsUsedAndNotFreed)
{
    const std::unique_ptr<char[]> outside(new char[3]);
    {
        ScriptedFile file(IN, 3, outside.get());
        EXPECT_TRUE(file.userBuffer);
        EXPECT_EQ("|", file.getArea());
        file.createBuffer();
        EXPECT_TRUE(file.userBuffer);
        file.give("abc");
        EXPECT_EQ('a', file.sgetc());
        EXPECT_EQ(outside.get(), file.buffer);
    }
    EXPECT_EQ("abc", std::string(outside.get(), 3));
}

TEST(FilebufBuffer, OutsideOne_GivenUpForAnOwnOne)
{
    const std::unique_ptr<char[]> outside(new char[3]{'x', 'y', 'z'});
    ScriptedFile file(OUT, 3, outside.get());
    file.destroyBuffer();
    EXPECT_FALSE(file.userBuffer);
    file.createBuffer();
    EXPECT_NE(outside.get(), file.buffer);
    file.sputc('a');
    EXPECT_EQ("xyz", std::string(outside.get(), 3));
}

TEST(FilebufBuffer, Destructor_WritesAndClosesNothing)
{
    struct Watched : BufferedFile
    {
        using BufferedFile::BufferedFile;
        int writeBlock(const char*, unsigned int, unsigned int&) override
        {
            return std::abort(), 1;
        }
        int flushFile() override { return std::abort(), 1; }
        int closeFile() override { return std::abort(), 1; }
    };
    Watched file(OUT, 4);
    file.sputc('a');
    EXPECT_EQ("a+2", file.putArea());
}

#ifndef FIXED_ALLOCATOR

std::string outOfMemory(const ChildResult& result)
{
    return reportTitle("Out of memory encountered", result) +
           "Location: src/common/streams/fstream:36, createBuffer()\n"
           "Reason: \"cannot allocate file buffer\"\n"
           "No error context set\n";
}

TEST(FilebufBuffer, WithoutMemory_HandlerFreesSome)
{
    const ChildResult result = runInChild([] {
        GlobalErrorHandler::atOutOfMem([](const char* location, const char* reason) {
            fprintf(stderr, "[%s] [%s]\n", location, reason);
            static int s_calls = 0;
            s_isExhausted = ++s_calls < 3;
            return true;
        });
        ScriptedFile file(IN, 4);
        s_isExhausted = true;
        file.createBuffer();
        EXPECT_NE(nullptr, file.buffer);
        EXPECT_EQ("|", file.getArea());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("[framework/src/common/streams/fstream:36, createBuffer()] "
              "[cannot allocate file buffer]\n"
              "[framework/src/common/streams/fstream:36, createBuffer()] "
              "[cannot allocate file buffer]\n"
              "[framework/src/common/streams/fstream:36, createBuffer()] "
              "[cannot allocate file buffer]\n",
              result.err);
}

TEST(FilebufBuffer, WithoutMemory_EndsTheProcess)
{
    const ChildResult result = runInChild([] {
        ScriptedFile file(IN, 4);
        s_isExhausted = true;
        file.createBuffer();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(outOfMemory(result), result.err);
}

#endif

} // namespace
