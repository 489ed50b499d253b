// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/Codec.h>

#include "Decoders.h"
#include "Encoders.h"

namespace std::unicode {

namespace {

using textcore::Utf16Decoder;
using textcore::Utf16Encoder;

template <bool IS_BIG_ENDIAN>
unsigned int forward(const unsigned char* data, unsigned int size, Codec::Index& at, unsigned int n,
                     unsigned int& last)
{
    if (n == 0) return 0;
    for (; n > 0; --n)
        if (Utf16Decoder<IS_BIG_ENDIAN>::step(data, size, at, last) == 0) return 0;
    return 1;
}

} // namespace

Utf16::~Utf16() = default;

unsigned int Utf16::read(const unsigned char* data, unsigned int size, const Index& at) const
{
    return big_endian ? Utf16Decoder<true>::read(data, size, at)
                      : Utf16Decoder<false>::read(data, size, at);
}

unsigned int Utf16::read_forward(const unsigned char* data, unsigned int size, Index& at,
                                 unsigned int n, unsigned int& last) const
{
    return big_endian ? forward<true>(data, size, at, n, last)
                      : forward<false>(data, size, at, n, last);
}

unsigned int Utf16::write_forward(unsigned char* data, unsigned int size, Index& at,
                                  unsigned int c) const
{
    return big_endian ? Utf16Encoder<true>::write(data, size, at, c)
                      : Utf16Encoder<false>::write(data, size, at, c);
}

unsigned int Utf16::encoded_bytes(unsigned int c) const
{
    return Utf16Encoder<false>::bytesOf(c);
}

} // namespace std::unicode
