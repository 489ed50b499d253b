// SPDX-License-Identifier: Apache-2.0
//
// zel::MemoryOutputStream: a binary output stream into memory, of its own or the caller's.
//
//     zel::MemoryOutputStream output;
//     output.write(data, size, written);
//     send(output.data(), output.size());

#ifndef ZELPOSIX_ZELPOSIX_MEMORYOUTPUTSTREAM_H
#define ZELPOSIX_ZELPOSIX_MEMORYOUTPUTSTREAM_H

#include <common/IBinOutputStream.h>
#include <zel/attributes.h>

namespace zel {

/// Collects what is written, without a further buffer.
class ZEL_EXPORT MemoryOutputStream : public std::IBinOutputStream
{
public:
    /// Grows as needed.
    /// A write without memory, or of more than 32 bits can count, raises `CommonError` row 0, which
    /// is the cause of `StreamError` row 1; what was written before stays.
    MemoryOutputStream();
    /// Writes to `data[0..capacity)`, which is not owned and must outlive the stream; allocates
    /// nothing.
    /// A write into less room takes what there is, and fails.
    /// Raises `StreamError` row 2 then.
    MemoryOutputStream(void* data, unsigned int capacity);
    ~MemoryOutputStream() override;

    /// Returns what was written, `data()[0..size())`, owned by the stream or the caller; null if
    /// there is no memory yet. A further write may move it.
    const unsigned char* data() const { return m_data; }
    /// Returns how many bytes were written.
    unsigned int size() const { return m_size; }

    /// Begins anew, with the memory that there is.
    void clear() { m_size = 0; }

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override;

private:
    ZEL_LOCAL bool reserve(unsigned int size);

    unsigned char* m_data = nullptr;
    unsigned int m_size = 0;
    unsigned int m_capacity = 0;
    const bool m_grows;
};

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_MEMORYOUTPUTSTREAM_H
