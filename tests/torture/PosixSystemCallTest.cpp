// SPDX-License-Identifier: Apache-2.0
//
// Each call of the system that the streams over it make, failing in the ways that are told apart,
// and in one that is not: when a stream is made, while it is used, and at its end.

#include "support/FailingCall.h"

#include <cerrno>
#include <csignal>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <zelposix/FdInputStream.h>
#include <zelposix/FdOutputStream.h>
#include <zelposix/FileBuf.h>

#include "support/Descriptors.h"
#include "support/FileFixture.h"

namespace {

using std::ios_base;
using support::EACH_CALL;
using support::FailingCall;
using zel::FileBuf;

constexpr const char* WHOLE = "abcdef";

class SystemCall : public support::FileFixture
{
protected:
    SystemCall() { give(WHOLE); }

    /// What is told of a file that cannot be opened for `code`.
    std::string openFailing(int code)
    {
        FileBuf file;
        const FailingCall failing("open", code);
        EXPECT_TRUE(file.open(name(), ios_base::in) == nullptr);
        EXPECT_FALSE(file.is_open());
        EXPECT_EQ(1, failing.calls());
        return takeError();
    }
    std::string seekFailing(int code)
    {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::in) == &file);
        std::string text;
        {
            const FailingCall failing("lseek", code);
            EXPECT_EQ(-1, file.pubseekoff(3, ios_base::beg));
            text = takeError();
        }
        EXPECT_EQ(3, file.pubseekoff(3, ios_base::beg));
        EXPECT_EQ("def", read(file, 3));
        return text;
    }
    std::string readFailing(int code)
    {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::in) == &file);
        std::string text;
        {
            const FailingCall failing("read", code);
            EXPECT_EQ(support::END_OF_FILE, file.sgetc());
            text = takeError();
        }
        EXPECT_EQ(WHOLE, read(file, 6));
        return text;
    }
    std::string writeFailing(int code)
    {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::out) == &file);
        EXPECT_EQ(3, file.sputn("xyz", 3));
        std::string text;
        {
            const FailingCall failing("write", code);
            EXPECT_EQ(-1, file.pubsync());
            text = takeError();
        }
        EXPECT_EQ(0, file.pubsync());
        EXPECT_EQ("xyz", content());
        return text;
    }
    std::string commitFailing(int code)
    {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::out) == &file);
        EXPECT_EQ(3, file.sputn("xyz", 3));
        const FailingCall failing("fsync", code);
        EXPECT_EQ(code == EINTR || code == EINVAL || code == EROFS, file.commit());
        EXPECT_EQ(code == EINTR ? 2 : 1, failing.calls());
        EXPECT_EQ("xyz", content());
        return takeError();
    }
    std::string closeFailing(int code)
    {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::in) == &file);
        const FailingCall failing("close", code);
        EXPECT_EQ(code == EINTR, file.close() == &file);
        EXPECT_EQ(1, failing.calls());
        EXPECT_FALSE(file.is_open());
        return takeError();
    }
};

TEST_F(SystemCall, Open_Interrupted_IsMadeAgain)
{
    FileBuf file;
    const FailingCall failing("open", EINTR, 3);
    EXPECT_TRUE(file.open(name(), ios_base::in) == &file);
    EXPECT_EQ(4, failing.calls());
    EXPECT_EQ(WHOLE, read(file, 6));
}

TEST_F(SystemCall, Open_Fails)
{
    EXPECT_EQ("1 open failed: Permission denied (errno 13)", openFailing(EACCES));
    EXPECT_EQ("1 open failed: Too many open files (errno 24)", openFailing(EMFILE));
    EXPECT_EQ("1 open failed: Cannot allocate memory (errno 12)", openFailing(ENOMEM));
    EXPECT_EQ("1 open failed: Invalid cross-device link (errno 18)", openFailing(EXDEV));
}

TEST_F(SystemCall, Open_SeekToTheEndFails_ClosesTheFile)
{
    FileBuf file;
    const FailingCall failing("lseek", EOVERFLOW);
    EXPECT_TRUE(file.open(name(), ios_base::in | ios_base::ate) == nullptr);
    EXPECT_EQ("1 lseek failed: Value too large for defined data type (errno 75)", takeError());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(-1, descriptorOf(name()));
}

TEST_F(SystemCall, Open_SeekToTheEndFails_CanBeOpenedAgain)
{
    FileBuf file;
    {
        const FailingCall failing("lseek", EINVAL, EACH_CALL);
        EXPECT_TRUE(file.open(name(), ios_base::in | ios_base::ate) == nullptr);
    }
    EXPECT_EQ("1 lseek failed: Invalid argument (errno 22)", takeError());
    EXPECT_TRUE(file.open(name(), ios_base::in | ios_base::ate) == &file);
    EXPECT_EQ("", takeError());
}

