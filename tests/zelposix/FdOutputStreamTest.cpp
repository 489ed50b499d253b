// SPDX-License-Identifier: Apache-2.0
//
// Writing to files, pipes, sockets and devices, and what is full. Closed peers are in
// FdOutputStreamPeersTest.cpp, threads and signals in FdStreamsBlockingTest.cpp.

#include <zelposix/FdOutputStream.h>

#include <csignal>
#include <cstdlib>
#include <ostream>
#include <string>

#include <common/BinBuffer.h>
#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using std::IBinStreamBase;
using support::ChildResult;
using support::OpenStorage;
using support::runInChild;
using support::writeText;

constexpr const char* FULL = "StreamError 1: a binary i/o stream operation failed\n"
                             "PosixError 0: write failed: No space left on device (errno 28)\n";
constexpr const char* TOO_LARGE = "StreamError 1: a binary i/o stream operation failed\n"
                                  "PosixError 0: write failed: File too large (errno 27)\n";
constexpr const char* BAD = "StreamError 1: a binary i/o stream operation failed\n"
                            "PosixError 0: write failed: Bad file descriptor (errno 9)\n";

/// The chain of the calling thread's errors, newest first, a line for each. Acknowledges them.
std::string takeChain()
{
    std::string lines;
    for (const std::ErrorObject* error = std::ErrorStorage::get();
         error != nullptr && error->m_type != nullptr; error = error->m_cause) {
        lines += error->equals(IBinStreamBase::StreamError) ? "StreamError " : "";
        lines += error->equals(zel::PosixError) ? "PosixError " : "";
        lines += std::to_string(error->id()) + ": " + error->reason() + "\n";
    }
    std::ErrorStorage::ack();
    return lines;
}

/// A descriptor, closed at the end.
class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd)
    {
        if (fd == -1) std::abort();
    }
    ~Descriptor() { close(m_fd); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return m_fd; }

private:
    const int m_fd;
};

/// A directory that is made below the one for temporary files.
std::string makeDirectory()
{
    const char* const base = std::getenv("TMPDIR");
    std::string directory = std::string(base == nullptr ? "/tmp" : base) + "/outputXXXXXX";
    if (mkdtemp(directory.data()) == nullptr) std::abort();
    return directory;
}

/// Opens an empty file in `directory`, and removes its name at once.
int openIn(const std::string& directory)
{
    const std::string path = directory + "/file";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    unlink(path.c_str());
    return fd;
}

/// An empty file.
struct File : Descriptor
{
    File() : File(makeDirectory()) {}

    /// All that it holds.
    std::string contents() const
    {
        std::string bytes(static_cast<size_t>(lseek(*this, 0, SEEK_END)), '?');
        const ssize_t count = pread(*this, bytes.data(), bytes.size(), 0);
        return count == static_cast<ssize_t>(bytes.size()) ? bytes : "unreadable";
    }

private:
    explicit File(const std::string& directory) : Descriptor(openIn(directory))
    {
        rmdir(directory.c_str());
    }
};

struct FullDevice : Descriptor
{
    FullDevice() : Descriptor(open("/dev/full", O_WRONLY | O_CLOEXEC)) {}
};

/// What waits at `fd`.
std::string waiting(int fd)
{
    char bytes[100];
    const ssize_t count = read(fd, bytes, sizeof bytes);
    return count < 0 ? "unreadable" : std::string(bytes, static_cast<size_t>(count));
}

TEST(FdOutputStream, File_UnbufferedIsOutAtOnce)
{
    const File file;
    zel::FdOutputStream output(file, 0);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("abc", file.contents());
    EXPECT_EQ("1 1", writeText(output, "d"));
    EXPECT_EQ("abcd", file.contents());
    EXPECT_TRUE(output.isValid());
}

TEST(FdOutputStream, File_BufferedIsOutWithAFlush)
{
    const File file;
    zel::FdOutputStream output(file);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 2", writeText(output, "de"));
    EXPECT_EQ("", file.contents());
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcde", file.contents());
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcde", file.contents());
}

TEST(FdOutputStream, File_FilledBufferIsOutAtOnce)
{
    const File file;
    zel::FdOutputStream output(file, 4);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 5", writeText(output, "defgh"));
    EXPECT_EQ("abcdefgh", file.contents());
    EXPECT_EQ("1 1", writeText(output, "i"));
    EXPECT_EQ("abcdefgh", file.contents());
}

