// SPDX-License-Identifier: Apache-2.0
//
// Reading, construction, and the standard's streams over the buffer.

#include <common/BinBuffer.h>

#include <cstdlib>
#include <istream>
#include <memory>
#include <new>
#include <ostream>
#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedDevice.h"

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

using std::ErrorStorage;
using support::END_OF_STREAM;
using support::OpenBinBuffer;
using support::OpenStorage;
using support::ScriptedInput;
using support::ScriptedOutput;

constexpr int END_OF_FILE = std::char_traits<char>::eof();

/// Whether an error is stored that nobody acknowledged.
bool isPending()
{
    return ErrorStorage::isError(true);
}

TEST(BinBuffer, GetArea_HoldsTheLastRefill)
{
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("abcd");
    input.give("e");
    EXPECT_EQ("|", buffer.getArea());
    EXPECT_EQ('a', buffer.sgetc());
    EXPECT_EQ("|abcd", buffer.getArea());
    EXPECT_EQ('b', buffer.snextc());
    EXPECT_EQ("a|bcd", buffer.getArea());
    char text[4] = {};
    EXPECT_EQ(4, buffer.sgetn(text, 4));
    EXPECT_EQ("bcde", std::string(text, 4));
    EXPECT_EQ("e|", buffer.getArea());
    EXPECT_EQ("read(4) read(4)", input.takeCalls());
}

TEST(BinBuffer, Underflow_BelowTheEndOfTheGetArea_ReadsNothing)
{
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    EXPECT_EQ('a', buffer.sbumpc());
    input.takeCalls();
    EXPECT_EQ('b', buffer.underflow());
    EXPECT_EQ('b', buffer.underflow());
    EXPECT_EQ("a|b", buffer.getArea());
    EXPECT_EQ("", input.takeCalls());
}

TEST(BinBuffer, Input_BytesAreUnsigned)
{
    ScriptedInput input;
    OpenBinBuffer buffer(input, 2);
    input.give("\xFF\x80");
    EXPECT_EQ(255, buffer.underflow());
    EXPECT_EQ(255, buffer.underflow());
    EXPECT_EQ(255, buffer.sbumpc());
    EXPECT_EQ(128, buffer.sbumpc());
}

TEST(BinBuffer, Input_SizeOfOne)
{
    ScriptedInput input;
    OpenBinBuffer buffer(input, 1);
    input.give("a");
    input.give("b");
    EXPECT_EQ('a', buffer.sbumpc());
    EXPECT_EQ('b', buffer.sbumpc());
    EXPECT_EQ(END_OF_FILE, buffer.sbumpc());
    EXPECT_EQ("read(1) read(1) read(1)", input.takeCalls());
}

TEST(BinBuffer, Input_SizeOfZero_IsAtItsEnd)
{
    ScriptedInput input;
    input.give("abc");
    const std::unique_ptr<char[]> outside(new char[1]{'x'});
    OpenBinBuffer buffer(&input, 0, nullptr, 0, outside.get());
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ("", input.takeCalls());
    EXPECT_EQ('x', outside[0]);
}

TEST(BinBuffer, WithoutInput_IsAtItsEnd)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(output, 4);
    char text[2] = {};
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ(END_OF_FILE, buffer.snextc());
    EXPECT_EQ(0, buffer.sgetn(text, 2));
}

TEST(BinBuffer, Input_CountBeyondTheSizeIsAllOfIt)
{
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("abcd", 0xFFFFFFFF);
    EXPECT_EQ('a', buffer.sgetc());
    EXPECT_EQ("|abcd", buffer.getArea());
}

TEST(BinBuffer, Input_NoBytes_GoesOnLater)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("");
    input.give("ab");
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ('a', buffer.sgetc());
}

TEST(BinBuffer, Input_NoBytes_AcknowledgesWhatIsPending)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    support::startChain(3);
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_FALSE(isPending());
    EXPECT_EQ(3, ErrorStorage::id());
}

TEST(BinBuffer, Input_EndOfStream_LeavesNoPendingErrorAndAnEmptyGetArea)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    input.fail(END_OF_STREAM);
    buffer.sgetc();
    EXPECT_EQ('b', buffer.snextc());
    EXPECT_EQ(END_OF_FILE, buffer.snextc());
    EXPECT_FALSE(isPending());
    EXPECT_TRUE(ErrorStorage::isA(std::IBinStreamBase::StreamError));
    EXPECT_EQ("|", buffer.getArea());
    EXPECT_EQ(END_OF_FILE, buffer.sungetc());
}

TEST(BinBuffer, Input_OtherFailure_LeavesTheGetArea)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    input.fail(1);
    buffer.sbumpc();
    buffer.sbumpc();
    EXPECT_EQ(END_OF_FILE, buffer.sbumpc());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("ab|", buffer.getArea());
    EXPECT_EQ('b', buffer.sungetc());
}

TEST(BinBuffer, Input_EndOfAnotherFamily_LeavesTheGetArea)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    input.give("ab");
    char text[2] = {};
    EXPECT_EQ(2, buffer.sgetn(text, 2));
    support::startChain(2); // the number of the end of the stream, in another table
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("ab|", buffer.getArea());
}

