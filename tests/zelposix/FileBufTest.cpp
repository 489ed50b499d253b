// SPDX-License-Identifier: Apache-2.0
//
// Opening and closing, what arrives in the file, reading, seeking and committing. Modes, failures
// and sequences at random have tests of their own.

#include <zelposix/FileBuf.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <istream>
#include <iterator>
#include <string>

#include <common/IBinStreamBase.h>
#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/OpenStorage.h"

namespace {

using std::ErrorStorage;
using std::ios_base;
using support::OpenStorage;

constexpr int END_OF_FILE = -1;

/// Tells which buffer is in use.
class OpenFileBuf : public zel::FileBuf
{
public:
    using FileBuf::FileBuf;
    using filebuf_base::buffer;
};

class FileBuf : public testing::Test
{
protected:
    FileBuf()
    {
        const char* const root = std::getenv("TMPDIR");
        m_folder = std::string(root == nullptr ? "/tmp" : root) + "/filebuf-XXXXXX";
        if (mkdtemp(m_folder.data()) == nullptr) std::abort();
        m_name = m_folder + "/file";
    }
    ~FileBuf() override { std::filesystem::remove_all(m_folder); }

    const char* name() const { return m_name.c_str(); }
    void give(const std::string& text) const { std::ofstream(m_name, ios_base::binary) << text; }
    std::string content() const
    {
        std::ifstream file(m_name, ios_base::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// Returns the descriptor over the file, or -1.
    int descriptor() const
    {
        for (int fd = 3; fd < 64; ++fd) {
            char target[1024] = {};
            const std::string link = "/proc/self/fd/" + std::to_string(fd);
            if (readlink(link.c_str(), target, sizeof target - 1) > 0 && m_name == target)
                return fd;
        }
        return -1;
    }
    static std::string read(zel::FileBuf& file, int size)
    {
        std::string text(static_cast<std::size_t>(size), '\0');
        text.resize(static_cast<std::size_t>(file.sgetn(text.data(), size)));
        return text;
    }

    OpenStorage m_errors;
    std::string m_folder;
    std::string m_name;
};

TEST_F(FileBuf, Open_AndClose)
{
    zel::FileBuf file;
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(&file, file.open(name(), ios_base::out));
    EXPECT_TRUE(file.is_open());
    EXPECT_NE(-1, descriptor());
    EXPECT_EQ(3, file.sputn("abc", 3));
    EXPECT_EQ(&file, file.close());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(-1, descriptor());
    EXPECT_EQ("abc", content());
    EXPECT_FALSE(ErrorStorage::isError(true));
}

TEST_F(FileBuf, Open_WhileOpen_ChangesAndRaisesNothing)
{
    const std::string other = m_folder + "/other";
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    file.sputn("abc", 3);
    EXPECT_EQ(nullptr, file.open(other.c_str(), ios_base::out));
    EXPECT_EQ(nullptr, file.open(name(), ios_base::trunc));
    EXPECT_FALSE(ErrorStorage::isError(true));
    EXPECT_FALSE(std::filesystem::exists(other));
    file.sputn("def", 3);
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ("abcdef", content());
}

TEST_F(FileBuf, Open_AfterClose_KeepsTheBuffer)
{
    OpenFileBuf file(5);
    EXPECT_EQ(nullptr, file.buffer);
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    const char* const buffer = file.buffer;
    EXPECT_NE(nullptr, buffer);
    file.sputn("abcdefg", 7);
    ASSERT_NE(nullptr, file.close());
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
    EXPECT_EQ(buffer, file.buffer);
    EXPECT_EQ("abcdefg", read(file, 9));
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ(END_OF_FILE, file.sgetc());
}

TEST_F(FileBuf, UserBuffer_IsFilledAndKept)
{
    char buffer[] = "......";
    OpenFileBuf file(4, buffer);
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    file.sputn("abc", 3);
    EXPECT_STREQ("abc...", buffer);
    EXPECT_EQ("", content());
    ASSERT_NE(nullptr, file.close());
    give("123456");
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
    EXPECT_EQ('1', file.sgetc());
    EXPECT_STREQ("1234..", buffer);
    EXPECT_EQ(buffer, file.buffer);
}

TEST_F(FileBuf, Close_Twice_RaisesNothing)
{
    zel::FileBuf file;
    EXPECT_EQ(nullptr, file.close());
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ(nullptr, file.close());
    EXPECT_FALSE(ErrorStorage::isError(true));
    EXPECT_EQ(END_OF_FILE, file.sputc('x')) << "and nothing is taken any more";
    EXPECT_EQ(0, file.sputn("xyz", 3));
}

TEST_F(FileBuf, Close_ForgetsWhatWasRead)
{
    give("abc");
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
    EXPECT_EQ('a', file.sbumpc());
    ASSERT_NE(nullptr, file.close());
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    ASSERT_NE(nullptr, file.open(name(), ios_base::in | ios_base::out));
    EXPECT_EQ(1, file.sputn("X", 1));
    ASSERT_NE(nullptr, file.close());
    EXPECT_EQ("Xbc", content());
}

TEST_F(FileBuf, Destructor_WritesAndCloses)
{
    {
        zel::FileBuf file;
        ASSERT_NE(nullptr, file.open(name(), ios_base::out));
        file.sputn("pending", 7);
        EXPECT_EQ("", content());
    }
    EXPECT_EQ("pending", content());
    EXPECT_EQ(-1, descriptor());
}

TEST_F(FileBuf, Content_AnyBufferSize_IsByteForByte)
{
    const std::string bytes("a\r\n\0\xFF\x80\x1A\nend", 11);
    for (const unsigned int size : {0U, 1U, 2U, 3U, 4096U}) {
        SCOPED_TRACE(size);
        zel::FileBuf file(size);
        ASSERT_NE(nullptr, file.open(name(), ios_base::out));
        EXPECT_EQ(4, file.sputn("a\r\n", 4));
        EXPECT_NE(END_OF_FILE, file.sputc('\xFF'));
        EXPECT_EQ(6, file.sputn("\x80\x1A\nend", 6));
        ASSERT_NE(nullptr, file.close());
        EXPECT_EQ(bytes, content());
        ASSERT_NE(nullptr, file.open(name(), ios_base::in));
        EXPECT_EQ(bytes, read(file, 20));
        EXPECT_EQ(END_OF_FILE, file.sgetc());
    }
}

TEST_F(FileBuf, SizeOfOne_WritesEachCharacterByItself)
{
    zel::FileBuf file(1);
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    EXPECT_EQ('0', file.sputc('a'));
    EXPECT_EQ("a", content());
    EXPECT_EQ(2, file.sputn("bc", 2));
    EXPECT_EQ("abc", content());
}

TEST_F(FileBuf, SizeOfZero_Is2048Bytes)
{
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    EXPECT_EQ(2047, file.sputn(std::string(2047, 'x').data(), 2047));
    EXPECT_EQ("", content());
    EXPECT_EQ('0', file.sputc('x'));
    EXPECT_EQ(std::string(2048, 'x'), content());
}

TEST_F(FileBuf, Reading_CharactersLinesAndBlocks)
{
    give("first\n\xFFx\nblock of bytes");
    zel::FileBuf file(3);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
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

TEST_F(FileBuf, Reading_GoesOnWhenTheFileGrows)
{
    give("ab");
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
    EXPECT_EQ("ab", read(file, 9));
    std::ofstream(m_name, ios_base::app) << "cd";
    EXPECT_EQ("cd", read(file, 9));
}

TEST_F(FileBuf, Seek_FromAllPlaces)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
    EXPECT_EQ(7, file.pubseekoff(7, ios_base::beg));
    EXPECT_EQ('7', file.sbumpc());
    EXPECT_EQ(3, file.pubseekoff(-5, ios_base::cur));
    EXPECT_EQ('3', file.sgetc());
    EXPECT_EQ(8, file.pubseekoff(-2, ios_base::end));
    EXPECT_EQ("89", read(file, 9));
    EXPECT_EQ(2, file.pubseekpos(2));
    EXPECT_EQ('2', file.sgetc());
}

TEST_F(FileBuf, Tell_WhileReading_CountsWhatWasTaken)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
    EXPECT_EQ(0, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("01234", read(file, 5));
    EXPECT_EQ(5, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("56789", read(file, 9));
    EXPECT_EQ(10, file.pubseekoff(0, ios_base::cur));
}

TEST_F(FileBuf, Tell_WhileWriting_WritesWhatIsPending)
{
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    file.sputn("abcdef", 6);
    EXPECT_EQ("abcd", content());
    EXPECT_EQ(6, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("abcdef", content());
    file.sputn("gh", 2);
    EXPECT_EQ(1, file.pubseekpos(1));
    file.sputn("B", 1);
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ("aBcdefgh", content());
}

TEST_F(FileBuf, Seek_PastTheEnd_LeavesAHole)
{
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    file.sputn("ab", 2);
    EXPECT_EQ(5, file.pubseekoff(3, ios_base::end));
    EXPECT_EQ("ab", content());
    file.sputn("c", 1);
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ(std::string("ab\0\0\0c", 6), content());
}

TEST_F(FileBuf, Seek_BeforeTheBeginning_FailsAndLosesNothing)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in));
    EXPECT_EQ("01", read(file, 2));
    EXPECT_EQ(-1, file.pubseekoff(-3, ios_base::cur));
    EXPECT_EQ("1 0", support::chainIds());
    EXPECT_STREQ("lseek failed: Invalid argument (errno 22)",
                 ErrorStorage::get()->m_cause->reason());
    EXPECT_EQ("23456789", read(file, 9));
}

TEST_F(FileBuf, Seek_Above2GiB)
{
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in | ios_base::out | ios_base::trunc));
    EXPECT_EQ(5'000'000'000, file.pubseekoff(5'000'000'000, ios_base::beg));
    EXPECT_EQ(6, file.sputn("beyond", 6));
    EXPECT_EQ(5'000'000'006, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ(4'999'999'999, file.pubseekoff(-7, ios_base::end));
    EXPECT_EQ(std::string("\0beyond", 7), read(file, 9));
    EXPECT_EQ(&file, file.close());
    ASSERT_NE(nullptr, file.open(name(), ios_base::in | ios_base::ate));
    EXPECT_EQ(5'000'000'006, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ(5'000'000'000, file.pubseekpos(5'000'000'000));
    EXPECT_EQ("beyond", read(file, 9));
}

TEST_F(FileBuf, Change_BetweenReadingAndWriting_BySeekAlone)
{
    give("0123456789");
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in | ios_base::out));
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

