// SPDX-License-Identifier: Apache-2.0
//
// Bytes between pages that cannot be read: who looks before or behind them dies, with and without
// sanitizers.
//
//     support::GuardedBytes memory(4096);
//     prove(memory.atEnd(bytes), size);

#ifndef ZELCOMMON_TESTS_SUPPORT_GUARDEDBYTES_H
#define ZELCOMMON_TESTS_SUPPORT_GUARDEDBYTES_H

#include <cstring>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace support {

class GuardedBytes
{
public:
    /// With room for so many bytes, or a few more.
    explicit GuardedBytes(std::size_t room)
        : m_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          m_room((room + m_page - 1) / m_page * m_page),
          m_pages(static_cast<unsigned char*>(
              mmap(nullptr, m_room + 2 * m_page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        mprotect(m_pages + m_page, m_room, PROT_READ | PROT_WRITE);
    }
    ~GuardedBytes() { munmap(m_pages, m_room + 2 * m_page); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    /// Returns a copy of `bytes` with nothing before it. Valid until the next copy.
    unsigned char* atBeginning(const std::vector<unsigned char>& bytes)
    {
        return copied(m_pages + m_page, bytes);
    }
    /// Returns a copy of `bytes` with nothing behind it. Valid until the next copy.
    unsigned char* atEnd(const std::vector<unsigned char>& bytes)
    {
        return copied(m_pages + m_page + m_room - bytes.size(), bytes);
    }

private:
    static unsigned char* copied(unsigned char* to, const std::vector<unsigned char>& bytes)
    {
        if (!bytes.empty()) std::memcpy(to, bytes.data(), bytes.size());
        return to;
    }

    std::size_t m_page;
    std::size_t m_room;
    unsigned char* m_pages;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_GUARDEDBYTES_H
