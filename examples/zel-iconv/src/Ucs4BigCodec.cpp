// SPDX-License-Identifier: Apache-2.0

#include "Ucs4BigCodec.h"

namespace zeliconv {

namespace {

constexpr unsigned int WIDTH = 4;

bool hasRoom(unsigned int size, const std::unicode::Codec::Index& at)
{
    return at.bytes <= size && size - at.bytes >= WIDTH;
}

} // namespace

unsigned int Ucs4BigCodec::read(const unsigned char* data, unsigned int size, const Index& at) const
{
    if (!hasRoom(size, at)) return std::unicode::REPLACEMENT_CHAR;
    const unsigned char* const bytes = data + at.bytes;
    return unsigned{bytes[0]} << 24 | unsigned{bytes[1]} << 16 | unsigned{bytes[2]} << 8 | bytes[3];
}

unsigned int Ucs4BigCodec::read_forward(const unsigned char* data, unsigned int size, Index& at,
                                        unsigned int n, unsigned int& last) const
{
    if (n == 0) return 0;
    for (; n > 0; --n) {
        if (!hasRoom(size, at)) return 0;
        last = read(data, size, at);
        at.bytes += WIDTH;
        ++at.chars;
    }
    return 1;
}

unsigned int Ucs4BigCodec::write_forward(unsigned char* data, unsigned int size, Index& at,
                                         unsigned int c) const
{
    if (!hasRoom(size, at)) return 0;
    for (int shift = 24; shift >= 0; shift -= 8)
        data[at.bytes++] = static_cast<unsigned char>(c >> shift);
    ++at.chars;
    return 1;
}

unsigned int Ucs4BigCodec::encoded_bytes(unsigned int /*c*/) const
{
    return WIDTH;
}

} // namespace zeliconv
