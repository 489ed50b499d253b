// SPDX-License-Identifier: Apache-2.0
//
// A caller's own codec, which counts its calls.

#ifndef ZELCOMMON_TESTS_SUPPORT_LATIN1CODEC_H
#define ZELCOMMON_TESTS_SUPPORT_LATIN1CODEC_H

#include <atomic>

#include <common/unicode/Codec.h>

namespace support {

/// One byte a character, 0 to 255; others are written as '?'. Any thread.
class Latin1Codec : public std::unicode::Codec
{
public:
    unsigned int read(const unsigned char* data, unsigned int size, const Index& at) const override
    {
        ++m_reads;
        return at.bytes < size ? data[at.bytes] : 0xFFFD;
    }

    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override
    {
        ++m_forwardReads;
        if (n == 0) return 0;
        for (; n > 0; --n) {
            if (at.bytes >= size) return 0;
            last = data[at.bytes++];
            ++at.chars;
        }
        return 1;
    }

    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override
    {
        ++m_writes;
        if (at.bytes >= size) return 0;
        data[at.bytes++] = c <= 0xFF ? static_cast<unsigned char>(c) : '?';
        ++at.chars;
        return c <= 0xFF ? 1 : 0;
    }

    unsigned int encoded_bytes(unsigned int) const override
    {
        ++m_sizes;
        return 1;
    }

    /// Calls of `read` so far.
    unsigned int reads() const { return m_reads; }
    /// Calls of `read_forward` so far.
    unsigned int forwardReads() const { return m_forwardReads; }
    /// Calls of `write_forward` so far.
    unsigned int writes() const { return m_writes; }
    /// Calls of `encoded_bytes` so far.
    unsigned int sizes() const { return m_sizes; }

private:
    mutable std::atomic<unsigned int> m_reads{0};
    mutable std::atomic<unsigned int> m_forwardReads{0};
    mutable std::atomic<unsigned int> m_writes{0};
    mutable std::atomic<unsigned int> m_sizes{0};
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_LATIN1CODEC_H
