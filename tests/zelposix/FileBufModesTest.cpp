// SPDX-License-Identifier: Apache-2.0
//
// What each mode of opening does with a file that is there and with one that is not.

#include <zelposix/FileBuf.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/FileFixture.h"
#include "support/InterruptedThread.h"
#include "support/OpenStorage.h"

namespace {

using std::ErrorStorage;
using std::ios_base;

constexpr auto IN = ios_base::in;
constexpr auto OUT = ios_base::out;
constexpr auto TRUNC = ios_base::trunc;
constexpr auto APP = ios_base::app;
constexpr auto ATE = ios_base::ate;
constexpr auto BINARY = ios_base::binary;

constexpr uid_t NOBODY = 65534;

class FileBufModes : public support::FileFixture
{
protected:
    /// What a mode does to no file at all: the error, or "made" or "opened".
    std::string onMissing(ios_base::openmode mode)
    {
        std::filesystem::remove(m_name);
        zel::FileBuf file;
        if (file.open(name(), mode) == nullptr) return takeError();
        return std::filesystem::exists(m_name) ? "made" : "opened";
    }
    /// What the descriptor of a file that is opened so can do, as the system knows it.
    int accessOf(ios_base::openmode mode)
    {
        give("");
        zel::FileBuf file;
        EXPECT_TRUE(file.open(name(), mode) == &file);
        return fcntl(descriptorOf(m_name), F_GETFL) & O_ACCMODE;
    }
    /// What a mode does to the file "0123456789", as far as it lets one: a read of three, a seek
    /// to 6, a write of "ab", a seek to 8 and a read of all. Told as what was read, "|" and the
    /// file.
    std::string onExisting(ios_base::openmode mode)
    {
        give("0123456789");
        zel::FileBuf file(4);
        if (file.open(name(), mode) == nullptr) return takeError();
        std::string told = read(file, 3) + "|";
        EXPECT_EQ(6, file.pubseekpos(6));
        told += file.sputn("ab", 2) == 2 ? "wrote|" : "refused|";
        EXPECT_EQ(8, file.pubseekpos(8));
        told += read(file, 9) + "|";
        EXPECT_TRUE(file.close() == &file);
        EXPECT_FALSE(ErrorStorage::isError(true));
        return told + content();
    }
};

TEST_F(FileBufModes, Missing_IsMadeByWhatWritesAlone)
{
    EXPECT_EQ("made", onMissing(OUT));
    EXPECT_EQ("made", onMissing(OUT | TRUNC));
    EXPECT_EQ("made", onMissing(APP));
    EXPECT_EQ("made", onMissing(OUT | APP));
    EXPECT_EQ("made", onMissing(IN | OUT | TRUNC));
    EXPECT_EQ("made", onMissing(IN | APP));
    EXPECT_EQ("made", onMissing(IN | OUT | APP));
}

TEST_F(FileBufModes, Missing_FailsWhereItMustExist)
{
    EXPECT_EQ("1 open failed: No such file or directory (errno 2)", onMissing(IN));
    EXPECT_FALSE(std::filesystem::exists(m_name));
    EXPECT_EQ("1 open failed: No such file or directory (errno 2)", onMissing(IN | OUT));
    EXPECT_EQ("1 open failed: No such file or directory (errno 2)", onMissing(IN | ATE | BINARY));
    EXPECT_FALSE(std::filesystem::exists(m_name));
}

TEST_F(FileBufModes, In_ReadsAlone)
{
    EXPECT_EQ("012|refused|89|0123456789", onExisting(IN));
}

TEST_F(FileBufModes, Out_EmptiesAndWritesAlone)
{
    EXPECT_EQ(std::string("|wrote||\0\0\0\0\0\0ab", 16), onExisting(OUT));
    EXPECT_EQ(std::string("|wrote||\0\0\0\0\0\0ab", 16), onExisting(OUT | TRUNC));
}

TEST_F(FileBufModes, App_WritesAtTheEndAlone)
{
    EXPECT_EQ("|wrote||0123456789ab", onExisting(APP));
    EXPECT_EQ("|wrote||0123456789ab", onExisting(OUT | APP));
}

TEST_F(FileBufModes, InOut_DoesBothInPlace)
{
    EXPECT_EQ("012|wrote|89|012345ab89", onExisting(IN | OUT));
}

TEST_F(FileBufModes, InOutTrunc_EmptiesAndDoesBoth)
{
    EXPECT_EQ(std::string("|wrote||\0\0\0\0\0\0ab", 16), onExisting(IN | OUT | TRUNC));
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), IN | OUT | TRUNC) != nullptr);
    EXPECT_EQ("", content());
    file.sputn("xyz", 3);
    EXPECT_EQ(1, file.pubseekpos(1));
    EXPECT_EQ("yz", read(file, 9));
}

