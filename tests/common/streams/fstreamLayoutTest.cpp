// SPDX-License-Identifier: Apache-2.0
//
// What code that was built elsewhere relies on: the slots of a file buffer and its fields.

#include <common/streams/fstream.h>

#include <cstddef>

#include <gtest/gtest.h>

#include "support/ScriptedFile.h"
#include "support/SlotCall.h"

namespace {

using support::BufferedFile;
using support::ScriptedFile;
using support::SlotCall;

constexpr int END_OF_FILE = std::char_traits<char>::eof();
constexpr auto IN = std::ios_base::in;
constexpr auto OUT = std::ios_base::out;
constexpr auto CUR = std::ios_base::cur;

/// The table is the file buffer's, however the object was made.
const std::filebuf_base* base(const ScriptedFile& file)
{
    return &file;
}

TEST(FilebufSlots, TransferPrimitives)
{
    BufferedFile file(IN | OUT, 4);
    file.give("ab");
    int count = 0;
    unsigned int written = 0;
    EXPECT_EQ(
        0, (SlotCall<int(char*, unsigned int, int*)>::of(base(file), 14, file.buffer, 4, &count)));
    EXPECT_EQ(2, count);
    EXPECT_EQ(0, (SlotCall<int(const char*, unsigned int, unsigned int*)>::of(base(file), 15, "abc",
                                                                              3, &written)));
    EXPECT_EQ(3U, written);
    EXPECT_EQ("read(4) write(abc)", file.takeCalls());
}

TEST(FilebufSlots, OtherPrimitives)
{
    BufferedFile file(IN | OUT, 4);
    std::streampos position(0);
    EXPECT_EQ(0, (SlotCall<int(long long, std::ios_base::seekdir, std::streampos*)>::of(
                     base(file), 16, 0x180000001LL, CUR, &position)));
    EXPECT_EQ(std::streampos(100), position);
    EXPECT_EQ(0, SlotCall<int()>::of(base(file), 17));
    EXPECT_EQ(0, SlotCall<int()>::of(base(file), 18));
    EXPECT_EQ("seek(6442450945,cur) flush() close()", file.takeCalls());
}

TEST(FilebufSlots, ReplacedReads)
{
    BufferedFile file(IN, 4);
    file.give("ab");
    EXPECT_EQ('a', SlotCall<int()>::of(base(file), 9));
    EXPECT_EQ("|ab", file.getArea());
    EXPECT_EQ('a', SlotCall<int()>::of(base(file), 10));
    EXPECT_EQ("a|b", file.getArea());
}

TEST(FilebufSlots, ReplacedWrites)
{
    BufferedFile file(OUT, 4);
    EXPECT_EQ('0', SlotCall<int(int)>::of(base(file), 13, 'a'));
    EXPECT_EQ("a+2", file.putArea());
    EXPECT_EQ(0, SlotCall<int()>::of(base(file), 6));
    EXPECT_EQ("write(a) flush()", file.takeCalls());
    EXPECT_EQ('0', SlotCall<int(int)>::of(base(file), 13, END_OF_FILE));
    EXPECT_EQ("+3", file.putArea());
}

TEST(FilebufSlots, ReplacedSeeks)
{
    using SeekOff = std::streampos(std::streamoff, std::ios_base::seekdir, std::ios_base::openmode);
    using SeekPos = std::streampos(std::streampos, std::ios_base::openmode);
    BufferedFile file(IN, 4);
    EXPECT_EQ(std::streampos(100), SlotCall<SeekOff>::of(base(file), 4, -3, CUR, IN));
    EXPECT_EQ(std::streampos(100), SlotCall<SeekPos>::of(base(file), 5, 7, IN));
    EXPECT_EQ("seek(-3,cur) seek(7,beg)", file.takeCalls());
}

/// Returns how far `field` is behind the start of the file buffer.
template <typename Field>
std::size_t offset(const ScriptedFile& file, const Field& field)
{
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&field) -
                                    reinterpret_cast<const char*>(base(file)));
}

TEST(FilebufFields, OrderBehindTheStreambuf)
{
    constexpr std::size_t START = sizeof(std::streambuf);
    constexpr std::size_t POINTER = sizeof(void*);
    const ScriptedFile file(IN);
    EXPECT_EQ(START, offset(file, file.buffer));
    EXPECT_EQ(START + POINTER, offset(file, file.bufferSize));
    EXPECT_EQ(START + POINTER + 4, offset(file, file.mode));
    EXPECT_EQ(START + POINTER + 8, offset(file, file.userBuffer));
    EXPECT_EQ(START + POINTER + 9, offset(file, file.reading));
    EXPECT_EQ(START + POINTER + 10, offset(file, file.writing));
}

static_assert(sizeof(std::streambuf) == 8 * sizeof(void*));
static_assert(sizeof(std::ios_base::openmode) == 4);

} // namespace
