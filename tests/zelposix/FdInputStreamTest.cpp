// SPDX-License-Identifier: Apache-2.0
//
// Reading from files, pipes, sockets and devices. Threads and signals are in
// FdStreamsBlockingTest.cpp.

#include <zelposix/FdInputStream.h>

#include <cstdlib>
#include <istream>
#include <string>

#include <common/BinBuffer.h>
#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/Descriptors.h"
#include "support/ErrorChain.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"
#include "support/TemporaryFolder.h"

namespace {

using support::chain;
using support::Descriptor;
using support::Ends;
using support::OpenStorage;
using support::Pair;
using support::Pipe;
using support::readText;
using support::Sockets;

using File = support::TemporaryFile;
constexpr const char* END = support::END_CHAIN;

/// Reads blocks of `size` bytes until a read gives none, and returns all of them.
std::string readAll(std::IBinInputStream& input, unsigned int size)
{
    std::string bytes;
    for (;;) {
        const std::string block = readText(input, size);
        if (block.substr(0, 2) != "1 ") return bytes;
        bytes.append(block, 2);
    }
}

TEST(FdInputStream, File_UnbufferedReadsNothingAhead)
{
    const OpenStorage errors;
    const File file("0123456789");
    zel::FdInputStream input(file, 0);
    EXPECT_EQ("1 0123", readText(input, 4));
    EXPECT_EQ(4, lseek(file, 0, SEEK_CUR));
    EXPECT_EQ("1 4567", readText(input, 4));
    EXPECT_EQ("1 89", readText(input, 4));
    EXPECT_EQ("", chain());
    EXPECT_EQ("-1 ", readText(input, 4));
    EXPECT_EQ(END, chain());
}

TEST(FdInputStream, File_DefaultBufferTakesAllAtOnce)
{
    const OpenStorage errors;
    const File file("0123456789");
    zel::FdInputStream input(file);
    EXPECT_EQ("1 0123", readText(input, 4));
    EXPECT_EQ(10, lseek(file, 0, SEEK_CUR));
    EXPECT_EQ("1 4567", readText(input, 4));
    EXPECT_EQ("1 89", readText(input, 4));
    EXPECT_EQ("-1 ", readText(input, 4));
    EXPECT_EQ(END, chain());
}

TEST(FdInputStream, File_LongerThanTheBuffer)
{
    const OpenStorage errors;
    const std::string bytes =
        std::string(4096, 'a') + std::string(4095, 'b') + "\n" + std::string(3000, '\0') + "\xFF";
    for (const unsigned int size : {0U, 1U, 4096U}) {
        const File file(bytes);
        zel::FdInputStream input(file, size);
        EXPECT_TRUE(bytes == readAll(input, 1000)) << "with a buffer of " << size;
        EXPECT_EQ(END, chain());
    }
}

TEST(FdInputStream, End_IsRaisedAtEachFurtherRead)
{
    const OpenStorage errors;
    const File file("");
    zel::FdInputStream input(file);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ("-1 ", readText(input, 4));
        EXPECT_EQ(END, chain());
        EXPECT_TRUE(std::ErrorStorage::isError(true));
        EXPECT_TRUE(zel::isEndOfStream());
        EXPECT_FALSE(zel::wouldBlock());
        std::ErrorStorage::ack();
    }
}

TEST(FdInputStream, End_GoesOnWhereTheFileGrows)
{
    const OpenStorage errors;
    const File file("ab");
    zel::FdInputStream input(file);
    EXPECT_EQ("ab", readAll(input, 8));
    EXPECT_EQ(2, pwrite(file, "cd", 2, 2));
    EXPECT_EQ("1 cd", readText(input, 8));
    EXPECT_EQ("-1 ", readText(input, 8));
}

TEST(FdInputStream, Destruction_LeavesTheDescriptorOpen)
{
    const File file("ab");
    {
        zel::FdInputStream input(file, 0);
        EXPECT_EQ("1 a", readText(input, 1));
    }
    EXPECT_EQ(1, lseek(file, 0, SEEK_CUR));
}

TEST(FdInputStream, Devices)
{
    const OpenStorage errors;
    const Descriptor zero(open("/dev/zero", O_RDONLY | O_CLOEXEC));
    const Descriptor null(open("/dev/null", O_RDONLY | O_CLOEXEC));
    zel::FdInputStream zeros(zero);
    EXPECT_EQ("1 " + std::string(5000, '\0'), readText(zeros, 5000));
    zel::FdInputStream nothing(null);
    EXPECT_EQ("-1 ", readText(nothing, 1));
    EXPECT_EQ(END, chain());
}

TEST(FdInputStream, Pipe_GivesWhatThereIs)
{
    const OpenStorage errors;
    Pipe pipe;
    zel::FdInputStream input(pipe.reader, 8);
    pipe.writer.put("abc");
    EXPECT_EQ("1 abc", readText(input, 100)); // past the buffer
    pipe.writer.put("defg");
    EXPECT_EQ("1 de", readText(input, 2));
    pipe.writer.put("hi");
    EXPECT_EQ("1 fg", readText(input, 7)); // what the buffer holds, alone
    EXPECT_EQ("1 hi", readText(input, 7));
    pipe.writer.close();
    EXPECT_EQ("-1 ", readText(input, 7));
    EXPECT_EQ(END, chain());
}

