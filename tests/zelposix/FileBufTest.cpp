// SPDX-License-Identifier: Apache-2.0
//
// Opening and closing, what arrives in the file, and committing. Seeking, modes, failures and
// sequences at random have tests of their own.

#include <zelposix/FileBuf.h>

#include <filesystem>
#include <string>

#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>

#include "support/FileFixture.h"

namespace {

using std::ErrorStorage;
using std::ios_base;
using support::END_OF_FILE;

/// Tells which buffer is in use.
class OpenFileBuf : public zel::FileBuf
{
public:
    using FileBuf::closeFile;
    using FileBuf::FileBuf;
    using filebuf_base::buffer;
};

class FileBuf : public support::FileFixture
{};

TEST_F(FileBuf, Open_AndClose)
{
    zel::FileBuf file;
    EXPECT_FALSE(file.is_open());
    EXPECT_TRUE(file.open(name(), ios_base::out) == &file);
    EXPECT_TRUE(file.is_open());
    EXPECT_NE(-1, descriptorOf(m_name));
    EXPECT_EQ(3, file.sputn("abc", 3));
    EXPECT_TRUE(file.close() == &file);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(-1, descriptorOf(m_name));
    EXPECT_EQ("abc", content());
    EXPECT_FALSE(ErrorStorage::isError(true));
}

TEST_F(FileBuf, CloseFile_DropsWhatIsPending)
{
    OpenFileBuf file;
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    file.sputn("abc", 3);
    EXPECT_EQ(0, file.closeFile());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(-1, descriptorOf(m_name));
    EXPECT_EQ("", content());
    EXPECT_EQ(END_OF_FILE, file.sputc('d'));
}

TEST_F(FileBuf, Open_WhileOpen_ChangesAndRaisesNothing)
{
    const std::string other = m_folder.pathOf("other");
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    file.sputn("abc", 3);
    EXPECT_TRUE(file.open(other.c_str(), ios_base::out) == nullptr);
    EXPECT_TRUE(file.open(name(), ios_base::trunc) == nullptr);
    EXPECT_FALSE(ErrorStorage::isError(true));
    EXPECT_FALSE(std::filesystem::exists(other));
    file.sputn("def", 3);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("abcdef", content());
}

TEST_F(FileBuf, Open_AfterClose_KeepsTheBuffer)
{
    OpenFileBuf file(5);
    EXPECT_EQ(nullptr, file.buffer);
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    const char* const buffer = file.buffer;
    EXPECT_NE(nullptr, buffer);
    file.sputn("abcdefg", 7);
    ASSERT_TRUE(file.close() != nullptr);
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    EXPECT_EQ(buffer, file.buffer);
    EXPECT_EQ("abcdefg", read(file, 9));
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ(END_OF_FILE, file.sgetc());
}

TEST_F(FileBuf, UserBuffer_IsFilledAndKept)
{
    char buffer[] = "......";
    OpenFileBuf file(4, buffer);
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    file.sputn("abc", 3);
    EXPECT_STREQ("abc...", buffer);
    EXPECT_EQ("", content());
    ASSERT_TRUE(file.close() != nullptr);
    give("123456");
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    EXPECT_EQ('1', file.sgetc());
    EXPECT_STREQ("1234..", buffer);
    EXPECT_EQ(buffer, file.buffer);
}

TEST_F(FileBuf, Close_Twice_RaisesNothing)
{
    zel::FileBuf file;
    EXPECT_TRUE(file.close() == nullptr);
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_TRUE(file.close() == nullptr);
    EXPECT_FALSE(ErrorStorage::isError(true));
    EXPECT_EQ(END_OF_FILE, file.sputc('x')) << "and nothing is taken any more";
    EXPECT_EQ(0, file.sputn("xyz", 3));
}

TEST_F(FileBuf, Close_ForgetsWhatWasRead)
{
    give("abc");
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
    EXPECT_EQ('a', file.sbumpc());
    ASSERT_TRUE(file.close() != nullptr);
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    ASSERT_TRUE(file.open(name(), ios_base::in | ios_base::out) != nullptr);
    EXPECT_EQ(1, file.sputn("X", 1));
    ASSERT_TRUE(file.close() != nullptr);
    EXPECT_EQ("Xbc", content());
}

TEST_F(FileBuf, Destructor_WritesAndCloses)
{
    {
        zel::FileBuf file;
        ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
        file.sputn("pending", 7);
        EXPECT_EQ("", content());
    }
    EXPECT_EQ("pending", content());
    EXPECT_EQ(-1, descriptorOf(m_name));
}

TEST_F(FileBuf, Content_AnyBufferSize_IsByteForByte)
{
    const std::string bytes("a\r\n\0\xFF\x80\x1A\nend", 11);
    for (const unsigned int size : {0U, 1U, 2U, 3U, 4096U}) {
        SCOPED_TRACE(size);
        zel::FileBuf file(size);
        ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
        EXPECT_EQ(4, file.sputn("a\r\n", 4));
        EXPECT_NE(END_OF_FILE, file.sputc('\xFF'));
        EXPECT_EQ(6, file.sputn("\x80\x1A\nend", 6));
        ASSERT_TRUE(file.close() != nullptr);
        EXPECT_EQ(bytes, content());
        ASSERT_TRUE(file.open(name(), ios_base::in) != nullptr);
        EXPECT_EQ(bytes, read(file, 20));
        EXPECT_EQ(END_OF_FILE, file.sgetc());
    }
}

TEST_F(FileBuf, SizeOfOne_WritesEachCharacterByItself)
{
    zel::FileBuf file(1);
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    EXPECT_EQ('0', file.sputc('a'));
    EXPECT_EQ("a", content());
    EXPECT_EQ(2, file.sputn("bc", 2));
    EXPECT_EQ("abc", content());
}

TEST_F(FileBuf, SizeOfZero_Is2048Bytes)
{
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    EXPECT_EQ(2047, file.sputn(std::string(2047, 'x').data(), 2047));
    EXPECT_EQ("", content());
    EXPECT_EQ('0', file.sputc('x'));
    EXPECT_EQ(std::string(2048, 'x'), content());
}

TEST_F(FileBuf, Commit_WritesWhatIsPendingAndGoesOn)
{
    zel::FileBuf file;
    EXPECT_FALSE(file.commit());
    EXPECT_FALSE(ErrorStorage::isError(true));
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    EXPECT_TRUE(file.commit());
    file.sputn("abc", 3);
    EXPECT_TRUE(file.commit());
    EXPECT_EQ("abc", content());
    file.sputn("def", 3);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("abcdef", content());
}

TEST_F(FileBuf, Descriptor_IsClosedInProgramsStarted)
{
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    EXPECT_EQ(FD_CLOEXEC, fcntl(descriptorOf(m_name), F_GETFD));
}

} // namespace
