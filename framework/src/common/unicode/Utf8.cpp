// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/Codec.h>

#include "Decoders.h"
#include "Encoders.h"

namespace std::unicode {

Utf8::~Utf8() = default;

int Utf8::type(unsigned char byte)
{
    if (byte < 0x80) return 1;
    if (byte < 0xC0) return 0;
    if (byte >= 0xFE) return -1;
    return static_cast<int>(textcore::Utf8Decoder::tailLength(byte)) + 1;
}

unsigned int Utf8::read(const unsigned char* data, unsigned int size, const Index& at) const
{
    return textcore::Utf8Decoder::read(data, size, at);
}

unsigned int Utf8::read_forward(const unsigned char* data, unsigned int size, Index& at,
                                unsigned int n, unsigned int& last) const
{
    if (n == 0) return 0;
    for (; n > 0; --n)
        if (!textcore::Utf8Decoder::pass(data, size, at, last)) return 0;
    last = textcore::withoutSurrogate(last);
    return 1;
}

unsigned int Utf8::write_forward(unsigned char* data, unsigned int size, Index& at,
                                 unsigned int c) const
{
    return textcore::Utf8Encoder::write(data, size, at, c);
}

unsigned int Utf8::encoded_bytes(unsigned int c) const
{
    return textcore::Utf8Encoder::bytesOf(c);
}

} // namespace std::unicode
