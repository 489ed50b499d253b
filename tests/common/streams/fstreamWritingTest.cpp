// SPDX-License-Identifier: Apache-2.0

#include <common/streams/fstream.h>

#include <cerrno>
#include <memory>
#include <string>

#include <common/error/ErrorStorage.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"
#include "support/ScriptedFile.h"

#ifndef __has_feature
#define FREE_SLOTS
#elif !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer)
#define FREE_SLOTS
#endif

#ifdef FREE_SLOTS // the sanitizers ask for slots before there is a program

namespace {

bool s_spoilsErrno = false;

} // namespace

// In place of the system's: the library looks for the thread's errors with it.
extern "C" void* pthread_getspecific(pthread_key_t key) noexcept
{
    using Function = void* (*)(pthread_key_t);
    static const auto s_function =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_getspecific"));
    if (s_spoilsErrno) errno = EBADF;
    return s_function(key);
}

#endif

namespace {

using support::BufferedFile;
using support::ChildResult;
using support::OpenStorage;
using support::reportTitle;
using support::runInChild;
using support::ScriptedFile;

constexpr int END_OF_FILE = std::char_traits<char>::eof();
constexpr auto IN = std::ios_base::in;
constexpr auto OUT = std::ios_base::out;

std::string warned(const ChildResult& result, const std::string& reason)
{
    return reportTitle("Warning triggered", result) +
           "Location: src/common/streams/fstream:127, overflow()\n"
           "Reason: \"Couldn't actually write: " +
           reason + "\"\nNo error context set\n";
}

TEST(Filebuf, Writing_FirstCharacterMakesThePutArea)
{
    BufferedFile file(OUT, 4);
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ('0', file.sputc('a'));
    EXPECT_EQ("a+2", file.putArea());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("w", file.state());
    EXPECT_EQ('b', file.sputc('b'));
    EXPECT_EQ("", file.takeCalls());
}

TEST(Filebuf, Writing_ByteHeldBackTakesTheOverflow)
{
    BufferedFile file(OUT, 4);
    EXPECT_EQ(3, file.sputn("abc", 3));
    EXPECT_EQ("abc+0", file.putArea());
    EXPECT_EQ('0', file.sputc('d'));
    EXPECT_EQ("write(abcd)", file.takeCalls());
    EXPECT_EQ("+3", file.putArea());
    EXPECT_EQ("|", file.getArea());
}

TEST(Filebuf, Writing_ShortCountIsNotLookedAt)
{
    BufferedFile file(OUT, 4);
    file.takeWrite(1);
    EXPECT_EQ(4, file.sputn("abcd", 4));
    EXPECT_EQ("+3", file.putArea());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("write(abcd) flush()", file.takeCalls());
}

TEST(Filebuf, Writing_EndOfFileIsNoCharacter)
{
    BufferedFile file(OUT, 4);
    EXPECT_EQ('0', file.overflow(END_OF_FILE));
    EXPECT_EQ("+3", file.putArea());
    EXPECT_EQ("w", file.state());
    file.sputc('a');
    EXPECT_EQ('0', file.overflow(END_OF_FILE));
    EXPECT_EQ("write(a)", file.takeCalls());
}

TEST(Filebuf, Writing_ByteOfAllOnesIsNotTheEndOfFile)
{
    BufferedFile file(OUT, 2);
    EXPECT_EQ('0', file.sputc('\xFF'));
    EXPECT_EQ('0', file.sputc('\xFF'));
    EXPECT_EQ("write(\xFF\xFF)", file.takeCalls());
}

TEST(Filebuf, Writing_SizeOfOne_EachCharacterByItself)
{
    BufferedFile file(OUT, 1);
    EXPECT_EQ('0', file.sputc('a'));
    EXPECT_EQ(2, file.sputn("bc", 2));
    EXPECT_EQ(END_OF_FILE, file.overflow(END_OF_FILE));
    EXPECT_EQ("write(a) write(b) write(c)", file.takeCalls());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("w", file.state());
}

TEST(Filebuf, Writing_SizeOfZero_NeedsNoBuffer)
{
    ScriptedFile file(OUT);
    EXPECT_EQ('0', file.sputc('a'));
    EXPECT_EQ("write(a)", file.takeCalls());
    EXPECT_EQ(nullptr, file.buffer);
}

TEST(Filebuf, Writing_WithoutABuffer)
{
    ScriptedFile file(OUT, 4);
    EXPECT_EQ(END_OF_FILE, file.sputc('a'));
    EXPECT_EQ("", file.takeCalls());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("", file.state());
}

TEST(Filebuf, Writing_NotOpenForIt)
{
    BufferedFile file(IN, 4);
    EXPECT_EQ(END_OF_FILE, file.sputc('a'));
    EXPECT_EQ(END_OF_FILE, file.overflow(END_OF_FILE));
    EXPECT_EQ("", file.state());
}

TEST(Filebuf, Writing_RefusesWhileReading)
{
    BufferedFile file(IN | OUT, 4);
    file.give("a");
    file.sbumpc();
    EXPECT_EQ(END_OF_FILE, file.sputc('x'));
    EXPECT_EQ("a|", file.getArea());
    file.pubseekoff(0, std::ios_base::cur);
    EXPECT_EQ('0', file.sputc('x'));
}

TEST(Filebuf, Writing_MakesTheGetAreaEmpty_FirstCharacter)
{
    BufferedFile file(IN | OUT, 4);
    file.give("ab");
    file.sbumpc();
    file.reading = false; // as a derived class may
    EXPECT_EQ("a|b", file.getArea());
    EXPECT_EQ('0', file.sputc('x'));
    EXPECT_EQ("|", file.getArea());
}

TEST(Filebuf, Writing_MakesTheGetAreaEmpty_Drain)
{
    BufferedFile file(IN | OUT, 4);
    file.sputc('x');
    file.setg(file.buffer, file.buffer, file.buffer + 1); // as a derived class may
    EXPECT_EQ("|x", file.getArea());
    EXPECT_EQ('0', file.overflow('y'));
    EXPECT_EQ("write(xy)", file.takeCalls());
    EXPECT_EQ("|", file.getArea());
}

TEST(Filebuf, FailedWrite_NothingBehindTheBufferIsTouched)
{
    const OpenStorage storage;
    support::startChain(3);
    char block[5] = {'-', '-', '-', '-', '#'};
    ScriptedFile file(OUT, 4, block);
    file.sputn("abc", 3);
    for (int i = 0; i < 100; ++i) {
        file.failWrite(EIO);
        EXPECT_EQ(END_OF_FILE, file.sputc('d'));
    }
    EXPECT_EQ("abcd#", std::string(block, 5));
}

TEST(Filebuf, FailedWrite_AnyResultButZero)
{
    const OpenStorage storage;
    support::startChain(3);
    BufferedFile file(OUT, 2);
    file.sputc('a');
    file.failWrite(EIO, 1);
    EXPECT_EQ(END_OF_FILE, file.sputc('b'));
    EXPECT_EQ("a+0", file.putArea());
    BufferedFile alone(OUT, 1);
    alone.failWrite(EIO, 1);
    EXPECT_EQ(END_OF_FILE, alone.sputc('a'));
    EXPECT_EQ("", alone.state());
}

TEST(Filebuf, FailedWrite_CharacterIsRefused)
{
    const OpenStorage storage;
    support::startChain(3);
    const std::unique_ptr<char[]> outside(new char[4]);
    ScriptedFile file(OUT, 4, outside.get());
    file.sputn("abc", 3);
    for (int i = 0; i < 100; ++i) { // as a caller that retries until it succeeds
        file.failWrite(EIO);
        EXPECT_EQ(END_OF_FILE, file.sputc('d'));
        EXPECT_EQ("write(abcd)", file.takeCalls());
    }
    EXPECT_EQ("abc+0", file.putArea());
    EXPECT_EQ("w", file.state());
    EXPECT_EQ('0', file.sputc('e'));
    EXPECT_EQ("write(abce)", file.takeCalls());
}

TEST(Filebuf, FailedWrite_WarnsWithItsErrno)
{
    const ChildResult result = runInChild([] {
        BufferedFile file(OUT, 2);
        file.sputc('a');
        file.failWrite(ENOSPC);
        EXPECT_EQ(END_OF_FILE, file.sputc('b'));
        EXPECT_EQ("a+0", file.putArea());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(warned(result, "No space left on device"), result.err);
}

TEST(Filebuf, FailedWrite_SizeOfOne_Warns)
{
    const ChildResult result = runInChild([] {
        BufferedFile file(OUT, 1);
        file.failWrite(EIO);
        EXPECT_EQ(END_OF_FILE, file.sputc('a'));
        EXPECT_EQ("", file.state());
        EXPECT_EQ('0', file.sputc('b'));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(warned(result, "Input/output error"), result.err);
}

#ifdef FREE_SLOTS

TEST(Filebuf, FailedWrite_WarnsWithTheErrnoFromBeforeItAsksForErrors)
{
    const ChildResult result = runInChild([] {
        BufferedFile file(OUT, 1);
        file.failWrite(ENOSPC);
        s_spoilsErrno = true;
        EXPECT_EQ(END_OF_FILE, file.sputc('a'));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(warned(result, "No space left on device"), result.err);
}

#endif

/// Gives up writing when it writes.
struct OneWrite : BufferedFile
{
    using BufferedFile::BufferedFile;

protected:
    int writeBlock(const char* data, unsigned int size, unsigned int& written) override
    {
        mode = IN;
        return BufferedFile::writeBlock(data, size, written);
    }
};

TEST(Filebuf, Writing_ModeGivenUpByAWrite_LeavesNoPutArea)
{
    OneWrite file(OUT, 4);
    file.sputn("ab", 2);
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ(END_OF_FILE, file.sputc('c'));
    EXPECT_EQ("write(ab) flush()", file.takeCalls());
}

TEST(Filebuf, FailedWrite_SilentWhileAnErrorIsPending)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage;
        support::startChain(3);
        BufferedFile file(OUT, 1);
        file.failWrite(EIO);
        EXPECT_EQ(END_OF_FILE, file.sputc('a'));
        EXPECT_TRUE(std::ErrorStorage::isError(true)); // not acknowledged here
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(Filebuf, FailedWrite_WarnsIfTheErrorIsAcknowledged)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage;
        support::startChain(3);
        std::ErrorStorage::ack();
        BufferedFile file(OUT, 1);
        file.failWrite(EIO);
        EXPECT_EQ(END_OF_FILE, file.sputc('a'));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(warned(result, "Input/output error"), result.err);
}

} // namespace