TEST_F(FileBuf, Commit_WritesWhatIsPendingAndGoesOn)
{
    zel::FileBuf file;
    EXPECT_FALSE(file.commit());
    EXPECT_FALSE(ErrorStorage::isError(true));
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    EXPECT_TRUE(file.commit());
    file.sputn("abc", 3);
    EXPECT_TRUE(file.commit());
    EXPECT_EQ("abc", content());
    file.sputn("def", 3);
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ("abcdef", content());
}

TEST_F(FileBuf, Descriptor_IsClosedInProgramsStarted)
{
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    EXPECT_EQ(FD_CLOEXEC, fcntl(descriptor(), F_GETFD));
}

TEST_F(FileBuf, Pipe_SeekIsUnsupportedAndLosesNothing)
{
    ASSERT_EQ(0, mkfifo(name(), 0600));
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(name(), ios_base::in | ios_base::out));
    EXPECT_EQ(6, file.sputn("abcdef", 6));
    EXPECT_EQ(-1, file.pubseekoff(0, ios_base::cur));
    EXPECT_TRUE(ErrorStorage::equals(std::IBinStreamBase::StreamError));
    EXPECT_EQ("3 0", support::chainIds());
    EXPECT_STREQ("lseek failed: Illegal seek (errno 29)", ErrorStorage::get()->m_cause->reason());
    EXPECT_TRUE(ErrorStorage::get()->m_cause->equals(zel::PosixError));
    zel::FileBuf reader(4);
    ASSERT_NE(nullptr, reader.open(name(), ios_base::in));
    ASSERT_NE(nullptr, file.close()); // so that there is an end
    EXPECT_EQ("ab", read(reader, 2));
    EXPECT_EQ(-1, reader.pubseekpos(0));
    EXPECT_EQ("cdef", read(reader, 9));
}

} // namespace