TEST(FdOutputStream, File_LargeBlockAndAllBytes)
{
    const std::string block = std::string(70000, 'a') + std::string(1, '\0') + "\xFF\x80\r\n";
    for (const unsigned int size : {0U, 1U, 4096U}) {
        const File file;
        zel::FdOutputStream output(file, size);
        EXPECT_EQ("1 1", writeText(output, "<"));
        EXPECT_EQ("1 70005", writeText(output, block));
        EXPECT_EQ("1 1", writeText(output, ">"));
        EXPECT_FALSE(output.flush(true));
        EXPECT_TRUE("<" + block + ">" == file.contents()) << "with a buffer of " << size;
    }
}

TEST(FdOutputStream, Destruction_FlushesAndLeavesTheDescriptorOpen)
{
    const OpenStorage errors;
    const File file;
    {
        zel::FdOutputStream output(file);
        EXPECT_EQ("1 3", writeText(output, "abc"));
        EXPECT_EQ("", file.contents());
    }
    EXPECT_EQ("abc", file.contents());
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

/// Flushes deeply into the second of two connected descriptors.
void expectDeepFlush(const int (&ends)[2])
{
    const OpenStorage errors;
    const Descriptor reader(ends[0]);
    const Descriptor writer(ends[1]);
    zel::FdOutputStream output(writer);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("abc", waiting(reader));
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

TEST(FdOutputStream, DeepFlush_Pipe)
{
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_NONBLOCK | O_CLOEXEC));
    expectDeepFlush(ends);
}

TEST(FdOutputStream, DeepFlush_Socket)
{
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends));
    expectDeepFlush(ends);
}

TEST(FdOutputStream, DeepFlush_Device)
{
    const OpenStorage errors;
    const Descriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    zel::FdOutputStream output(null);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_FALSE(output.flush(true));
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

TEST(FdOutputStream, DeepFlush_BadDescriptor)
{
    const OpenStorage errors;
    zel::FdOutputStream output(-1);
    EXPECT_FALSE(output.flush(false));
    EXPECT_TRUE(output.flush(true));
    EXPECT_EQ("StreamError 1: a binary i/o stream operation failed\n"
              "PosixError 0: fsync failed: Bad file descriptor (errno 9)\n",
              takeChain());
}

TEST(FdOutputStream, BadDescriptors)
{
    const OpenStorage errors;
    const Descriptor readOnly(open("/dev/zero", O_RDONLY | O_CLOEXEC));
    for (const int fd : {-1, static_cast<int>(readOnly)}) {
        zel::FdOutputStream output(fd, 0);
        EXPECT_EQ("-1 0", writeText(output, "abc"));
        EXPECT_EQ(BAD, takeChain());
        EXPECT_FALSE(zel::wouldBlock());
    }
}

TEST(FdOutputStream, BadDescriptor_DestructionSaysThatBytesAreLost)
{
    const OpenStorage errors;
    {
        zel::FdOutputStream output(-1);
        EXPECT_EQ("1 3", writeText(output, "abc"));
        EXPECT_FALSE(std::ErrorStorage::isError(false));
    }
    EXPECT_TRUE(std::ErrorStorage::isError(true));
    EXPECT_EQ(BAD, takeChain());
}

TEST(FullDevice, Unbuffered)
{
    const OpenStorage errors;
    const FullDevice device;
    zel::FdOutputStream output(device, 0);
    EXPECT_EQ("-1 0", writeText(output, "abc"));
    EXPECT_EQ(FULL, takeChain());
    EXPECT_EQ("-1 0", writeText(output, "abc"));
    EXPECT_EQ(FULL, takeChain());
}

TEST(FullDevice, FailedFlush_KeepsTheBytes)
{
    const OpenStorage errors;
    const FullDevice device;
    const File file;
    zel::FdOutputStream output(device);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_TRUE(output.flush(false));
    EXPECT_EQ(FULL, takeChain());
    EXPECT_TRUE(output.flush(true));
    EXPECT_EQ(FULL, takeChain()); // of the write: nothing is below what is not out
    EXPECT_EQ("1 2", writeText(output, "de"));
    ASSERT_NE(-1, dup2(file, device));
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("abcde", file.contents());
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("abcde", file.contents());
}

TEST(FullDevice, FailedWriteOfAFilledBuffer_KeepsTheBytes)
{
    const OpenStorage errors;
    const FullDevice device;
    const File file;
    zel::FdOutputStream output(device, 4);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("-1 1", writeText(output, "def"));
    EXPECT_EQ(FULL, takeChain());
    ASSERT_NE(-1, dup2(file, device));
    EXPECT_EQ("1 2", writeText(output, "ef"));
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcdef", file.contents());
}

TEST(FullDevice, Destruction_SaysThatBytesAreLost)
{
    const OpenStorage errors;
    const FullDevice device;
    {
        zel::FdOutputStream output(device);
        EXPECT_EQ("1 3", writeText(output, "abc"));
    }
    EXPECT_TRUE(std::ErrorStorage::isError(true));
    EXPECT_FALSE(zel::wouldBlock());
    EXPECT_EQ(FULL, takeChain());
}

TEST(FullDevice, StandardStreamIsBad)
{
    const OpenStorage errors;
    const FullDevice device;
    const File file;
    zel::FdOutputStream output(device);
    std::BinBuffer buffer(output);
    std::ostream stream(&buffer);
    stream << "level " << 42 << std::flush;
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    EXPECT_EQ(FULL, takeChain());
    ASSERT_NE(-1, dup2(file, device));
    stream.clear();
    stream << std::flush;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("level 42", file.contents());
}

/// Sets how large files of this process may grow; without a signal about it.
void limitFiles(rlim_t bytes)
{
    rlimit limit{};
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) std::abort();
}

