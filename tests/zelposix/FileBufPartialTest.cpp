// SPDX-License-Identifier: Apache-2.0
//
// Writes that fail or stop on their way: no byte is lost silently or written twice.

#include <zelposix/FileBuf.h>

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/FileFixture.h"
#include "support/FileSizeLimit.h"

namespace {

using std::ios_base;
using support::END_OF_FILE;
using support::FILE_TOO_LARGE;
using support::FULL_DEVICE;
using support::limitFiles;
using support::NO_SPACE;

class FileBufPartial : public support::FileFixture
{
protected:
    /// Puts the file in place of the full device, beneath the buffer.
    void repair() const
    {
        const support::Descriptor file(::open(name(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        if (dup2(file, descriptorOf(FULL_DEVICE)) == -1) std::abort();
    }
};

TEST_F(FileBufPartial, Pending_GoesOutOnceWhenTheDeviceWorksAgain)
{
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(FULL_DEVICE, ios_base::out) != nullptr);
    EXPECT_EQ(3, file.sputn("abcdef", 6));
    EXPECT_EQ(NO_SPACE, takeError());
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ(-1, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ(-1, file.pubseekpos(0));
    EXPECT_EQ(END_OF_FILE, file.sputc('d'));
    m_errors.clear();
    repair();
    EXPECT_EQ(3, file.sputn("def", 3));
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("abcdef", content());
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("abcdef", content());
    EXPECT_EQ("", takeError());
}

TEST_F(FileBufPartial, Pending_GoesOutOnce_CharacterByCharacter)
{
    zel::FileBuf file(1);
    ASSERT_TRUE(file.open(FULL_DEVICE, ios_base::out) != nullptr);
    EXPECT_EQ(END_OF_FILE, file.sputc('a'));
    EXPECT_EQ(0, file.pubsync()) << "nothing was taken";
    m_errors.clear();
    repair();
    EXPECT_EQ(2, file.sputn("ab", 2));
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("ab", content());
}

TEST_F(FileBufPartial, Write_OfASync_GoesOnFromThere)
{
    runSilently([&] {
        zel::FileBuf file(8);
        ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
        limitFiles(5);
        EXPECT_EQ(7, file.sputn("abcdefg", 7));
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ(FILE_TOO_LARGE, takeError());
        EXPECT_EQ("abcde", content());
        limitFiles(6);
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ("abcdef", content());
        m_errors.clear();
        limitFiles(100);
        EXPECT_EQ(8, file.pubseekoff(1, ios_base::cur));
        EXPECT_EQ("abcdefg", content());
        file.sputn("h", 1);
        EXPECT_TRUE(file.close() == &file);
    });
    EXPECT_EQ(std::string("abcdefg\0h", 9), content());
}

TEST_F(FileBufPartial, Write_OfAnOverflow_TakesTheCharacterOnce)
{
    runSilently([&] {
        zel::FileBuf file(4);
        ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
        limitFiles(3); // all that is pending, but not the character
        EXPECT_EQ(3, file.sputn("abcd", 4));
        EXPECT_EQ(FILE_TOO_LARGE, takeError());
        EXPECT_EQ("abc", content());
        EXPECT_EQ(0, file.pubsync()) << "all is out";
        EXPECT_EQ(1, file.sputn("d", 1));
        EXPECT_EQ(-1, file.pubsync());
        limitFiles(100);
        EXPECT_EQ(4, file.sputn("efgh", 4));
        m_errors.clear();
        EXPECT_TRUE(file.close() == &file);
        EXPECT_EQ("", takeError());
    });
    EXPECT_EQ("abcdefgh", content());
}

TEST_F(FileBufPartial, Write_AndMorePut_IsWholeAtTheEnd)
{
    runSilently([&] {
        zel::FileBuf file(16);
        ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
        limitFiles(2);
        file.sputn("abcd", 4);
        EXPECT_EQ(-1, file.pubsync());
        m_errors.clear();
        EXPECT_EQ(4, file.sputn("efgh", 4)) << "there is room";
        EXPECT_EQ("", takeError());
        limitFiles(100);
        EXPECT_TRUE(file.commit());
    });
    EXPECT_EQ("abcdefgh", content());
}

TEST_F(FileBufPartial, Write_OfAClose_DoesNotReachTheNextFile)
{
    runSilently([&] {
        zel::FileBuf file(8);
        ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
        limitFiles(2);
        file.sputn("abcd", 4);
        EXPECT_TRUE(file.close() == nullptr);
        EXPECT_EQ(FILE_TOO_LARGE, takeError());
        EXPECT_EQ("ab", content());
        limitFiles(100);
        ASSERT_TRUE(file.open(name(), ios_base::app) != nullptr);
        file.sputn("whole", 5);
        EXPECT_TRUE(file.close() == &file);
    });
    EXPECT_EQ("abwhole", content());
}

} // namespace
