// SPDX-License-Identifier: Apache-2.0
//
// The kinds of real descriptors, told by the library itself.

#include "zelposix/Descriptor.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/stat.h>

#include "support/Descriptors.h"
#include "support/TemporaryFolder.h"

namespace {

using posixcore::kindOf;
using posixcore::OTHER;
using posixcore::PIPE;
using posixcore::SOCKET;
using support::Descriptor;

TEST(Kind, Pipe)
{
    const support::Pipe pipe;
    EXPECT_EQ(PIPE, kindOf(pipe.reader));
    EXPECT_EQ(PIPE, kindOf(pipe.writer));
}

TEST(Kind, PipeWithAName)
{
    const support::TemporaryFolder folder;
    ASSERT_EQ(0, mkfifo(folder.pathOf("pipe").c_str(), 0600));
    const Descriptor pipe(open(folder.pathOf("pipe").c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(PIPE, kindOf(pipe));
}

TEST(Kind, Sockets)
{
    const support::Sockets stream;
    const support::Sockets datagram(SOCK_DGRAM);
    const Descriptor network(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(SOCKET, kindOf(stream.reader));
    EXPECT_EQ(SOCKET, kindOf(stream.writer));
    EXPECT_EQ(SOCKET, kindOf(datagram.writer));
    EXPECT_EQ(SOCKET, kindOf(network));
}

TEST(Kind, WhatSendsNoSignal)
{
    const support::TemporaryFile file;
    const Descriptor device(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const Descriptor folder(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(OTHER, kindOf(file));
    EXPECT_EQ(OTHER, kindOf(device));
    EXPECT_EQ(OTHER, kindOf(folder));
}

TEST(Kind, FileAbove2GiB)
{
    const support::TemporaryFile file;
    ASSERT_EQ(0, ftruncate64(file, 5'000'000'000));
    EXPECT_EQ(OTHER, kindOf(file));
}

TEST(Kind, NoDescriptor)
{
    support::Pipe pipe;
    const int closed = pipe.writer;
    pipe.writer.close();
    EXPECT_EQ(OTHER, kindOf(closed));
    EXPECT_EQ(OTHER, kindOf(-1));
}

} // namespace
