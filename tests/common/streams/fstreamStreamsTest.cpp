// SPDX-License-Identifier: Apache-2.0
//
// The buffer's life, syncing, seeking, and the standard's streams over files.

#include <common/streams/fstream.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <istream>
#include <limits>
#include <memory>
#include <new>
#include <ostream>
#include <string>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"
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
using support::ChildResult;
using support::OpenStorage;
using support::reportTitle;
using support::runInChild;
using support::ScriptedFile;

constexpr int END_OF_FILE = std::char_traits<char>::eof();
constexpr auto IN = std::ios_base::in;
constexpr auto OUT = std::ios_base::out;
constexpr auto BEG = std::ios_base::beg;
constexpr auto CUR = std::ios_base::cur;
constexpr auto END = std::ios_base::end;

/// A file with a buffer.
struct BufferedFile : ScriptedFile
{
    BufferedFile(std::ios_base::openmode openMode, unsigned int size) : ScriptedFile(openMode, size)
    {
        createBuffer();
    }
};

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

TEST(Filebuf, Sync_WritesThenFlushes)
{
    BufferedFile file(OUT, 8);
    file.sputn("abc", 3);
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("write(abc) flush()", file.takeCalls());
    EXPECT_EQ("+7", file.putArea());
}

TEST(Filebuf, Sync_EmptyPutAreaOnlyFlushes)
{
    BufferedFile file(IN, 8);
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("flush()", file.takeCalls());
    file.give("abc");
    file.sbumpc();
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("read(8) flush()", file.takeCalls());
    EXPECT_EQ("a|bc", file.getArea());
}

TEST(Filebuf, Sync_FailedFlush)
{
    BufferedFile file(OUT, 8);
    file.sputc('a');
    file.failFlush();
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ("+7", file.putArea());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("write(a) flush() flush()", file.takeCalls());
}

TEST(Filebuf, Sync_FailedWriteFlushesNothing)
{
    const OpenStorage storage;
    support::startChain(3);
    BufferedFile file(OUT, 8);
    file.sputn("abc", 3);
    file.failWrite(EIO);
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ("write(abc)", file.takeCalls());
    EXPECT_EQ("abc+4", file.putArea());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("write(abc) flush()", file.takeCalls());
}

TEST(Filebuf, Seek_WhileReading_IsRelativeToTheNextCharacter)
{
    BufferedFile file(IN, 8);
    file.give("abcde");
    file.sbumpc();
    file.takeCalls();
    file.answerSeek(0, 1);
    EXPECT_EQ(std::streampos(1), file.pubseekoff(0, CUR));
    EXPECT_EQ("seek(-4,cur)", file.takeCalls());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
    file.pubseekoff(3, CUR);
    EXPECT_EQ("seek(3,cur)", file.takeCalls());
}

TEST(Filebuf, Seek_FromBothEnds_IsNotAdjusted)
{
    BufferedFile file(IN, 8);
    file.give("abcde");
    file.sbumpc();
    file.pubseekoff(2, BEG);
    file.give("abcde");
    file.sbumpc();
    file.pubseekoff(-2, END);
    EXPECT_EQ("read(8) seek(2,beg) read(8) seek(-2,end)", file.takeCalls());
}

TEST(Filebuf, Seek_NotReading_IsNotAdjusted)
{
    BufferedFile file(IN, 8);
    file.give("abcde");
    file.sbumpc();
    file.reading = false; // as a derived class may
    file.pubseekoff(1, CUR);
    EXPECT_EQ("read(8) seek(1,cur)", file.takeCalls());
}

TEST(Filebuf, Seek_WhileWriting_DropsWhatIsPending)
{
    BufferedFile file(IN | OUT, 8);
    file.sputn("abc", 3);
    EXPECT_EQ(std::streampos(100), file.pubseekoff(-1, CUR));
    EXPECT_EQ("seek(-1,cur)", file.takeCalls());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("flush()", file.takeCalls());
}

TEST(Filebuf, Seek_BehindTheLimitOf32Bits)
{
    BufferedFile file(IN, 8);
    file.answerSeek(0, 0x180000001LL);
    EXPECT_EQ(0x180000001LL, std::streamoff(file.pubseekoff(0x180000001LL, BEG)));
    file.pubseekpos(std::streamoff(0x180000002LL));
    EXPECT_EQ("seek(6442450945,beg) seek(6442450946,beg)", file.takeCalls());
}

TEST(Filebuf, Seek_OutOfRange_ChangesNothing)
{
    BufferedFile file(IN, 8);
    file.give("abc");
    file.sbumpc();
    file.takeCalls();
    EXPECT_EQ(std::streampos(-1), file.pubseekoff(std::numeric_limits<long long>::min(), CUR));
    EXPECT_EQ("", file.takeCalls());
    EXPECT_EQ("a|bc", file.getArea());
    EXPECT_EQ("r", file.state());
}