TEST_F(FileBufModes, InApp_ReadsAllAndWritesAtTheEnd)
{
    EXPECT_EQ("012|wrote|89ab|0123456789ab", onExisting(IN | APP));
    EXPECT_EQ("012|wrote|89ab|0123456789ab", onExisting(IN | OUT | APP));
}

TEST_F(FileBufModes, App_StaysAtTheEndWhenOthersWrite)
{
    give("1");
    zel::FileBuf file(4);
    ASSERT_TRUE(file.open(name(), APP) != nullptr);
    std::ofstream(m_name, APP) << "2";
    file.sputn("3", 1);
    EXPECT_EQ(3, file.pubseekoff(0, ios_base::cur));
    std::ofstream(m_name, APP) << "4";
    file.sputn("5", 1);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("12345", content());
}

TEST_F(FileBufModes, Ate_BeginsAtTheEnd)
{
    give("0123");
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), IN | OUT | ATE) != nullptr);
    EXPECT_EQ(4, file.pubseekoff(0, ios_base::cur));
    EXPECT_EQ("", read(file, 9));
    EXPECT_EQ(1, file.sputn("4", 1));
    EXPECT_EQ(1, file.pubseekpos(1)) << "unlike app, it may go elsewhere";
    EXPECT_EQ(1, file.sputn("x", 1));
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("0x234", content());
}

TEST_F(FileBufModes, Ate_OfAPipe_FailsAndLeavesNothingOpen)
{
    ASSERT_EQ(0, mkfifo(name(), 0600));
    zel::FileBuf file;
    EXPECT_FALSE(file.open(name(), IN | OUT | ATE) != nullptr);
    EXPECT_EQ("3 lseek failed: Illegal seek (errno 29)", takeError());
    EXPECT_FALSE(file.is_open());
    EXPECT_TRUE(file.open(name(), IN | OUT) == &file);
}

TEST_F(FileBufModes, Descriptor_CanNoMoreThanIsAskedFor)
{
    EXPECT_EQ(O_RDONLY, accessOf(IN));
    EXPECT_EQ(O_WRONLY, accessOf(OUT));
    EXPECT_EQ(O_WRONLY, accessOf(OUT | TRUNC));
    EXPECT_EQ(O_WRONLY, accessOf(APP));
    EXPECT_EQ(O_WRONLY, accessOf(OUT | APP));
    EXPECT_EQ(O_RDWR, accessOf(IN | OUT));
    EXPECT_EQ(O_RDWR, accessOf(IN | OUT | TRUNC));
    EXPECT_EQ(O_RDWR, accessOf(IN | APP));
    EXPECT_EQ(O_RDWR, accessOf(IN | OUT | APP));
}

TEST_F(FileBufModes, Binary_ChangesNothing)
{
    EXPECT_EQ("012|refused|89|0123456789", onExisting(IN | BINARY));
    EXPECT_EQ("|wrote||0123456789ab", onExisting(APP | BINARY));
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), OUT) != nullptr) << "and its absence neither";
    file.sputn("a\r\nb\n", 5);
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("a\r\nb\n", content());
}

TEST_F(FileBufModes, Combinations_ThatMeanNothing)
{
    const char* const invalid = "1 open failed: Invalid argument (errno 22)";
    EXPECT_EQ(invalid, onExisting({}));
    EXPECT_EQ(invalid, onExisting(TRUNC));
    EXPECT_EQ(invalid, onExisting(IN | TRUNC));
    EXPECT_EQ(invalid, onExisting(APP | TRUNC));
    EXPECT_EQ(invalid, onExisting(OUT | APP | TRUNC));
    EXPECT_EQ(invalid, onExisting(IN | APP | TRUNC));
    EXPECT_EQ(invalid, onExisting(IN | OUT | APP | TRUNC));
    EXPECT_EQ(invalid, onExisting(ATE | BINARY));
    EXPECT_EQ("0123456789", content());
    EXPECT_EQ(invalid, onMissing(APP | TRUNC));
    EXPECT_FALSE(std::filesystem::exists(m_name));
}

