// SPDX-License-Identifier: Apache-2.0
//
// A file in memory that can be opened by a name, for what reads files.

#ifndef ZELCOMMON_FUZZ_MEMORYFILE_H
#define ZELCOMMON_FUZZ_MEMORYFILE_H

#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include <Input.h>

namespace fuzz {

/// One for all inputs, as it is slow to make.
class MemoryFile
{
public:
    MemoryFile() : m_fd(memfd_create("fuzz", MFD_CLOEXEC)) { require(m_fd >= 0); }
    ~MemoryFile() { close(m_fd); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string name() const { return "/proc/self/fd/" + std::to_string(m_fd); }
    void set(const std::string& bytes) const
    {
        require(ftruncate(m_fd, 0) == 0);
        require(pwrite(m_fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    }

private:
    const int m_fd;
};

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_MEMORYFILE_H