TEST(FdInputStream, Socket_EndsWhenThePeerHasNoMore)
{
    const OpenStorage errors;
    Sockets sockets;
    zel::FdInputStream input(sockets.reader);
    sockets.writer.put("abc");
    shutdown(sockets.writer, SHUT_WR);
    EXPECT_EQ("abc", readAll(input, 2));
    EXPECT_EQ(END, chain());
}

TEST(FdInputStream, Directory)
{
    const OpenStorage errors;
    const Descriptor directory(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    zel::FdInputStream input(directory);
    EXPECT_EQ("-1 ", readText(input, 4));
    EXPECT_EQ("StreamError 1: a binary i/o stream operation failed\n"
              "PosixError 0: read failed: Is a directory (errno 21)\n",
              chain());
    EXPECT_FALSE(zel::isEndOfStream());
    EXPECT_FALSE(zel::wouldBlock());
}

TEST(FdInputStream, BadDescriptors)
{
    const OpenStorage errors;
    Pipe pipe;
    const int closed = pipe.reader;
    pipe.reader.close();
    for (const int fd : {-1, closed, static_cast<int>(pipe.writer)}) {
        zel::FdInputStream input(fd, 0);
        EXPECT_EQ("-1 ", readText(input, 4));
        EXPECT_EQ("StreamError 1: a binary i/o stream operation failed\n"
                  "PosixError 0: read failed: Bad file descriptor (errno 9)\n",
                  chain());
        std::ErrorStorage::ack();
    }
}

constexpr const char* RESET = "StreamError 0: the binary i/o stream is broken\n"
                              "PosixError 0: read failed: Connection reset by peer (errno 104)\n";

TEST(FdInputStream, Socket_PeerThatLeftDataUnreadHasBrokenOff)
{
    const OpenStorage errors;
    Sockets sockets;
    sockets.reader.put("unread");
    sockets.writer.close();
    zel::FdInputStream input(sockets.reader);
    EXPECT_EQ("-1 ", readText(input, 4));
    EXPECT_EQ(RESET, chain());
    EXPECT_FALSE(zel::isEndOfStream());
}

/// Connects two sockets of this machine's own network.
Ends connectLoopback()
{
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof place;
    auto* const address = reinterpret_cast<sockaddr*>(&place);
    const Descriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    Ends ends;
    ends.fds[0] = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, address, size) != 0 || listen(listener, 1) != 0) std::abort();
    if (getsockname(listener, address, &size) != 0) std::abort();
    if (connect(ends.fds[0], address, size) != 0) std::abort();
    ends.fds[1] = accept(listener, nullptr, nullptr);
    return ends;
}

TEST(FdInputStream, Network_PeerThatResets)
{
    const OpenStorage errors;
    Pair connection(connectLoopback());
    zel::FdInputStream input(connection.reader);
    connection.writer.put("abc");
    EXPECT_EQ("1 abc", readText(input, 4));
    const linger reset{1, 0};
    EXPECT_EQ(0, setsockopt(connection.writer, SOL_SOCKET, SO_LINGER, &reset, sizeof reset));
    connection.writer.close();
    EXPECT_EQ("-1 ", readText(input, 4));
    EXPECT_EQ(RESET, chain());
}

TEST(FdInputStream, NotBlocking_FailsUntilThereIsSomething)
{
    const OpenStorage errors;
    for (const unsigned int size : {0U, 4096U}) {
        Pipe pipe(O_NONBLOCK);
        zel::FdInputStream input(pipe.reader, size, false);
        EXPECT_EQ("-1 ", readText(input, 4));
        EXPECT_TRUE(zel::wouldBlock());
        EXPECT_FALSE(zel::isEndOfStream());
        EXPECT_EQ("StreamError 1: a binary i/o stream operation failed\n"
                  "PosixError 1: read would block\n",
                  chain());
        std::ErrorStorage::ack();
        pipe.writer.put("abc");
        EXPECT_EQ("1 abc", readText(input, 4));
        pipe.writer.close();
        EXPECT_EQ("-1 ", readText(input, 4));
        EXPECT_EQ(END, chain());
        EXPECT_FALSE(zel::wouldBlock());
        std::ErrorStorage::ack();
    }
}

TEST(FdInputStreamLines, File)
{
    const OpenStorage errors;
    const File file("first\n\nthird line\nlast");
    zel::FdInputStream input(file, 3);
    std::BinBuffer buffer(input, 5);
    std::istream stream(&buffer);
    std::string lines;
    for (std::string line; std::getline(stream, line);)
        lines += "[" + line + "]";
    EXPECT_EQ("[first][][third line][last]", lines);
    EXPECT_EQ(std::ios_base::eofbit | std::ios_base::failbit, stream.rdstate());
    EXPECT_TRUE(zel::isEndOfStream());
    EXPECT_FALSE(std::ErrorStorage::isError(true));
}

TEST(FdInputStreamLines, NotBlocking_GoOnWhenThereIsMore)
{
    const OpenStorage errors;
    Pipe pipe(O_NONBLOCK);
    zel::FdInputStream input(pipe.reader, 0, false);
    std::BinBuffer buffer(input);
    std::istream stream(&buffer);
    std::string line;
    EXPECT_FALSE(std::getline(stream, line));
    EXPECT_TRUE(zel::wouldBlock());
    stream.clear();
    pipe.writer.put("whole\n");
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_EQ("whole", line);
    pipe.writer.close();
    EXPECT_FALSE(std::getline(stream, line));
    EXPECT_TRUE(zel::isEndOfStream());
}

} // namespace