TEST_F(FileBufModes, Failure_LeavesTheBufferUsable)
{
    zel::FileBuf file;
    EXPECT_TRUE(file.open(name(), IN) == nullptr);
    EXPECT_EQ("1 open failed: No such file or directory (errno 2)", takeError());
    EXPECT_FALSE(file.is_open());
    EXPECT_TRUE(file.open(name(), OUT) == &file);
    EXPECT_EQ(2, file.sputn("ok", 2));
    EXPECT_TRUE(file.close() == &file);
    EXPECT_EQ("ok", content());
}

TEST_F(FileBufModes, Places_WhereNoFileCanBe)
{
    zel::FileBuf file;
    EXPECT_TRUE(file.open(m_folder.pathOf("none/file").c_str(), OUT) == nullptr);
    EXPECT_EQ("1 open failed: No such file or directory (errno 2)", takeError());
    EXPECT_TRUE(file.open(m_folder.path().c_str(), OUT) == nullptr);
    EXPECT_EQ("1 open failed: Is a directory (errno 21)", takeError());
    EXPECT_TRUE(file.open("", OUT) == nullptr);
    EXPECT_EQ("1 open failed: No such file or directory (errno 2)", takeError());
    EXPECT_FALSE(file.is_open());
}

TEST_F(FileBufModes, NullName_IsABadAddress)
{
    zel::FileBuf file;
    EXPECT_TRUE(file.open(nullptr, IN) == nullptr);
    EXPECT_EQ("1 open failed: Bad address (errno 14)", takeError());
    EXPECT_TRUE(file.open(nullptr, OUT) == nullptr);
    EXPECT_EQ("1 open failed: Bad address (errno 14)", takeError());
    EXPECT_FALSE(file.is_open());
}

TEST_F(FileBufModes, NoPermission_Fails)
{
    give("secret");
    ASSERT_EQ(0, chmod(m_folder.path().c_str(), 0755));
    ASSERT_EQ(0, chmod(name(), 0));
    runSilently([&] {
        ASSERT_TRUE(geteuid() != 0 || seteuid(NOBODY) == 0) << "permissions do not bind root";
        EXPECT_EQ("1 open failed: Permission denied (errno 13)", onExisting(IN));
        EXPECT_EQ("1 open failed: Permission denied (errno 13)", onExisting(OUT));
        EXPECT_EQ("1 open failed: Permission denied (errno 13)", onExisting(APP));
    });
    ASSERT_EQ(0, chmod(name(), 0600));
    EXPECT_EQ("secret", content());
}

TEST_F(FileBufModes, Permissions_AreThoseOfTheMask)
{
    const mode_t before = umask(0027);
    EXPECT_EQ("made", onMissing(OUT));
    struct stat status;
    ASSERT_EQ(0, stat(name(), &status));
    EXPECT_EQ(0640U, status.st_mode & 07777);
    umask(0);
    EXPECT_EQ("made", onMissing(APP));
    umask(before);
    ASSERT_EQ(0, stat(name(), &status));
    EXPECT_EQ(0666U, status.st_mode & 07777);
}

TEST_F(FileBufModes, Permissions_OfAFileThatIsThere_Stay)
{
    give("x");
    ASSERT_EQ(0, chmod(name(), 0600));
    zel::FileBuf file;
    ASSERT_TRUE(file.open(name(), OUT) != nullptr);
    struct stat status;
    ASSERT_EQ(0, stat(name(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777);
}

TEST_F(FileBufModes, Pipe_OutlastsSignals)
{
    ASSERT_EQ(0, mkfifo(name(), 0600));
    zel::FileBuf writer;
    support::InterruptedThread opener([&] {
        const support::OpenStorage errors;
        writer.open(name(), OUT);
    });
    opener.interrupt(500);
    EXPECT_FALSE(opener.isOver());
    const support::Descriptor reader(::open(name(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    opener.join();
    EXPECT_TRUE(writer.is_open());
}

} // namespace
