// SPDX-License-Identifier: Apache-2.0
//
// A fixture for tests of `zel::FileBuf` and what is made of it: one file in a folder of its own,
// and a storage for errors.
//
// A stream buffer is compared as in `EXPECT_TRUE(file.close() == &file)`: EXPECT_EQ would print
// what is in the file.

#ifndef ZELCOMMON_TESTS_SUPPORT_FILEFIXTURE_H
#define ZELCOMMON_TESTS_SUPPORT_FILEFIXTURE_H

#include <fstream>
#include <functional>
#include <iterator>
#include <streambuf>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/ErrorChain.h"
#include "support/OpenStorage.h"
#include "support/TemporaryFolder.h"

namespace support {

constexpr int END_OF_FILE = -1;
constexpr const char* FULL_DEVICE = "/dev/full";
constexpr const char* NO_SPACE = "1 write failed: No space left on device (errno 28)";
constexpr const char* FILE_TOO_LARGE = "1 write failed: File too large (errno 27)";

class FileFixture : public testing::Test
{
protected:
    /// The file's path. There is none at first.
    const char* name() const { return m_name.c_str(); }
    void give(const std::string& text) const
    {
        std::ofstream(m_name, std::ios_base::binary) << text;
    }
    std::string content() const
    {
        std::ifstream file(m_name, std::ios_base::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// Returns `takeFailure()`, and forgets it.
    std::string takeError()
    {
        std::string text = takeFailure();
        m_errors.clear();
        return text;
    }
    /// Reads up to `size` characters.
    static std::string read(std::streambuf& file, int size)
    {
        std::string text(static_cast<std::size_t>(size), '\0');
        text.resize(static_cast<std::size_t>(file.sgetn(text.data(), size)));
        return text;
    }
    /// Returns the descriptor over `path`, or -1.
    static int descriptorOf(const std::string& path)
    {
        for (int fd = 3; fd < 64; ++fd) {
            char target[1024] = {};
            const std::string link = "/proc/self/fd/" + std::to_string(fd);
            if (readlink(link.c_str(), target, sizeof target - 1) > 0 && path == target) return fd;
        }
        return -1;
    }
    /// Runs `body` in a child that must print nothing, warnings included, and survive.
    static void runSilently(const std::function<void()>& body)
    {
        const ChildResult child = runInChild(body);
        EXPECT_EQ("", child.out);
        EXPECT_EQ("", child.err);
        EXPECT_EQ(0, child.signal);
        EXPECT_EQ(0, child.exitCode);
    }

    OpenStorage m_errors;
    const TemporaryFolder m_folder;
    const std::string m_name = m_folder.pathOf("file");
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_FILEFIXTURE_H
