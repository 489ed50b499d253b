// SPDX-License-Identifier: Apache-2.0
//
// Files that fail: what is raised, and that nothing is lost silently or written twice.

#include <zelposix/FileBuf.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>

#include <common/IBinStreamBase.h>
#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"

namespace {

using std::ErrorStorage;
using std::ios_base;
using support::OpenStorage;

constexpr int END_OF_FILE = -1;
constexpr const char* FULL = "/dev/full";
constexpr const char* NO_SPACE = "1 write failed: No space left on device (errno 28)";
constexpr const char* TOO_LARGE = "1 write failed: File too large (errno 27)";

/// Runs `body` in a child that must print nothing, warnings included, and survive.
void runSilently(const std::function<void()>& body)
{
    const support::ChildResult child = support::runInChild(body);
    EXPECT_EQ("", child.out);
    EXPECT_EQ("", child.err);
    EXPECT_EQ(0, child.signal);
    EXPECT_EQ(0, child.exitCode);
}

/// Limits the files of this process to `size` bytes, without a signal.
void limitFiles(rlim_t size)
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = size;
    signal(SIGXFSZ, SIG_IGN);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) std::abort();
}

class FileBufFailures : public testing::Test
{
protected:
    FileBufFailures()
    {
        const char* const root = std::getenv("TMPDIR");
        m_folder = std::string(root == nullptr ? "/tmp" : root) + "/filebuf-XXXXXX";
        if (mkdtemp(m_folder.data()) == nullptr) std::abort();
        m_name = m_folder + "/file";
    }
    ~FileBufFailures() override { std::filesystem::remove_all(m_folder); }

