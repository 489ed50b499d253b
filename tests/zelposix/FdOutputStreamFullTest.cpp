// SPDX-License-Identifier: Apache-2.0
//
// Writing to what is full, or becomes so on the way: nothing is lost silently, and nothing is
// written twice.

#include <zelposix/FdOutputStream.h>

#include <functional>
#include <ostream>
#include <string>

#include <common/BinBuffer.h>
#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>
#include <zelposix/PosixError.h>

#include "support/ChildProcess.h"
#include "support/Descriptors.h"
#include "support/ErrorChain.h"
#include "support/FileSizeLimit.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"
#include "support/TemporaryFolder.h"

namespace {

using support::ChildResult;
using support::limitFiles;
using support::OpenStorage;
using support::runInChild;
using support::takeChain;
using support::writeText;

using File = support::TemporaryFile;

constexpr const char* FULL = "StreamError 1: a binary i/o stream operation failed\n"
                             "PosixError 0: write failed: No space left on device (errno 28)\n";
constexpr const char* TOO_LARGE = "StreamError 1: a binary i/o stream operation failed\n"
                                  "PosixError 0: write failed: File too large (errno 27)\n";

struct FullDevice : support::Descriptor
{
    FullDevice() : Descriptor(open("/dev/full", O_WRONLY | O_CLOEXEC)) {}
};

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
    EXPECT_EQ("abcde", file.content());
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("abcde", file.content());
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
    EXPECT_EQ("abcdef", file.content());
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
    EXPECT_EQ("level 42", file.content());
}

/// Runs `body` in a child, for the limit is that of the whole process.
void runAlone(const std::function<void()>& body)
{
    const ChildResult result = runInChild([&] {
        const OpenStorage errors;
        body();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(FileSizeLimit, Unbuffered_FailsAtOnceAndTellsTheCount)
{
    runAlone([] {
        const File file;
        zel::FdOutputStream output(file, 0);
        limitFiles(6);
        EXPECT_EQ("-1 6", writeText(output, "0123456789"));
        EXPECT_EQ(TOO_LARGE, takeChain());
        EXPECT_EQ("-1 0", writeText(output, "6789"));
        EXPECT_EQ(TOO_LARGE, takeChain());
        EXPECT_EQ("012345", file.content());
        limitFiles(RLIM_INFINITY);
        EXPECT_EQ("1 4", writeText(output, "6789"));
        EXPECT_EQ("0123456789", file.content());
    });
}

TEST(FileSizeLimit, PastTheBuffer_TheRestIsStored)
{
    runAlone([] {
        const File file;
        zel::FdOutputStream output(file, 8);
        limitFiles(6);
        EXPECT_EQ("1 10", writeText(output, "0123456789"));
        EXPECT_EQ("012345", file.content());
        EXPECT_FALSE(std::ErrorStorage::isError(false));
        EXPECT_TRUE(output.flush(false));
        EXPECT_EQ(TOO_LARGE, takeChain());
        limitFiles(RLIM_INFINITY);
        EXPECT_FALSE(output.flush(false));
        EXPECT_EQ("0123456789", file.content());
    });
}

TEST(FileSizeLimit, Flush_WritesTheRestLaterAndNothingTwice)
{
    runAlone([] {
        const File file;
        zel::FdOutputStream output(file, 64);
        EXPECT_EQ("1 10", writeText(output, "0123456789"));
        limitFiles(6);
        EXPECT_TRUE(output.flush(false));
        EXPECT_EQ(TOO_LARGE, takeChain());
        EXPECT_EQ("012345", file.content());
        EXPECT_TRUE(output.flush(true));
        EXPECT_EQ(TOO_LARGE, takeChain());
        limitFiles(RLIM_INFINITY);
        EXPECT_FALSE(output.flush(true));
        EXPECT_EQ("0123456789", file.content());
    });
}

constexpr int NO_MOUNT = 77;

bool writeTo(const char* name, const std::string& text)
{
    const support::Descriptor file(open(name, O_WRONLY | O_CLOEXEC));
    return write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// Gives this process mounts of its own. Who is not root becomes the root of a world of its own,
/// where its own files must have an owner.
bool leaveMounts()
{
    if (unshare(CLONE_NEWNS) == 0) return true;
    const std::string user = "0 " + std::to_string(getuid()) + " 1";
    const std::string group = "0 " + std::to_string(getgid()) + " 1";
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && writeTo("/proc/self/setgroups", "deny") &&
           writeTo("/proc/self/uid_map", user) && writeTo("/proc/self/gid_map", group);
}

/// Mounts a file system of 16 KiB on `directory`, for this process alone. Where nobody may do so,
/// ends it with NO_MOUNT.
void mountSmall(const std::string& directory)
{
    if (!leaveMounts() || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", directory.c_str(), "tmpfs", 0, "size=16k") != 0)
        _exit(NO_MOUNT);
}

TEST(SmallFileSystem, WhatWentOutIsASuccessAndTheRestGoesLater)
{
    const support::TemporaryFolder folder;
    const std::string& directory = folder.path();
    const ChildResult result = runInChild([&] {
        mountSmall(directory);
        const OpenStorage errors;
        const File file(folder);
        zel::FdOutputStream output(file, 4096);
        const std::string block = std::string(15000, 'a') + std::string(5000, 'b');
        EXPECT_EQ("1 20000", writeText(output, block));
        EXPECT_EQ(16384, lseek(file, 0, SEEK_END));
        EXPECT_TRUE(output.flush(true));
        EXPECT_EQ(FULL, takeChain());
        ASSERT_EQ(0, mount("none", directory.c_str(), "tmpfs", MS_REMOUNT, "size=64k"));
        EXPECT_FALSE(output.flush(true));
        EXPECT_TRUE(block == file.content());
    });
    if (result.exitCode == NO_MOUNT) GTEST_SKIP() << "no file system may be mounted here";
    EXPECT_EQ(0, result.exitCode) << result.out;
}

} // namespace
