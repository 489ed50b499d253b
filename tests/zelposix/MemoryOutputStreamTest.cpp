// SPDX-License-Identifier: Apache-2.0
//
// Memory of the caller is in heap blocks of exactly its size, so that the sanitizers see each
// access outside.

#include <zelposix/MemoryOutputStream.h>

#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include <common/BinBuffer.h>
#include <gtest/gtest.h>
#include <zelposix/PosixError.h>

#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using std::ErrorStorage;
using support::chainIds;
using support::OpenStorage;
using support::writeText;
using zel::MemoryOutputStream;

/// What was written.
std::string contentOf(const MemoryOutputStream& output)
{
    return std::string(output.data(), output.data() + output.size());
}

/// A stream into a block of its own, which is full of '.'.
struct Fixed
{
    explicit Fixed(unsigned int capacity) : block(capacity, '.'), output(block.data(), capacity) {}

    std::string text() const { return std::string(block.begin(), block.end()); }

    std::vector<char> block;
    MemoryOutputStream output;
};

#define EXPECT_END()                                                                               \
    EXPECT_TRUE(ErrorStorage::equals(std::IBinStreamBase::StreamError));                           \
    EXPECT_EQ("2", chainIds());                                                                    \
    EXPECT_TRUE(ErrorStorage::isError(true));                                                      \
    EXPECT_TRUE(zel::isEndOfStream())

#define EXPECT_FULL(stream)                                                                        \
    EXPECT_EQ("-1 0", writeText(stream, "x"));                                                     \
    EXPECT_END()

TEST(GrowingMemory, AtFirst)
{
    const MemoryOutputStream output;
    EXPECT_TRUE(output.isValid());
    EXPECT_EQ(nullptr, output.data());
    EXPECT_EQ(0U, output.size());
}

TEST(GrowingMemory, CollectsWhatIsWritten)
{
    MemoryOutputStream output;
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("abc", contentOf(output));
    EXPECT_EQ("1 1", writeText(output, "d"));
    EXPECT_EQ("1 2", writeText(output, std::string("\0\xff", 2)));
    EXPECT_EQ(std::string("abcd\0\xff", 6), contentOf(output));
    EXPECT_EQ(6U, output.size());
}

