// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/Codec.h>

#include "Decoders.h"
#include "Encoders.h"

namespace std::unicode {

using textcore::Ucs4Decoder;
using textcore::Ucs4Encoder;

Ucs4::~Ucs4() = default;

unsigned int Ucs4::read(const unsigned char* data, unsigned int size, const Index& at) const
{
    return Ucs4Decoder::read(data, size, at);
}

unsigned int Ucs4::read_forward(const unsigned char* data, unsigned int size, Index& at,
                                unsigned int n, unsigned int& last) const
{
    return Ucs4Decoder::forward(data, size, at, n, last);
}

unsigned int Ucs4::write_forward(unsigned char* data, unsigned int size, Index& at,
                                 unsigned int c) const
{
    return Ucs4Encoder::write(data, size, at, c);
}

unsigned int Ucs4::encoded_bytes(unsigned int c) const
{
    return Ucs4Encoder::bytesOf(c);
}

Codec::Index Ucs4::at(const unsigned char*, unsigned int size, unsigned int i) const
{
    if (i > size / Ucs4Decoder::WIDTH) return {size / Ucs4Decoder::WIDTH, size};
    return {i, i * Ucs4Decoder::WIDTH};
}

} // namespace std::unicode