TEST(Filebuf, Seek_ToAPosition)
{
    BufferedFile file(IN, 8);
    file.give("abc");
    file.sbumpc();
    file.answerSeek(0, 7);
    EXPECT_EQ(std::streampos(7), file.pubseekpos(7));
    EXPECT_EQ("read(8) seek(7,beg)", file.takeCalls());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
}

TEST(Filebuf, Seek_DirectionOfUseDoesNotMatter)
{
    BufferedFile file(IN, 8);
    EXPECT_EQ(std::streampos(100), file.pubseekoff(1, BEG, OUT));
    EXPECT_EQ(std::streampos(100), file.pubseekpos(2, std::ios_base::openmode()));
    EXPECT_EQ("seek(1,beg) seek(2,beg)", file.takeCalls());
}

TEST(Filebuf, Seek_Failed_ChangesNothing)
{
    BufferedFile file(IN | OUT, 8);
    file.give("abc");
    file.sbumpc();
    file.answerSeek(-1, 7);
    EXPECT_EQ(std::streampos(-1), file.pubseekoff(0, CUR));
    EXPECT_EQ("a|bc", file.getArea());
    EXPECT_EQ("r", file.state());
    file.pubseekpos(0);
    file.sputc('x');
    file.answerSeek(1, 7);
    EXPECT_EQ(std::streampos(-1), file.pubseekpos(7));
    EXPECT_EQ("x+6", file.putArea());
    EXPECT_EQ("w", file.state());
}

TEST(Filebuf, Seek_WithoutABuffer)
{
    ScriptedFile file(IN, 8);
    EXPECT_EQ(std::streampos(100), file.pubseekpos(3));
    EXPECT_EQ("none", file.getArea());
}

TEST(FilebufStream, Output_IsFormatted)
{
    BufferedFile file(OUT, 8);
    std::ostream stream(&file);
    stream << "level " << 42 << '\n' << std::flush;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("write(level 42) write(\n) flush()", file.takeCalls());
}

TEST(FilebufStream, Output_FailuresAreBad)
{
    const OpenStorage storage;
    support::startChain(3);
    BufferedFile file(OUT, 1);
    std::ostream stream(&file);
    file.failWrite(EIO);
    stream << 'a';
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    stream.clear();
    file.failFlush();
    stream.flush();
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
}

TEST(FilebufStream, Output_TellAndSeek)
{
    BufferedFile file(OUT, 8);
    std::ostream stream(&file);
    EXPECT_EQ(std::streampos(100), stream.tellp());
    stream.seekp(3);
    file.answerSeek(-1, 0);
    stream.seekp(4, BEG);
    EXPECT_EQ(std::ios_base::failbit, stream.rdstate());
    EXPECT_EQ("seek(0,cur) seek(3,beg) seek(4,beg)", file.takeCalls());
}

TEST(FilebufStream, Input_FormattedAndLines)
{
    BufferedFile file(IN, 4);
    std::istream stream(&file);
    file.give("12");
    file.give("3\nab");
    file.give("c\n");
    int number = 0;
    std::string line;
    stream >> number;
    EXPECT_EQ(123, number);
    EXPECT_TRUE(std::getline(stream.ignore(), line));
    EXPECT_EQ("abc", line);
    EXPECT_FALSE(std::getline(stream, line));
    EXPECT_EQ(std::ios_base::eofbit | std::ios_base::failbit, stream.rdstate());
}

TEST(FilebufStream, Input_TellAndSeek)
{
    BufferedFile file(IN, 4);
    std::istream stream(&file);
    file.give("abcd");
    EXPECT_EQ('a', stream.get());
    file.answerSeek(0, 1);
    EXPECT_EQ(std::streampos(1), stream.tellg());
    EXPECT_EQ(END_OF_FILE, stream.get());
    stream.clear();
    stream.seekg(2);
    file.give("cd");
    EXPECT_EQ('c', stream.get());
    EXPECT_EQ("read(4) seek(-3,cur) read(4) seek(2,beg) read(4)", file.takeCalls());
}

TEST(FilebufStream, Both_WritingWaitsForASeek)
{
    BufferedFile file(IN | OUT, 4);
    std::iostream stream(&file);
    file.give("ab");
    EXPECT_EQ('a', stream.get());
    stream.put('x');
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    stream.clear();
    stream.seekp(0);
    stream.put('x').flush();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("read(4) seek(0,beg) write(x) flush()", file.takeCalls());
}

} // namespace
