// SPDX-License-Identifier: Apache-2.0

#include <common/streams/fstream.h>

#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/ScriptedFile.h"

namespace {

using std::filebuf_base;
using support::BufferedFile;
using support::ChildResult;
using support::reportTitle;
using support::runInChild;
using support::ScriptedFile;

constexpr int END_OF_FILE = std::char_traits<char>::eof();
constexpr auto IN = std::ios_base::in;
constexpr auto OUT = std::ios_base::out;

static_assert(std::is_convertible_v<filebuf_base*, std::basic_streambuf<char>*>);
static_assert(std::is_abstract_v<filebuf_base>);
static_assert(!std::is_copy_constructible_v<filebuf_base>);
static_assert(!std::is_copy_assignable_v<filebuf_base>);
static_assert(filebuf_base::RESET_WINDOWS == -1);
static_assert(ScriptedFile::DEFAULT_SIZE == 2048);

/// Reads all of the get area.
void skipGetArea(ScriptedFile& file)
{
    while (file.in_avail() > 0)
        file.sbumpc();
}

std::string windowsAsserted(const ChildResult& result)
{
    return reportTitle("Assert failed", result) +
           "Location: include/common/streams/fstream:141, applyWindows()\n"
           "Condition: \"p_offset >= RESET_WINDOWS\"\n"
           "No reason given\n"
           "No error context set\n";
}

TEST(Filebuf, Reading_FillsTheGetArea)
{
    BufferedFile file(IN, 4);
    file.give("abc");
    EXPECT_EQ('a', file.sgetc());
    EXPECT_EQ("|abc", file.getArea());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("r", file.state());
    EXPECT_EQ('b', file.snextc());
    EXPECT_EQ('b', file.underflow());
    EXPECT_EQ("read(4)", file.takeCalls());
}

TEST(Filebuf, Reading_BytesAreUnsigned)
{
    BufferedFile file(IN, 2);
    file.give("\xFF\x80");
    EXPECT_EQ(255, file.sgetc());
    EXPECT_EQ(255, file.underflow());
    EXPECT_EQ(255, file.sbumpc());
    EXPECT_EQ(128, file.sbumpc());
}

TEST(Filebuf, Reading_SizeOfOne)
{
    BufferedFile file(IN, 1);
    file.give("a");
    file.give("b");
    char text[3] = {};
    EXPECT_EQ(2, file.sgetn(text, 3));
    EXPECT_EQ("ab", std::string(text));
    EXPECT_EQ("read(1) read(1) read(1)", file.takeCalls());
}

TEST(Filebuf, Reading_NotOpenForIt)
{
    BufferedFile file(OUT, 4);
    file.give("abc");
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_EQ("", file.takeCalls());
    EXPECT_EQ("", file.state());
}

TEST(Filebuf, Reading_RefusesWhileWriting)
{
    BufferedFile file(IN | OUT, 4);
    file.give("a");
    file.sputc('x');
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ(END_OF_FILE, file.sgetc()); // a sync does not end it
    EXPECT_EQ("w", file.state());
    EXPECT_EQ("write(x) flush()", file.takeCalls());
    file.pubseekpos(0);
    EXPECT_EQ('a', file.sgetc());
}

TEST(Filebuf, Reading_ClearsThePutArea)
{
    BufferedFile file(IN | OUT, 4);
    file.sputc('x');
    file.writing = false; // as a derived class may
    file.give("a");
    EXPECT_EQ('a', file.sgetc());
    EXPECT_EQ("none", file.putArea());
}

TEST(Filebuf, Reading_WithoutABuffer)
{
    ScriptedFile file(IN, 4);
    file.give("abc");
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_EQ("", file.takeCalls());
}

TEST(Filebuf, Reading_OutsideBufferOfSizeZero)
{
    const std::unique_ptr<char[]> outside(new char[4]);
    ScriptedFile file(IN, 0, outside.get() + 4); // nothing behind it
    file.give("", 5);
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_EQ("", file.takeCalls());
}

TEST(Filebuf, EndOfFile_ChangesNothing)
{
    BufferedFile file(IN | OUT, 4);
    file.give("ab");
    file.sgetc();
    skipGetArea(file);
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ("ab|", file.getArea());
    EXPECT_EQ("r", file.state());
    EXPECT_EQ('b', file.sungetc());
}

TEST(Filebuf, FailedRead_EndsReading)
{
    BufferedFile file(IN | OUT, 4);
    file.give("ab");
    file.sgetc();
    skipGetArea(file);
    file.give("", 0, -1);
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("", file.state());
    EXPECT_EQ('0', file.sputc('x'));
}

TEST(Filebuf, FailedRead_WhatItGaveIsReadable)
{
    BufferedFile file(IN, 4);
    file.give("ab", 2, -1);
    EXPECT_EQ('a', file.sbumpc());
    EXPECT_EQ("a|b", file.getArea());
    EXPECT_EQ("r", file.state());
}

TEST(Filebuf, FailedRead_AnyResultButZero)
{
    BufferedFile file(IN | OUT, 4);
    file.give("ab");
    file.sgetc();
    skipGetArea(file);
    file.give("", 0, 1);
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
}

TEST(Filebuf, FailedRead_ClearsThePutArea)
{
    BufferedFile file(IN | OUT, 4);
    file.sputc('x');
    file.writing = false; // as a derived class may
    file.give("", 0, -1);
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("|", file.getArea());
}

/// Fails without a word on how many bytes it has read.
struct MuteFile : BufferedFile
{
    using BufferedFile::BufferedFile;
    int readBlock(char*, unsigned int, int&) override { return -1; }
};

TEST(Filebuf, FailedRead_CountNotTouched)
{
    MuteFile file(IN, 4);
    file.reading = true;
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
}

/// Gives its buffer up while it is read.
struct LeavingFile : BufferedFile
{
    LeavingFile(std::ios_base::openmode openMode, int toReport)
        : BufferedFile(openMode, 4), m_count(toReport)
    {}
    int readBlock(char*, unsigned int, int& count) override
    {
        destroyBuffer();
        count = m_count;
        return 0;
    }

private:
    int m_count;
};

TEST(Filebuf, Reading_PrimitiveGivesTheBufferUp)
{
    LeavingFile reset(IN, filebuf_base::RESET_WINDOWS);
    EXPECT_EQ(END_OF_FILE, reset.sgetc());
    EXPECT_EQ("none", reset.getArea());
    EXPECT_EQ("none", reset.putArea());
    LeavingFile counted(IN, 3);
    EXPECT_EQ(END_OF_FILE, counted.sbumpc());
    EXPECT_EQ("none", counted.getArea());
    EXPECT_EQ(END_OF_FILE, counted.sbumpc());
}

/// Answers for the buffer that it is derived from.
struct OwnUnderflow : BufferedFile
{
    using BufferedFile::BufferedFile;
    int underflow() override
    {
        ++m_calls;
        return m_isAtEnd ? END_OF_FILE : BufferedFile::underflow();
    }
    int m_calls = 0;
    bool m_isAtEnd = false;
};

TEST(Filebuf, Uflow_ReplacedUnderflowIsAsked)
{
    OwnUnderflow file(IN, 4);
    file.give("ab");
    EXPECT_EQ('a', file.uflow());
    EXPECT_EQ(1, file.m_calls);
    file.m_isAtEnd = true;
    EXPECT_EQ(END_OF_FILE, file.uflow());
    EXPECT_EQ(2, file.m_calls);
    EXPECT_EQ("a|b", file.getArea());
}

TEST(Filebuf, ApplyWindows_NotOpenForReading_LeavesNoGetArea)
{
    BufferedFile file(OUT, 4);
    file.applyWindows(3);
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("r", file.state());
}

TEST(Filebuf, CountBeyondTheSizeIsAllOfIt)
{
    BufferedFile file(IN, 4);
    file.give("abcd", 2147483647);
    EXPECT_EQ('a', file.sgetc());
    EXPECT_EQ("|abcd", file.getArea());
}

TEST(Filebuf, ResetWindows_ReturnsAStaleByteWithoutMoving)
{
    BufferedFile file(IN, 4);
    file.give("xy", filebuf_base::RESET_WINDOWS);
    EXPECT_EQ('x', file.underflow());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("r", file.state());
    file.give("z", filebuf_base::RESET_WINDOWS);
    EXPECT_EQ('z', file.uflow());
    EXPECT_EQ("|", file.getArea());
    file.give("ab");
    EXPECT_EQ('a', file.uflow());
    EXPECT_EQ("a|b", file.getArea());
}

TEST(Filebuf, ResetWindows_ThroughTheCallsOfUsers)
{
    BufferedFile file(IN, 1);
    char text[3] = {};
    file.give("\xFF", filebuf_base::RESET_WINDOWS);
    EXPECT_EQ(255, file.sbumpc());
    file.give("", filebuf_base::RESET_WINDOWS);
    EXPECT_EQ(255, file.sgetc());
    file.give("y", filebuf_base::RESET_WINDOWS);
    file.give("", filebuf_base::RESET_WINDOWS);
    file.give("z");
    EXPECT_EQ(3, file.sgetn(text, 3));
    EXPECT_EQ("yyz", std::string(text, 3));
    EXPECT_EQ("z|", file.getArea());
}

TEST(Filebuf, ResetWindows_WritingIsRefusedBehindIt)
{
    BufferedFile file(IN | OUT, 4);
    file.give("x", filebuf_base::RESET_WINDOWS);
    file.sgetc();
    EXPECT_EQ(END_OF_FILE, file.sputc('a'));
}

TEST(Filebuf, ResetWindows_NoFailureIsAsserted)
{
    const ChildResult result = runInChild([] {
        BufferedFile file(IN, 4);
        file.give("x", filebuf_base::RESET_WINDOWS);
        file.sgetc();
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.err);
}

TEST(Filebuf, CountBelowResetWindows_IsAssertedAndTakenAsIt)
{
    const ChildResult result = runInChild([] {
        BufferedFile file(IN, 4);
        file.give("x", -2);
        EXPECT_EQ('x', file.sbumpc());
        EXPECT_EQ("|", file.getArea());
        EXPECT_EQ("r", file.state());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(windowsAsserted(result), result.err);
}

} // namespace
