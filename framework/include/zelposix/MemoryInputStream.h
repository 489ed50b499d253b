// SPDX-License-Identifier: Apache-2.0
//
// zel::MemoryInputStream: a binary input stream over bytes in memory.
//
//     zel::MemoryInputStream input(block, size);
//     while (input.read(&record, sizeof record, got) == 1) use(record, got);

#ifndef ZELPOSIX_ZELPOSIX_MEMORYINPUTSTREAM_H
#define ZELPOSIX_ZELPOSIX_MEMORYINPUTSTREAM_H

#include <common/IBinInputStream.h>
#include <zel/attributes.h>

namespace zel {

/// Reads bytes in memory, without a buffer. Allocates nothing.
/// Raises `StreamError` row 2 at the end, again at each further read.
class ZEL_EXPORT MemoryInputStream : public std::IBinInputStream
{
public:
    /// Over `data[0..size)`, which is not owned and must outlive the stream; null is no bytes.
    MemoryInputStream(const void* data, unsigned int size);
    ~MemoryInputStream() override;

    /// Returns how many bytes are left.
    unsigned int left() const { return m_left; }

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override;

private:
    const unsigned char* m_next;
    unsigned int m_left;
};

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_MEMORYINPUTSTREAM_H