TEST(GrowingMemory, WriteOfNothing)
{
    const OpenStorage errors;
    MemoryOutputStream output;
    unsigned int written = 7;
    EXPECT_EQ(0, output.write(nullptr, 5, written));
    EXPECT_EQ(0U, written);
    EXPECT_EQ("0 0", writeText(output, ""));
    EXPECT_EQ(nullptr, output.data());
    EXPECT_EQ(0U, output.size());
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(GrowingMemory, ManyWrites)
{
    MemoryOutputStream output;
    for (int i = 0; i < 5; ++i)
        for (const char* text : {"level ", "12345678901234567890", "; ", "pressure low", "\n"})
            writeText(output, text);
    EXPECT_EQ(205U, output.size());
    EXPECT_EQ("level 12345678901234567890; pressure low\n"
              "level 12345678901234567890; pressure low\n"
              "level 12345678901234567890; pressure low\n"
              "level 12345678901234567890; pressure low\n"
              "level 12345678901234567890; pressure low\n",
              contentOf(output));
}

TEST(GrowingMemory, SingleBytes)
{
    MemoryOutputStream output;
    for (int i = 0; i < 50; ++i)
        for (const char* text : {"a", "b", "c"})
            writeText(output, text);
    EXPECT_EQ(150U, output.size());
    EXPECT_EQ("abcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabc"
              "abcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabcabc",
              contentOf(output));
}

TEST(GrowingMemory, OneLargeWrite)
{
    MemoryOutputStream output;
    EXPECT_EQ("1 2", writeText(output, "<<"));
    EXPECT_EQ("1 100000", writeText(output, std::string(100000, 'a')));
    EXPECT_EQ("1 2", writeText(output, ">>"));
    EXPECT_EQ(100004U, output.size());
    EXPECT_EQ("<<" + std::string(100000, 'a') + ">>", contentOf(output));
}

TEST(GrowingMemory, LargeWriteAtFirst)
{
    MemoryOutputStream output;
    EXPECT_EQ("1 65", writeText(output, std::string(65, 'a')));
    EXPECT_EQ("1 66", writeText(output, std::string(66, 'b')));
    EXPECT_EQ(std::string(65, 'a') + std::string(66, 'b'), contentOf(output));
}

TEST(GrowingMemory, FlushHasNothingToDo)
{
    MemoryOutputStream output;
    EXPECT_FALSE(output.flush(true));
    writeText(output, "ab");
    EXPECT_FALSE(output.flush(false));
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("ab", contentOf(output));
}

TEST(GrowingMemory, Clear_BeginsAnewWithTheMemoryThatThereIs)
{
    MemoryOutputStream output;
    writeText(output, std::string(1000, 'a'));
    const unsigned char* const before = output.data();
    output.clear();
    EXPECT_EQ(0U, output.size());
    EXPECT_EQ("1 1000", writeText(output, std::string(1000, 'b')));
    EXPECT_EQ(before, output.data());
    EXPECT_EQ(std::string(1000, 'b'), contentOf(output));
}

TEST(GrowingMemory, Clear_WithoutAnyMemory)
{
    MemoryOutputStream output;
    output.clear();
    EXPECT_EQ(nullptr, output.data());
    EXPECT_EQ(0U, output.size());
    EXPECT_EQ("1 1", writeText(output, "a"));
    EXPECT_EQ("a", contentOf(output));
}

TEST(FixedMemory, IsWrittenItself)
{
    Fixed fixed(5);
    EXPECT_TRUE(fixed.output.isValid());
    EXPECT_EQ(0U, fixed.output.size());
    EXPECT_EQ("1 3", writeText(fixed.output, "abc"));
    EXPECT_EQ("abc..", fixed.text());
    EXPECT_EQ(3U, fixed.output.size());
    EXPECT_EQ(fixed.block.data(), static_cast<const void*>(fixed.output.data()));
}

TEST(FixedMemory, TakesAsMuchAsThereIsRoom)
{
    const OpenStorage errors;
    Fixed fixed(5);
    EXPECT_EQ("1 2", writeText(fixed.output, "ab"));
    EXPECT_EQ("1 3", writeText(fixed.output, "cde"));
    EXPECT_EQ("abcde", fixed.text());
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(FixedMemory, LessRoom_TakesWhatThereIsAndFails)
{
    const OpenStorage errors;
    Fixed fixed(5);
    EXPECT_EQ("1 3", writeText(fixed.output, "abc"));
    EXPECT_FALSE(ErrorStorage::isError(false));
    EXPECT_EQ("-1 2", writeText(fixed.output, "defg"));
    EXPECT_END();
    EXPECT_EQ("abcde", fixed.text());
    EXPECT_EQ(5U, fixed.output.size());
    EXPECT_TRUE(fixed.output.isValid());
}

TEST(FixedMemory, LessRoom_ForAWriteOfAnySize)
{
    const OpenStorage errors;
    Fixed fixed(3);
    const std::vector<char> data = {'a', 'b', 'c'};
    unsigned int written = 0;
    EXPECT_EQ(static_cast<char>(-1), fixed.output.write(data.data(), 4294967295U, written));
    EXPECT_EQ(3U, written);
    EXPECT_END();
    EXPECT_EQ("abc", fixed.text());
}

TEST(FixedMemory, Full_EachWriteRaisesTheEnd)
{
    OpenStorage errors;
    Fixed fixed(2);
    EXPECT_EQ("1 2", writeText(fixed.output, "ab"));
    EXPECT_FULL(fixed.output);
    errors.clear();
    EXPECT_FULL(fixed.output);
    EXPECT_EQ("ab", fixed.text());
    EXPECT_EQ(2U, fixed.output.size());
    EXPECT_TRUE(fixed.output.isValid());
}

TEST(FixedMemory, Full_WriteOfNothingRaisesNothing)
{
    const OpenStorage errors;
    Fixed fixed(1);
    EXPECT_EQ("1 1", writeText(fixed.output, "a"));
    unsigned int written = 7;
    EXPECT_EQ(0, fixed.output.write(nullptr, 5, written));
    EXPECT_EQ(0U, written);
    EXPECT_EQ("0 0", writeText(fixed.output, ""));
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(FixedMemory, WithoutRoom)
{
    const OpenStorage errors;
    Fixed fixed(0);
    EXPECT_FULL(fixed.output);
    EXPECT_EQ(0U, fixed.output.size());
}

TEST(FixedMemory, Null_IsWithoutRoom)
{
    const OpenStorage errors;
    MemoryOutputStream output(nullptr, 5);
    EXPECT_FULL(output);
    EXPECT_EQ(nullptr, output.data());
    EXPECT_EQ(0U, output.size());
    output.clear();
    EXPECT_FULL(output);
}

TEST(FixedMemory, Clear_GivesTheRoomBack)
{
    const OpenStorage errors;
    Fixed fixed(3);
    writeText(fixed.output, "abc");
    EXPECT_FULL(fixed.output);
    fixed.output.clear();
    EXPECT_EQ(0U, fixed.output.size());
    EXPECT_EQ("abc", fixed.text());
    EXPECT_EQ("1 2", writeText(fixed.output, "de"));
    EXPECT_EQ("dec", fixed.text());
    EXPECT_EQ("1 1", writeText(fixed.output, "f"));
    EXPECT_EQ("def", fixed.text());
}

TEST(FixedMemory, BytesBehindTheCapacityStay)
{
    const OpenStorage errors;
    char block[] = {'1', '2', '3', '4'};
    MemoryOutputStream output(block, 2);
    EXPECT_EQ("-1 2", writeText(output, "abcd"));
    EXPECT_EQ("ab34", std::string(block, 4));
}

TEST(FixedMemory, OutlivesTheStream)
{
    std::vector<char> block(2);
    {
        MemoryOutputStream output(block.data(), 2);
        writeText(output, "ab");
    }
    EXPECT_EQ("ab", std::string(block.begin(), block.end()));
}

TEST(StandardStream, IntoGrowingMemory)
{
    const OpenStorage errors;
    MemoryOutputStream output;
    std::BinBuffer buffer(output, 4);
    std::ostream text(&buffer);
    text << "level " << 12 << ' ' << -3.5 << '\n' << std::flush;
    EXPECT_TRUE(text.good());
    EXPECT_EQ("level 12 -3.5\n", contentOf(output));
    EXPECT_FALSE(ErrorStorage::isError(false));
}

// Where plain char has no sign, a failed write passes for a success: the stream stays good then,
// and the error pending.
constexpr bool SEES_FAILURES = std::is_signed<char>::value;
constexpr auto ON_FAILURE = SEES_FAILURES ? std::ios_base::badbit : std::ios_base::goodbit;

TEST(StandardStream, IntoFixedMemory_ThatIsFull)
{
    const OpenStorage errors;
    Fixed fixed(4);
    std::BinBuffer buffer(fixed.output, 4);
    std::ostream text(&buffer);
    text << "leve" << std::flush;
    EXPECT_TRUE(text.good());
    EXPECT_FALSE(ErrorStorage::isError(false));
    text << "l" << std::flush;
    EXPECT_EQ(ON_FAILURE, text.rdstate());
    EXPECT_EQ("2", chainIds());
    EXPECT_TRUE(zel::isEndOfStream());
    EXPECT_EQ(!SEES_FAILURES, ErrorStorage::isError(true));
    EXPECT_EQ("leve", fixed.text());
}

TEST(StandardStream, IntoFixedMemory_WithRoomForAPart)
{
    const OpenStorage errors;
    Fixed fixed(6);
    std::BinBuffer buffer(fixed.output, 16);
    std::ostream text(&buffer);
    text << "level " << 12;
    EXPECT_TRUE(text.good());
    EXPECT_EQ("......", fixed.text());
    text << std::flush;
    EXPECT_EQ(ON_FAILURE, text.rdstate());
    EXPECT_EQ("2", chainIds());
    EXPECT_TRUE(zel::isEndOfStream());
    EXPECT_EQ(!SEES_FAILURES, ErrorStorage::isError(true));
    EXPECT_EQ("level ", fixed.text());
}

} // namespace
