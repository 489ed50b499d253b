// SPDX-License-Identifier: Apache-2.0
//
// A codec of one's own beside those of the library, whose UCS-4 is in the machine's byte order:
// this one has the high byte first. Everything that takes a codec takes it.

#ifndef ZEL_ICONV_UCS4BIGCODEC_H
#define ZEL_ICONV_UCS4BIGCODEC_H

#include <common/unicode/Codec.h>

namespace zeliconv {

/// 32-bit values, high byte first. No state; any thread.
class Ucs4BigCodec : public std::unicode::Codec
{
public:
    constexpr Ucs4BigCodec() = default;

    unsigned int read(const unsigned char* data, unsigned int size, const Index& at) const override;
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override;
    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override;
    unsigned int encoded_bytes(unsigned int c) const override;
};

} // namespace zeliconv

#endif // ZEL_ICONV_UCS4BIGCODEC_H
