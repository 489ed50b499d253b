// SPDX-License-Identifier: Apache-2.0
//
// Reading, telling and seeking, and the change from reading to writing and back.

#include <zelposix/FileBuf.h>

#include <fstream>
#include <istream>
#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/FileFixture.h"

namespace {

using std::ErrorStorage;
using std::ios_base;
using support::END_OF_FILE;

class FileBufSeek : public support::FileFixture
{};

TEST_F(FileBufSeek, Reading_CharactersLinesAndBlocks)
{
    give("first\n\xFFx\nblock of bytes");
    zel::FileBuf file(3);
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    std::istream stream(&file);
    std::string line;
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_EQ("first", line);
    EXPECT_EQ(0xFF, file.sgetc());
    EXPECT_EQ(0xFF, file.sbumpc());
    EXPECT_EQ('\n', file.snextc());
    EXPECT_EQ("\nblock", read(file, 6));
    EXPECT_EQ(" of bytes", read(file, 100));
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_FALSE(ErrorStorage::isError(true)) << "the end is no failure";
}

TEST_F(FileBufSeek, Reading_GoesOnWhenTheFileGrows)
{
    give("ab");
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    EXPECT_EQ("ab", read(file, 9));
    std::ofstream(m_name, ios_base::app) << "cd";
    EXPECT_EQ("cd", read(file, 9));
}

TEST_F(FileBufSeek, Seek_FromAllPlaces)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    EXPECT_EQ(7, file.pubseekoff(7, ios_base::beg));
    EXPECT_EQ('7', file.sbumpc());
    EXPECT_EQ(3, file.pubseekoff(-5, ios_base::cur));
    EXPECT_EQ('3', file.sgetc());
    EXPECT_EQ(8, file.pubseekoff(-2, ios_base::end));
    EXPECT_EQ("89", read(file, 9));
    EXPECT_EQ(2, file.pubseekpos(2));
    EXPECT_EQ('2', file.sgetc());
}

TEST_F(FileBufSeek, Tell_WhileReading_CountsWhatWasTaken)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    EXPECT_EQ(0, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("01234", read(file, 5));
    EXPECT_EQ(5, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("56789", read(file, 9));
    EXPECT_EQ(10, file.pubseekoff(0, ios_base::cur));
}

TEST_F(FileBufSeek, Tell_WhileWriting_WritesWhatIsPending)
{
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    file.sputn("abcdef", 6);
    EXPECT_EQ("abcd", content());
    EXPECT_EQ(6, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("abcdef", content());
    file.sputn("gh", 2);
    EXPECT_EQ(1, file.pubseekpos(1));
    file.sputn("B", 1);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("aBcdefgh", content());
}

TEST_F(FileBufSeek, Seek_PastTheEnd_LeavesAHole)
{
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    file.sputn("ab", 2);
    EXPECT_EQ(5, file.pubseekoff(3, ios_base::end));
    EXPECT_EQ("ab", content());
    file.sputn("c", 1);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ(std::string("ab\0\0\0c", 6), content());
}

TEST_F(FileBufSeek, Seek_BeforeTheBeginning_FailsAndLosesNothing)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    EXPECT_EQ("01", read(file, 2));
    EXPECT_EQ(-1, file.pubseekoff(-3, ios_base::cur));
    EXPECT_EQ("1 lseek failed: Invalid argument (errno 22)", takeError());
    EXPECT_EQ("23456789", read(file, 9));
}

TEST_F(FileBufSeek, Seek_Above2GiB)
{
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::in | ios_base::out | ios_base::trunc) != nullptr);
    EXPECT_EQ(5'000'000'000, file.pubseekoff(5'000'000'000, ios_base::beg));
    EXPECT_EQ(6, file.sputn("beyond", 6));
    EXPECT_EQ(5'000'000'006, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ(4'999'999'999, file.pubseekoff(-7, ios_base::end));
    EXPECT_EQ(std::string("\0beyond", 7), read(file, 9));
    EXPECT_TRUE(file.close() == &file);
    ASSERT_TRUE(file.open(name(), ios_base::in | ios_base::ate) != nullptr);
    EXPECT_EQ(5'000'000'006, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ(5'000'000'000, file.pubseekpos(5'000'000'000));
    EXPECT_EQ("beyond", read(file, 9));
}

TEST_F(FileBufSeek, Change_BetweenReadingAndWriting_BySeekAlone)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::in | ios_base::out) != nullptr);
    EXPECT_EQ("01", read(file, 2));
    EXPECT_EQ(END_OF_FILE, file.sputc('x'));
    EXPECT_EQ(0, file.sputn("xyz", 3));
    EXPECT_EQ(2, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ(3, file.sputn("abc", 3));
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ(END_OF_FILE, file.sgetc()) << "a sync is no seek";
    EXPECT_EQ(5, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("56789", read(file, 9));
    EXPECT_EQ(END_OF_FILE, file.sputc('x')) << "at the end, too";
    EXPECT_EQ("01abc56789", content());
}

TEST_F(FileBufSeek, Pipe_SeekIsUnsupportedAndLosesNothing)
{
    ASSERT_EQ(0, mkfifo(name(), 0600));
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), ios_base::in | ios_base::out) != nullptr);
    EXPECT_EQ(6, file.sputn("abcdef", 6));
    EXPECT_EQ(-1, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("3 lseek failed: Illegal seek (errno 29)", takeError());
    zel::FileBuf reader(4);
    ASSERT_TRUE(reader.open(name(), ios_base::in) != nullptr);
    ASSERT_TRUE(file.close() != nullptr); // so that there is an end
    EXPECT_EQ("ab", read(reader, 2));
    EXPECT_EQ(-1, reader.pubseekpos(0));
    EXPECT_EQ("cdef", read(reader, 9));
}

} // namespace
