// SPDX-License-Identifier: Apache-2.0
//
// Both ways at once, and the standard's streams over the buffer.

#include <common/BinBuffer.h>

#include <istream>
#include <ostream>
#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedDevice.h"

namespace {

using std::ErrorStorage;
using support::DeviceInput;
using support::DeviceOutput;
using support::END_OF_STREAM;
using support::OpenBinBuffer;
using support::OpenStorage;

constexpr int END_OF_FILE = std::char_traits<char>::eof();

/// Whether an error is stored that nobody acknowledged.
bool isPending()
{
    return ErrorStorage::isError(true);
}

TEST(BinBuffer, BothWays_DoNotDisturbEachOther)
{
    DeviceInput input;
    DeviceOutput output;
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
    DeviceInput input;
    DeviceOutput output;
    OpenBinBuffer buffer(&input, 4, &output, 4);
    EXPECT_EQ(std::streampos(-1), buffer.pubseekoff(0, std::ios_base::cur));
    EXPECT_EQ(std::streampos(-1), buffer.pubseekpos(0));
}

TEST(BinBufferStream, Output_IsFormatted)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    std::ostream stream(&buffer);
    stream << "level " << 42 << ' ' << true << '\n' << std::flush;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("level 42 1\n", output.taken());
    EXPECT_EQ("write(level 42) write( 1\n)", output.takeCalls());
}

TEST(BinBufferStream, Output_RefusedCharacterIsBad)
{
    DeviceOutput output;
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
    DeviceOutput output(16);
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
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 0);
    std::ostream stream(&buffer);
    stream << 7;
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
}

TEST(BinBufferStream, Output_CannotTell)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    std::ostream stream(&buffer);
    EXPECT_EQ(std::streampos(-1), stream.tellp());
    stream.seekp(0);
    EXPECT_EQ(std::ios_base::failbit, stream.rdstate());
}

TEST(BinBufferStream, Input_IsFormatted)
{
    const OpenStorage storage;
    DeviceInput input;
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
    DeviceInput input;
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
    DeviceInput input;
    OpenBinBuffer buffer(input, 4);
    std::istream stream(&buffer);
    input.fail(0);
    EXPECT_EQ(END_OF_FILE, stream.get());
    EXPECT_EQ(std::ios_base::eofbit | std::ios_base::failbit, stream.rdstate());
    EXPECT_FALSE(isPending());
}

} // namespace