TEST(FileSizeLimit, Unbuffered_WhatWentOutIsASuccess)
{
    const ChildResult result = runInChild([] {
        const OpenStorage errors;
        const File file;
        zel::FdOutputStream output(file, 0);
        limitFiles(6);
        EXPECT_EQ("1 6", writeText(output, "0123456789"));
        EXPECT_FALSE(std::ErrorStorage::isError(false));
        EXPECT_EQ("-1 0", writeText(output, "6789"));
        EXPECT_EQ(TOO_LARGE, takeChain());
        EXPECT_EQ("012345", file.contents());
        limitFiles(RLIM_INFINITY);
        EXPECT_EQ("1 4", writeText(output, "6789"));
        EXPECT_EQ("0123456789", file.contents());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(FileSizeLimit, PastTheBuffer_TheRestIsStored)
{
    const ChildResult result = runInChild([] {
        const OpenStorage errors;
        const File file;
        zel::FdOutputStream output(file, 8);
        limitFiles(6);
        EXPECT_EQ("1 10", writeText(output, "0123456789"));
        EXPECT_EQ("012345", file.contents());
        EXPECT_FALSE(std::ErrorStorage::isError(false));
        EXPECT_TRUE(output.flush(false));
        EXPECT_EQ(TOO_LARGE, takeChain());
        limitFiles(RLIM_INFINITY);
        EXPECT_FALSE(output.flush(false));
        EXPECT_EQ("0123456789", file.contents());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(FileSizeLimit, Flush_WritesTheRestLaterAndNothingTwice)
{
    const ChildResult result = runInChild([] {
        const OpenStorage errors;
        const File file;
        zel::FdOutputStream output(file, 64);
        EXPECT_EQ("1 10", writeText(output, "0123456789"));
        limitFiles(6);
        EXPECT_TRUE(output.flush(false));
        EXPECT_EQ(TOO_LARGE, takeChain());
        EXPECT_EQ("012345", file.contents());
        EXPECT_TRUE(output.flush(true));
        EXPECT_EQ(TOO_LARGE, takeChain());
        limitFiles(RLIM_INFINITY);
        EXPECT_FALSE(output.flush(true));
        EXPECT_EQ("0123456789", file.contents());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

constexpr int NO_MOUNT = 77;

/// Mounts a file system of 16 KiB on `directory`, for this process alone. Where nobody may do so,
/// ends it with NO_MOUNT.
void mountSmall(const std::string& directory)
{
    const bool isApart = unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
    if (!isApart || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", directory.c_str(), "tmpfs", 0, "size=16k") != 0)
        _exit(NO_MOUNT);
}

TEST(SmallFileSystem, WhatWentOutIsASuccessAndTheRestGoesLater)
{
    const std::string directory = makeDirectory();
    const ChildResult result = runInChild([&] {
        mountSmall(directory);
        const OpenStorage errors;
        const Descriptor file(openIn(directory));
        zel::FdOutputStream output(file, 4096);
        const std::string block = std::string(15000, 'a') + std::string(5000, 'b');
        EXPECT_EQ("1 20000", writeText(output, block));
        EXPECT_EQ(16384, lseek(file, 0, SEEK_END));
        EXPECT_TRUE(output.flush(true));
        EXPECT_EQ(FULL, takeChain());
        ASSERT_EQ(0, mount("none", directory.c_str(), "tmpfs", MS_REMOUNT, "size=64k"));
        EXPECT_FALSE(output.flush(true));
        std::string bytes(30000, '?');
        ASSERT_EQ(20000, pread(file, bytes.data(), bytes.size(), 0));
        EXPECT_TRUE(block == bytes.substr(0, 20000));
    });
    rmdir(directory.c_str());
    if (result.exitCode == NO_MOUNT) GTEST_SKIP() << "no file system may be mounted here";
    EXPECT_EQ(0, result.exitCode) << result.out;
}

} // namespace
