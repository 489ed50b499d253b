// SPDX-License-Identifier: Apache-2.0
//
// Streams over pipes and sockets that are full or empty: with threads at the other end, and with
// signals that interrupt the calls.

#include <zelposix/FdInputStream.h>
#include <zelposix/FdOutputStream.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/Descriptors.h"
#include "support/ErrorChain.h"
#include "support/InterruptedThread.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using support::chain;
using support::InterruptedThread;
using support::OpenStorage;
using support::Pair;
using support::Pipe;
using support::readText;
using support::Sockets;
using support::writeText;

constexpr const char* END = support::END_CHAIN;
constexpr const char* FULL = "StreamError 1: a binary i/o stream operation failed\n"
                             "PosixError 1: write would block\n";

/// A pipe that does not block and holds 4096 bytes.
struct SmallPipe : Pipe
{
    SmallPipe() : Pipe(O_NONBLOCK)
    {
        if (fcntl(writer, F_SETPIPE_SZ, 4096) != 4096) std::abort();
    }
};

/// `size` bytes of which no short piece looks like its neighbour.
std::string numberedLines(size_t size)
{
    std::string bytes;
    bytes.reserve(size + 8);
    for (int line = 1000000; bytes.size() < size; ++line)
        bytes += std::to_string(line) + "\n";
    bytes.resize(size);
    return bytes;
}

/// Reads all up to the end in blocks of 5000 bytes. Says how it ends if not so.
std::string readAll(int fd)
{
    const OpenStorage errors;
    zel::FdInputStream input(fd);
    const std::unique_ptr<char[]> block(new char[5000]);
    std::string bytes;
    unsigned int got = 0;
    while (input.read(block.get(), 5000, got) == 1)
        bytes.append(block.get(), got);
    return chain() == END ? bytes : chain();
}

/// What arrives of `bytes` at a thread that reads to the end, or to a failure.
std::string sendThrough(Pair& pair, const std::string& bytes, unsigned int bufferSize)
{
    std::string arrived;
    std::thread reader([&] {
        arrived = readAll(pair.reader);
        pair.reader.close();
    });
    {
        zel::FdOutputStream output(pair.writer, bufferSize);
        EXPECT_EQ("1 " + std::to_string(bytes.size()), writeText(output, bytes));
    }
    pair.writer.close();
    reader.join();
    return arrived;
}

/// Around what goes into a pipe in one piece, what a pipe holds, and far more.
constexpr size_t SIZES[] = {1, 4095, 4096, 4097, 65535, 65536, 65537, 5000000};

TEST(Blocking, PipeThatDoesNotBlock_AllArrivesInOrder)
{
    const OpenStorage errors;
    for (const size_t size : SIZES) {
        const std::string bytes = numberedLines(size);
        for (const unsigned int bufferSize : {0U, 1U, 4096U}) {
            Pipe pipe(O_NONBLOCK);
            EXPECT_TRUE(bytes == sendThrough(pipe, bytes, bufferSize)) << size;
        }
    }
    EXPECT_EQ("", chain());
}

TEST(Blocking, SocketThatDoesNotBlock_AllArrivesInOrder)
{
    const OpenStorage errors;
    for (const size_t size : SIZES) {
        const std::string bytes = numberedLines(size);
        Sockets sockets(SOCK_STREAM | SOCK_NONBLOCK);
        EXPECT_TRUE(bytes == sendThrough(sockets, bytes, 4096)) << size;
    }
    EXPECT_EQ("", chain());
}

TEST(Blocking, FullPipe_DestructionWaits)
{
    const OpenStorage errors;
    SmallPipe pipe;
    const std::string filling(4096, 'f');
    EXPECT_EQ(4096, write(pipe.writer, filling.data(), filling.size()));
    std::string arrived;
    auto output = std::make_unique<zel::FdOutputStream>(pipe.writer);
    EXPECT_EQ("1 3", writeText(*output, "abc"));
    std::thread reader([&] { arrived = readAll(pipe.reader); });
    output.reset();
    pipe.writer.close();
    reader.join();
    EXPECT_EQ(filling + "abc", arrived);
    EXPECT_EQ("", chain());
}

// Each byte is written when the one before is read, so that there is mostly none.
TEST(Blocking, EmptyPipe_ReadWaits)
{
    const OpenStorage errors;
    Pipe there(O_NONBLOCK);
    Pipe back;
    std::thread writer([&] {
        char byte = 'a';
        for (int i = 0; i < 1000; ++i)
            if (write(there.writer, &byte, 1) != 1 || read(back.reader, &byte, 1) != 1) return;
        there.writer.close();
    });
    zel::FdInputStream input(there.reader);
    std::string bytes;
    for (std::string got = readText(input, 9); got == "1 a"; got = readText(input, 9)) {
        bytes += 'a';
        EXPECT_EQ(1, write(back.writer, "a", 1));
    }
    back.writer.close();
    writer.join();
    EXPECT_EQ(std::string(1000, 'a'), bytes);
    EXPECT_EQ(END, chain());
}

