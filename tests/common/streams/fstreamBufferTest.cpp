// SPDX-License-Identifier: Apache-2.0
//
// The life of a file buffer's buffer.

#include <common/streams/fstream.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/ArrayMemory.h"
#include "support/ChildProcess.h"
#include "support/ScriptedFile.h"

namespace {

using std::filebuf_base;
using std::GlobalErrorHandler;
using support::arrayMemory;
using support::BufferedFile;
using support::ChildResult;
using support::reportTitle;
using support::runInChild;
using support::ScriptedFile;

constexpr auto IN = std::ios_base::in;
constexpr auto OUT = std::ios_base::out;

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

TEST(FilebufBuffer, Creation_LeavesAZeroForAResetBeforeAnyData)
{
    BufferedFile file(IN, 4);
    file.give("", filebuf_base::RESET_WINDOWS);
    EXPECT_EQ(0, file.sgetc());
}

TEST(FilebufBuffer, Creation_IsAnOwnOne)
{
    ScriptedFile file(IN, 4);
    file.userBuffer = true; // as a derived class may
    file.createBuffer();
    EXPECT_FALSE(file.userBuffer);
}

struct OwnPutArea : ScriptedFile
{
    using filebuf_base::setp;
    using ScriptedFile::ScriptedFile;
};

TEST(FilebufBuffer, Creation_PutAreaOfADerivedClassIsGivenUp)
{
    OwnPutArea file(OUT, 4);
    char area[4];
    file.setp(area, area + 4);
    file.createBuffer();
    EXPECT_EQ("none", file.putArea());
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

#ifndef SUPPORT_FIXED_ARRAY_MEMORY

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
            arrayMemory.isExhausted = ++s_calls < 3;
            return true;
        });
        ScriptedFile file(IN, 4);
        arrayMemory.isExhausted = true;
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
        arrayMemory.isExhausted = true;
        file.createBuffer();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(outOfMemory(result), result.err);
}

#endif

} // namespace
