// SPDX-License-Identifier: Apache-2.0
//
// The bytes are in heap blocks of exactly their number, so that the sanitizers see each access
// outside.

#include <zelposix/MemoryInputStream.h>

#include <istream>
#include <string>
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
using support::readText;
using zel::isEndOfStream;
using zel::MemoryInputStream;

/// A stream over bytes of its own.
struct Stream
{
    explicit Stream(const std::string& text)
        : bytes(text.begin(), text.end()),
          input(bytes.data(), static_cast<unsigned int>(bytes.size()))
    {}

    const std::vector<char> bytes;
    MemoryInputStream input;
};

#define EXPECT_END(input)                                                                          \
    EXPECT_EQ("-1 ", readText(input, 1));                                                          \
    EXPECT_TRUE(ErrorStorage::equals(std::IBinStreamBase::StreamError));                           \
    EXPECT_EQ("2", chainIds());                                                                    \
    EXPECT_TRUE(ErrorStorage::isError(true));                                                      \
    EXPECT_TRUE(isEndOfStream())

TEST(MemoryInputStream, IsValid)
{
    const Stream stream("abc");
    EXPECT_TRUE(stream.input.isValid());
    EXPECT_EQ(3U, stream.input.left());
    EXPECT_TRUE(MemoryInputStream(nullptr, 0).isValid());
}

TEST(MemoryInputStream, ReadsInParts)
{
    const OpenStorage errors;
    Stream stream("abcdef");
    EXPECT_EQ("1 ab", readText(stream.input, 2));
    EXPECT_EQ(4U, stream.input.left());
    EXPECT_EQ("1 c", readText(stream.input, 1));
    EXPECT_EQ(3U, stream.input.left());
    EXPECT_EQ("1 def", readText(stream.input, 3));
    EXPECT_EQ(0U, stream.input.left());
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(MemoryInputStream, ReadsAllAtOnce)
{
    const OpenStorage errors;
    Stream stream("abc");
    EXPECT_EQ("1 abc", readText(stream.input, 3));
    EXPECT_EQ(0U, stream.input.left());
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(MemoryInputStream, ReadOfMore_GivesWhatIsLeft)
{
    const OpenStorage errors;
    Stream stream("abc");
    EXPECT_EQ("1 abc", readText(stream.input, 9));
    EXPECT_EQ(0U, stream.input.left());
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(MemoryInputStream, ReadOfAnySize_TouchesNoMoreThanItGives)
{
    Stream stream("abc");
    std::vector<char> data(3);
    unsigned int got = 0;
    EXPECT_EQ(1, stream.input.read(data.data(), 4294967295U, got));
    EXPECT_EQ(3U, got);
    EXPECT_EQ("abc", std::string(data.begin(), data.end()));
}

TEST(MemoryInputStream, End_IsRaisedByEachFurtherRead)
{
    OpenStorage errors;
    Stream stream("ab");
    EXPECT_EQ("1 ab", readText(stream.input, 2));
    EXPECT_FALSE(isEndOfStream());
    EXPECT_END(stream.input);
    errors.clear();
    EXPECT_END(stream.input);
    EXPECT_TRUE(stream.input.isValid());
    EXPECT_EQ(0U, stream.input.left());
}

TEST(MemoryInputStream, End_WritesNothingToTheReader)
{
    const OpenStorage errors;
    Stream stream("");
    char data[2] = {'x', 'y'};
    unsigned int got = 7;
    EXPECT_EQ(static_cast<char>(-1), stream.input.read(data, 2, got));
    EXPECT_EQ(0U, got);
    EXPECT_EQ("xy", std::string(data, 2));
}

TEST(MemoryInputStream, NoBytes_AreAtTheirEnd)
{
    const OpenStorage errors;
    const char byte = 'a';
    MemoryInputStream input(&byte, 0);
    EXPECT_EQ(0U, input.left());
    EXPECT_END(input);
}

TEST(MemoryInputStream, NullBytes_AreNone)
{
    const OpenStorage errors;
    MemoryInputStream input(nullptr, 5);
    EXPECT_EQ(0U, input.left());
    EXPECT_END(input);
    MemoryInputStream empty(nullptr, 0);
    EXPECT_END(empty);
}

TEST(MemoryInputStream, ReadOfNothing)
{
    const OpenStorage errors;
    Stream stream("abc");
    unsigned int got = 7;
    EXPECT_EQ(0, stream.input.read(nullptr, 2, got));
    EXPECT_EQ(0U, got);
    EXPECT_EQ("0 ", readText(stream.input, 0));
    EXPECT_EQ(3U, stream.input.left());
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(MemoryInputStream, ReadOfNothing_AtTheEndRaisesNothing)
{
    const OpenStorage errors;
    MemoryInputStream input(nullptr, 0);
    unsigned int got = 7;
    EXPECT_EQ(0, input.read(nullptr, 2, got));
    EXPECT_EQ("0 ", readText(input, 0));
    EXPECT_FALSE(ErrorStorage::isError(false));
}

TEST(MemoryInputStream, BytesOfAnyValue)
{
    Stream stream(std::string("\0\x7f\x80\xff\n\r\0", 7));
    EXPECT_EQ(std::string("1 \0\x7f\x80\xff\n", 7), readText(stream.input, 5));
    EXPECT_EQ(std::string("1 \r\0", 4), readText(stream.input, 2));
}

// There is no buffer: bytes that change are read as they are then.
TEST(MemoryInputStream, ReadsTheMemoryItself)
{
    char bytes[] = {'a', 'b', 'c'};
    MemoryInputStream input(bytes, 3);
    EXPECT_EQ("1 a", readText(input, 1));
    bytes[2] = 'd';
    EXPECT_EQ("1 bd", readText(input, 2));
}

TEST(MemoryInputStream, ThroughAStandardStream)
{
    const OpenStorage errors;
    Stream stream("12 -7 pump\nlast");
    std::BinBuffer buffer(stream.input, 4);
    std::istream text(&buffer);
    int first = 0;
    int second = 0;
    std::string word;
    std::string last;
    text >> first >> second >> word >> last;
    EXPECT_EQ(12, first);
    EXPECT_EQ(-7, second);
    EXPECT_EQ("pump", word);
    EXPECT_EQ("last", last);
    EXPECT_TRUE(text.eof());
    EXPECT_TRUE(isEndOfStream());
    EXPECT_FALSE(ErrorStorage::isError(true));
}

} // namespace