// The first failure is the one that is told, though the system wrote down another since.
TEST_F(SystemCall, Open_SeekToTheEndAndCloseFail_TellsTheSeek)
{
    for (const int code : {EIO, EINTR, EXDEV}) {
        FileBuf file;
        {
            const FailingCall seek("lseek", EOVERFLOW);
            const FailingCall close("close", code);
            EXPECT_TRUE(file.open(name(), ios_base::in | ios_base::ate) == nullptr);
            EXPECT_EQ(EOVERFLOW, errno);
            EXPECT_EQ(1, close.calls());
        }
        EXPECT_EQ("1 lseek failed: Value too large for defined data type (errno 75)", takeError());
        EXPECT_FALSE(file.is_open());
        EXPECT_EQ(-1, descriptorOf(name()));
        EXPECT_TRUE(file.open(name(), ios_base::in | ios_base::ate) == &file);
        EXPECT_EQ(6, file.pubseekoff(0, ios_base::cur));
    }
}

// What a descriptor is decides how it is written to: one that cannot be asked is taken for a pipe.
TEST_F(SystemCall, Open_KindIsUnknown_Writes)
{
    for (const int code : {ENOMEM, EXDEV}) {
        FileBuf file;
        {
            const FailingCall failing("fstat", code);
            EXPECT_TRUE(file.open(name(), ios_base::out | ios_base::trunc) == &file);
            EXPECT_EQ(1, failing.calls());
        }
        EXPECT_EQ(3, file.sputn("xyz", 3));
        EXPECT_TRUE(file.close() == &file);
        EXPECT_EQ("xyz", content());
    }
}

TEST_F(SystemCall, Seek_Fails)
{
    EXPECT_EQ("3 lseek failed: Illegal seek (errno 29)", seekFailing(ESPIPE));
    EXPECT_EQ("1 lseek failed: Invalid argument (errno 22)", seekFailing(EINVAL));
    EXPECT_EQ("1 lseek failed: No such device or address (errno 6)", seekFailing(ENXIO));
    EXPECT_EQ("1 lseek failed: Invalid cross-device link (errno 18)", seekFailing(EXDEV));
}

TEST_F(SystemCall, Read_Fails)
{
    EXPECT_EQ("0 read failed: Connection reset by peer (errno 104)", readFailing(ECONNRESET));
    EXPECT_EQ("1 read failed: Input/output error (errno 5)", readFailing(EIO));
    EXPECT_EQ("1 read failed: Invalid cross-device link (errno 18)", readFailing(EXDEV));
}

TEST_F(SystemCall, Write_Fails)
{
    EXPECT_EQ("0 write failed: Broken pipe (errno 32)", writeFailing(EPIPE));
    EXPECT_EQ("1 write failed: No space left on device (errno 28)", writeFailing(ENOSPC));
    EXPECT_EQ("1 write failed: Disk quota exceeded (errno 122)", writeFailing(EDQUOT));
    EXPECT_EQ("1 write failed: Invalid cross-device link (errno 18)", writeFailing(EXDEV));
}

TEST_F(SystemCall, Write_FailsAtTheEnd)
{
    {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::out) == &file);
        EXPECT_EQ(3, file.sputn("xyz", 3));
        const FailingCall failing("write", EIO, EACH_CALL);
        EXPECT_TRUE(file.close() == nullptr);
        EXPECT_EQ(1, failing.calls());
    }
    EXPECT_EQ("1 write failed: Input/output error (errno 5)", takeError());
    EXPECT_EQ(-1, descriptorOf(name()));
}

TEST_F(SystemCall, Commit_Answers)
{
    EXPECT_EQ("", commitFailing(EINTR));
    EXPECT_EQ("", commitFailing(EINVAL));
    EXPECT_EQ("", commitFailing(EROFS));
    EXPECT_EQ("1 fsync failed: Input/output error (errno 5)", commitFailing(EIO));
    EXPECT_EQ("1 fsync failed: No space left on device (errno 28)", commitFailing(ENOSPC));
    EXPECT_EQ("1 fsync failed: Invalid cross-device link (errno 18)", commitFailing(EXDEV));
}

TEST_F(SystemCall, Close_Answers)
{
    EXPECT_EQ("", closeFailing(EINTR));
    EXPECT_EQ("1 close failed: Input/output error (errno 5)", closeFailing(EIO));
    EXPECT_EQ("1 close failed: Disk quota exceeded (errno 122)", closeFailing(EDQUOT));
    EXPECT_EQ("1 close failed: Invalid cross-device link (errno 18)", closeFailing(EXDEV));
}