    const char* name() const { return m_name.c_str(); }
    std::string content() const
    {
        std::ifstream file(m_name, ios_base::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// The row of the pending `StreamError` and the text of its cause; "" without an error.
    std::string takeError()
    {
        if (!ErrorStorage::isError(true)) return "";
        const std::ErrorObject& error = *ErrorStorage::get();
        EXPECT_TRUE(error.equals(std::IBinStreamBase::StreamError));
        EXPECT_TRUE(error.m_cause != nullptr && error.m_cause->equals(zel::PosixError));
        EXPECT_EQ(nullptr, error.m_cause->m_cause);
        const std::string text = std::to_string(error.id()) + " " + error.m_cause->reason();
        m_errors.clear();
        return text;
    }
    /// Returns the descriptor over `path`.
    static int descriptorOf(const std::string& path)
    {
        for (int fd = 3; fd < 64; ++fd) {
            char target[1024] = {};
            const std::string link = "/proc/self/fd/" + std::to_string(fd);
            if (readlink(link.c_str(), target, sizeof target - 1) > 0 && path == target) return fd;
        }
        std::abort();
    }
    /// Puts the file in place of the full device, beneath the buffer.
    void repair() const
    {
        const int file = ::open(name(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (dup2(file, descriptorOf(FULL)) == -1) std::abort();
        ::close(file);
    }

    OpenStorage m_errors;
    std::string m_folder;
    std::string m_name;
};

TEST_F(FileBufFailures, Error_TellsTheStreamsAndTheSystemsReason)
{
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(FULL, ios_base::out));
    file.sputn("abc", 3);
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ(28, errno);
    EXPECT_STREQ("a binary i/o stream operation failed", ErrorStorage::reason());
    EXPECT_EQ("1 0", support::chainIds());
    EXPECT_EQ(NO_SPACE, takeError());
    EXPECT_EQ(nullptr, file.close());
}

TEST_F(FileBufFailures, Sync_OfAFullDevice_FailsEachTimeAndPrintsNothing)
{
    runSilently([&] {
        zel::FileBuf file(8);
        ASSERT_NE(nullptr, file.open(FULL, ios_base::out));
        EXPECT_EQ(3, file.sputn("abc", 3));
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_FALSE(file.commit());
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_EQ(nullptr, file.close());
        m_errors.clear();
    });
}

TEST_F(FileBufFailures, Close_OfAFullDevice_FailsAndClosesAllTheSame)
{
    runSilently([&] {
        zel::FileBuf file;
        ASSERT_NE(nullptr, file.open(FULL, ios_base::out));
        const int fd = descriptorOf(FULL);
        file.sputn("abc", 3);
        EXPECT_EQ(nullptr, file.close());
        EXPECT_EQ(NO_SPACE, takeError());
        EXPECT_FALSE(file.is_open());
        EXPECT_EQ(-1, fcntl(fd, F_GETFD));
        EXPECT_EQ(nullptr, file.close());
        EXPECT_EQ("", takeError());
    });
}

TEST_F(FileBufFailures, Close_ThatFailed_LeavesNothingForTheNextFile)
{
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(FULL, ios_base::out));
    file.sputn("lost", 4);
    EXPECT_EQ(nullptr, file.close());
    EXPECT_EQ(NO_SPACE, takeError());
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    file.sputn("next", 4);
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ("next", content());
}

TEST_F(FileBufFailures, Destructor_OfAFullDevice_RaisesAndCloses)
{
    runSilently([&] {
        auto file = std::make_unique<zel::FileBuf>();
        ASSERT_NE(nullptr, file->open(FULL, ios_base::out));
        const int fd = descriptorOf(FULL);
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
            ASSERT_NE(nullptr, file.open(FULL, ios_base::out));
            EXPECT_EQ(size - 1, file.sputn(std::string(5000, 'x').data(), 5000));
            EXPECT_EQ(NO_SPACE, takeError());
            EXPECT_EQ(END_OF_FILE, file.sputc('y'));
            EXPECT_EQ(NO_SPACE, takeError());
            file.close();
            m_errors.clear();
        }
    });
}

TEST_F(FileBufFailures, Pending_GoesOutOnceWhenTheDeviceWorksAgain)
{
    zel::FileBuf file(4);
    ASSERT_NE(nullptr, file.open(FULL, ios_base::out));
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
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ("abcdef", content());
    EXPECT_EQ("", takeError());
}

TEST_F(FileBufFailures, Pending_GoesOutOnce_CharacterByCharacter)
{
    zel::FileBuf file(1);
    ASSERT_NE(nullptr, file.open(FULL, ios_base::out));
    EXPECT_EQ(END_OF_FILE, file.sputc('a'));
    EXPECT_EQ(0, file.pubsync()) << "nothing was taken";
    m_errors.clear();
    repair();
    EXPECT_EQ(2, file.sputn("ab", 2));
    EXPECT_EQ(&file, file.close());
    EXPECT_EQ("ab", content());
}

TEST_F(FileBufFailures, PartialWrite_OfASync_GoesOnFromThere)
{
    runSilently([&] {
        zel::FileBuf file(8);
        ASSERT_NE(nullptr, file.open(name(), ios_base::out));
        limitFiles(5);
        EXPECT_EQ(7, file.sputn("abcdefg", 7));
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ(TOO_LARGE, takeError());
        EXPECT_EQ("abcde", content());
        limitFiles(6);
        EXPECT_EQ(-1, file.pubsync());
        EXPECT_EQ("abcdef", content());
        m_errors.clear();
        limitFiles(100);
        EXPECT_EQ(8, file.pubseekoff(1, ios_base::cur));
        EXPECT_EQ("abcdefg", content());
        file.sputn("h", 1);
        EXPECT_EQ(&file, file.close());
    });
    EXPECT_EQ(std::string("abcdefg\0h", 9), content());
}

TEST_F(FileBufFailures, PartialWrite_OfAnOverflow_TakesTheCharacterOnce)
{
    runSilently([&] {
        zel::FileBuf file(4);
        ASSERT_NE(nullptr, file.open(name(), ios_base::out));
        limitFiles(3); // all that is pending, but not the character
        EXPECT_EQ(3, file.sputn("abcd", 4));
        EXPECT_EQ(TOO_LARGE, takeError());
        EXPECT_EQ("abc", content());
        EXPECT_EQ(0, file.pubsync()) << "all is out";
        EXPECT_EQ(1, file.sputn("d", 1));
        EXPECT_EQ(-1, file.pubsync());
        limitFiles(100);
        EXPECT_EQ(4, file.sputn("efgh", 4));
        m_errors.clear();
        EXPECT_EQ(&file, file.close());
        EXPECT_EQ("", takeError());
    });
    EXPECT_EQ("abcdefgh", content());
}

TEST_F(FileBufFailures, PartialWrite_AndMorePut_IsWholeAtTheEnd)
{
    runSilently([&] {
        zel::FileBuf file(16);
        ASSERT_NE(nullptr, file.open(name(), ios_base::out));
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

TEST_F(FileBufFailures, PartialWrite_OfAClose_DoesNotReachTheNextFile)
{
    runSilently([&] {
        zel::FileBuf file(8);
        ASSERT_NE(nullptr, file.open(name(), ios_base::out));
        limitFiles(2);
        file.sputn("abcd", 4);
        EXPECT_EQ(nullptr, file.close());
        EXPECT_EQ(TOO_LARGE, takeError());
        EXPECT_EQ("ab", content());
        limitFiles(100);
        ASSERT_NE(nullptr, file.open(name(), ios_base::app));
        file.sputn("whole", 5);
        EXPECT_EQ(&file, file.close());
    });
    EXPECT_EQ("abwhole", content());
}

TEST_F(FileBufFailures, Directory_OpensButDoesNotRead)
{
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(m_folder.c_str(), ios_base::in));
    EXPECT_EQ("", takeError());
    EXPECT_EQ(END_OF_FILE, file.sgetc());
    EXPECT_EQ("1 read failed: Is a directory (errno 21)", takeError());
    EXPECT_EQ(END_OF_FILE, file.sbumpc());
    EXPECT_EQ("1 read failed: Is a directory (errno 21)", takeError());
    EXPECT_EQ(&file, file.close());
}

TEST_F(FileBufFailures, PipeWithoutReader_IsBrokenAndSendsNoSignal)
{
    ASSERT_EQ(0, mkfifo(name(), 0600));
    runSilently([&] {
        signal(SIGPIPE, SIG_DFL);
        const int reader = ::open(name(), O_RDONLY | O_NONBLOCK);
        zel::FileBuf file(4);
        ASSERT_NE(nullptr, file.open(name(), ios_base::out));
        EXPECT_EQ(4, file.sputn("abcd", 4));
        ::close(reader);
        EXPECT_EQ(3, file.sputn("efgh", 4));
        EXPECT_EQ("0 write failed: Broken pipe (errno 32)", takeError());
        EXPECT_EQ(nullptr, file.close());
        EXPECT_EQ("0 write failed: Broken pipe (errno 32)", takeError());
        EXPECT_FALSE(file.is_open());
    });
}

TEST_F(FileBufFailures, Close_OfALostDescriptor_Fails)
{
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    ::close(descriptorOf(m_name));
    EXPECT_EQ(nullptr, file.close());
    EXPECT_EQ("1 close failed: Bad file descriptor (errno 9)", takeError());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(&file, file.open(name(), ios_base::in));
}

TEST_F(FileBufFailures, Commit_OfALostDescriptor_Fails)
{
    zel::FileBuf file;
    ASSERT_NE(nullptr, file.open(name(), ios_base::out));
    ::close(descriptorOf(m_name));
    EXPECT_FALSE(file.commit());
    EXPECT_EQ("1 fsync failed: Bad file descriptor (errno 9)", takeError());
    EXPECT_EQ(nullptr, file.close());
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
