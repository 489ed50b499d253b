// SPDX-License-Identifier: Apache-2.0
//
// A folder for the files of a test, and a file without a name.

#ifndef ZELCOMMON_TESTS_SUPPORT_TEMPORARYFOLDER_H
#define ZELCOMMON_TESTS_SUPPORT_TEMPORARYFOLDER_H

#include <cstdlib>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "support/Descriptors.h"

namespace support {

/// An empty folder, removed at the end with all that is in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        const char* const root = std::getenv("TMPDIR");
        m_path = std::string(root == nullptr ? "/tmp" : root) + "/zelposix-XXXXXX";
        if (mkdtemp(m_path.data()) == nullptr) std::abort();
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }
    std::string pathOf(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// A file that is gone when it is closed.
class TemporaryFile : public Descriptor
{
public:
    /// In a folder that is gone at once.
    TemporaryFile() : TemporaryFile(TemporaryFolder()) {}
    explicit TemporaryFile(const TemporaryFolder& folder) : Descriptor(make(folder.pathOf("file")))
    {}
    /// Holds `bytes`, to be read from their beginning.
    explicit TemporaryFile(const std::string& bytes) : TemporaryFile()
    {
        put(bytes);
        lseek(*this, 0, SEEK_SET);
    }

    /// All that it holds. Afterwards the position is its end.
    std::string content() const
    {
        std::string bytes(static_cast<std::size_t>(lseek(*this, 0, SEEK_END)), '?');
        const ssize_t count = pread(*this, bytes.data(), bytes.size(), 0);
        return count == static_cast<ssize_t>(bytes.size()) ? bytes : "unreadable";
    }

private:
    static int make(const std::string& path)
    {
        constexpr int FLAGS = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_LARGEFILE;
        const int fd = open(path.c_str(), FLAGS, 0600);
        unlink(path.c_str());
        return fd;
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_TEMPORARYFOLDER_H
