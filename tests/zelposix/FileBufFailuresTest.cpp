// SPDX-License-Identifier: Apache-2.0
//
// Files that fail: what is raised, and that the file is closed all the same. What becomes of the
// bytes that are not out is in FileBufPartialTest.cpp.

#include <zelposix/FileBuf.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <string>

#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/FileFixture.h"

namespace {

using std::ErrorStorage;
using std::ios_base;
using support::END_OF_FILE;
using support::FULL_DEVICE;
using support::NO_SPACE;

class FileBufFailures : public support::FileFixture
{};

TEST_F(FileBufFailures, Error_TellsTheStreamsAndTheSystemsReason)
{
    zel::FileBuf file;
    ASSERT_TRUE(file.open(FULL_DEVICE, ios_base::out) != nullptr);
    file.sputn("abc", 3);
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ(28, errno);
    EXPECT_STREQ("a binary i/o stream operation failed", ErrorStorage::reason());
    EXPECT_EQ("1 0", support::chainIds());
    EXPECT_EQ(NO_SPACE, takeError());
    EXPECT_TRUE(file.close() == nullptr);
}

TEST_F(FileBufFailures, Sync_OfAFullDevice_FailsEachTimeAndPrintsNothing)
{
    runSilently([&] {
        zel::FileBuf file(8);
        ASSERT_TRUE(file.open(FULL_DEVICE, ios_base::out) != nullptr);
        EXPECT_EQ(3, file.sputn("abc", 3));
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_FALSE(file.commit());
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_TRUE(file.close() == nullptr);
        m_errors.clear();
    });
}

TEST_F(FileBufFailures, Close_OfAFullDevice_FailsAndClosesAllTheSame)
{
    runSilently([&] {
        zel::FileBuf file;
        ASSERT_TRUE(file.open(FULL_DEVICE, ios_base::out) != nullptr);
        const int fd = descriptorOf(FULL_DEVICE);
        file.sputn("abc", 3);
        EXPECT_TRUE(file.close() == nullptr);
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_FALSE(file.is_open());
        EXPECT_EQ(-1, fcntl(fd, F_GETFD));
        EXPECT_TRUE(file.close() == nullptr);
        EXPECT_EQ("", takeError());
    });
}

TEST_F(FileBufFailures, Close_ThatFailed_LeavesNothingForTheNextFile)
{
    zel::FileBuf file;
    ASSERT_TRUE(file.open(FULL_DEVICE, ios_base::out) != nullptr);
    file.sputn("lost", 4);
    EXPECT_TRUE(file.close() == nullptr);
    EXPECT_EQ(NO_SPACE, takeError());
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    file.sputn("next", 4);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("next", content());
}

TEST_F(FileBufFailures, Destructor_OfAFullDevice_RaisesAndCloses)
{
    runSilently([&] {
        auto file = std::make_unique<zel::FileBuf>();
        ASSERT_TRUE(file->open(FULL_DEVICE, ios_base::out) != nullptr);
        const int fd = descriptorOf(FULL_DEVICE);
        file->sputn("abc", 3);
        file.reset();
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_EQ(-1, fcntl(fd, F_GETFD));
    });
}

TEST_F(FileBufFailures, Overflow_RefusesTheCharacterThatFillsTheBuffer)
{
    runSilently([&] {
        for (const int size : {1, 2, 3, 4096}) {
            zel::FileBuf file(static_cast<unsigned int>(size));
            ASSERT_TRUE(file.open(FULL_DEVICE, ios_base::out) != nullptr);
            EXPECT_EQ(size - 1, file.sputn(std::string(5000, 'x').data(), 5000));
            EXPECT_EQ(NO_SPACE, takeError());
            EXPECT_EQ(END_OF_FILE, file.sputc('y'));
            EXPECT_EQ(NO_SPACE, takeError());
            file.close();
            m_errors.clear();
        }
    });
}

TEST_F(FileBufFailures, Directory_OpensButDoesNotRead)
{
    zel::FileBuf file;
    ASSERT_TRUE(file.open(m_folder.path().c_str(), ios_base::in) != nullptr);
    EXPECT_EQ("", takeError());
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ("1 read failed: Is a directory (errno 21)", takeError());
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_EQ("1 read failed: Is a directory (errno 21)", takeError());
    EXPECT_TRUE(file.close() == &file);
}

TEST_F(FileBufFailures, PipeWithoutReader_IsBrokenAndSendsNoSignal)
{
    ASSERT_EQ(0, mkfifo(name(), 0600));
    runSilently([&] {
        signal(SIGPIPE, SIG_DFL);
        const int reader = ::open(name(), O_RDONLY | O_NONBLOCK);
        zel::FileBuf file(4);
        ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
        EXPECT_EQ(4, file.sputn("abcd", 4));
        ::close(reader);
        EXPECT_EQ(3, file.sputn("efgh", 4));
        EXPECT_EQ("0 write failed: Broken pipe (errno 32)", takeError());
        EXPECT_TRUE(file.close() == nullptr);
        EXPECT_EQ("0 write failed: Broken pipe (errno 32)", takeError());
        EXPECT_FALSE(file.is_open());
    });
}

TEST_F(FileBufFailures, Close_OfALostDescriptor_Fails)
{
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    ::close(descriptorOf(m_name));
    EXPECT_TRUE(file.close() == nullptr);
    EXPECT_EQ("1 close failed: Bad file descriptor (errno 9)", takeError());
    EXPECT_FALSE(file.is_open());
    EXPECT_TRUE(file.open(name(), ios_base::in) == &file);
}

TEST_F(FileBufFailures, Commit_OfALostDescriptor_Fails)
{
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), ios_base::out) != nullptr);
    ::close(descriptorOf(m_name));
    EXPECT_FALSE(file.commit());
    EXPECT_EQ("1 fsync failed: Bad file descriptor (errno 9)", takeError());
    EXPECT_TRUE(file.close() == nullptr);
}

/// What a derived class calls.
struct Primitives : zel::FileBuf
{
    using FileBuf::closeFile;
    using FileBuf::readBlock;
    using FileBuf::seekFile;
    using FileBuf::writeBlock;
};

TEST_F(FileBufFailures, Primitives_ReturnMinusOne)
{
    Primitives file;
    char text[4] = {};
    int count = 7;
    unsigned int written = 7;
    std::streampos position(7);
    EXPECT_EQ(-1, file.readBlock(text, 4, count));
    EXPECT_EQ(-1, file.writeBlock(text, 4, written));
    EXPECT_EQ(-1, file.seekFile(0, ios_base::beg, position));
    EXPECT_EQ(-1, file.closeFile());
    EXPECT_EQ("1 close failed: Bad file descriptor (errno 9)", takeError());
    EXPECT_EQ(0, count);
    EXPECT_EQ(0U, written);
    EXPECT_EQ(std::streampos(7), position);
}

TEST_F(FileBufFailures, WithoutAFile_EverythingIsRefused)
{
    char text[4] = {};
    zel::FileBuf file;
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_EQ(0, file.sgetn(text, 4));
    EXPECT_EQ(END_OF_FILE, file.sungetc());
    EXPECT_EQ(END_OF_FILE, file.sputc('a'));
    EXPECT_EQ(0, file.sputn("abc", 3));
    EXPECT_EQ(0, file.pubsync()) << "nothing is pending";
    EXPECT_FALSE(file.commit());
    EXPECT_EQ("", takeError());
    EXPECT_EQ(-1, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("1 lseek failed: Bad file descriptor (errno 9)", takeError());
}

} // namespace