TEST_F(SystemCall, Close_WriteAndCloseFail_TellsTheWrite)
{
    for (const int code : {EIO, EINTR, EXDEV}) {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::out) == &file);
        EXPECT_EQ(3, file.sputn("xyz", 3));
        const FailingCall write("write", ENOSPC);
        const FailingCall close("close", code);
        EXPECT_TRUE(file.close() == nullptr);
        EXPECT_EQ(ENOSPC, errno);
        EXPECT_EQ("1 write failed: No space left on device (errno 28)", takeError());
        EXPECT_EQ(1, close.calls());
        EXPECT_FALSE(file.is_open());
    }
}

TEST_F(SystemCall, Close_FailsInTheDestructor)
{
    {
        FileBuf file;
        EXPECT_TRUE(file.open(name(), ios_base::in) == &file);
        const FailingCall failing("close", EIO);
        file.~FileBuf();
        new (&file) FileBuf;
        EXPECT_EQ(1, failing.calls());
    }
    EXPECT_EQ("1 close failed: Input/output error (errno 5)", takeError());
    EXPECT_EQ(-1, descriptorOf(name()));
}

/// What is told of a pipe without bytes whose reader waits for them, and for `code` cannot.
std::string waitFailing(int code)
{
    const support::OpenStorage errors;
    const support::Pipe pipe(O_NONBLOCK);
    zel::FdInputStream input(pipe.reader, 0);
    char byte = 0;
    unsigned int got = 0;
    const FailingCall failing("poll", code);
    EXPECT_EQ(char(-1), input.read(&byte, 1, got));
    EXPECT_EQ(1, failing.calls());
    return support::takeFailure();
}

TEST_F(SystemCall, Poll_Fails)
{
    EXPECT_EQ("1 read failed: Cannot allocate memory (errno 12)", waitFailing(ENOMEM));
    EXPECT_EQ("1 read failed: Invalid argument (errno 22)", waitFailing(EINVAL));
    EXPECT_EQ("1 read failed: Invalid cross-device link (errno 18)", waitFailing(EXDEV));
}

TEST_F(SystemCall, Poll_Interrupted_ReadsAgain)
{
    const support::Pipe pipe(O_NONBLOCK);
    pipe.writer.put("a");
    zel::FdInputStream input(pipe.reader, 0);
    char byte = 0;
    unsigned int got = 0;
    const FailingCall failing("read", EAGAIN, 3);
    EXPECT_EQ(1, input.read(&byte, 1, got));
    EXPECT_EQ(4, failing.calls());
}

/// What is told at the end of a stream that could not write for `code`.
std::string endFailing(int code, bool isBlocking)
{
    const support::OpenStorage errors;
    const support::Pipe pipe(O_NONBLOCK);
    const FailingCall failing("write", code);
    {
        zel::FdOutputStream output(pipe.writer, 16, isBlocking);
        unsigned int written = 0;
        EXPECT_EQ(1, output.write("abc", 3, written));
    }
    EXPECT_EQ(1, failing.calls());
    return support::takeFailure();
}

TEST_F(SystemCall, OutputStream_WriteFailsAtTheEnd)
{
    EXPECT_EQ("0 write failed: Broken pipe (errno 32)", endFailing(EPIPE, true));
    EXPECT_EQ("1 write failed: Input/output error (errno 5)", endFailing(EIO, true));
    EXPECT_EQ("1 write would block", endFailing(EAGAIN, false));
}

TEST_F(SystemCall, OutputStream_KindIsUnknown_Writes)
{
    for (const int code : {ENOMEM, EXDEV}) {
        const support::Pipe pipe;
        const FailingCall failing("fstat", code);
        zel::FdOutputStream output(pipe.writer, 0);
        EXPECT_EQ(1, failing.calls());
        unsigned int written = 0;
        EXPECT_EQ(1, output.write("abc", 3, written));
        EXPECT_EQ(3U, written);
        EXPECT_EQ("abc", pipe.reader.take());
    }
}

TEST_F(SystemCall, OutputStream_KindIsUnknown_ReaderHasGone_NobodyIsSentASignal)
{
    const auto before = signal(SIGPIPE, SIG_DFL); // which ends the process
    for (const int code : {ENOMEM, EXDEV}) {
        support::Sockets sockets;
        sockets.reader.close();
        const FailingCall failing("fstat", code);
        zel::FdOutputStream output(sockets.writer, 0);
        unsigned int written = 0;
        EXPECT_EQ(char(-1), output.write("abc", 3, written));
        EXPECT_EQ("0 write failed: Broken pipe (errno 32)", takeError());
    }
    signal(SIGPIPE, before);
}

} // namespace
