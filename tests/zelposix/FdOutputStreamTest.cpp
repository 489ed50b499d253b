// SPDX-License-Identifier: Apache-2.0
//
// Writing to files, pipes, sockets and devices. What is full is in FdOutputStreamFullTest.cpp,
// closed peers are in FdOutputStreamPeersTest.cpp, threads and signals in
// FdStreamsBlockingTest.cpp.

#include <zelposix/FdOutputStream.h>

#include <string>

#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/Descriptors.h"
#include "support/ErrorChain.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"
#include "support/TemporaryFolder.h"

namespace {

using support::Descriptor;
using support::OpenStorage;
using support::takeChain;
using support::writeText;

using File = support::TemporaryFile;

constexpr const char* BAD = "StreamError 1: a binary i/o stream operation failed\n"
                            "PosixError 0: write failed: Bad file descriptor (errno 9)\n";

TEST(FdOutputStream, File_UnbufferedIsOutAtOnce)
{
    const File file;
    zel::FdOutputStream output(file, 0);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("abc", file.content());
    EXPECT_EQ("1 1", writeText(output, "d"));
    EXPECT_EQ("abcd", file.content());
    EXPECT_TRUE(output.isValid());
}

TEST(FdOutputStream, File_BufferedIsOutWithAFlush)
{
    const File file;
    zel::FdOutputStream output(file);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 2", writeText(output, "de"));
    EXPECT_EQ("", file.content());
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcde", file.content());
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcde", file.content());
}

TEST(FdOutputStream, File_FilledBufferIsOutAtOnce)
{
    const File file;
    zel::FdOutputStream output(file, 4);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_EQ("1 5", writeText(output, "defgh"));
    EXPECT_EQ("abcdefgh", file.content());
    EXPECT_EQ("1 1", writeText(output, "i"));
    EXPECT_EQ("abcdefgh", file.content());
}

TEST(FdOutputStream, File_DefaultBufferIsFilledBy4096Bytes)
{
    const File file;
    zel::FdOutputStream output(file);
    EXPECT_EQ("1 4095", writeText(output, std::string(4095, 'a')));
    EXPECT_EQ("", file.content());
    EXPECT_EQ("1 1", writeText(output, "b"));
    EXPECT_EQ(4096U, file.content().size());
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
        EXPECT_TRUE("<" + block + ">" == file.content()) << "with a buffer of " << size;
    }
}

TEST(FdOutputStream, File_Above2GiB)
{
    const OpenStorage errors;
    const File file;
    ASSERT_EQ(5'000'000'000, lseek64(file, 5'000'000'000, SEEK_SET));
    zel::FdOutputStream output(file, 4);
    EXPECT_EQ("1 6", writeText(output, "beyond"));
    EXPECT_FALSE(output.flush(true));
    zel::FdOutputStream another(file, 0); // the file is large by now
    EXPECT_EQ("1 3", writeText(another, "end"));
    EXPECT_FALSE(another.flush(true));
    EXPECT_EQ(5'000'000'000, lseek64(file, 5'000'000'000, SEEK_SET));
    EXPECT_EQ("beyondend", file.take());
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

TEST(FdOutputStream, Destruction_FlushesAndLeavesTheDescriptorOpen)
{
    const OpenStorage errors;
    const File file;
    {
        zel::FdOutputStream output(file);
        EXPECT_EQ("1 3", writeText(output, "abc"));
        EXPECT_EQ("", file.content());
    }
    EXPECT_EQ("abc", file.content());
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

void expectDeepFlush(const support::Pair& pair)
{
    const OpenStorage errors;
    zel::FdOutputStream output(pair.writer);
    EXPECT_EQ("1 3", writeText(output, "abc"));
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("abc", pair.reader.take());
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

TEST(FdOutputStream, DeepFlush_Pipe)
{
    expectDeepFlush(support::Pipe(O_NONBLOCK));
}

TEST(FdOutputStream, DeepFlush_Socket)
{
    expectDeepFlush(support::Sockets(SOCK_STREAM | SOCK_NONBLOCK));
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

} // namespace