TEST(BinBuffer, Input_BrokenDevice_EndsWheneverItIsAsked)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    for (int i = 0; i < 100; ++i) {
        input.fail(0);
        EXPECT_EQ(END_OF_FILE, buffer.sbumpc());
        EXPECT_EQ("|", buffer.getArea());
    }
    input.give("a");
    EXPECT_EQ('a', buffer.sbumpc());
}

TEST(BinBuffer, OneWayForms_HaveTheDefaultSize)
{
    ScriptedOutput output;
    OpenBinBuffer writer(output);
    EXPECT_EQ("+2047", writer.putArea());
    ScriptedInput input;
    OpenBinBuffer reader(input);
    EXPECT_EQ(END_OF_FILE, reader.sgetc());
    EXPECT_EQ("read(2048)", input.takeCalls());
}

#ifndef FIXED_ALLOCATOR

TEST(BinBuffer, WithoutMemory_BothDirectionsAreAtTheirEnd)
{
    ScriptedInput input;
    ScriptedOutput output;
    input.give("abc");
    s_isExhausted = true;
    OpenBinBuffer buffer(&input, 4, &output, 4);
    s_isExhausted = false;
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("", input.takeCalls());
    EXPECT_EQ("", output.takeCalls());
}

#endif

TEST(BinBuffer, OutsideBuffers_AreUsedAndNotFreed)
{
    ScriptedInput input;
    ScriptedOutput output;
    input.give("abc");
    const std::unique_ptr<char[]> in(new char[3]);
    const std::unique_ptr<char[]> out(new char[3]);
    {
        OpenBinBuffer buffer(&input, 3, &output, 3, in.get(), out.get());
        EXPECT_EQ('a', buffer.sgetc());
        EXPECT_EQ(2, buffer.sputn("12", 2));
    }
    EXPECT_EQ("abc", std::string(in.get(), 3));
    EXPECT_EQ("12", std::string(out.get(), 2));
}

TEST(BinBuffer, BothWays_DoNotDisturbEachOther)
{
    ScriptedInput input;
    ScriptedOutput output;
    input.give("abc");
    OpenBinBuffer buffer(&input, 4, &output, 4);
    buffer.sputn("12", 2);
    EXPECT_EQ('a', buffer.sbumpc());
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("a|bc", buffer.getArea());
    EXPECT_EQ("write(12)", output.takeCalls());
}

TEST(BinBuffer, Seeking_IsTheBaseClasss)
{
    ScriptedInput input;
    ScriptedOutput output;
    OpenBinBuffer buffer(&input, 4, &output, 4);
    EXPECT_EQ(std::streampos(-1), buffer.pubseekoff(0, std::ios_base::cur));
    EXPECT_EQ(std::streampos(-1), buffer.pubseekpos(0));
}

TEST(BinBufferStream, Output_IsFormatted)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    std::ostream stream(&buffer);
    stream << "level " << 42 << ' ' << true << '\n' << std::flush;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("level 42 1\n", output.taken());
    EXPECT_EQ("write(level 42) write( 1\n)", output.takeCalls());
}

TEST(BinBufferStream, Output_RefusedCharacterIsBad)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 4);
    std::ostream stream(&buffer);
    stream << "abc";
    output.take(0);
    stream.put('d');
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    stream.clear();
    stream.put('e');
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("abce", output.taken());
}

TEST(BinBufferStream, Output_FailedFlushIsBad)
{
    const OpenStorage storage;
    ScriptedOutput output(16);
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    std::ostream stream(&buffer);
    stream << "abc";
    output.fail(1);
    stream.flush();
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    stream.clear();
    stream.flush();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("abc", output.taken());
}

TEST(BinBufferStream, Output_SizeOfZeroIsBad)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 0);
    std::ostream stream(&buffer);
    stream << 7;
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
}

TEST(BinBufferStream, Output_CannotTell)
{
    ScriptedOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    std::ostream stream(&buffer);
    EXPECT_EQ(std::streampos(-1), stream.tellp());
    stream.seekp(0);
    EXPECT_EQ(std::ios_base::failbit, stream.rdstate());
}

TEST(BinBufferStream, Input_IsFormatted)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    std::istream stream(&buffer);
    input.give("12");
    input.give("3 le");
    input.give("vel");
    input.fail(END_OF_STREAM);
    int number = 0;
    std::string word;
    stream >> number >> word;
    EXPECT_EQ(123, number);
    EXPECT_EQ("level", word);
    EXPECT_EQ(std::ios_base::eofbit, stream.rdstate());
    EXPECT_FALSE(isPending());
}

TEST(BinBufferStream, Input_Lines)
{
    ScriptedInput input;
    OpenBinBuffer buffer(input, 2);
    std::istream stream(&buffer);
    input.give("a\n");
    input.give("\nb");
    std::string line;
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_EQ("a", line);
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_EQ("", line);
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_EQ("b", line);
    EXPECT_FALSE(std::getline(stream, line));
    EXPECT_EQ(std::ios_base::eofbit | std::ios_base::failbit, stream.rdstate());
}

TEST(BinBufferStream, Input_FailureIsTheEndOfTheFile)
{
    const OpenStorage storage;
    ScriptedInput input;
    OpenBinBuffer buffer(input, 4);
    std::istream stream(&buffer);
    input.fail(0);
    EXPECT_EQ(END_OF_FILE, stream.get());
    EXPECT_EQ(std::ios_base::eofbit | std::ios_base::failbit, stream.rdstate());
    EXPECT_FALSE(isPending());
}

} // namespace
