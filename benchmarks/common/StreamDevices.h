// SPDX-License-Identifier: Apache-2.0
//
// Devices that cost nothing: /dev/null and /dev/zero, in the ways that streams take them.

#ifndef ZELCOMMON_BENCHMARKS_COMMON_STREAMDEVICES_H
#define ZELCOMMON_BENCHMARKS_COMMON_STREAMDEVICES_H

#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <unistd.h>

namespace bench {

/// Bytes of every buffer.
constexpr unsigned int BUFFER_SIZE = 4096;

/// A descriptor for the time of a benchmark.
class Device
{
public:
    Device(const char* name, int flags) : m_fd(open(name, flags | O_CLOEXEC)) {}
    ~Device() { close(m_fd); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    int fd() const { return m_fd; }

private:
    int m_fd;
};

/// A file of the C library with a buffer of the same size as ours.
class CFile
{
public:
    CFile(const char* name, const char* mode) : m_file(std::fopen(name, mode))
    {
        std::setvbuf(m_file, m_buffer, _IOFBF, sizeof m_buffer);
    }
    ~CFile() { std::fclose(m_file); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    std::FILE* get() const { return m_file; }

private:
    std::FILE* m_file;
    char m_buffer[BUFFER_SIZE];
};

inline void openStandard(std::filebuf& file, char* buffer, const char* name,
                         std::ios_base::openmode mode)
{
    file.pubsetbuf(buffer, BUFFER_SIZE);
    file.open(name, mode | std::ios_base::binary);
}

} // namespace bench

#endif // ZELCOMMON_BENCHMARKS_COMMON_STREAMDEVICES_H