TEST(NotBlocking, FullPipe_TakesWhatFits)
{
    const OpenStorage errors;
    const SmallPipe pipe;
    zel::FdOutputStream output(pipe.writer, 16, false);
    const std::string bytes = numberedLines(10000);
    EXPECT_EQ("1 4112", writeText(output, bytes)); // in the pipe, and in the buffer
    EXPECT_EQ("0 0", writeText(output, bytes.substr(4112)));
    EXPECT_FALSE(output.flush(false));
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("0 0", writeText(output, bytes.substr(4112)));
    EXPECT_EQ("", chain());
    zel::FdInputStream input(pipe.reader, 0, false);
    EXPECT_EQ("1 " + bytes.substr(0, 4096), readText(input, 9000));
    EXPECT_EQ("1 1000", writeText(output, bytes.substr(4112, 1000)));
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("1 " + bytes.substr(4096, 1016), readText(input, 9000));
}

TEST(NotBlocking, FullPipe_UnbufferedWriteTakesNothing)
{
    const OpenStorage errors;
    const SmallPipe pipe;
    zel::FdOutputStream output(pipe.writer, 0, false);
    EXPECT_EQ("1 4096", writeText(output, std::string(5000, 'a')));
    EXPECT_EQ("0 0", writeText(output, "b"));
    EXPECT_EQ("", chain());
}

TEST(NotBlocking, FullPipe_DestructionSaysThatBytesAreLost)
{
    const OpenStorage errors;
    const SmallPipe pipe;
    {
        zel::FdOutputStream output(pipe.writer, 16, false);
        EXPECT_EQ("1 4112", writeText(output, std::string(5000, 'a')));
        EXPECT_FALSE(output.flush(false));
    }
    EXPECT_TRUE(std::ErrorStorage::isError(true));
    EXPECT_TRUE(zel::wouldBlock());
    EXPECT_EQ(FULL, chain());
}

TEST(NotBlocking, DestructionWritesWhatFits)
{
    const OpenStorage errors;
    const SmallPipe pipe;
    {
        zel::FdOutputStream output(pipe.writer, 16, false);
        EXPECT_EQ("1 3", writeText(output, "abc"));
    }
    zel::FdInputStream input(pipe.reader, 0, false);
    EXPECT_EQ("1 abc", readText(input, 9));
    EXPECT_EQ("", chain());
}

void interruptReader(Pair& pair)
{
    std::string arrived;
    InterruptedThread reader([&] { arrived = readAll(pair.reader); });
    const std::string bytes = numberedLines(60000); // a pipe holds it if the reader fails
    for (size_t done = 0; done < bytes.size(); done += 1000) {
        reader.interrupt(10);
        EXPECT_EQ(1000, write(pair.writer, bytes.data() + done, 1000));
    }
    pair.writer.close();
    reader.join();
    EXPECT_TRUE(bytes == arrived) << arrived.substr(0, 200);
}

TEST(Interrupted, Read)
{
    Pipe pipe;
    interruptReader(pipe);
}

/// Has the one end not block, as pipe() cannot.
void unblock(int fd)
{
    EXPECT_NE(-1, fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK));
}

TEST(Interrupted, ReadThatWaitsForADescriptorWhichDoesNotBlock)
{
    Pipe pipe;
    unblock(pipe.reader);
    interruptReader(pipe);
}

/// Returns the status, and the chain of errors.
std::string writeAll(int fd, const std::string& bytes)
{
    const OpenStorage errors;
    zel::FdOutputStream output(fd);
    return writeText(output, bytes) + "\n" + chain();
}

void interruptWriter(Pair& pair, size_t size)
{
    const std::string bytes = numberedLines(size);
    std::string status;
    InterruptedThread writer([&] {
        status = writeAll(pair.writer, bytes);
        pair.writer.close();
    });
    std::string arrived;
    std::string block(5000, '?');
    ssize_t count = 1;
    while (count > 0) {
        writer.interrupt(10);
        count = read(pair.reader, block.data(), block.size());
        arrived.append(block, 0, static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
    writer.join();
    EXPECT_EQ("1 " + std::to_string(size) + "\n", status);
    EXPECT_TRUE(bytes == arrived) << arrived.size();
}

TEST(Interrupted, Write)
{
    Pipe pipe;
    interruptWriter(pipe, 1000000);
}

TEST(Interrupted, WriteThatWaitsForADescriptorWhichDoesNotBlock)
{
    Pipe pipe;
    unblock(pipe.writer);
    interruptWriter(pipe, 1000000);
}

} // namespace
